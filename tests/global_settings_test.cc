// The OpenConfig global settings: what each becomes in either VRF form, in an edit, a delete and a read.
#include "bgp/items.h"
#include "settings_fixture.h"

namespace yfw::test {
namespace {

const std::string global = "/bgp/global/", unicast = global + "afi-safis/afi-safi[afi-safi-name=IPV4_UNICAST]";
const std::string helper_only = global + "graceful-restart/config/helper-only";

// With the operation that the node is left with.
std::string called(Scene &scene, const std::string &callback, const Node *node) {
    const std::string result = scene.run<Callback>(callback.c_str(), node, scene.destination);
    return result + ' ' + operation_text(node);
}

std::string put(const std::string &text, const char *mark, const std::string &what) {
    return std::regex_replace(text, std::regex(mark), what);
}

// Callbacks, their nodes ("@": below the address family) and native nodes ("#": below the address family). Then the
// kind of the request, what follows the node, and the result, where "%" stands for the native node in the form of the
// VRF.
void play_settings(const std::string &settings, const std::string &outcomes) {
    for (const auto &setting : table(settings)) {
        for (const auto &outcome : table(outcomes)) {
            const std::uint32_t kind = static_cast<std::uint32_t>(std::stoul(outcome[0]));
            const std::string below = put(setting[2], "#", "/global-afs/global-af"),
                              below_vrf = put(setting[2], "#", "/vrf-global-afs/vrf-global-af");
            for (const std::string vrf : {"DEFAULT", "default", "blue", "Default", ""}) {
                SCOPED_TRACE(setting[0] + ' ' + vrf + outcome[1] + " of kind " + outcome[0]);
                const bool in_vrf = vrf == "blue" || vrf == "Default";
                std::string lines = outcome[2];
                if (vrf.empty() && kind != YFW_KIND_EDIT) { // a read that names no VRF asks for both forms
                    lines = put(lines, "(%[^]*\n)->", "$1&$1->");
                    lines = put(lines, "&%", "V/vrf-global" + below_vrf);
                }
                Scene scene(kind);
                const std::string node = setting[1][0] == '@' ? unicast + setting[1].substr(1) : global + setting[1];
                EXPECT_EQ(called(scene, setting[0], scene.map(protocol(vrf) + node + outcome[1])),
                          put(lines, "%", in_vrf ? "V/vrf-global" + below_vrf : "F/default-vrf/global" + below));
            }
        }
    }
}

TEST(GlobalSettings, TakeTheFormOfTheirVrf) {
    play_settings(R"(oc_bgp_gbl_bestpath_med | route-selection-options/config/always-compare-med | /best-path-med-always
oc_bgp_gbl_bestpath_aslen | route-selection-options/config/ignore-as-path-length | /best-path-as-path-length
oc_bgp_gbl_bestpath_rtrid | route-selection-options/config/external-compare-router-id | /best-path-router-id
oc_bgp_gbl_afisafi_enable | @/config/enabled | #/enable)",
                  R"(2 | =true | %= <none>; -> 0 none
2 | {create}=true | %= <create>; -> 0 create
2 | =false | %= <remove>; -> 0 merge
2 | {replace}=false | %= <remove>; -> 0 replace
2 | =TRUE | -> 0 none
2 | | TRC: Input can not be empty; error path; -> aaf2a000 none
2 | {delete}=true | % <delete>; -> 0 delete
2 | {remove} | % <remove>; -> 0 remove
0 | | %=; -> 0 none
10 | =false | %=; -> 0 none)");
    play_settings(R"(oc_bgp_gbl_afisafi_multipath_ebgp | @/use-multiple-paths/ebgp/config/maximum-paths | #/ebgp
oc_bgp_gbl_afisafi_multipath_ibgp | @/use-multiple-paths/ibgp/config/maximum-paths | #/ibgp)",
                  R"(2 | =8 | %/paths-value=8 <none>; -> 0 none
2 | {create}=4294967296 | %/paths-value=4294967296 <create>; -> 0 create
2 | {delete}=8 | % <delete>; -> 0 delete
2 | {remove} | % <remove>; -> 0 remove
0 | =8 | %/paths-value=; -> 0 none
10 | | %/paths-value=; -> 0 none)");
    play_settings(R"(oc_bgp_gbl_add_paths_cfg_receive | @/add-paths/config/receive | #/additional-paths-receive
oc_bgp_gbl_add_paths_cfg_send | @/add-paths/config/send | #/additional-paths-send)",
                  R"(2 | =true | %=enable <none>; -> 0 none
2 | {replace}=false | %=disable <replace>; -> 0 replace
2 | =yes | % <none>; -> 0 none
2 | | % <none>; -> 0 none
2 | {delete}=true | % <delete>; -> 0 delete
0 | =true | %=; -> 0 none
10 | | %=; -> 0 none)");
}

TEST(GlobalSettings, OfTheDefaultVrfAreIgnoredInOthers) {
    // The callback, the kind, the node, the result, in which "%" stands for the default VRF's global container.
    for (
        const auto &row : table(
            R"(confed_identifier | 2 | =70000 | %confederation-domain/as-xx=0 <none>; %confederation-domain/as-yy=70000 <none>; -> 0 none
confed_identifier | 2 | {delete}=5 | %confederation-domain <delete>; -> 0 delete
confed_identifier | 0 | | %confederation-domain; -> 0 none
confed_identifier | 10 | =5 | %confederation-domain=5; -> 0 none
confed_memberas | 2 | {create}=70000 | %!{} <create>; %!/as-xx=0 <create>; %!/as-yy=70000 <create>; -> 0 create
confed_memberas | 2 | {delete}=70000 | %!{} <delete>; %!/as-xx=0 <delete>; %!/as-yy=70000 <delete>; -> 0 delete
confed_memberas | 2 | {remove} | %confederation-peer-ases <remove>; -> 0 remove
confed_memberas | 0 | | %confederation-peer-ases; -> 0 none
confed_memberas | 10 | =65001 | %!/as-xx=0; %!/as-yy=65001; -> 0 none
gr_enabled | 2 | =true | %graceful-restart= <none>; -> 0 none
gr_enabled | 2 | {create} | %graceful-restart= <create>; -> 0 create
gr_enabled | 2 | = | %graceful-restart= <none>; -> 0 none
gr_enabled | 2 | {create}=false | %graceful-restart= <remove>; -> 0 create
gr_enabled | 2 | =yes | -> 0 none
gr_enabled | 2 | {delete}=false | %graceful-restart <delete>; -> 0 delete
gr_enabled | 0 | =false | %graceful-restart=; -> 0 none
gr_helper_only | 2 | =true | %?purge-time=0 <none>; %?neighbor-retain-disable= <remove>; -> 0 merge
gr_helper_only | 2 | {delete}=true | %?purge-time <delete>; -> 0 delete
gr_helper_only | 2 | = | TRC: Input data is empty; error path; -> aaf2a000 none
gr_helper_only | 2 | | TRC: Input data is empty; error path; -> aaf2a000 none
gr_helper_only | 2 | {replace}=yes | TRC: Input data is empty; error path; -> aaf2a000 replace
gr_helper_only | 10 | =true | %?purge-time=; %?neighbor-retain-disable=; -> 0 none)")) {
        const std::map<std::string, std::string> nodes{{"confed_identifier", "confederation/config/identifier"},
                                                       {"confed_memberas", "confederation/config/member-as"},
                                                       {"gr_enabled", "graceful-restart/config/enabled"},
                                                       {"gr_helper_only", "graceful-restart/config/helper-only"}};
        const std::string expected =
            put(put(put(row[3], "!", "confederation-peer-ases/confederation-peer-as"), "\\?", "graceful-restart-"), "%",
                "F/default-vrf/global/");
        for (const std::string vrf : {"DEFAULT", "", "blue", "Default"}) {
            SCOPED_TRACE(row[0] + ' ' + vrf + row[2] + " of kind " + row[1]);
            Scene scene(static_cast<std::uint32_t>(std::stoul(row[1])));
            const Node *node = scene.map(protocol(vrf) + global + nodes.at(row[0]) + row[2]);
            const std::string before = operation_text(node), result = called(scene, "oc_bgp_gbl_" + row[0], node);
            EXPECT_EQ(result, vrf == "DEFAULT" || vrf.empty() ? expected : "-> 0 " + before);
        }
    }
}

TEST(GlobalSettings, KeepAPurgeTimeThatIsThere) {
    const std::string written = "F/default-vrf/global/graceful-restart-purge-time=600 <none>\n-> 0 none",
                      leaf = protocol("DEFAULT") + helper_only, as = protocol("DEFAULT") + "/bgp/global/config/as",
                      time = "~/default-vrf/global/graceful-restart-purge-time=";
    // Reported as a failure is, with an End of its own, which is one too many.
    const std::string unset = "F/default-vrf/global/graceful-restart-purge-time=600 <none>\nTRC: End\n-> 0 none";
    const std::string none = none_found +
                             "TRC: No AS number under the instance: core. First create the AS number and then edit "
                             "under BGP\nerror path: AS number NOT already created under instance\n";
    for (const auto &[stored, request_as, expected] : std::initializer_list<std::array<std::string, 3>>{
             {"~/bgp-running=\n" + time + "30\n", "", "-> 0 none"},
             {"~/bgp-running=\n" + time + "0\n", "", written},
             {"~/bgp-running=\n", "", written},
             {time + "30\n", "", none + unset}, // no AS is running
             {"", "", none + unset},
             {time + "30\n", as + "=65000", "-> 0 none"}, // the request's AS comes first
             {"~/bgp-running=\n" + time + "30\n", as + "=65001", written},
             {"~/bgp-running=\n" + time + "30\n", as, "-> 0 none"}}) {
        SCOPED_TRACE(stored + request_as);
        const ScratchDirectory scratch;
        const Store store(scratch / "db", project_schema(), Access::write);
        if (!stored.empty()) {
            edit(store, project_schema(), stored);
        }
        const Transaction transaction = store.begin(Access::read);
        const SystemDatabase view(transaction, bgp_items(project_schema()));
        const BoundSystemDatabase bound(view);
        Scene scene;
        if (!request_as.empty()) {
            scene.add(request_as);
        }
        EXPECT_EQ(called(scene, "oc_bgp_gbl_gr_helper_only", scene.map(leaf + "=false")), expected);
    }
}

TEST(GlobalFamilies, GoWithTheirList) {
    // The kind, the VRF, what is mapped; the result, with "%" for the native list and "$" for the operational one.
    for (const auto &row : table(R"(2 | DEFAULT | | % <none>; -> 0 none
2 | blue | {replace} | % <replace>; -> 0 replace
2 | default | {delete} | % <delete>; -> aaf2f600 delete
2 | Default | {remove} | % <remove>; -> aaf2f600 remove
0 | | | %=; V/vrf-global/vrf-global-afs=; -> 0 none
10 | blue | | %=; $ @ocni-bgp-oper; -> 0 none
2 | DEFAULT | /afi-safi[afi-safi-name=IPV4_UNICAST] | %^{} <none>; %^/af-name=ipv4-unicast <none>; -> 0 none
2 | blue | /afi-safi[afi-safi-name=IPV4_UNICAST]{create} | %^{} <create>; %^/af-name=ipv4-unicast <create>; -> 0 create
2 | DEFAULT | /afi-safi[afi-safi-name=L2VPN_EVPN]{delete} | %^{} <remove>; %^/af-name=l2vpn-evpn; -> 0 remove
2 | blue | /afi-safi[afi-safi-name=IPV4_UNICAST]{remove} | %^{} <remove>; %^/af-name=ipv4-unicast; -> 0 remove
2 | DEFAULT | /afi-safi[afi-safi-name=IPV4_MULTICAST] | TRC: ERR: Input data is invalid !!; error path; -> aaf2a000 none
2 | blue | /afi-safi{create} | TRC: ERR: Input data is invalid !!; error path; -> aaf2a000 create
0 | DEFAULT | /afi-safi | %^{}=; %^/af-name=; -> 0 none
10 | blue | /afi-safi[afi-safi-name=IPV4_UNICAST] | %^{}=; %^/af-name=ipv4-unicast; $/afi-safi{} @ocni-bgp-oper; $/afi-safi/afi-safi-name=IPV4_UNICAST @ocni-bgp-oper; -> 0 none)")) {
        SCOPED_TRACE(row[0] + ' ' + row[1] + row[2]);
        Scene scene(static_cast<std::uint32_t>(std::stoul(row[0])));
        Node *node = scene.map(protocol(row[1]) + "/bgp/global/afi-safis" + row[2]);
        // The delete of an entry looks at the block of the request.
        scene.run<ProtocolCallback>("oc_process_bgp_protocol_list", node, scene.destination, nullptr,
                                    const_cast<char *>("core"));
        const bool in_vrf = row[1] == "blue" || row[1] == "Default", is_list = !row[2].empty() && row[2][0] == '/';
        std::string expected = put(row[3], "\\^", in_vrf ? "/vrf-global-af" : "/global-af");
        expected = put(expected, "%", in_vrf ? "V/vrf-global/vrf-global-afs" : "F/default-vrf/global/global-afs");
        expected = put(expected, "\\$", "B/protocols/protocol/bgp/global/afi-safis");
        EXPECT_EQ(called(scene, is_list ? "oc_bgp_gbl_afisafi_afname" : "oc_bgp_gbl_afisafis_parent", node), expected);
        EXPECT_EQ(scene.fields.del_expansion_mode, 1U);
    }
}

TEST(GlobalSelections, MarkWhatApplies) {
    // The callback, the kind, the number of candidates, what is mapped; those marked. No refusal of state levels here.
    for (const auto &row : table(R"(confed | 2 | 3 | DEFAULT | confederation | 111
confed | 0 | 2 | blue | confederation | 110
confed | 10 | 1 | DEFAULT | confederation | 100
confed | 2 | 0 | DEFAULT | confederation | 000
confed | 2 | -1 | DEFAULT | confederation | 000
confed | 1 | 3 | DEFAULT | confederation | 000
confed | 8 | 3 | DEFAULT | confederation | 000
confed | 15 | 3 | DEFAULT | confederation | 000
af_config | 2 | 2 | DEFAULT | afi-safis/afi-safi/config | 100
af_config | 2 | 2 | blue | afi-safis/afi-safi/config{delete} | 010
af_config | 0 | 3 | | afi-safis/afi-safi/config | 110
af_config | 2 | 2 | Default | state/router-id | 010)")) {
        Scene scene(static_cast<std::uint32_t>(std::stoul(row[1])));
        scene.map(protocol(row[3]) + global + row[4]);
        std::array<xpath_list_type_t, 3> offered{};
        std::strcpy(offered[0].xpath, "/bgp/instance/instance-as/four-byte-as/default-vrf/global/global-afs/global-af");
        EXPECT_EQ(scene.run<Selection>(("oc_bgp_gbl_" + row[0]).c_str(), std::stoi(row[2]), offered.data()), "-> 0");
        std::string marked;
        for (const xpath_list_type_t &candidate : offered) {
            marked += std::to_string(candidate.selected);
        }
        EXPECT_EQ(marked, row[5]) << row[0] << ' ' << row[1] << ' ' << row[3];
    }
}

TEST(GlobalSettings, RefuseMissingArguments) {
    for (const char *callback :
         {"oc_bgp_gbl_confed_identifier", "oc_bgp_gbl_confed_memberas", "oc_bgp_gbl_gr_enabled",
          "oc_bgp_gbl_gr_helper_only", "oc_bgp_gbl_bestpath_med", "oc_bgp_gbl_bestpath_aslen",
          "oc_bgp_gbl_bestpath_rtrid", "oc_bgp_gbl_afisafis_parent", "oc_bgp_gbl_afisafi_afname",
          "oc_bgp_gbl_afisafi_enable", "oc_bgp_gbl_afisafi_multipath_ebgp", "oc_bgp_gbl_afisafi_multipath_ibgp",
          "oc_bgp_gbl_add_paths_cfg_receive", "oc_bgp_gbl_add_paths_cfg_send"}) {
        for (const std::uint32_t kind : {YFW_KIND_READ, YFW_KIND_EDIT}) {
            Scene scene(kind);
            const Tree *node = scene.map(protocol("DEFAULT") + unicast), *none = nullptr;
            const std::string message = "ERR: Invalid arguments passed!\nerror path\n-> aaf2a000";
            EXPECT_EQ(scene.run<Callback>(callback, none, scene.destination), message) << callback;
            EXPECT_EQ(scene.run<Callback>(callback, node, static_cast<Tree *>(nullptr)), message) << callback;
        }
    }
}

} // namespace
} // namespace yfw::test
