// Operational state: the callbacks of both passes.
#include "rows.h"

namespace yfw::test {
namespace {

const std::string bgp = "/protocols/protocol[identifier=BGP][name=core]/bgp";

// "<B blue>" for the protocol entry of a network instance in the one model, "<M>" in the other; without a name none.
std::string native(const std::string &line) {
    return replaced(line, {{"^<B", "/ocni-bgp<"},
                           {"^<M", "/ocni-bpm<"},
                           {"< (\\w+)>", "/network-instances/network-instance[name=$1]" + bgp},
                           {"<>", "/network-instances/network-instance" + bgp}});
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
            const bool plain_key = node->schema().is_key && !typed;
            const std::string path =
                replaced(instance_path(node), {{"^/network-instances/network-instance", ""},
                                               {"/protocols/protocol\\[identifier=BGP\\]\\[name=core\\]", "+"}});
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
    return replaced(result, "[^\n]* @network-instance\n-> ", "-> ");
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
            const std::string made = run(name, replaced(line, " %", given));
            const std::string path = std::string("[name=") + shown + "]+" + entry;
            EXPECT_TRUE(made.starts_with("-> 0\n")) << name << made;
            EXPECT_NE(made.find(path + '\n'), made.npos) << name << made;
            const bool family = name.find("_af") != name.npos;
            EXPECT_EQ(made.find(" @bgp-types\n") != made.npos, family) << made;
        }
        // A read of configuration is none of theirs.
        for (const std::uint32_t kind : {YFW_KIND_READ, YFW_KIND_EDIT}) {
            EXPECT_EQ(run(name, replaced(line, " %", " blue"), kind), "-> 0\n") << name;
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
            const std::string upper =
                replaced(exported<char *(const char *)>("ocni_vn2oc_str")(word.c_str()), "-", "_");
            EXPECT_EQ(converted(word), upper);
            EXPECT_EQ(converted(upper), "null");
        }
        EXPECT_EQ(converted(odd) + converted(""), "nullnull");
        const Tree nothing{};
        EXPECT_EQ(convert(nullptr, &nothing), nullptr);
    }
}

} // namespace
} // namespace yfw::test
