// Table connections: the plug-in's two directions called one by one, and edits through the whole.
#include "base/error.h"
#include "boundary/instance.h"
#include "engine.h"
#include "neighbor_fixture.h"
#include "ymap_ocni_openconfig_network_instance_common_man_util.h"

namespace yfw::test {
namespace {

using NumberedCallback = cerrno(yfw_map_ctx, const Tree *, unsigned, Tree *);
using Connect = cerrno(yfw_map_ctx, const Tree *, Tree *, const char *, const char *);

const std::string connections = "/network-instances/network-instance[name=DEFAULT]/table-connections";

std::string connection(const std::string &source, const std::string &family) {
    return connections + "/table-connection[src-protocol=" + source + "][dst-protocol=BGP][address-family=" + family +
           ']';
}

void give_context(Scene &scene) {
    auto *context =
        static_cast<oc_table_conn_ctx_t *>(vnos_named_calloc_(1, sizeof(oc_table_conn_ctx_t), "YFW MAP", 0));
    std::strcpy(context->bgp_as, "0");
    std::strcpy(context->four_byte_as, "65000");
    scene.fields.common_data_ptr = context;
}

// "A" is a global address family of the default VRF.
std::string short_lines(const std::string &lines) {
    return replaced(lines, "F/default-vrf/global/global-afs/global-af", "A");
}

// Adds, a line each, with the operation of the source that they take.
std::string adds(const std::string &lines, const std::string &operation) {
    return replaced(lines, "([^\n]+)\n", operation.empty() ? "$1\n" : "$1 <" + operation + ">\n");
}

std::string skeleton(const std::string &operation) {
    return adds("I{}\n", operation) + "TRC: bgp_as_name_xx 0\nTRC: bgp_as_name_yy 65000\n" +
           adds("I/instance-name=default\nI/instance-as/as=0\nF/as=65000\nF/bgp-running\n", operation);
}

std::string family(const std::string &name, const std::string &operation) {
    return adds("A{}\nA/af-name=" + name + "\nA/enable\n", operation);
}

TEST(TableConnections, AnEditWritesTheRedistribution) {
    const struct {
        std::string source, family, config, expected, operation = "none";
    } rows[] = {
        {"DIRECTLY_CONNECTED", "IPV4", "disable-metric-propagation=true import-policy=P",
         "connected-routes default-metric=0 route-policy-name=P"},
        {"STATIC", "IPV6", "disable-metric-propagation=True", "static-routes default-metric=0"},
        {"STATIC", "IPV4", "disable-metric-propagation=false", "static-routes"},
        {"STATIC", "IPV4", "import-policy=P import-policy=Q", "static-routes route-policy-name=Q", "merge"},
        {"OSPF", "IPV6", "disable-metric-propagation=true import-policy=P",
         "ospf-routes ospf-route/default-metric=0 ospf-route/route-policy-name=P"},
        {"ISIS", "IPV4", "import-policy=P", "isis-routes isis-route/route-policy-name=P"},
        {"ISIS", "IPV4", "", "isis-routes"},
        {"OSPF3", "IPV4", "import-policy=P", ""},
        {"STATIC", "MPLS", "import-policy=P", "-"}, // no family: the instance alone
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.source + ' ' + row.family + ' ' + row.config);
        Scene scene;
        give_context(scene);
        Node *entry = scene.add(connection(row.source, row.family) + (row.operation == "none" ? "" : "{merge}"));
        std::istringstream config(row.config);
        for (std::string leaf; config >> leaf;) {
            add_line(scene.request.arena(), entry, "/config/" + leaf)->flags |= YFW_NODE_PRESENT;
        }
        add_line(scene.request.arena(), entry, "/config/import-policy=not there"); // not of the request
        std::string expected = "TRC: oc_table_conn_bgp EDIT\n" + skeleton(row.operation);
        if (row.expected != "-") {
            expected += family(row.family == "IPV4" ? "ipv4-unicast" : "ipv6-unicast", row.operation);
            std::istringstream words(row.expected);
            std::string container;
            words >> container;
            expected += container.empty() ? "" : adds("A/" + container + "\n", row.operation);
            for (std::string leaf; words >> leaf;) {
                expected += adds("A/" + container + '/' + leaf + "\n", row.operation);
            }
        }
        const std::string result =
            scene.run<Connect>("oc_table_conn_bgp", entry, scene.destination, row.source.c_str(), row.family.c_str());
        EXPECT_EQ(short_lines(result), expected + "-> 0");
        const auto *context = static_cast<const oc_table_conn_ctx_t *>(scene.fields.common_data_ptr);
        ASSERT_NE(context->instance, nullptr);
        EXPECT_STREQ(context->instance->name, "instance");
    }
}

TEST(TableConnections, ADeleteTakesTheRedistributionAlone) {
    for (const char *operation : {"{delete}", "{remove}"}) {
        Scene scene;
        give_context(scene);
        Node *entry = scene.add(connection("OSPF", "IPV6") + operation);
        add_line(scene.request.arena(), entry, "/config/import-policy=P")->flags |= YFW_NODE_PRESENT;
        EXPECT_EQ(short_lines(scene.run<Connect>("oc_table_conn_bgp", entry, scene.destination, "OSPF", "IPV6")),
                  "TRC: oc_table_conn_bgp DELETE\n" + skeleton("") + family("ipv6-unicast", "") +
                      "A/ospf-routes <remove>\n-> 0");
        EXPECT_EQ(operation_text(entry), "remove");
        EXPECT_EQ(scene.fields.del_expansion_mode, unsigned{YFW_EXPAND_ON});
    }
}

TEST(TableConnections, AReadDeclaresWhatTheDatabaseHas) {
    const std::string instance = "/bgp/instance[instance-name=default]/instance-as[as=0]/four-byte-as[as=65000]";
    const std::string entry = instance + "/default-vrf/global/global-afs/global-af[af-name=";
    const Stored stored(entry + "ipv4-unicast]/connected-routes\n" + entry + "ipv4-unicast]/isis-routes\n" + entry +
                        "ipv6-unicast]/static-routes\n" + entry + "ipv4-multicast]/static-routes\n");
    const std::string declared = "TRC: oc_table_conn_bgp GET\n" + skeleton("") + family("ipv4-unicast", "") +
                                 "A/connected-routes\nA/isis-routes\n" + family("ipv6-unicast", "") +
                                 "A/static-routes\n-> 0";
    for (const std::uint32_t kind : {YFW_KIND_READ, YFW_KIND_READ_STATE}) {
        Scene scene(kind);
        give_context(scene);
        const Node *node = scene.add(connections + "/table-connection");
        EXPECT_EQ(short_lines(scene.run<Connect>("oc_table_conn_bgp", node, scene.destination, nullptr, "")), declared);
        for (const char *name :
             {"oc_bgp_tc_get_cfg", "ymap_ov_ocni_openconfignetworkinstance_man_leaf_lvla_networkinstances_state_"
                                   "disablemetricpropagation"}) {
            EXPECT_EQ(short_lines(scene.run<Callback>(name, node, scene.destination)), declared) << name;
        }
        std::strcpy(static_cast<oc_table_conn_ctx_t *>(scene.fields.common_data_ptr)->four_byte_as, "65001");
        EXPECT_EQ(short_lines(scene.run<Callback>("oc_bgp_tc_get_cfg", node, scene.destination)),
                  replaced(replaced(declared, "A/[a-z]+-routes\n", ""), "65000", "65001"));
    }
    Scene scene;
    EXPECT_EQ(scene.run<Callback>("oc_bgp_tc_get_cfg", nullptr, scene.destination), "-> 0"); // an edit
    EXPECT_DEATH(scene.run<Connect>("oc_table_conn_bgp", scene.add(connection("STATIC", "IPV4")), scene.destination,
                                    "STATIC", "IPV4"),
                 "ctx->req_ctx->common_data_ptr != NULL");
}

// What the lists of redistributions of a family become: the leaves of one connection, without its path.
std::string rendered(Scene &scene, const std::string &native, bool with_number = false) {
    scene.add_native("/network-instances/network-instance[name=DEFAULT]");
    Node *node = nullptr;
    std::istringstream lines(native);
    for (std::string line; std::getline(lines, line);) {
        Node *const leaf = scene.add("~/default-vrf/global/global-afs/global-af" + line);
        leaf->flags |= YFW_NODE_PRESENT;
        node = leaf->schema().is_inner() ? scene.map("~/default-vrf/global/global-afs/global-af" + line) : node;
    }
    const std::string code =
        with_number ? scene.run<NumberedCallback>("vn_oc_bgp_table_conn_list_1", node, 7U, scene.destination)
                    : scene.run<Callback>("vn_oc_bgp_table_conn_list", node, scene.destination);
    EXPECT_TRUE(code.ends_with("-> 0")) << code;
    EXPECT_EQ(scene.fields.trim_path, nullptr);
    std::string result;
    print_tree(scene.request.destination(), result);
    return replaced(result, "/network-instances/network-instance\\[name=DEFAULT\\](/table-connections/)?", "");
}

std::string shown(const std::string &source, const std::string &family, const std::string &container,
                  const std::string &others) {
    const std::string keys = "table-connection[src-protocol=" + source + "][dst-protocol=BGP][address-family=" + family;
    return lines_of(keys + "]/" + container,
                    "src-protocol=" + source + " dst-protocol=BGP address-family=" + family + others, "");
}

TEST(TableConnections, ARedistributionIsShown) {
    const std::string v4 = "[af-name=ipv4-unicast]", v6 = "[af-name=ipv6-unicast]";
    const struct {
        std::string native, source, family, others;
    } rows[] = {
        {v4 + "/connected-routes", "DIRECTLY_CONNECTED", "IPV4", ""},
        {v4 + "/static-routes\n" + v4 + "/static-routes/default-metric=10\n" + v4 +
             "/static-routes/route-policy-name=P",
         "STATIC", "IPV4", " import-policy=P disable-metric-propagation=true"},
        {v6 + "/ospf-routes/ospf-route\n" + v6 + "/ospf-routes/ospf-route/default-metric=0", "OSPF", "IPV6",
         " disable-metric-propagation=true"},
        {v6 + "/isis-routes/isis-route\n" + v6 + "/isis-routes/isis-route/route-policy-name=Q", "ISIS", "IPV6",
         " import-policy=Q"},
        {v6 + "/ospf-routes", "", "", ""}, // the settings lie in what it holds
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.native);
        const auto text = [&row](const char *container) {
            return row.source.empty() ? "\n" : shown(row.source, row.family, container, row.others);
        };
        Scene config(YFW_KIND_READ);
        const auto order = [](const std::string &lines) { // the tree's is the order of arrival, a test's is not
            std::istringstream stream(lines);
            std::multiset<std::string> all;
            for (std::string line; std::getline(stream, line);) {
                all.insert(line);
            }
            return all;
        };
        EXPECT_EQ(order(rendered(config, row.native)), order(text("config")));
        Scene both(YFW_KIND_READ_STATE);
        EXPECT_EQ(order(rendered(both, row.native)), order(row.source.empty() ? "\n" : text("config") + text("state")));
        Scene state(YFW_KIND_READ_STATE);
        state.fields.selection = {-1, {0, 0}, YFW_SELECT_STATE_ONLY};
        EXPECT_EQ(order(rendered(state, row.native, true)), order(text("state")));
    }
    EXPECT_EQ(exported<cerrno()>("vn_oc_bgp_table_conn_list_2")(), 0U);
}

