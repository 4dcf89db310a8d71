// Native top level and global settings as OpenConfig.
#include "settings_fixture.h"

namespace yfw::test {
namespace {

const std::string invalid = "ERR: Invalid arguments passed!\nerror path\n-> aaf2a000";
const std::string instance = "/bgp/instance[instance-name=core]",
                  as_65538 = instance + "/instance-as[as=1]/four-byte-as[as=2]";

std::string rendered(Scene &scene, const std::string &callback, const Tree *node) {
    return openconfig_lines(scene.run<Callback>(callback.c_str(), node, scene.destination));
}

// The namespace of what was added last at a path.
std::string name_space(Scene &scene, const std::string &path) {
    const Node *node = scene.request.destination();
    std::istringstream levels(path);
    for (std::string level; node != nullptr && std::getline(levels, level, '/');) {
        node = child(node, std::string_view(level));
    }
    return node == nullptr ? "" : node->name_space;
}

const std::string entry_path = "network-instances/network-instance/protocols/protocol",
                  bgp_types = "http://openconfig.net/yang/bgp-types",
                  policy_types = "http://openconfig.net/yang/policy-types";

// Native lines, of which the callback maps the last, and what it adds.
struct Rendering {
    std::string callback;
    std::vector<std::string> native;
    std::string expected;
};

Node *map_last(Scene &scene, const std::vector<std::string> &lines) {
    std::for_each(lines.begin(), lines.end() - 1, [&scene](const std::string &line) { scene.add(line); });
    return scene.map(lines.back());
}

// In reads of either kind, and in reads of state only, which get no line below a "config" container.
void render(const std::vector<Rendering> &renderings) {
    for (const Rendering &row : renderings) {
        for (const auto &[selection, wanted] : {std::pair(yfw_content_selection{0, {0, 0}, 2}, true),
                                                {{-1, {1, 1}, 1}, true},
                                                {{-1, {0, 0}, 2}, false},
                                                {{0, {4, 0}, 2}, false},
                                                {{0, {0, 1}, 2}, false}}) {
            for (const std::uint32_t kind : {YFW_KIND_READ, YFW_KIND_READ_STATE}) {
                SCOPED_TRACE(row.callback + ' ' + row.native.back() + (wanted ? "" : ", state only"));
                Scene scene(kind);
                scene.fields.selection = selection;
                const std::string expected =
                    wanted ? row.expected : std::regex_replace(row.expected, std::regex("[^\n]*/config/[^\n]*\n"), "");
                EXPECT_EQ(rendered(scene, row.callback, map_last(scene, row.native)), expected);
            }
        }
    }
}

TEST(NativeGlobal, BecomesLeaves) {
    // The callback, the native lines below the default VRF's global container ("@": its address family), what is added.
    std::vector<Rendering> rows;
    for (const auto &row : table(R"(gbl_gr_enabled | graceful-restart= | graceful-restart/config/enabled=true f1
gbl_gr_enabled | graceful-restart=false | graceful-restart/config/enabled=true f1
gbl_afisafi_enable | @enable | afi-safis/afi-safi/config/enabled=true f1
gbl_bestpath_med | best-path-med-always= | route-selection-options/config/always-compare-med=true f1
gbl_bestpath_aslen | best-path-as-path-length | route-selection-options/config/ignore-as-path-length=true f1
gbl_bestpath_rtrid | best-path-router-id= | route-selection-options/config/external-compare-router-id=true f1
instance_gbl_af_multipath_ebgp | @ebgp/paths-value=8 | afi-safis/afi-safi/use-multiple-paths/ebgp/config/maximum-paths=8
instance_gbl_af_multipath_ibgp | @ibgp/paths-value | afi-safis/afi-safi/use-multiple-paths/ibgp/config/maximum-paths
instance_gbl_add_paths_cfg_receive | @additional-paths-receive=enable | afi-safis/afi-safi/add-paths/config/receive=true
instance_gbl_add_paths_cfg_receive | @additional-paths-receive=Enable | afi-safis/afi-safi/add-paths/config/receive
instance_gbl_add_paths_cfg_receive | @additional-paths-receive | ERR: Missing gbl add-path-receive
instance_gbl_add_paths_cfg_send | @additional-paths-send=disable | afi-safis/afi-safi/add-paths/config/send=false
instance_gbl_add_paths_cfg_send | @additional-paths-send= | afi-safis/afi-safi/add-paths/config/send
instance_gbl_add_paths_cfg_send | @additional-paths-send | ERR: Missing gbl add-path-send
instance_gbl_confed_peeras | ^[as-xx=9][as-yy=9]; ^[as-xx=1][as-yy=100] | confederation/config/member-as=65636
instance_gbl_confed_peeras | ^[as-xx=65535][as-yy=65535] | confederation/config/member-as=4294967295
instance_gbl_confed_peeras | ^[as-yy=100] | ERR: Missing confed peer as xx
instance_gbl_confed_peeras | ^[as-xx=1] | ERR: Missing confed-peer as-yy
gbl_gr_helper_only | graceful-restart-purge-time=0 | graceful-restart/config/helper-only=true f1
gbl_gr_helper_only | ~=false; graceful-restart-purge-time=0 | graceful-restart/config/helper-only=true f1
gbl_gr_helper_only | ~=true; graceful-restart-purge-time=0 | graceful-restart/config/helper-only=false f1
gbl_gr_helper_only | ~=; graceful-restart-purge-time=0 | graceful-restart/config/helper-only=false f1
gbl_gr_helper_only | graceful-restart-purge-time=600 | graceful-restart/config/helper-only=false f1
gbl_gr_helper_only | graceful-restart-purge-time= | ERR: Missing gbl gr helper data
gbl_gr_helper_only | graceful-restart-purge-time | ERR: Missing gbl gr helper data
gbl_gr_helper_only | graceful-restart-purge-time=0; ~= | -> 0
gbl_gr_helper_only | graceful-restart= | -> 0)")) {
        const bool fails = row[2].starts_with("ERR");
        rows.push_back({"vn_bgp_" + row[0],
                        {},
                        fails              ? row[2] + "\nerror path\n-> aaf2a000"
                        : row[2] == "-> 0" ? "-> 0"
                                           : "G/" + row[2] + "\n-> 0"});
        std::istringstream lines(row[1]);
        for (std::string line; std::getline(lines, line);) {
            line = std::regex_replace(line, std::regex("@"), "global-afs/global-af[af-name=ipv4-unicast]/");
            line = std::regex_replace(line, std::regex("\\^"), "confederation-peer-ases/confederation-peer-as");
            line = std::regex_replace(line, std::regex("~"), "graceful-restart-neighbor-retain-disable");
            rows.back().native.push_back("~/default-vrf/global/" + line);
        }
    }
    render(rows);
}

TEST(NativeGlobal, JoinsTheConfederationOfTwoVisits) {
    const std::string domain = "~/default-vrf/global/confederation-domain/",
                      callback = "vn_bgp_instance_gbl_confed_domain";
    const auto joined = [](const std::string &as) { return "G/confederation/config/identifier=" + as + "\n-> 0"; };
    Scene scene(YFW_KIND_READ);
    const std::string message = "error path\n-> aaf2a000";
    EXPECT_EQ(rendered(scene, callback, scene.map(domain + "as-xx")), "ERR: Missing confed domain as xx\n" + message);
    EXPECT_EQ(rendered(scene, callback, scene.map(domain + "as-yy")), "ERR: Missing confed-domain as-yy\n" + message);
    EXPECT_EQ(rendered(scene, callback, scene.map(domain + "as-yy=65000")),
              joined("65000")); // the upper half was not visited
    EXPECT_EQ(rendered(scene, callback, scene.map(domain + "as-xx=1")), "-> 0");
    EXPECT_EQ(rendered(scene, callback, scene.map(domain + "as-yy=100")), joined("65636"));
    scene.fields.selection = {-1, {0, 0}, YFW_SELECT_STATE_ONLY};
    EXPECT_EQ(rendered(scene, callback, scene.map(domain + "as-xx=65535")), "-> 0"); // is kept all the same
    EXPECT_EQ(rendered(scene, callback, scene.map(domain + "as-yy=65535")), "-> 0");
    scene.fields.selection = {};
    EXPECT_EQ(rendered(scene, callback, scene.map(domain + "as-yy=65535")), joined("4294967295"));
}

TEST(NativeRouteDistinguisher, IsWrittenByItsType) {
    const std::string rd = "/vrfs/vrf[vrf-name=blue]/bgp-global/route-distinguisher/", callback = "vn_bgp_vrf_gbl_rd";
    const std::vector<std::string> leaves{rd + "as-xx=9", rd + "as=100", rd + "as-index=7", rd + "address=10.0.0.1",
                                          rd + "address-index=5"};
    const auto written = [](const std::string &text) { return "N/config/route-distinguisher=" + text + "\n-> 0"; };
    std::vector<Rendering> rows;
    for (const auto &[type, expected] : {std::pair("=as", written("100:7")),
                                         {"=four-byte-as", written("100:7")},
                                         {"=ipv4-address", written("10.0.0.1:5")},
                                         {"=as4", "ERR: Route-Distinguisher type invalid\n" + written("100:7")},
                                         {"", "ERR: Route-Distinguisher type invalid\n" + written("100:7")}}) {
        rows.push_back({callback, leaves, expected});
        rows.back().native.push_back(rd + "type" + type);
    }
    for (const std::string &leaf : leaves) {
        rows.push_back({callback, {rd + "type=as", leaf}, "-> 0"});
    }
    render(rows);
}

TEST(NativeFamilies, BecomeEntriesOfTheirIdentity) {
    const std::string name = "/afi-safi-name=L3VPN_IPV6_UNICAST\n", entry = "G/afi-safis/afi-safi",
                      both = entry + " f1\n" + entry + name + entry + "/config" + name + "-> 0";
    const std::string callback = "vn_bgp_gbl_afisafi_afname", list = "~/default-vrf/global/global-afs/global-af",
                      vrf_list = "~/vrfs/vrf[vrf-name=default]/vrf-global/vrf-global-afs/vrf-global-af";
    render({{callback, {list + "[af-name=vpnv6-unicast]"}, both},
            {callback, {vrf_list + "[af-name=vpnv6-unicast]"}, both},
            {callback, {list + "[af-name=ipv4-mdt]"}, "-> aaf2f600"},
            {callback, {vrf_list}, "-> aaf2f600"}});
    Scene scene(YFW_KIND_READ);
    rendered(scene, callback, scene.map(list + "[af-name=ipv4-unicast]"));
    for (const std::string level : {"/", "/config/"}) {
        EXPECT_EQ(name_space(scene, entry_path + "/bgp/global/afi-safis/afi-safi" + level + "afi-safi-name"),
                  bgp_types);
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
    const std::string config = "P/config/identifier=BGP\nP/config/name=core\n",
                      state = "P/state/identifier=BGP\nP/state/name=core\n", callback = "vn_protocol_selection2";
    for (const auto &[kind, mode, name, expected] : {std::tuple(YFW_KIND_READ, 0U, "=core", config),
                                                     {YFW_KIND_READ_STATE, 0U, "=core", config + state},
                                                     {YFW_KIND_EDIT, 0U, "=core", config},
                                                     {YFW_KIND_READ, 2U, "=core", std::string()},
                                                     {YFW_KIND_READ_STATE, 2U, "=core", state},
                                                     {YFW_KIND_READ_STATE, 0U, "", std::string()}}) {
        Scene scene(kind);
        scene.fields.selection = {-1, {0, 0}, mode};
        Node *node = scene.add("/bgp/instance/instance-name");
        EXPECT_EQ(rendered(scene, callback,
                           *name == '\0' ? node : scene.map("/bgp/instance/instance-name" + std::string(name))),
                  expected + "-> 0");
        for (const std::string level : {"config", "state"}) {
            const bool written = expected.find("P/" + level) != expected.npos;
            EXPECT_EQ(name_space(scene, entry_path + '/' + level + "/identifier"), written ? policy_types : "");
        }
    }
}

// The names of the nodes that are marked as of a read.
std::string marks(const Node *parent) {
    std::string names;
    for (const Node *node = parent->first(); node != nullptr; node = node->next()) {
        names += (operation_text(node) == "none" ? "" : node->name + ('=' + operation_text(node)) + ' ') +
                 (node->schema().is_inner() ? marks(node) : "");
    }
    return names;
}

TEST(NativeAs, IsJoinedAndMarked) {
    const std::string callback = "vn_bgp_instance_fourbyteas_as", config = "G f8\nG/config f8\nG/config/as=65538 f8\n",
                      state = "G f8\nG/state f8\nG/state/as=65538 f8\n";
    const std::string missing = "ERR: Missing BGP global/four-byte-as number\nerror path\n-> aaf2a000",
                      marked = "global=replace config=replace as=replace ";
    const std::string low = "/four-byte-as/as", as = as_65538 + "/as=2";
    struct Case {
        std::string native, expected, marks;
        std::uint32_t kind = YFW_KIND_READ, mode = 0, selection = 0;
    };
    for (const Case &row :
         {Case{as, config + "-> 0", marked},
          {as, config + "-> 0", "", YFW_KIND_EDIT},
          {as, config + state + "-> 0", "global=replace state=replace as=replace ", YFW_KIND_READ_STATE},
          {as, "-> 0", "", YFW_KIND_READ_STATE, 3},
          {as, "-> 0", "", YFW_KIND_READ_STATE, 0, 2},
          {instance + "/instance-as/four-byte-as[as=2]", missing, "", 0, 0, 2},
          {instance + "/instance-as[as=1]" + low, missing, ""},
          {instance + "/instance-as" + low, "-> 0", "", 0, 3},
          {"/bgp/instance/instance-as[as=1]/four-byte-as[as=2]/vrfs/vrf/vrf-name",
           "ERR: Missing VRF name\nerror path\n-> aaf2a000", ""},
          {"/bgp/instance/instance-as[as=1]/four-byte-as[as=2]/vrfs/vrf/vrf-name=blue",
           "ERR: vn_oc_protocol_list_selection: missing bgp instance-name\nerror path\n" + config + "-> 0", marked}}) {
        SCOPED_TRACE(row.native);
        Scene scene(row.kind);
        const yfw_request_kind kind{row.kind, row.mode};
        scene.fields.kind = &kind;
        scene.fields.selection = {-1, {0, 0}, row.selection};
        EXPECT_EQ(rendered(scene, callback, scene.map(row.native)), row.expected);
        EXPECT_EQ(marks(scene.request.destination()), row.marks);
    }
}

TEST(NativeTop, EntersTheProtocolEntry) {
    const auto added = [](const std::string &name) {
        return "error path\nP{} f32\nP/identifier=BGP f32\nP/name=" + name + " f32\n-> 0";
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
        EXPECT_EQ(rendered(scene, callback, node), expected) << mapped;
        const Node *made = scene.request.current_list();
        EXPECT_EQ(instance_path(made), protocol(name, mapped.find("edge") == mapped.npos ? "core" : "edge"));
        EXPECT_EQ(made->first()->name_space, policy_types);
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
    const std::string name = "ERR: vn_oc_protocol_list_selection: missing bgp instance-name\nerror path\n-> ",
                      instanceless = "/bgp/instance/instance-as/four-byte-as/vrfs/vrf";
    const std::string taken = "error path\nERR: Couldnt add BGP instance core under network-instance DEFAULT\n-> ";
    // Where an entry of another namespace is in the way, the node stays withdrawn.
    for (const auto &[callback, mapped, expected] : std::initializer_list<std::array<std::string, 3>>{
             {"vn_bgp_oc_protocol_list_selection", "/bgp/instance", name + "aaf2a000"},
             {"vn_bgp_vrf_name", instanceless, "ERR: Missing VRF name\nerror path\n-> aaf2a000"},
             {"vn_bgp_vrf_name", instanceless + "[vrf-name=blue]", name + "0"},
             {"vn_bgp_oc_protocol_list_selection", instance, taken + "aaf29e00"},
             {"vn_bgp_vrf_name", as_65538 + "/vrfs/vrf[vrf-name=default]", taken + "0"}}) {
        Scene scene(YFW_KIND_READ);
        exported<void(Tree *, const char *)>("vn_bgp_set_type_ns")(scene.add_native(protocol("DEFAULT")), "urn:other");
        EXPECT_EQ(rendered(scene, callback, scene.map(mapped)), expected) << mapped;
        EXPECT_EQ(scene.request.withdrawn.empty(), expected.find("Couldnt") == expected.npos);
        EXPECT_EQ(scene.fields.trim_path, nullptr);
    }
}

TEST(NativeGlobal, RefusesMissingArguments) {
    for (const char *callback :
         {"vn_bgp_oc_protocol_list_selection", "vn_bgp_vrf_name", "vn_protocol_selection2",
          "vn_bgp_instance_fourbyteas_as", "vn_bgp_vrf_gbl_rd", "vn_bgp_gbl_bestpath_med", "vn_bgp_gbl_bestpath_aslen",
          "vn_bgp_gbl_bestpath_rtrid", "vn_bgp_instance_gbl_add_paths_cfg_receive",
          "vn_bgp_instance_gbl_add_paths_cfg_send", "vn_bgp_gbl_gr_helper_only", "vn_bgp_gbl_afisafi_afname"}) {
        Scene scene(YFW_KIND_READ);
        const Tree *node = scene.map(core + "/default-vrf/global/graceful-restart-purge-time=0"), *none = nullptr;
        EXPECT_EQ(scene.run<Callback>(callback, none, scene.destination), invalid) << callback;
        EXPECT_EQ(scene.run<Callback>(callback, node, static_cast<Tree *>(nullptr)), invalid) << callback;
    }
}

} // namespace
} // namespace yfw::test
