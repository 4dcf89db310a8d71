// Native top level and global settings as OpenConfig.
#include "rows.h"

namespace yfw::test {
namespace {

const std::string instance = "/bgp/instance[instance-name=core]",
                  as_65538 = instance + "/instance-as[as=1]/four-byte-as[as=2]";

// The namespace of what was added last at a path below the protocol entry.
std::string name_space(Scene &scene, const std::string &path) {
    const Node *node = scene.request.destination();
    std::istringstream levels("network-instances/network-instance/protocols/protocol/" + path);
    for (std::string level; node != nullptr && std::getline(levels, level, '/');) {
        node = child(node, std::string_view(level));
    }
    return node == nullptr ? "" : replaced(node->name_space, "http://openconfig.net/yang/", "");
}

// Plays rows in reads of either kind, and in reads of state only, which get no line below a "config" container. "G" is
// the default VRF's global container.
void render(const std::string &rows) {
    const std::string whole = replaced(rows, {{"([?;]) G/", "$1 ~/default-vrf/global/"},
                                              {"FAMILY/", "global-afs/global-af[af-name=ipv4-unicast]/"},
                                              {"PEER\\[", "confederation-peer-ases/confederation-peer-as["},
                                              {"RETAIN", "graceful-restart-neighbor-retain-disable"},
                                              {"RD/", "/vrfs/vrf[vrf-name=blue]/bgp-global/route-distinguisher/"}});
    for (const auto &[selection, wanted] : {std::pair(yfw_content_selection{0, {0, 0}, 2}, true),
                                            {{-1, {1, 1}, 1}, true},
                                            {{-1, {0, 0}, 2}, false},
                                            {{0, {4, 0}, 2}, false},
                                            {{0, {0, 1}, 2}, false}}) {
        for (const char *kind : {"$1? ", "$1?? "}) {
            const std::string expected = wanted ? whole : replaced(whole, "[^;|]*/config/[^;]*;", "");
            play("vn_bgp_", replaced(expected, "(^|\n)\\? ", kind),
                 [chosen = selection](Scene &scene, const std::string &callback, Node *node) {
                     scene.fields.selection = chosen;
                     return call(scene, callback, node);
                 });
        }
    }
}

TEST(NativeGlobal, BecomesLeaves) {
    render(R"(gbl_gr_enabled
? G/graceful-restart= | C/graceful-restart/config/enabled=true f1; -> 0
? G/graceful-restart=false | C/graceful-restart/config/enabled=true f1; -> 0
gbl_afisafi_enable
? G/FAMILY/enable | C/AF/config/enabled=true f1; -> 0
gbl_bestpath_med
? G/best-path-med-always= | C/route-selection-options/config/always-compare-med=true f1; -> 0
gbl_bestpath_aslen
? G/best-path-as-path-length | C/route-selection-options/config/ignore-as-path-length=true f1; -> 0
gbl_bestpath_rtrid
? G/best-path-router-id= | C/route-selection-options/config/external-compare-router-id=true f1; -> 0
instance_gbl_af_multipath_ebgp
? G/FAMILY/ebgp/paths-value=8 | C/AF/use-multiple-paths/ebgp/config/maximum-paths=8; -> 0
instance_gbl_af_multipath_ibgp
? G/FAMILY/ibgp/paths-value | C/AF/use-multiple-paths/ibgp/config/maximum-paths; -> 0
instance_gbl_add_paths_cfg_receive
? G/FAMILY/additional-paths-receive=enable | C/AF/add-paths/config/receive=true; -> 0
? G/FAMILY/additional-paths-receive=Enable | C/AF/add-paths/config/receive; -> 0
? G/FAMILY/additional-paths-receive | ERR: Missing gbl add-path-receive; REFUSED
instance_gbl_add_paths_cfg_send
? G/FAMILY/additional-paths-send=disable | C/AF/add-paths/config/send=false; -> 0
? G/FAMILY/additional-paths-send= | C/AF/add-paths/config/send; -> 0
? G/FAMILY/additional-paths-send | ERR: Missing gbl add-path-send; REFUSED
instance_gbl_confed_peeras
? G/PEER[as-xx=9][as-yy=9]; G/PEER[as-xx=1][as-yy=100] | C/confederation/config/member-as=65636; -> 0
? G/PEER[as-xx=65535][as-yy=65535] | C/confederation/config/member-as=4294967295; -> 0
? G/PEER[as-yy=100] | ERR: Missing confed peer as xx; REFUSED
? G/PEER[as-xx=1] | ERR: Missing confed-peer as-yy; REFUSED
gbl_gr_helper_only
? G/graceful-restart-purge-time=0 | C/graceful-restart/config/helper-only=true f1; -> 0
? G/RETAIN=false; G/graceful-restart-purge-time=0 | C/graceful-restart/config/helper-only=true f1; -> 0
? G/RETAIN=true; G/graceful-restart-purge-time=0 | C/graceful-restart/config/helper-only=false f1; -> 0
? G/RETAIN=; G/graceful-restart-purge-time=0 | C/graceful-restart/config/helper-only=false f1; -> 0
? G/graceful-restart-purge-time=600 | C/graceful-restart/config/helper-only=false f1; -> 0
? G/graceful-restart-purge-time= | ERR: Missing gbl gr helper data; REFUSED
? G/graceful-restart-purge-time | ERR: Missing gbl gr helper data; REFUSED
? G/graceful-restart-purge-time=0; G/RETAIN= | -> 0
? G/graceful-restart= | -> 0
// Families become entries of their identity.
gbl_afisafi_afname
? G/global-afs/global-af[af-name=vpnv6-unicast] \
    | C/AF f1; C/AF/afi-safi-name=L3VPN_IPV6_UNICAST; C/AF/config/afi-safi-name=L3VPN_IPV6_UNICAST; -> 0
? ~/vrfs/vrf[vrf-name=default]/vrf-global/vrf-global-afs/vrf-global-af[af-name=vpnv6-unicast] \
    | C/AF f1; C/AF/afi-safi-name=L3VPN_IPV6_UNICAST; C/AF/config/afi-safi-name=L3VPN_IPV6_UNICAST; -> 0
? G/global-afs/global-af[af-name=ipv4-mdt] | -> aaf2f600
? ~/vrfs/vrf[vrf-name=default]/vrf-global/vrf-global-afs/vrf-global-af | -> aaf2f600
// A route distinguisher is written by its type, with the last of its leaves.
vrf_gbl_rd
? RD/type=as; RD/as-xx=9 | -> 0
? RD/type=as; RD/as=100 | -> 0
? RD/type=as; RD/as-index=7 | -> 0
? RD/type=as; RD/address=10.0.0.1 | -> 0
? RD/type=as; RD/address-index=5 | -> 0)");
    for (const auto &[type, written] : {std::pair("=as", "N=100:7"),
                                        {"=four-byte-as", "N=100:7"},
                                        {"=ipv4-address", "N=10.0.0.1:5"},
                                        {"=as4", "ERR: Route-Distinguisher type invalid; N=100:7"},
                                        {"", "ERR: Route-Distinguisher type invalid; N=100:7"}}) {
        render("vrf_gbl_rd\n? RD/as-xx=9; RD/as=100; RD/as-index=7; RD/address=10.0.0.1; RD/address-index=5; RD/type" +
               std::string(type) + " | " + replaced(written, "N", "L/config/route-distinguisher") + "; -> 0");
    }
    Scene scene(YFW_KIND_READ);
    call(scene, "vn_bgp_gbl_afisafi_afname",
         scene.map("~/default-vrf/global/global-afs/global-af[af-name=ipv4-unicast]"));
    for (const std::string level : {"", "config/"}) {
        EXPECT_EQ(name_space(scene, "bgp/global/afi-safis/afi-safi/" + level + "afi-safi-name"), "bgp-types");
    }
}

TEST(NativeGlobal, JoinsTheConfederationOfTwoVisits) {
    Scene scene(YFW_KIND_READ);
    // The leaves as they are visited; at "state" a read of state only begins, at "all" it ends.
    for (const auto &row : table(R"(
as-xx | ERR: Missing confed domain as xx; REFUSED
as-yy | ERR: Missing confed-domain as-yy; REFUSED
as-yy=65000 | C/confederation/config/identifier=65000; -> 0
as-xx=1 | -> 0
as-yy=100 | C/confederation/config/identifier=65636; -> 0
state
as-xx=65535 | -> 0
as-yy=65535 | -> 0
all
as-yy=65535 | C/confederation/config/identifier=4294967295; -> 0)")) {
        if (row.size() == 1) {
            scene.fields.selection = {-1, {0, 0}, row[0] == "state" ? std::uint32_t{YFW_SELECT_STATE_ONLY} : 0U};
            continue;
        }
        EXPECT_EQ(call(scene, "vn_bgp_instance_gbl_confed_domain",
                       scene.map("~/default-vrf/global/confederation-domain/" + row[0])),
                  row[1]);
    }
}

// The container of a family's prefix limit is named like its identity.
TEST(NativeFamilies, HaveTheirPrefixLimits) {
    for (std::uint32_t number = 0; number < 27; ++number) {
        std::array<char, 25> family{};
        ("0x" + hex(number) + '/').copy(family.data(), 24);
        exported<int(char *)>("ymap_convert_af_sysdb_2_VN")(family.data());
        Scene scene(YFW_KIND_READ);
        const std::string list = core + "/default-vrf/global/global-afs/global-af";
        scene.map(list + "[af-name=" + family.data() + ']');
        const char *identity = exported<const char *(yfw_map_ctx, const void *, const void *, const char *)>(
            "vn_bgp_afisafi_to_oc_bgp_afisafi")(
            &scene.request, nullptr, nullptr,
            "/bgp/instance/instance-as/four-byte-as/default-vrf/global/global-afs/global-af");
        for (const auto &[callback, above] : {std::pair("vn_get_oc_nbr_af_path", "neighbors/neighbor"),
                                              {"vn_get_oc_nbr_grp_af_path", "peer-groups/peer-group"}}) {
            const char *path = "kept";
            const std::string result =
                scene.run<cerrno(yfw_map_ctx, char *, const char **)>(callback, family.data(), &path);
            EXPECT_EQ(result, identity == nullptr ? "ERR: Invalid afi-safi\nerror path\n-> aaf2a000" : "-> 0")
                << family.data();
            std::string container =
                identity == nullptr ? "" : exported<char *(const char *)>("ocni_oc2vn_str")(identity);
            std::replace(container.begin(), container.end(), '_', '-');
            EXPECT_EQ(path, identity == nullptr
                                ? "kept"
                                : "/network-instances/network-instance/protocols/protocol/bgp/" + std::string(above) +
                                      "/afi-safis/afi-safi/" + container + "/prefix-limit");
            EXPECT_TRUE(identity == nullptr || project_schema().find(path) != nullptr) << path;
            EXPECT_EQ(
                (scene.run<cerrno(yfw_map_ctx, char *, const char **)>(callback, static_cast<char *>(nullptr), &path)),
                "error path\n-> aaf2a000");
        }
    }
}

TEST(NativeProtocol, NamesItself) {
    const std::string rows = R"(protocol_selection2
? /bgp/instance/instance-name=core | E/config/identifier=BGP; E/config/name=core; -> 0, config: policy-types
?? /bgp/instance/instance-name=core \
    | E/config/identifier=BGP; E/config/name=core; E/state/identifier=BGP; E/state/name=core; -> 0, \
    config: policy-types, state: policy-types
/bgp/instance/instance-name=core | E/config/identifier=BGP; E/config/name=core; -> 0, config: policy-types
?? /bgp/instance/instance-name | -> 0)";
    for (const std::uint32_t selection : {0, 2}) {
        play("vn_", selection == 0 ? rows : replaced(rows, "E/config/[^;]*;|,[ \\\\\n]*config: policy-types", ""),
             [selection](Scene &scene, const std::string &callback, Node *node) {
                 scene.fields.selection = {-1, {0, 0}, selection};
                 std::string result = call(scene, callback, node);
                 for (const std::string level : {"config", "state"}) {
                     const std::string types = name_space(scene, level + "/identifier");
                     result += types.empty() ? "" : ", " + level + ": " + types;
                 }
                 return result;
             });
    }
}

// The names of the nodes that are marked as of a read.
std::string marks(const Node *parent) {
    std::string names;
    for (const Node *node = parent->first(); node != nullptr; node = node->next()) {
        names += (operation_text(node) == "none" ? "" : std::string(" ") + node->name + '=' + operation_text(node)) +
                 (node->schema().is_inner() ? marks(node) : "");
    }
    return names;
}

TEST(NativeAs, IsJoinedAndMarked) {
    // By the mode of the request and the selection of content.
    for (const auto &[mode, selection, rows] : {std::tuple(0U, 0U, R"(
? *[as=1]/four-byte-as[as=2]/as=2 | C C/config C/config/as=65538 f8; -> 0 global=replace config=replace as=replace
*[as=1]/four-byte-as[as=2]/as=2 | C C/config C/config/as=65538 f8; -> 0
?? *[as=1]/four-byte-as[as=2]/as=2 | C C/config C/config/as=65538 C C/state C/state/as=65538 f8; -> 0 \
    global=replace state=replace as=replace
? *[as=1]/four-byte-as/as | ERR: Missing BGP global/four-byte-as number; REFUSED
? /bgp/instance/instance-as[as=1]/four-byte-as[as=2]/vrfs/vrf/vrf-name | ERR: Missing VRF name; REFUSED
? /bgp/instance/instance-as[as=1]/four-byte-as[as=2]/vrfs/vrf/vrf-name=blue \
    | ERR: vn_oc_protocol_list_selection: missing bgp instance-name; error path; C C/config C/config/as=65538 f8; -> 0 \
    global=replace config=replace as=replace)"),
                                                {3U, 0U,
                                                 "\n?? *[as=1]/four-byte-as[as=2]/as=2 | -> 0\n"
                                                 "? */four-byte-as/as | -> 0"},
                                                {0U, 2U,
                                                 "\n?? *[as=1]/four-byte-as[as=2]/as=2 | -> 0\n"
                                                 "? */four-byte-as[as=2] | ERR: Missing BGP "
                                                 "global/four-byte-as number; REFUSED"}}) {
        play("vn_bgp_", "instance_fourbyteas_as /bgp/instance[instance-name=core]/instance-as" + std::string(rows),
             [mode = mode, selection = selection](Scene &scene, const std::string &callback, Node *node) {
                 const yfw_request_kind kind{scene.fields.kind->kind, mode};
                 scene.fields.kind = &kind;
                 scene.fields.selection = {-1, {0, 0}, selection};
                 const std::string result = call(scene, callback, node);
                 return result + marks(scene.request.destination());
             });
    }
}

TEST(NativeTop, EntersTheProtocolEntry) {
    const auto added = [](const std::string &name) {
        return "error path\nE{} E/identifier=BGP E/name=" + name + " f32\n-> 0";
    };
    const std::string vrf = as_65538 + "/vrfs/vrf[vrf-name=";
    Scene scene(YFW_KIND_READ);
    Tree *const destination = scene.destination;
    // The callback, what is mapped, the network instance, what it adds.
    for (const auto &[callback, mapped, name, expected] : std::initializer_list<std::array<std::string, 4>>{
             {"vn_bgp_oc_protocol_list_selection", instance, "DEFAULT", added("core")},
             {"vn_bgp_oc_protocol_list_selection", instance, "DEFAULT", "error path\n-> 0"},
             {"vn_bgp_vrf_name", vrf + "blue]", "blue", added("core")},
             {"vn_bgp_vrf_name", vrf + "default]", "DEFAULT", "error path\n-> 0"},
             {"vn_bgp_vrf_name", vrf + "Default]", "Default", added("core")},
             {"vn_bgp_oc_protocol_list_selection", "/bgp/instance[instance-name=edge]", "DEFAULT", added("edge")}}) {
        const Node *node = scene.map(mapped);
        EXPECT_EQ(call(scene, callback, node), expected) << mapped;
        const Node *made = scene.request.current_list();
        EXPECT_EQ(instance_path(made), protocol(name, mapped.find("edge") == mapped.npos ? "core" : "edge"));
        EXPECT_EQ(made->first()->name_space, std::string("http://openconfig.net/yang/policy-types"));
        EXPECT_STREQ(scene.fields.trim_path, "/network-instances/network-instance/protocols/protocol");
        EXPECT_TRUE(scene.request.withdrawn.empty());
    }
    std::string lines;
    print_tree(scene.request.destination(), lines);
    EXPECT_EQ(lines, protocol("DEFAULT") + '\n' + protocol("DEFAULT", "edge") + '\n' + protocol("blue") + '\n' +
                         protocol("Default") + '\n');
    EXPECT_EQ(destination, scene.destination);
}

TEST(NativeTop, TellsWhatItLacks) {
    const std::string name = "ERR: vn_oc_protocol_list_selection: missing bgp instance-name\n",
                      instanceless = "/bgp/instance/instance-as/four-byte-as/vrfs/vrf";
    const std::string taken = "error path\nERR: Couldnt add BGP instance core under network-instance DEFAULT\n-> ";
    // Where an entry of another namespace is in the way, the node stays withdrawn.
    for (const auto &[callback, mapped, expected] : std::initializer_list<std::array<std::string, 3>>{
             {"vn_bgp_oc_protocol_list_selection", "/bgp/instance", name + "REFUSED"},
             {"vn_bgp_vrf_name", instanceless, "ERR: Missing VRF name\nREFUSED"},
             {"vn_bgp_vrf_name", instanceless + "[vrf-name=blue]", name + "error path\n-> 0"},
             {"vn_bgp_oc_protocol_list_selection", instance, taken + "aaf29e00"},
             {"vn_bgp_vrf_name", as_65538 + "/vrfs/vrf[vrf-name=default]", taken + "0"}}) {
        Scene scene(YFW_KIND_READ);
        exported<void(Tree *, const char *)>("vn_bgp_set_type_ns")(scene.add_native(protocol("DEFAULT")), "urn:other");
        EXPECT_EQ(call(scene, callback, scene.map(mapped)), expected) << mapped;
        EXPECT_EQ(scene.request.withdrawn.empty(), expected.find("Couldnt") == expected.npos);
        EXPECT_EQ(scene.fields.trim_path, nullptr);
    }
}

} // namespace
} // namespace yfw::test