TEST(TableConnections, IdentitiesAreShownWithTheirNamespaces) {
    Scene scene(YFW_KIND_READ);
    rendered(scene, "[af-name=ipv4-unicast]/static-routes");
    Node *entry = find_instance(scene.request.destination(), connection("STATIC", "IPV4"));
    ASSERT_NE(entry, nullptr);
    for (const auto &[leaf, name_space] : {std::pair("src-protocol", "/policy-types"),
                                           {"dst-protocol", "/policy-types"},
                                           {"address-family", "/openconfig-types"}}) {
        for (const Node *node : {child(entry, leaf), child(child(entry, "config"), leaf)}) {
            EXPECT_TRUE(std::string_view(node->name_space).ends_with(name_space)) << leaf << ' ' << node->name_space;
        }
    }
    Scene empty(YFW_KIND_READ); // no default network instance
    const Node *node = empty.map("~/default-vrf/global/global-afs/global-af[af-name=ipv4-unicast]/static-routes");
    EXPECT_EQ(empty.run<Callback>("vn_oc_bgp_table_conn_list", node, empty.destination), "error path\n-> 0");
    EXPECT_EQ(empty.run<Callback>("vn_oc_bgp_table_conn_list", nullptr, empty.destination),
              "ERR: Invalid arguments passed!\nerror path\n-> aaf2a000");
}

