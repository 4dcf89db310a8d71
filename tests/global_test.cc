// The AS number, the choice between the two forms of a native path, and the OpenConfig global settings in either form.
#include "rows.h"

namespace yfw::test {
namespace {

// Callbacks with their nodes ("@": below the address family) and native nodes ("#": below the address family). Then
// what follows the node, and the result, where "%" stands for the native node in the form of the VRF.
void play_settings(const std::string &settings, const std::string &outcomes) {
    for (const auto &setting : table(settings)) {
        std::string rows = "gbl_" + setting[0] + " /bgp/global" + replaced(setting[1], "^@", "#V4") + '\n';
        const std::string below =
                              'Q' + replaced(setting[2], {{"#", "/global-afs/global-af"}, {"additional-paths", "AP"}}),
                          below_vrf = 'S' + replaced(setting[2], {{"#", "/vrf-global-afs/vrf-global-af"},
                                                                  {"additional-paths", "AP"}});
        for (const std::string vrf : {"DEFAULT", "default", "blue", "Default", "-"}) {
            std::string lines = replaced(outcomes, "(^|\n)(\\?* ?)\\*", "$1$2" + vrf + '*');
            lines =
                vrf == "-" ? replaced(lines, "(\n\\?[^|]*\\| )(%[^;]*; )", "$1$2&$2") : lines; // asks for both forms
            rows += replaced(lines, {{"&%", below_vrf}, {"%", vrf == "blue" || vrf == "Default" ? below_vrf : below}}) +
                    '\n';
        }
        play("oc_bgp_", rows);
    }
}

TEST(GlobalSettings, TakeTheFormOfTheirVrf) {
    play_settings(R"(bestpath_med | /route-selection-options/config/always-compare-med | /best-path-med-always
bestpath_aslen | /route-selection-options/config/ignore-as-path-length | /best-path-as-path-length
bestpath_rtrid | /route-selection-options/config/external-compare-router-id | /best-path-router-id
afisafi_enable | @/config/enabled | #/enable)",
                  R"(*=true | %= <none>; -> 0
*{create}=true | %= <create>; -> 0
*=false | %= <remove>; -> 0 merge
*{replace}=false | %= <remove>; -> 0
*=TRUE | -> 0
* | TRC: Input can not be empty; REFUSED
*{delete}=true | % <delete>; -> 0
*{remove} | % <remove>; -> 0
? * | %=; -> 0
?? *=false | %=; -> 0)");
    play_settings(R"(afisafi_multipath_ebgp | @/use-multiple-paths/ebgp/config/maximum-paths | #/ebgp
afisafi_multipath_ibgp | @/use-multiple-paths/ibgp/config/maximum-paths | #/ibgp)",
                  R"(*=8 | %/paths-value=8 <none>; -> 0
*{create}=4294967296 | %/paths-value=4294967296 <create>; -> 0
*{delete}=8 | % <delete>; -> 0
*{remove} | % <remove>; -> 0
? *=8 | %/paths-value=; -> 0
?? * | %/paths-value=; -> 0)");
    play_settings(R"(add_paths_cfg_receive | @/add-paths/config/receive | #/additional-paths-receive
add_paths_cfg_send | @/add-paths/config/send | #/additional-paths-send)",
                  R"(*=true | %=enable <none>; -> 0
*{replace}=false | %=disable <replace>; -> 0
*=yes | % <none>; -> 0
* | % <none>; -> 0
*{delete}=true | % <delete>; -> 0
? *=true | %=; -> 0
?? * | %=; -> 0)");
}

TEST(GlobalSettings, OfTheDefaultVrfAreIgnoredInOthers) {
    const std::string rows = R"(gbl_confed_identifier /bgp/global/confederation/config/identifier
*=70000 | %/as-xx=0 %/as-yy=70000 <none>; -> 0
*{delete}=5 | % <delete>; -> 0
? * | %; -> 0
?? *=5 | %=5; -> 0
gbl_confed_memberas /bgp/global/confederation/config/member-as
*{create}=70000 | %!{} %!/as-xx=0 %!/as-yy=70000 <create>; -> 0
*{delete}=70000 | %!{} %!/as-xx=0 %!/as-yy=70000 <delete>; -> 0
*{remove} | % <remove>; -> 0
? * | %; -> 0
?? *=65001 | %!/as-xx=0; %!/as-yy=65001; -> 0
gbl_gr_enabled /bgp/global/graceful-restart/config/enabled
*=true | %= <none>; -> 0
*{create} | %= <create>; -> 0
*= | %= <none>; -> 0
*{create}=false | %= <remove>; -> 0
*=yes | -> 0
*{delete}=false | % <delete>; -> 0
? *=false | %=; -> 0
gbl_gr_helper_only /bgp/global/graceful-restart/config/helper-only
*=true | %purge-time=0 <none>; %neighbor-retain-disable= <remove>; -> 0 merge
*{delete}=true | %purge-time <delete>; -> 0
*= | TRC: Input data is empty; REFUSED
* | TRC: Input data is empty; REFUSED
*{replace}=yes | TRC: Input data is empty; REFUSED
?? *=true | %purge-time=; %neighbor-retain-disable=; -> 0)";
    for (const std::string vrf : {"DEFAULT", "-", "blue", "Default"}) {
        std::string lines, native;
        std::istringstream stream(rows);
        for (std::string line; std::getline(stream, line);) {
            native = line.starts_with("gbl_confed_i")   ? "Q/confederation-domain"
                     : line.starts_with("gbl_confed_m") ? "Q/confederation-peer-ases"
                     : line.starts_with("gbl_gr_e")     ? "Q/graceful-restart"
                     : line.starts_with("gbl_gr_h")     ? "Q/graceful-restart-"
                                                        : native;
            const bool ignored = (vrf == "blue" || vrf == "Default") && !line.starts_with("gbl");
            line = ignored ? replaced(line, "\\|.*", "| -> 0") : line;
            lines +=
                replaced(line, {{"^(\\?* ?)\\*", "$1" + vrf + '*'}, {"!", "/confederation-peer-as"}, {"%", native}}) +
                '\n';
        }
        play("oc_bgp_", lines);
    }
}

TEST(GlobalSettings, KeepAPurgeTimeThatIsThere) {
    const std::string native = "/default-vrf/global/graceful-restart-purge-time=", thirty = "~" + native + "30\n";
    // Reported as a failure is, with an End of its own, which is one too many.
    const std::string written = "Q/graceful-restart-purge-time=600 <none>; ",
                      unset = "LOST; TRC: No AS number under the instance: core. First create the AS number and then "
                              "edit under BGP; error path: AS number NOT already created under instance; " +
                              written + "TRC: End; ";
    for (const auto &[stored, as, expected] :
         std::initializer_list<std::array<std::string, 3>>{{"~/bgp-running=\n" + thirty, "", ""},
                                                           {"~/bgp-running=\n~" + native + "0\n", "", written},
                                                           {"~/bgp-running=\n", "", written},
                                                           {thirty, "", unset}, // no AS is running
                                                           {"", "", unset},
                                                           {thirty, "DEFAULT/AS=65000; ", ""}, // the request's first
                                                           {"~/bgp-running=\n" + thirty, "DEFAULT/AS=65001; ", written},
                                                           {"~/bgp-running=\n" + thirty, "DEFAULT/AS; ", ""}}) {
        SCOPED_TRACE(stored);
        const Database database(Database::Lines{stored});
        play("oc_bgp_", "gbl_gr_helper_only\n" + as +
                            "DEFAULT/bgp/global/graceful-restart/config/helper-only=false | " + expected + "-> 0");
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
        scene.map(protocol(row[3]) + "/bgp/global/" + row[4]);
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

TEST(GlobalAs, TakesTheWholeInstanceAlongWhenItIsDeleted) {
    // Behind the result the operations of the native instance and of its name.
    play("oc_bgp_", R"(global_config_as
DEFAULT/AS{delete}=65636 | ALL; REMOVES; -> 0, whole, remove remove | core/1/100
DEFAULT/AS{remove} | ALL; REMOVES; -> 0, whole, remove remove | core/1/100
DEFAULT/AS{delete}=65637 | ALL; WRONG-AS, whole, none none | core/1/100
DEFAULT/AS{delete}=65636 | ALL; LOST; NO-AS, whole, none none | other/1/100
// Only an AS is compared.
DEFAULT/bgp/global/config/router-id{delete}=1.2.3.4 | ALL; REMOVES; -> 0, whole, remove remove | core/1/100)",
         [](Scene &scene, const std::string &callback, Node *node) {
             const Node *instance = scene.add_native("/bgp/instance[instance-name=core]");
             const std::string result = call(scene, callback, node);
             return result + ", " + operation_text(instance) + ' ' + operation_text(instance->first());
         });
}

TEST(GlobalAs, KeepsTheRunningMarkerOutOfAReadOfStateOnly) {
    for (const auto &[selection, state_only] : {std::pair(yfw_content_selection{1, {0, 0}, 2}, false),
                                                {{-1, {1, 1}, 1}, false},
                                                {{-1, {0, 0}, 2}, true},
                                                {{0, {4, 0}, 2}, true},
                                                {{0, {0, 1}, 2}, true}}) {
        for (const std::uint32_t kind : {YFW_KIND_READ, YFW_KIND_READ_STATE, YFW_KIND_EDIT}) {
            Scene scene(kind);
            scene.fields.selection = selection;
            const std::string lines = call(scene, "oc_bgp_global_config_as", scene.map(request_line("DEFAULT/AS=1")));
            EXPECT_EQ(lines.find("F/bgp-running") == lines.npos, state_only && kind != YFW_KIND_EDIT) << lines;
        }
    }
}

TEST(VrfForms, FollowTheNetworkInstance) {
    // Default VRF? Named? Deleted? The candidates marked, by either function; then what is added of both forms.
    play("", R"(forms
/network-instances | 100 11 11 Q/router-id=1.1.1.1; S/router-id=1.1.1.1
-/bgp/global/config/router-id | 100 11 11 Q/router-id=1.1.1.1; S/router-id=1.1.1.1
DEFAULT/bgp/global/config/router-id | 110 10 01 Q/router-id=1.1.1.1
(default){delete} | 111 10 01 Q/router-id=1.1.1.1
(Default){remove} | 011 01 10 S/router-id=1.1.1.1
(blue){replace} | 010 01 10 S/router-id=1.1.1.1
? blue/bgp/global/state/router-id | 010 01 10 S/router-id=1.1.1.1
blue/bgp/global/state/router-id | 010 TRC: EDIT/DELETE requests not allowed on State nodes; 00 10 S/router-id=1.1.1.1)",
         [](Scene &scene, const std::string &, Node *) {
             std::string result;
             for (const char *test : {"yfw_map_oc_is_default_vrf_hierarchy", "yfw_map_oc_is_instance_present",
                                      "yfw_oc_bgp_is_delete_on_vrf_node"}) {
                 result += exported<bool(yfw_map_ctx)>(test)(&scene.request) ? '1' : '0';
             }
             std::array<xpath_list_type_t, 2> offered{};
             std::strcpy(offered[0].xpath, "/bgp/instance/instance-as/four-byte-as/default-vrf/global/router-id");
             std::strcpy(offered[1].xpath, "/bgp/instance/instance-as/four-byte-as/vrfs/vrf/vrf-global/router-id");
             std::array by_router_id = offered, by_two{offered[1], offered[0]}; // the other way round
             exported<Selection>("oc_bgp_gbl_routerid")(&scene.request, 2, by_router_id.data());
             exported<cerrno(yfw_map_ctx, xpath_list_type_t *)>("yfw_map_oc_add_path_for_1_to_n_cb")(&scene.request,
                                                                                                     by_two.data());
             result += ' ' + scene.take();
             for (const auto &list : {by_router_id, by_two}) {
                 result += std::to_string(list[0].selected) + std::to_string(list[1].selected) + ' ';
             }
             const Node *source = scene.add_native(protocol("blue") + "/bgp/global/config/router-id{delete}=1.1.1.1");
             using Add = cerrno(yfw_map_ctx, const Tree *, Tree *, const char *, const char *, const char *, int);
             const auto add = exported<Add>("yfw_map_oc_add_path_flagged");
             EXPECT_EQ(add(&scene.request, source, scene.destination, offered[0].xpath, offered[1].xpath, nullptr, 0),
                       0U);
             EXPECT_EQ(add(&scene.request, source, scene.destination, nullptr, nullptr, "1", 0), 0U);
             result += brief(scene.take());
             return result.substr(0, result.size() - 1);
         });
}

} // namespace
} // namespace yfw::test
