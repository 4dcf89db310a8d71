// Table connections: the plug-in's two directions called one by one.
#include "boundary/instance.h"
#include "rows.h"
#include "ymap_ocni_openconfig_network_instance_common_man_util.h"

#include <numeric>

namespace yfw::test {
namespace {

const std::string connections = "/network-instances/network-instance[name=DEFAULT]/table-connections",
                  list = "~/default-vrf/global/global-afs/global-af";

std::string connection(const std::string &source, const std::string &family) {
    return connections + "/table-connection[src-protocol=" + source + "][dst-protocol=BGP][address-family=" + family +
           ']';
}

oc_table_conn_ctx_t *give_context(Scene &scene) {
    auto *context =
        static_cast<oc_table_conn_ctx_t *>(vnos_named_calloc_(1, sizeof(oc_table_conn_ctx_t), "YFW MAP", 0));
    std::strcpy(context->bgp_as, "0");
    std::strcpy(context->four_byte_as, "65000");
    scene.fields.common_data_ptr = context;
    return context;
}

// Runs the function of an entry. "A" is a global address family of the default VRF.
std::string connect(Scene &scene, const Node *entry, const char *source, const char *family) {
    using Connect = cerrno(yfw_map_ctx, const Tree *, Tree *, const char *, const char *);
    return replaced(scene.run<Connect>("oc_table_conn_bgp", entry, scene.destination, source, family),
                    "F/default-vrf/global/global-afs/global-af", "A");
}

// Lines of the paths in a text, with the operation of the source that they take.
std::string adds(const std::string &paths, const std::string &operation) {
    return replaced(paths + ' ', "([^ ]+) ", operation.empty() ? "$1\n" : "$1 <" + operation + ">\n");
}

std::string skeleton(const std::string &operation) {
    return adds("I{}", operation) + "TRC: bgp_as_name_xx 0\nTRC: bgp_as_name_yy 65000\n" +
           adds("I/instance-name=default I/instance-as/as=0 F/as=65000 F/bgp-running", operation);
}

TEST(TableConnections, AnEditWritesTheRedistribution) {
    // The source, the family, the settings, the family's native name, what is added in it; the operation.
    for (auto &row : table(R"(
DIRECTLY_CONNECTED | IPV4 | disable-metric-propagation=true import-policy=P | ipv4-unicast \
    | A/connected-routes A/connected-routes/default-metric=0 A/connected-routes/route-policy-name=P
STATIC | IPV6 | disable-metric-propagation=True | ipv6-unicast | A/static-routes A/static-routes/default-metric=0
STATIC | IPV4 | disable-metric-propagation=false | ipv4-unicast | A/static-routes
STATIC | IPV4 | import-policy=P import-policy=Q | ipv4-unicast \
    | A/static-routes A/static-routes/route-policy-name=Q | merge
OSPF | IPV6 | disable-metric-propagation=true import-policy=P | ipv6-unicast \
    | A/ospf-routes A/ospf-routes/ospf-route/default-metric=0 A/ospf-routes/ospf-route/route-policy-name=P
ISIS | IPV4 | import-policy=P | ipv4-unicast | A/isis-routes A/isis-routes/isis-route/route-policy-name=P
ISIS | IPV4 | | ipv4-unicast | A/isis-routes
OSPF3 | IPV4 | import-policy=P | ipv4-unicast
STATIC | MPLS | import-policy=P)")) {
        row.resize(6);
        SCOPED_TRACE(row[0] + ' ' + row[1] + ' ' + row[2]);
        Scene scene;
        const auto *context = give_context(scene);
        Node *entry = scene.add(connection(row[0], row[1]) + (row[5].empty() ? "" : "{merge}"));
        std::istringstream config(row[2]);
        for (std::string leaf; config >> leaf;) {
            add_line(scene.request.arena(), entry, "/config/" + leaf)->flags |= YFW_NODE_PRESENT;
        }
        add_line(scene.request.arena(), entry, "/config/import-policy=not there"); // not of the request
        const std::string operation = row[5].empty() ? "none" : row[5];
        std::string expected = "TRC: oc_table_conn_bgp EDIT\n" + skeleton(operation);
        expected += row[3].empty() ? "" : adds("A{} A/af-name=" + row[3] + " A/enable", operation); // no such family
        expected += row[4].empty() ? "" : adds(row[4], operation);                                  // no such source
        EXPECT_EQ(connect(scene, entry, row[0].c_str(), row[1].c_str()), expected + "-> 0");
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
        EXPECT_EQ(connect(scene, entry, "OSPF", "IPV6"), "TRC: oc_table_conn_bgp DELETE\n" + skeleton("") +
                                                             adds("A{} A/af-name=ipv6-unicast A/enable", "") +
                                                             "A/ospf-routes <remove>\n-> 0");
        EXPECT_EQ(operation_text(entry), "remove");
        EXPECT_EQ(scene.fields.del_expansion_mode, unsigned{YFW_EXPAND_ON});
    }
}

TEST(TableConnections, AReadDeclaresWhatTheDatabaseHas) {
    const std::string entry = "/bgp/instance[instance-name=default]/instance-as[as=0]/four-byte-as[as=65000]/"
                              "default-vrf/global/global-afs/global-af[af-name=ipv";
    const Stored stored(entry + "4-unicast] connected-routes isis-routes\n" + entry + "6-unicast] static-routes\n" +
                        entry + "4-multicast] static-routes");
    const std::string declared =
        "TRC: oc_table_conn_bgp GET\n" + skeleton("") +
        adds("A{} A/af-name=ipv4-unicast A/enable A/connected-routes A/isis-routes A{} A/af-name=ipv6-unicast A/enable "
             "A/static-routes",
             "") +
        "-> 0";
    const auto read = [](Scene &scene, const Node *node, const char *name) {
        return replaced(scene.run<Callback>(name, node, scene.destination), "F/default-vrf/global/global-afs/global-af",
                        "A");
    };
    for (const std::uint32_t kind : {YFW_KIND_READ, YFW_KIND_READ_STATE}) {
        Scene scene(kind);
        auto *context = give_context(scene);
        const Node *node = scene.add(connections + "/table-connection");
        EXPECT_EQ(connect(scene, node, nullptr, ""), declared);
        for (const char *name :
             {"oc_bgp_tc_get_cfg", "ymap_ov_ocni_openconfignetworkinstance_man_leaf_lvla_networkinstances_state_"
                                   "disablemetricpropagation"}) {
            EXPECT_EQ(read(scene, node, name), declared) << name;
        }
        std::strcpy(context->four_byte_as, "65001");
        EXPECT_EQ(read(scene, node, "oc_bgp_tc_get_cfg"),
                  replaced(replaced(declared, "A/[a-z]+-routes\n", ""), "65000", "65001"));
    }
    Scene scene;
    EXPECT_EQ(scene.run<Callback>("oc_bgp_tc_get_cfg", nullptr, scene.destination), "-> 0"); // an edit
    EXPECT_DEATH(connect(scene, scene.add(connection("STATIC", "IPV4")), "STATIC", "IPV4"),
                 "ctx->req_ctx->common_data_ptr != NULL");
}

// What the lists of redistributions of a family become: the leaves of one connection, without its path, in the order of
// their names.
std::string rendered(Scene &scene, const std::string &native, bool with_number = false) {
    scene.add_native("/network-instances/network-instance[name=DEFAULT]");
    Node *node = nullptr;
    std::istringstream words(native);
    for (std::string word; words >> word;) {
        Node *const leaf = scene.add(list + word);
        leaf->flags |= YFW_NODE_PRESENT;
        node = leaf->schema().is_inner() ? scene.map(list + word) : node;
    }
    const std::string code =
        with_number ? scene.run<ToplevelCallback>("vn_oc_bgp_table_conn_list_1", node, 7U, scene.destination)
                    : scene.run<Callback>("vn_oc_bgp_table_conn_list", node, scene.destination);
    EXPECT_TRUE(code.ends_with("-> 0")) << code;
    EXPECT_EQ(scene.fields.trim_path, nullptr);
    std::string lines;
    print_tree(scene.request.destination(), lines);
    std::istringstream stream(lines);
    std::multiset<std::string> sorted;
    for (std::string line; std::getline(stream, line);) {
        sorted.insert(replaced(line, ".*/table-connection(\\[.*\\])/", "$1"));
    }
    return std::accumulate(sorted.begin(), sorted.end(), std::string(),
                           [](const std::string &all, const std::string &line) { return all + line + '\n'; });
}

TEST(TableConnections, ARedistributionIsShown) {
    // The native nodes; the source and the family of the connection and its other leaves.
    for (auto &row : table(R"(
[af-name=ipv4-unicast]/connected-routes | DIRECTLY_CONNECTED | IPV4
[af-name=ipv4-unicast]/static-routes [af-name=ipv4-unicast]/static-routes/default-metric=10 \
    [af-name=ipv4-unicast]/static-routes/route-policy-name=P \
    | STATIC | IPV4 | @/disable-metric-propagation=true; @/import-policy=P;
[af-name=ipv6-unicast]/ospf-routes/ospf-route [af-name=ipv6-unicast]/ospf-routes/ospf-route/default-metric=0 \
    | OSPF | IPV6 | @/disable-metric-propagation=true;
[af-name=ipv6-unicast]/isis-routes/isis-route [af-name=ipv6-unicast]/isis-routes/isis-route/route-policy-name=Q \
    | ISIS | IPV6 | @/import-policy=Q;
// The settings lie in what it holds.
[af-name=ipv6-unicast]/ospf-routes)")) {
        SCOPED_TRACE(row[0]);
        const bool shown = row.size() > 1;
        row.resize(4);
        const auto lines = [&](const std::string &container) {
            const std::string keys = "[src-protocol=" + row[1] + "][dst-protocol=BGP][address-family=" + row[2] + ']';
            const std::string leaves = "@/address-family=" + row[2] + "\n" +
                                       replaced(row[3], {{"@/import.*", ""}, {";", "\n"}}) + "@/dst-protocol=BGP\n" +
                                       replaced(row[3], {{"@/disable[^\n]*\n?", ""}, {";", "\n"}}) +
                                       "@/src-protocol=" + row[1] + '\n';
            return shown ? replaced(leaves, "@", keys + container) : "";
        };
        const std::string none = shown ? "" : "/network-instances/network-instance[name=DEFAULT]\n";
        Scene config(YFW_KIND_READ);
        EXPECT_EQ(rendered(config, row[0]), none + lines("config"));
        Scene both(YFW_KIND_READ_STATE);
        EXPECT_EQ(rendered(both, row[0]), none + lines("config") + lines("state"));
        Scene state(YFW_KIND_READ_STATE);
        state.fields.selection = {-1, {0, 0}, YFW_SELECT_STATE_ONLY};
        EXPECT_EQ(rendered(state, row[0], true), none + lines("state"));
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
    const Node *node = empty.map(list + "[af-name=ipv4-unicast]/static-routes");
    EXPECT_EQ(empty.run<Callback>("vn_oc_bgp_table_conn_list", node, empty.destination), "error path\n-> 0");
    EXPECT_EQ(empty.run<Callback>("vn_oc_bgp_table_conn_list", nullptr, empty.destination), no_arguments);
}

} // namespace
} // namespace yfw::test