// ---- The whole

class Whole {
  public:
    // What an edit of a list of table connections leaves in the store, a node a line, or why it is refused; then the
    // notes.
    std::string edit(const std::string &lines, std::string protocol = "") {
        protocol = protocol.empty() ? "" : R"(,"protocols":{"protocol":[{"identifier":"BGP",)" + protocol + "}]}";
        return edit_instance("\"table-connections\":" + lines + protocol);
    }

    // The same of other members of the default network instance.
    std::string edit_instance(const std::string &members) {
        std::string text = R"({"network-instances":{"network-instance":[{"name":"DEFAULT",)" + members + "}]}}";
        Transaction transaction = store_.begin(Access::write);
        std::string notes;
        try {
            const EditResult result = engine().edit(text, Syntax::json, {}, transaction);
            for (const Note &note : result.notes) {
                notes += "note: " + note.text + '\n';
            }
            transaction.commit();
        } catch (const Refused &refused) {
            return std::string(code_name(refused.code())) + ": " + refused.what();
        }
        std::string stored = fetch(store_, engine().schema(), "/bgp");
        for (const auto &[whole, letter] : {std::pair("/bgp/instance[instance-name=", "I "),
                                            {"][as=", " "},
                                            {"]/instance-as[as=", " "},
                                            {"]/four-byte-as[as=", " "},
                                            {"/default-vrf/global/global-afs/global-af[af-name=", " "}}) {
            for (auto at = stored.find(whole); at != std::string::npos; at = stored.find(whole)) {
                stored.replace(at, std::strlen(whole), letter);
            }
        }
        return stored + notes;
    }

