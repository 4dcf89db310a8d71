// Operational state: the callbacks of both passes one by one, and whole reads over a store with operational data.
#include "engine.h"
#include "settings_fixture.h"

namespace yfw::test {
namespace {

const std::string bgp = "/protocols/protocol[identifier=BGP][name=core]/bgp";
const std::string no_arguments = "ERR: Invalid arguments passed!\nerror path\n-> aaf2a000";

// "<B blue>" for the protocol entry of a network instance in the one model, "<M>" in the other; without a name none.
std::string native(std::string line) {
    for (const auto &[letter, root] : {std::pair("B", "/ocni-bgp"), {"M", "/ocni-bpm"}}) {
        const std::string list = std::string(root) + "/network-instances/network-instance";
        line = std::regex_replace(line, std::regex(std::string("<") + letter + " (\\w+)>"), list + "[name=$1]" + bgp);
        line = std::regex_replace(line, std::regex(std::string("<") + letter + ">"), list + bgp);
    }
    return line;
}

// The OpenConfig tree, a leaf or bare entry a line, identities with the last part of their namespace.
void print_openconfig(const Node *parent, std::string &lines) {
    for (const Node *node = parent->first(); node != nullptr; node = node->next()) {
        if (node->schema().is_inner()) {
            print_openconfig(node, lines);
        }
        const std::string name_space = node->name_space;
        const bool typed = node->name_space != node->schema().module->name_space;
        if (typed || (!node->schema().is_key && !node->schema().is_inner()) || node->first() == nullptr ||
            node->schema().kind == NodeKind::list) {
            std::string path =
                std::regex_replace(instance_path(node), std::regex("^/network-instances/network-instance"), "");
            const std::size_t at = path.find("/protocols/protocol[identifier=BGP][name=core]");
            path = at == path.npos ? path : path.replace(at, 46, "+");
            const bool plain_key = node->schema().is_key && !typed;
            lines += plain_key ? ""
                               : path + (node->value == nullptr ? "" : "=" + std::string(node->value)) +
                                     (typed ? " @" + name_space.substr(name_space.rfind('/') + 1) : "") + '\n';
        }
    }
}

std::string run(const std::string &name, const std::string &line, std::uint32_t kind = YFW_KIND_READ_STATE) {
    Scene scene(kind);
    const Node *node = scene.map(native(line));
    const bool top = name == "bgp_state_toplevel" || name == "ocni_oper_peer_grp_top";
    std::string result = top ? scene.run<ToplevelCallback>(("vn_" + name).c_str(), node, 0U, scene.destination)
                             : scene.run<Callback>(("vn_" + name).c_str(), node, scene.destination);
    result += '\n';
    print_openconfig(scene.request.destination(), result);
    return std::regex_replace(result, std::regex("[^\n]* @network-instance\n-> "), "-> ");
}

// What the lists do for their own entries, for other mappings' to use.
TEST(StateEntries, AreNamedByAnIdentity) {
    const std::string list = "/global/afi-safis/afi-safi", named = list + "[afi-safi-name=IPV4_UNICAST]";
    for (const auto &[entry, expected] :
         {std::pair(named, "-> 0: [name=blue]+/bgp" + named + "/afi-safi-name=IPV4_UNICAST @bgp-types"),
          {list, "-> 79661400: [name=blue]+/bgp" + list}}) {
        Scene scene(YFW_KIND_READ_STATE);
        Tree *node = scene.add_native(network_instance("blue") + bgp + entry);
        const std::string code = scene.run<cerrno(yfw_map_ctx, Tree *)>("vn_bgp_ocni_add_aflist_identity_ref", node);
        std::string lines;
        print_openconfig(scene.request.destination(), lines);
        EXPECT_EQ(code + ": " + lines.substr(0, lines.find('\n')), expected);
    }
}

TEST(StateEntries, JoinUnderTheOpenConfigName) {
    const std::string neighbor = "/neighbors/neighbor[neighbor-address=2001:db8::1]";
    const std::string group = "/peer-groups/peer-group[peer-group-name=edge [west]";
    struct Row {
        std::string name, line, entry; // entry: below the protocol entry, "" for none
    };
    const std::vector<Row> rows{
        {"ocni_to_bgp_nbr", "<B %>" + neighbor, "/bgp" + neighbor},
        {"ocni_oper_peer_grp_list", "<M %>/peer-groups/peer-group[peer-group-name=edge]",
         "/bgp/peer-groups/peer-group[peer-group-name=edge]"},
        {"ocni_bgp_gbl_afisafi_list", "<B %>/global/afi-safis/afi-safi[afi-safi-name=IPV4_UNICAST]",
         "/bgp/global/afi-safis/afi-safi[afi-safi-name=IPV4_UNICAST]"},
        {"ocni_bgp_nbr_af_list",
         "<B %>" + neighbor + "/neighbors-afi-safis/neighbors-afi-safi[afi-safi-name=L2VPN_EVPN]",
         "/bgp" + neighbor + "/afi-safis/afi-safi[afi-safi-name=L2VPN_EVPN]"},
        {"ocni_bgp_nbrgrp_af_list",
         "<M %>/peer-groups/peer-group[peer-group-name=edge]/peer-groups-afi-safis/"
         "peer-groups-afi-safi[afi-safi-name=IPV6_UNICAST]",
         "/bgp/peer-groups/peer-group[peer-group-name=edge]/afi-safis/afi-safi[afi-safi-name=IPV6_UNICAST]"}};
    for (const auto &[name, line, entry] : rows) {
        for (const auto &[given, shown] :
             {std::pair(" default", "DEFAULT"), {" DEFAULT", "DEFAULT"}, {"", "DEFAULT"}, {" blue", "blue"}}) {
            const std::string made = run(name, std::regex_replace(line, std::regex(" %"), given));
            const std::string path = std::string("[name=") + shown + "]+" + entry;
            EXPECT_TRUE(made.starts_with("-> 0\n")) << name << made;
            EXPECT_NE(made.find(path + '\n'), made.npos) << name << made;
            const bool family = name.find("_af") != name.npos;
            EXPECT_EQ(made.find(" @bgp-types\n") != made.npos, family) << made;
        }
        // A read of configuration is none of theirs.
        for (const std::uint32_t kind : {YFW_KIND_READ, YFW_KIND_EDIT}) {
            EXPECT_EQ(run(name, std::regex_replace(line, std::regex(" %"), " blue"), kind), "-> 0\n") << name;
        }
        for (const bool has_source : {false, true}) {
            Scene scene(YFW_KIND_READ_STATE);
            const Node *node = has_source ? scene.map(native("<B blue>")) : nullptr;
            Tree *into = has_source ? nullptr : scene.destination;
            EXPECT_EQ(scene.run<Callback>(("vn_" + name).c_str(), node, into), no_arguments) << name;
        }
    }
    // The key is missing; the model lacks the identity; a bracket in a name ends it only where the path goes on.
    EXPECT_EQ(run("ocni_to_bgp_nbr", "<B blue>/neighbors/neighbor"), "-> aaf29e00\n");
    EXPECT_EQ(run("ocni_to_bgp_nbr", "<B blue>/neighbors"), "-> 79661400\n");
    EXPECT_TRUE(run("ocni_bgp_gbl_afisafi_list", "<B>/global/afi-safis/afi-safi[afi-safi-name=IPV4_MULTICAST]")
                    .starts_with("-> 79661000\n"));
    Scene scene(YFW_KIND_READ_STATE);
    Node *odd = scene.map(native("<M>/peer-groups/peer-group"));
    set_value(scene.request.arena(), ensure_child(scene.request.arena(), odd, *odd->schema().keys[0]), "a]b[c");
    EXPECT_EQ(scene.run<Callback>("vn_ocni_oper_peer_grp_list", odd, scene.destination), "-> 0");
    std::string lines;
    print_openconfig(scene.request.destination(), lines);
    EXPECT_NE(lines.find("peer-group[peer-group-name=\"a]b[c\"]\n"), lines.npos) << lines;
}

TEST(StateTops, AddInstanceAndProtocol) {
    const std::string missing = "]:missing network-instance name\nerror path\n-> aaf2a000\n";
    for (const auto &[name, letter] : {std::pair("bgp_state_toplevel", "B"), {"ocni_oper_peer_grp_top", "M"}}) {
        for (const std::uint32_t kind : {YFW_KIND_READ_STATE, YFW_KIND_READ}) { // whatever the kind
            for (const auto &[vrf, shown] : {std::pair("default", "DEFAULT"), {"Default", "Default"}}) {
                EXPECT_EQ(run(name, std::string("<") + letter + ' ' + vrf + '>', kind),
                          std::string("-> 0\n[name=") + shown + "]+/identifier=BGP @policy-types\n[name=" + shown +
                              "]+\n[name=" + shown + "]\n");
            }
        }
        EXPECT_EQ(run(name, std::string("<") + letter + '>'), std::string("ERR: [vn_") + name + missing);
    }
    for (const auto &[name, expected] : {std::pair("vn_bgp_state_toplevel", std::string("ERR: [vn_bgp_state_toplevel") +
                                                                                missing.substr(0, missing.size() - 1)),
                                         {"vn_ocni_oper_peer_grp_top", no_arguments}}) {
        Scene scene(YFW_KIND_READ_STATE);
        EXPECT_EQ(scene.run<ToplevelCallback>(name, static_cast<const Tree *>(nullptr), 0U, scene.destination),
                  expected);
    }
}

TEST(StateLeaves, CarryTheirIdentitiesAndRouteDistinguishers) {
    const std::string family = "/afi-safi[afi-safi-name=IPV4_UNICAST]/state/afi-safi-name";
    for (const auto &[name, line] :
         {std::pair("gbl", "<B blue>/global/afi-safis/afi-safi/state/afi-safi-name"),
          {"nbr", "<B blue>/neighbors/neighbor/neighbors-afi-safis/neighbors-afi-safi/state/afi-safi-name"},
          {"nbrgrp", "<M>/peer-groups/peer-group/peer-groups-afi-safis/peer-groups-afi-safi/state/afi-safi-name"}}) {
        const std::string callback = std::string("ocni_bgp_") + name + "_state_af_name";
        const std::string made = run(callback, std::string(line) + "=IPV6_UNICAST");
        EXPECT_NE(made.find("afi-safi/state/afi-safi-name=IPV6_UNICAST @bgp-types\n"), made.npos) << made;
        EXPECT_EQ(run(callback, std::string(line) + "=IPV6_UNICAST", YFW_KIND_READ), "-> 0\n");
    }
    const std::string in_instance = "/ocni-bgp/network-instances/network-instance", rd = "/state/route-distinguisher";
    const std::string tag = "ERR: [vn_ocnibgp_state_rd_rev]: ", end = "\nerror path\n-> aaf2a000\n";
    const std::string default_rd = tag + "RD is not supported in default VRF" + end;
    for (const auto &[name, value, expected] :
         {std::tuple("[name=blue]", "=65000:1",
                     std::string("-> 0\n[name=blue]/state/route-distinguisher=65000:1\n") + "[name=blue]\n"),
          {"[name=default]", "=65000:1", default_rd},
          {"[name=DEFAULT]", "=65000:1", default_rd},
          {"", "=65000:1", tag + " missing network-instance name" + end},
          {"", "=", "-> 0\n"},
          {"[name=default]", "", "-> 0\n"}}) {
        for (const std::uint32_t kind : {YFW_KIND_READ, YFW_KIND_READ_STATE}) {
            EXPECT_EQ(run("ocnibgp_state_rd", in_instance + name + rd + value, kind), expected) << name << value;
        }
    }
}

TEST(StateRequests, AskTheOperationalModels) {
    const std::string families = "/afi-safis/afi-safi/state/afi-safi-name", groups = "/bgp/peer-groups";
    const std::string native_groups = "F/default-vrf/bgp-entity/neighbor-groups", rd = "/state/route-distinguisher";
    const std::string asked_groups = native_groups + '\n' + "M/protocols/protocol/bgp/peer-groups @ocni-bpm-oper\n-> 0";
    const std::string in_vrf = "TRC: Peer-Group is not supported inside VRF\n-> aaf2f600";
    const std::string asks_rd = "B" + rd + " @ocni-bgp-oper\n-> 0";
    const std::string of_default = "TRC: Peer-Group is not supported inside VRF\nerror path\n-> aaf2a000";
    struct Case {
        std::string name, line, expected;
        std::uint32_t kind = YFW_KIND_READ_STATE;
    };
    const std::vector<Case> cases{
        {"ocni_bgp_gbl_state_af_name", protocol("blue") + "/bgp/global" + families + "=X",
         "B/protocols/protocol/bgp/global" + families + " @ocni-bgp-oper\n-> 0"},
        {"ocni_bgp_nbr_state_af_name", protocol("blue") + "/bgp/neighbors/neighbor" + families + "=X",
         "B/protocols/protocol/bgp/neighbors/neighbor/neighbors-afi-safis/neighbors-afi-safi/state/afi-safi-name "
         "@ocni-bgp-oper\n-> 0"},
        {"ocni_bgp_nbrgrp_state_af_name", protocol("") + "/bgp/peer-groups/peer-group" + families + "=X",
         "M/protocols/protocol/bgp/peer-groups/peer-group/peer-groups-afi-safis/peer-groups-afi-safi/state/"
         "afi-safi-name=X @ocni-bpm-oper\n-> 0"},
        {"ocni_bgp_nbrgrp_state_af_name", protocol("") + "/bgp/peer-groups/peer-group" + families, "-> 0",
         YFW_KIND_READ},
        {"ocni_bgp_gbl_state_af_name", protocol("") + "/bgp/global" + families, "-> 0", YFW_KIND_EDIT},
        {"ocni_bgp_state_rd", network_instance("blue") + rd,
         "B{} @ocni-bgp-oper\nB/name=blue @ocni-bgp-oper\n" + asks_rd},
        {"ocni_bgp_state_rd", network_instance("") + rd, "B{} @ocni-bgp-oper\nB/name @ocni-bgp-oper\n" + asks_rd},
        {"ocni_bgp_state_rd", network_instance("default") + rd, of_default},
        {"ocni_bgp_state_rd", network_instance("DEFAULT") + rd, of_default, YFW_KIND_READ},
        {"ocni_bgp_state_rd", network_instance("blue") + rd, "-> 0", YFW_KIND_READ},
        {"peer_group_top", protocol("DEFAULT") + groups, asked_groups},
        {"peer_group_top", protocol("default") + groups, asked_groups},
        {"peer_group_top", protocol("") + groups, asked_groups},
        {"peer_group_top", protocol("") + groups, native_groups + "\n-> 0", YFW_KIND_READ},
        {"peer_group_top", protocol("blue") + groups, in_vrf},
        {"peer_group_top", protocol("blue") + groups + "{delete}", in_vrf, YFW_KIND_EDIT},
        {"peer_group_top", protocol("") + groups + "{create}", native_groups + " <create>\n-> 0", YFW_KIND_EDIT},
        {"peer_group_top", protocol("") + groups + "{remove}", native_groups + " <remove>\n-> aaf2f600",
         YFW_KIND_EDIT}};
    for (const auto &[name, line, expected, kind] : cases) {
        for (const bool complete : {true, false}) {
            Scene scene(kind);
            const Node *node = scene.map(line);
            Tree *into = complete ? scene.destination : nullptr;
            EXPECT_EQ(name == "peer_group_top"
                          ? scene.run<ToplevelCallback>("ocni_vn_oper_peer_group_top", node, 0U, into)
                          : scene.run<Callback>(name.c_str(), node, into),
                      complete ? expected : no_arguments)
                << line << " kind " << kind;
        }
    }
}

TEST(StateConverters, AreExact) {
    using Convert = const char *(yfw_map_ctx, const Tree *);
    for (const auto &[name, native_words, odd] :
         {std::tuple("session_state", "idle connect active opensent openconfirm established", "Established"),
          {"peer_type", "internal external", "internal "},
          {"send_community", "standard extended both none", "large"},
          {"default_policy", "accept-route reject-route", "accept_route"}}) {
        auto *convert = exported<Convert>(std::string("ocni_vn_bgp_") + name + "_convert");
        const auto converted = [convert](std::string text) {
            Tree node{};
            node.value = text.data();
            const char *result = convert(nullptr, &node);
            return std::string(result == nullptr ? "null" : result);
        };
        std::istringstream words(native_words);
        for (std::string word; words >> word;) {
            std::string upper = std::regex_replace(word, std::regex("-"), "_");
            std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
            EXPECT_EQ(converted(word), upper);
            EXPECT_EQ(converted(upper), "null");
        }
        EXPECT_EQ(converted(odd) + converted(""), "nullnull");
        const Tree nothing{};
        EXPECT_EQ(convert(nullptr, &nothing), nullptr);
    }
}

// ---- Whole reads
// ------------------------------------------------------------------------------------------------------

const Engine &engine() {
    static const Engine made({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
    return made;
}

class StateReads : public testing::Test {
  protected:
    void load(std::string text) {
        Transaction transaction = store_.begin(Access::write);
        engine().load(text, Syntax::json, transaction);
        transaction.commit();
    }
    // The leaves of a read below network instances, a line each, keys left out; then the notes.
    std::string read(const std::vector<std::string> &below, bool state = true) {
        std::vector<std::string> paths;
        for (const std::string &path : below) {
            paths.push_back("/network-instances/network-instance" + path);
        }
        const auto result = engine().read(paths, state, store_.begin(Access::read));
        std::string lines;
        print_openconfig(result.openconfig(), lines);
        lines = std::regex_replace(lines, std::regex(" @[a-z-]+"), "");
        std::string leaves;
        std::istringstream stream(lines);
        for (std::string line; std::getline(stream, line);) {
            const bool is_leaf = std::regex_search(line, std::regex("/[a-zA-Z-]+=[^\\]]*$"));
            leaves += is_leaf && line.find("identifier=") == line.npos ? line + '\n' : "";
        }
        for (const std::string &note : result.notes) {
            leaves += "note " + note.substr(note.rfind('/')) + '\n';
        }
        return leaves;
    }
    void SetUp() override {
        edit(store_, project_schema(),
             "~/bgp-running=\n@1/remote-as/as-xx=0\n@1/remote-as/as-yy=65001\n" +
                 std::string("~/vrfs/vrf[vrf-name=blue]") +
                 "/vrf-neighbors/vrf-neighbor[neighbor-address=2001:db8::1]/description=six");
        const auto instance = [](const std::string &name, const std::string &state, const std::string &neighbors) {
            return R"({"name":")" + name + R"(","state":{"route-distinguisher":")" + state +
                   R"("},"protocols":{"protocol":[{"identifier":"BGP","name":"core","bgp":{"global":{"state":)"
                   R"({"as":65000,"router-id":"1.1.1.1"}},"neighbors":{"neighbor":[)" +
                   neighbors + "]}}}]}}";
        };
        load(R"({"ocni-bgp":{"network-instances":{"network-instance":[)" +
             instance("default", "",
                      R"({"neighbor-address":"10.0.0.1","state":{"session-state":"established","send-community":)"
                      R"("large"},"neighbors-afi-safis":{"neighbors-afi-safi":[{"afi-safi-name":"IPV4_UNICAST",)"
                      R"("state":{"active":true}},{"afi-safi-name":"IPV4_MULTICAST","state":{"active":true}}]}},)"
                      R"({"neighbor-address":"10.0.0.9","state":{"session-state":"idle"}})") +
             ',' +
             instance("blue", "65000:1", R"({"neighbor-address":"2001:db8::1","state":{"peer-type":"internal"}})") +
             "]}}}");
    }

    ScratchDirectory scratch_;
    Store store_{scratch_ / "db", engine().schema(), Access::write};
    const std::string neighbors_ = "/protocols/protocol/bgp/neighbors";
};

const std::string at_default = "[name=DEFAULT]+/bgp/neighbors/neighbor",
                  at_blue = "[name=blue]+/bgp/neighbors/neighbor";
const std::string one = at_default + "[neighbor-address=10.0.0.1]", nine = at_default + "[neighbor-address=10.0.0.9]";
const std::string six = at_blue + "[neighbor-address=2001:db8::1]";

TEST_F(StateReads, JoinStateToConfiguration) {
    const std::string config = one + "/config/neighbor-address=10.0.0.1\n" + one + "/config/peer-as=65001\n",
                      six_config = six + "/config/neighbor-address=2001:db8::1\n" + six + "/config/description=six\n";
    EXPECT_EQ(read({neighbors_}, false), config + six_config);
    const std::string family = one + "/afi-safis/afi-safi[afi-safi-name=IPV4_UNICAST]";
    EXPECT_EQ(read({neighbors_}),
              config + one + "/state/session-state=ESTABLISHED\n" + one + "/state/neighbor-address=10.0.0.1\n" +
                  family + "/afi-safi-name=IPV4_UNICAST\n" + family + "/state/active=true\n" + family +
                  "/state/afi-safi-name=IPV4_UNICAST\n" + nine + "/state/session-state=IDLE\n" + nine +
                  "/state/neighbor-address=10.0.0.9\n" + six_config + six + "/state/peer-type=INTERNAL\n" + six +
                  "/state/neighbor-address=2001:db8::1\n" +
                  "note /neighbors-afi-safi[afi-safi-name=IPV4_MULTICAST]: a key is missing, or is an identity that "
                  "the model lacks\n");
    // A network instance that is not configured has no configuration to show.
    load(R"({"ocni-bgp":{"network-instances":{"network-instance":[{"name":"red","state":{"route-distinguisher":)"
         R"("1:1"}}]}}})");
    EXPECT_EQ(read({"[name=red]"}), "[name=red]/state/route-distinguisher=1:1\n[name=red]/state/name=red\n");
}

TEST_F(StateReads, AreCutToWhatIsAsked) {
    const std::string session = "/state/session-state", in_default = "[name=DEFAULT]" + neighbors_ + "/neighbor";
    const std::string rd = "[name=blue]/state/route-distinguisher=65000:1\n", of_blue = "[name=blue]/state";
    const std::string nine_state = nine + session + "=IDLE\n";
    for (const auto &[paths, expected] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{in_default + "[neighbor-address=10.0.0.9]" + session}, nine_state},
             {{"[name=default]" + neighbors_ + "/neighbor[neighbor-address=10.0.0.9]" + session}, nine_state},
             {{neighbors_ + "/neighbor" + session}, one + session + "=ESTABLISHED\n" + nine_state},
             {{neighbors_ + "/neighbor/config/peer-as"}, one + "/config/peer-as=65001\n"},
             {{in_default + "/config/peer-as", in_default + "[neighbor-address=10.0.0.9]" + session},
              one + "/config/peer-as=65001\n" + nine_state},
             {{of_blue + "/route-distinguisher"}, rd},
             {{"[name=DEFAULT]/state"}, "[name=DEFAULT]/state/name=DEFAULT\n"},
             {{"[name=DEFAULT]/config"}, "[name=DEFAULT]/config/name=DEFAULT\n"},
             {{"/protocols/protocol/bgp/global/state/router-id"},
              "[name=DEFAULT]+/bgp/global/state/router-id=1.1.1.1\n[name=blue]+/bgp/global/state/router-id=1.1.1.1\n"},
             {{"[name=blue]/protocols/protocol/bgp/global/state/as"}, "[name=blue]+/bgp/global/state/as=65000\n"},
             {{"[name=blue]" + neighbors_ + "/neighbor[neighbor-address=2001:DB8::1]/state/peer-type"},
              six + "/state/peer-type=INTERNAL\n"},
             {{"[name=blue]" + neighbors_ + "/neighbor[neighbor-address=2001:db8:0:0::1]/state/peer-type"},
              six + "/state/peer-type=INTERNAL\n"},
             {{"[name=red]" + neighbors_}, ""}}) {
        EXPECT_EQ(read(paths), expected) << paths.front();
    }
    EXPECT_THROW(read({in_default + session}, false), Refused);                // state without --state
    EXPECT_THROW(read({"[name=DEFAULT]/state/route-distinguisher"}), Refused); // the default one has none
    const auto declared = [this](const std::string &path) {
        const auto request =
            engine().declare({"/network-instances/network-instance" + path}, true, store_.begin(Access::read));
        std::string lines;
        print_openconfig(request->destination(), lines);
        return lines;
    };
    EXPECT_EQ(declared(in_default + "/config/peer-as").find("/ocni-"), std::string::npos);
    const std::string asked = declared(in_default + "[neighbor-address=10.0.0.9]" + session);
    EXPECT_NE(asked.find("/bgp/neighbors/neighbor[neighbor-address=10.0.0.9]/state/session-state\n"), asked.npos)
        << asked;
    EXPECT_EQ(asked.find("/ocni-bpm"), asked.npos) << asked;
}

TEST_F(StateReads, RefuseWhatCannotBeLoadedAndKeepWhatIsThere) {
    const std::string before = read({neighbors_});
    const std::string head = R"({"ocni-bgp":{"network-instances":{"network-instance":[{"name":"default","protocols":)"
                             R"({"protocol":[{"identifier":"BGP","name":"core","bgp":{"neighbors":{"neighbor":[)";
    for (const char *neighbor :
         {R"({"neighbor-address":"10.0.0.1","state":{"session-state":"Established"}})",
          R"({"neighbor-address":"10.0.0.1"},{"neighbor-address":"10.0.0.1"})",
          R"({"neighbor-address":"2001:db8::1"},{"neighbor-address":"2001:DB8::1"})", R"({"state":{"enabled":true}})",
          R"({"neighbor-address":"10.0.0.1","state":{"uptime":1}})", R"({"neighbor-address":"10.0.0.1")"}) {
        EXPECT_THROW(load(head + neighbor + "]}}}]}}]}}}"), Refused) << neighbor;
    }
    EXPECT_EQ(read({neighbors_}), before);
    load(R"({"ocni-bgp":{}})"); // in the place of what is stored, and nothing else goes
    EXPECT_EQ(read({neighbors_ + "/neighbor/state/session-state"}), "");
    EXPECT_EQ(read({neighbors_}, false), one + "/config/neighbor-address=10.0.0.1\n" + one + "/config/peer-as=65001\n" +
                                             six + "/config/neighbor-address=2001:db8::1\n" + six +
                                             "/config/description=six\n");
}

} // namespace
} // namespace yfw::test