  private:
    static Engine &engine() {
        static Engine shared({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
        return shared;
    }
    ScratchDirectory scratch_;
    Store store_{scratch_ / "db", engine().schema(), Access::write};
};

std::string item(const std::string &source, const std::string &config, const std::string &operation = "",
                 const std::string &family = "IPV4", const std::string &destination = "BGP") {
    return R"({"table-connection":[{"src-protocol":")" + source + R"(","dst-protocol":")" + destination +
           R"(","address-family":")" + family + '"' +
           (operation.empty() ? "" : R"(,"@":{"ietf-netconf:operation":")" + operation + "\"}") + R"(,"config":{)" +
           config + "}}]}";
}

const std::string metric = R"("disable-metric-propagation":true)", policy = R"("import-policy":["P"])";
const std::string running = "I default 0 65000]/bgp-running=\n", enabled = "I default 0 65000] ipv4-unicast]/enable=\n";
const std::string connected = "I default 0 65000] ipv4-unicast]/connected-routes";
const std::string as = R"("name":"default","bgp":{"global":{"config":{"as":65000}}})";
const std::string family_comes =
    "note: it comes with /network-instances/network-instance[name=DEFAULT]/table-connections/"
    "table-connection[src-protocol=DIRECTLY_CONNECTED][dst-protocol=BGP]"
    "[address-family=IPV4]\n";

TEST(TableConnections, AnEditNeedsTheInstanceNamedDefault) {
    const struct {
        std::string before, request, protocol, expected;
    } rows[] = {
        {"", item("STATIC", policy), "",
         "operation-failed: the AS number of the BGP instance default is not known: configure it before, or in the "
         "same "
         "edit"},
        {"", item("DIRECTLY_CONNECTED", policy), as,
         running + enabled + connected + "/route-policy-name=P\n" + family_comes},
        {as, item("DIRECTLY_CONNECTED", metric), "",
         running + enabled + connected + "/default-metric=0\n" + family_comes},
        {R"("name":"core","bgp":{"global":{"config":{"as":65000}}})", item("STATIC", policy), "",
         "~/bgp-running=\nnote: redistribution goes into the BGP instance named default, and this one is "
         "named core\n"},
        {"", item("STATIC", policy), R"("name":"core","bgp":{"global":{"config":{"as":65000}}})",
         "~/bgp-running=\nnote: redistribution goes into the BGP instance named default, and this one is "
         "named core\n"},
        {as, item("STATIC", policy), R"("name":"default","@":{"ietf-netconf:operation":"delete"})",
         "operation-failed: the AS number of the BGP instance default is not known: configure it before, or in the "
         "same "
         "edit"},
        {as, item("OSPF3", policy), "",
         running + "note: BGP takes routes of DIRECTLY_CONNECTED, STATIC, OSPF and ISIS\n"},
        {as, item("STATIC", policy, "", "MPLS"), "", running + "note: BGP takes routes of IPV4 and IPV6\n"},
        {as, item("STATIC", policy, "delete", "IPV4", "ISIS"), "", running},
        {as, item("STATIC", "", "delete"), "", "data-missing: there is nothing to delete"},
        {as, item("STATIC", "", "remove"), "", running},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.before + ' ' + row.request + ' ' + row.protocol);
        Whole whole;
        if (!row.before.empty()) {
            whole.edit("{}", row.before);
        }
        EXPECT_EQ(whole.edit(row.request, row.protocol), row.expected);
    }
}

TEST(TableConnections, OperationsAreTheRedistributionsAlone) {
    const auto deleted = [](const std::string &leaf, const std::string &operation) {
        return leaf + ",\"@" + leaf.substr(1, leaf.find(':') - 2) + "\":" + operation;
    };
    const std::string one = R"({"ietf-netconf:operation":"delete"})", other = R"("import-policy":["X"])";
    const std::string whole_policy = connected + "/route-policy-name=P\n",
                      whole_metric = connected + "/default-metric=0\n";
    const struct {
        std::string request, expected; // on one with both settings
    } rows[] = {
        {item("DIRECTLY_CONNECTED", "", "delete"), running + enabled},
        {item("DIRECTLY_CONNECTED", metric, "create"), "data-exists: it is there already"},
        {item("DIRECTLY_CONNECTED", metric, "replace"), running + enabled + whole_metric},
        {item("DIRECTLY_CONNECTED", "", "replace"), running + enabled + connected + '\n'},
        {item("DIRECTLY_CONNECTED", R"("disable-metric-propagation":false)"), running + enabled + whole_policy},
        {item("DIRECTLY_CONNECTED", deleted(metric, one)), running + enabled + whole_policy},
        {item("DIRECTLY_CONNECTED", deleted(policy, '[' + one + ']')), running + enabled + whole_metric},
        {item("DIRECTLY_CONNECTED", deleted(other, '[' + one + ']')), "data-missing: there is nothing to delete"},
        {item("DIRECTLY_CONNECTED", deleted(R"("import-policy":["P","N"])", '[' + one + ",null]")),
         running + enabled + whole_metric + connected + "/route-policy-name=N\n"},
        {item("DIRECTLY_CONNECTED", R"("import-policy":["N","P"])"),
         running + enabled + whole_metric + whole_policy +
             "note: a redistribution takes one policy: the last one given\n"},
        {R"({"@":{"ietf-netconf:operation":"delete"}})", running + enabled},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.request);
        Whole whole;
        whole.edit(item("DIRECTLY_CONNECTED", metric + ',' + policy), as);
        EXPECT_EQ(whole.edit(row.request), row.expected);
    }
    // A connection without settings is there to be seen, and so to be deleted with the others.
    for (const char *source : {"STATIC", "OSPF", "ISIS"}) {
        Whole whole;
        whole.edit(item(source, ""), as);
        EXPECT_EQ(whole.edit(R"({"@":{"ietf-netconf:operation":"delete"}})"), running + enabled) << source;
    }
}

// What an outer replace, or the family's own delete, does to the family must not take along what the edit sets in it.
TEST(TableConnections, AnEditKeepsWhatItSets) {
    const std::string replace = R"("@":{"ietf-netconf:operation":"replace"},)";
    const std::string unknown = "operation-failed: the AS number of the BGP instance default is not known: configure "
                                "it before, or in the same edit";
    const std::string bgp = R"({"protocol":[{"identifier":"BGP",)" + as + "}]}";
    const std::string default_families = "/network-instances/network-instance[name=DEFAULT]/protocols/"
                                         "protocol[identifier=BGP][name=default]/bgp/global/afi-safis";
    const std::string no_family = R"({"protocol":[{"identifier":"BGP","name":"default","bgp":{"global":{"afi-safis":)"
                                  R"({"afi-safi":[{"afi-safi-name":"IPV4_UNICAST",)"
                                  R"("@":{"ietf-netconf:operation":"delete"}}]}}}}]})";
    const struct {
        std::string operation, protocols, expected; // of the network instance
    } rows[] = {
        {replace, bgp, running + enabled + connected + "/route-policy-name=P\n" + family_comes},
        {replace, "", unknown},
        {"", R"({"@":{"ietf-netconf:operation":"delete"}})", unknown},
        {"", R"({"@":{"ietf-netconf:operation":"replace"}})", unknown},
        {"", no_family,
         running + enabled + connected + "/route-policy-name=P\nnote: it goes along with " + default_families +
             "/afi-safi[afi-safi-name=IPV4_UNICAST]\n" + family_comes},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.operation + row.protocols);
        Whole whole;
        whole.edit(item("STATIC", metric), as);
        const std::string protocols = row.protocols.empty() ? "" : ",\"protocols\":" + row.protocols;
        EXPECT_EQ(whole.edit_instance(row.operation + R"("table-connections":)" + item("DIRECTLY_CONNECTED", policy) +
                                      protocols),
                  row.expected);
    }
}

} // namespace
} // namespace yfw::test
