// OpenConfig peer groups as native neighbour groups, beside the neighbours that they are like; address families of
// both.
#include "rows.h"

namespace yfw::test {
namespace {

// Two callbacks, a group's and a neighbour's, and their leaf; a value, and what an edit, a delete and a read with it
// make of the native entry; the neighbour's, where it differs.
const char *const twins = R"(
peer_group_peeras | nbr_peer_as | /config/peer-as | 4200000000 | remote-as/as-xx=0 remote-as/as-yy=4200000000 \
    | remote-as | remote-as/as-xx=0 remote-as/as-yy=4200000000 | | | remote-as=
nbrgrp_local_as | nbr_local_as | /config/local-as | 1 | local-as/as-xx=0 local-as/as-yy=1 | local-as \
    | local-as/as-xx=0 local-as/as-yy=1 | | | local-as=
nbr_grp_timers_hold_time | nbr_timers_cfg_hld_time | /timers/config/hold-time | 90 | timers/hold-time=90 \
    | timers/hold-time timers/keepalive-interval | timers/hold-time=90 | | | timers/hold-time=
nbr_grp_timers_keepalive_time | nbr_timers_cfg_keepalive_interval | /timers/config/keepalive-interval | 3 \
    | timers/keepalive-interval=3 | timers/hold-time timers/keepalive-interval | timers/keepalive-interval=3 | \
    | timers/keepalive-interval timers/hold-time | timers/keepalive-interval=
peer_group_timer_min_interval | nbr_timers_cfg_minimum_adv_interval \
    | /timers/config/minimum-advertisement-interval | 5.250 | AI=5 AI-msecs=250 | advertisement-interval \
    | AI=5 AI-msecs=250 | | | AI= AI-msecs=
peer_group_tcp_mode | nbr_transport_cfg_passive_mode | /transport/config/passive-mode | true \
    | session-open-mode=passive-only | session-open-mode | session-open-mode=passive-only | | | session-open-mode=
peer_group_ebgp_multihop | nbr_ebgp_multihop | /ebgp-multihop/config/enabled | true \
    | ebgp-multihop/mpls-deactivation=false ebgp-multihop/max-hop-count=1 | ebgp-multihop \
    | ebgp-multihop/max-hop-count | ebgp-multihop/max-hop-count=1 ebgp-multihop/mpls-deactivation=false | \
    | ebgp-multihop/max-hop-count=
peer_grp_path_recv | nbr_add_paths_cfg_receive | /add-paths/config/receive | false | AP-receive-capability=disable \
    | AP-receive-capability | AP-receive-capability=disable | | | AP-receive-capability=
peer_group_log_neighbor_state | nbr_log_neighbor_state | /logging-options/config/log-neighbor-state-changes | true \
    | LOG-enable=true LOG-disable=false LOG-inherit-disable=false | log-neighbor-state-change \
    | LOG-enable= LOG-disable= LOG-inherit-disable=
cfg_peer_grp_bfd_enabled | cfg_peer_bfd_enabled | /enable-bfd/config/enabled | true | bfd-enable-modes=default \
    | bfd-enable-modes | bfd-enable-modes=
peer_grp_dflt_policy_in | nbr_dflt_policy_in | /apply-policy/config/default-import-policy | ACCEPT_ROUTE \
    | default-routepolicy-in=accept-route | default-routepolicy-in | default-routepolicy-in=ACCEPT_ROUTE | | \
    | default-routepolicy-in=
peer_grp_dflt_policy_out | nbr_dflt_policy_out | /apply-policy/config/default-export-policy | REJECT_ROUTE \
    | default-routepolicy-out=reject-route | default-routepolicy-out | default-routepolicy-out=REJECT_ROUTE | | \
    | default-routepolicy-out=
peer_grp_import_policy | nbr_import_policy | /apply-policy/config/import-policy | p
peer_grp_export_policy | nbr_export_policy | /apply-policy/config/export-policy | p
peer_grp_afi_safi_enable | nbr_afi_safi_enabled | #V6/config/enabled | true | activate= | activate | activate=true \
    | | | activate=
peer_group_afi_safi_maxprefix | nbr_afi_max_pfx_params | #L/max-prefixes | 9 \
    | MAX/prefix-limit=9 MAX/discard-extra-paths=false | MAX | MAX/prefix-limit=9 | | | MAX/prefix-limit=
nbr_grp_afi_pfx_limit_prevent_tear | nbr_afi_pfx_limit_prevent_tear | #L/prevent-teardown | true \
    | MAX/warning-only=true | MAX/warning-only | MAX/warning-only | | | MAX/warning-only=
nbr_grp_afi_shut_down_thrshld | nbr_afi_shut_down_thrshld | #L/warning-threshold-pct | 80 \
    | MAX/warning-percentage=80 | MAX/warning-percentage | MAX/warning-percentage | | | MAX/warning-percentage=
nbr_grp_afi_pfx_limit_restart_timer | nbr_afi_pfx_limit_restart_timer | #L/restart-timer | 60 \
    | MAX/restart-time=60 | MAX/restart-time | MAX/restart-time | | | MAX/restart-time=
peer_group_afi_safi_send_default | nbr_afi_safi_cfg_send_def_route | #V6/ipv6-unicast/config/send-default-route \
    | false | default-originate/enable=false | default-originate | default-originate/enable=false | | \
    | default-originate/enable=
nbrgrp_afi_safi_apply_policy_cfg_in_pol | | #V6/apply-policy/config/import-policy | in | route-policy-in=in \
    | route-policy-in=in | route-policy-in=in
nbrgrp_afi_safi_apply_policy_cfg_out_pol | | #V6/apply-policy/config/export-policy | out | route-policy-out=out \
    | route-policy-out=out | route-policy-out=out
| peer_enabled | /config/enabled | false | shutdown=true | shutdown | shutdown=
| nbr_transport_cfg_mtu | /transport/config/mtu-discovery | true | tcpmtu-discovery=1 | tcpmtu-discovery \
    | tcpmtu-discovery=
| nbr_gr_cfg_helper_only | /graceful-restart/config/helper-only | false | neighbor-graceful-restart-helper-only=2 \
    | neighbor-graceful-restart-helper-only | neighbor-graceful-restart-helper-only=
| nbr_afi_safi_use_multipath | #V6/use-multiple-paths/config/enabled | true | multipath= | multipath | multipath=
| nbr_afi_safi_addpath_receive | #V6/add-paths/config/receive | true | advertise-AP-receive-capability=enable \
    | advertise-AP-receive-capability | advertise-AP-receive-capability=
| nbr_afi_safi_addpath_send | #V6/add-paths/config/send | false | advertise-AP-send-capability=disable \
    | advertise-AP-send-capability | advertise-AP-send-capability=)";

TEST(PeerGroupLeaves, AreWrittenDeletedAndReadLikeANeighborsButForWhatTheyDoOtherwise) {
    for (auto &row : table(twins)) {
        row.resize(10);
        const std::string family = row[2][0] == '#' ? "A" : "", &value = row[3];
        const auto play_one = [&](const std::string &callback, const std::string &node, const std::string &entry,
                                  std::size_t at) {
            const auto lines = [&](std::size_t cell, const std::string &operation) {
                const std::string &leaves = row[at + cell].empty() ? row[cell + 4] : row[at + cell],
                                  whole = replaced(leaves, "[^ ]+", entry + family + "/$&");
                return leaves.empty()      ? ""
                       : operation.empty() ? replaced(whole, " ", "; ") + "; "
                                           : whole + " <" + operation + ">; ";
            };
            std::string rows = callback + ' ' + row[2] + '\n';
            const auto add = [&](const std::string &kind, const std::string &operation, std::size_t cell,
                                 const std::string &trace) {
                const bool traces = callback == "peer_group_log_neighbor_state";
                rows += kind + node + '*' + (operation == "none" || operation.empty() ? "" : '{' + operation + '}') +
                        '=' + value + " | " + (traces ? "TRC: LogNeighborStateChange " + trace + "; " : "") +
                        lines(cell, operation) + "-> 0\n";
            };
            for (const char *operation : {"create", "replace", "none"}) {
                add("", operation, 0, "edit-config for nbr_grp");
            }
            for (const char *operation : {"delete", "remove"}) {
                add("", operation, 1, "delete");
            }
            for (const char *kind : {"? ", "?? "}) {
                add(kind, "", 2, "Get");
            }
            if (entry == "N") { // a read of any VRF
                rows += "? -@1* | " + replaced(lines(2, ""), "N([^;]*; )", "N$1W$1") + "-> 0\n";
            }
            play("oc_bgp_", callback.empty() ? "" : rows);
        };
        play_one(row[0], "DEFAULT&", "G", 4);
        play_one(row[1], "DEFAULT@1", "N", 7);
        row[1].empty() ? void() : play_one(row[1], "Default@1", "W", 7);
    }
}

TEST(PeerGroupLeaves, TakeOddValuesInTheirOwnWay) {
    play("oc_bgp_", R"(peer_group_timer_min_interval /timers/config/minimum-advertisement-interval
DEFAULT&*=5 | G/AI=5 G/AI-msecs=000 <none>; -> 0
DEFAULT&*=.5 | G/AI=5 G/AI-msecs=000 <none>; -> 0
DEFAULT&* | REFUSED
DEFAULT&*=0.5 | G/AI=0 G/AI-msecs=5 <none>; -> 0
DEFAULT&*= | G/AI=0 G/AI-msecs=000 <none>; -> 0
nbr_timers_cfg_minimum_adv_interval /timers/config/minimum-advertisement-interval
blue@1*=5 | W/AI=5 W/AI-msecs=0 <none>; -> 0
blue@1*=.5 | W/AI=5 W/AI-msecs=0 <none>; -> 0
blue@1* | TRC: Input is wrong; REFUSED
blue@1*=0.5 | W/AI=0 W/AI-msecs=5 <none>; -> 0
blue@1*= | W/AI=0 W/AI-msecs=0 <none>; -> 0
peer_group_tcp_mode /transport/config/passive-mode
DEFAULT&*=odd | ERR: Missing nbr-grp passive-mode; REFUSED
DEFAULT&* | ERR: Missing nbr-grp passive-mode; REFUSED
nbr_transport_cfg_passive_mode /transport/config/passive-mode
blue@1*=odd | TRC: Input data is empty; REFUSED
blue@1* | TRC: Input data is empty; REFUSED
peer_grp_path_recv /add-paths/config/receive
DEFAULT&*=odd | TRC: Input is wrong; REFUSED
nbr_add_paths_cfg_receive /add-paths/config/receive
blue@1*=odd | W/AP-receive-capability <none>; -> 0
cfg_peer_grp_bfd_enabled /enable-bfd/config/enabled
DEFAULT&*=odd | G/bfd-enable-modes <none>; -> 0
DEFAULT&*=false | G/bfd-enable-modes=disable <none>; -> 0
DEFAULT&* | G/bfd-enable-modes <none>; -> 0
cfg_peer_bfd_enabled /enable-bfd/config/enabled
blue@1*=odd | W/bfd-enable-modes=disable <none>; -> 0
blue@1*=false | W/bfd-enable-modes=disable <none>; -> 0
blue@1* | W/bfd-enable-modes=disable <none>; -> 0
peer_grp_dflt_policy_in /apply-policy/config/default-import-policy
DEFAULT&*=ACCEPT_ROUTE_X | ERR: Invalid default-route-policy value; error path; -> aaf2ee00
nbr_dflt_policy_in /apply-policy/config/default-import-policy
blue@1*=ACCEPT_ROUTE_X | ERR: Invalid default-route-policy value; error path; -> aaf2ee00
peer_grp_afi_safi_enable #V6/config/enabled
DEFAULT&*=false | GA/activate= <remove>; -> 0 merge
DEFAULT&*=odd | -> 0
DEFAULT&* | TRC: Input is wrong; REFUSED
nbr_afi_safi_enabled #V6/config/enabled
blue@1*=false | WA/activate= <remove>; -> 0 merge
blue@1*=odd | -> 0
blue@1* | TRC: Input can not be empty; REFUSED
peer_grp_dflt_policy_out /apply-policy/config/default-export-policy
DEFAULT&*=ACCEPT_ROUT | ERR: Invalid default-route-policy value; error path; -> aaf2ee00
nbr_dflt_policy_out /apply-policy/config/default-export-policy
blue@1*=ACCEPT_ROUT | ERR: Invalid default-route-policy value; error path; -> aaf2ee00
peer_enabled /config/enabled
blue@1*=true | W/shutdown=false <none>; -> 0
blue@1*=TRUE | W/shutdown <none>; -> 0
nbr_log_neighbor_state /logging-options/config/log-neighbor-state-changes
blue@1*=odd | W/LOG-enable=false W/LOG-disable=true W/LOG-inherit-disable=false <none>; -> 0
nbr_afi_safi_use_multipath #V6/use-multiple-paths/config/enabled
blue@1*=false | WA/multipath= <remove>; -> 0 merge
blue@1* | TRC: Input can not be empty; REFUSED
peer_group_timer_min_interval /timers/config/minimum-advertisement-interval
? DEFAULT&* | G/AI; G/AI-msecs; -> 0
peer_group_ebgp_multihop /ebgp-multihop/config/enabled
DEFAULT&/ebgp-multihop/config/multihop-ttl=9; DEFAULT&*=true \
    | G/ebgp-multihop/mpls-deactivation=false G/ebgp-multihop/max-hop-count=9 <none>; -> 0
? DEFAULT&/ebgp-multihop/config/multihop-ttl=9; DEFAULT&*=true | G/ebgp-multihop/max-hop-count=9; -> 0
DEFAULT&/ebgp-multihop/config/multihop-ttl{delete}=9 | -> 0
nbr_ebgp_multihop /ebgp-multihop/config/enabled
DEFAULT@1/ebgp-multihop/config/multihop-ttl=9; DEFAULT@1*=true \
    | N/ebgp-multihop/max-hop-count=9 N/ebgp-multihop/mpls-deactivation=false <none>; -> 0
blue@1/ebgp-multihop/config/multihop-ttl=9 | -> 0)");
    using Converter = const char *(yfw_map_ctx, const Tree *);
    for (const std::string name : {"peer_group_afi_safi_addpath_receive", "peer_group_afi_safi_addpath_send",
                                   "peer_grp_transport_cfg_mtu_to_vn", "nbr_gr_helper_to_vn"}) {
        const bool number = name.ends_with("_to_vn");
        for (const auto &[given, converted] : {std::pair("=true", number ? "1" : "enable"),
                                               {"=false", number ? "2" : "disable"},
                                               {"=odd", ""},
                                               {"", ""}}) {
            Scene scene;
            const Tree *node = scene.map(request_line(std::string("DEFAULT&/add-paths/config/receive") + given));
            const char *text = exported<Converter>("oc_bgp_" + name)(&scene.request, node);
            EXPECT_STREQ(text == nullptr ? "" : text, converted) << name << given;
        }
    }
}

TEST(PeerGroupEntry, IsTheDefaultVrfsAlone) {
    play("oc_bgp_", R"(peer_grp_name
-& | G{} G/create= G/neighbor-group-name=edge <none>; -> 0
-&{delete} | G{} G/neighbor-group-name=edge <remove>; -> 0 remove
? -& | G{}; G/neighbor-group-name=edge; -> 0
default& | G{} G/create= G/neighbor-group-name=edge <none>; -> 0
DEFAULT&{delete} | G{} G/neighbor-group-name=edge <remove>; -> 0 remove
? DEFAULT& | G{}; G/neighbor-group-name=edge; -> 0
blue& | TRC: Peer-Group is not supported inside VRF; REFUSED
Default&{remove} | TRC: Peer-Group is not supported inside VRF; REFUSED
? blue& | TRC: Peer-Group is not supported inside VRF; REFUSED
DEFAULT&{replace} | G{} G/create= G/neighbor-group-name=edge <replace>; -> 0
DEFAULT&& | TRC: Key is invalid; REFUSED
? DEFAULT&& | G{}; G/neighbor-group-name; -> 0
?? DEFAULT& | G{}; G/neighbor-group-name=edge; M:peer-groups/peer-group{}; \
    M:peer-groups/peer-group/peer-group-name=edge; -> 0)");
}

// The entries of address families, by the container of them all and by their names.
TEST(AddressFamilies, AreWrittenWithTheirNativeNames) {
    play("oc_bgp_", R"(nbr_afi_safi_name #IPV6_UNICAST
DEFAULT@9* | LOST; NA[v6] <none>; -> 0
DEFAULT@1*{delete} | NA{} <remove>; NA/af-name=v6; -> 0 remove
blue@1*{remove} | WA{} <remove>; WA/af-name=v6; -> 0
DEFAULT@1#LINKSTATE_SPF | TRC: ERR: Input data is invalid !!; REFUSED
? blue@1* | WA{}=; WA/af-name=v6; -> 0
? -@/afi-safis/afi-safi | NA{}=; WA{}=; NA/af-name=; WA/af-name=; -> 0
?? DEFAULT@1* | NA{}=; NA/af-name=v6; B:neighbors/neighbor-AFS/neighbors-afi-safi{}; \
    B:neighbors/neighbor-AFS/neighbors-afi-safi/afi-safi-name=IPV6_UNICAST; -> 0
nbrgrp_afi_safi_name #IPV6_UNICAST
DEFAULT&* | GA[v6] <none>; -> 0
DEFAULT&*{create} | GA[v6] <create>; -> 0
DEFAULT&*{delete} | GA{} <remove>; GA/af-name=v6; -> 0 remove
DEFAULT&#LINKSTATE_SPF | TRC: ERR: Input data is invalid !!; REFUSED
? DEFAULT&* | GA{}; GA/af-name=v6; -> 0
?? DEFAULT&* | GA{}; GA/af-name=v6; M:peer-groups/peer-group-AFS/peer-groups-afi-safi{}; \
    M:peer-groups/peer-group-AFS/peer-groups-afi-safi/afi-safi-name=IPV6_UNICAST; -> 0
nbr_afisafis_parent /afi-safis
DEFAULT@1*{delete} | N/neighbor-afs <delete>; -> aaf2f600
blue@1* | W/vrf-neighbor-afs <none>; -> 0
? blue@1* | W/vrf-neighbor-afs=; -> 0
?? blue@1* | W/vrf-neighbor-afs=; B:neighbors/neighbor-AFS; -> 0
nbrgrp_afisafis_parent /afi-safis
DEFAULT&* | G/neighbor-group-afs <none>; -> 0
DEFAULT&*{remove} | G/neighbor-group-afs <remove>; -> aaf2f600
? DEFAULT&* | G/neighbor-group-afs; -> 0
?? DEFAULT&* | G/neighbor-group-afs; M:peer-groups/peer-group-AFS; -> 0)");
}

TEST(AddressFamilies, SelectTheFormOfTheirVrf) {
    for (const std::string name :
         {"nbr_afi_safi", "nbr_afi_safi_apply_policy_cfg_imp_policy", "nbr_afi_safi_apply_policy_cfg_exp_policy",
          "nbr_gr_cfg_restart_time", "nbr_gr_cfg_stale_routes_time", "nbr_peer_grp", "nbr_description",
          "nbr_transport_cfg_tcp_mss"}) {
        for (const auto &[vrf, container, kind, marked] : {std::tuple("DEFAULT", "/config", YFW_KIND_EDIT, "10"),
                                                           {"blue", "/config", YFW_KIND_READ, "01"},
                                                           {"", "/config", YFW_KIND_READ, "11"},
                                                           {"blue", "/state", YFW_KIND_READ_STATE, "01"},
                                                           {"blue", "/state", YFW_KIND_EDIT, "00"}}) {
            Scene scene(kind);
            scene.map(request_line(std::string(*vrf == '\0' ? "-" : vrf) + "@1" + container + "/neighbor-address"));
            std::array<xpath_list_type_t, 2> offered{};
            std::strcpy(offered[0].xpath, "/bgp/instance/instance-as/four-byte-as/default-vrf/bgp-entity");
            std::strcpy(offered[1].xpath, "/bgp/instance/instance-as/four-byte-as/vrfs/vrf/vrf-neighbors");
            const std::string refusal = "TRC: EDIT/DELETE requests not allowed on State nodes\n";
            EXPECT_EQ(scene.run<Selection>(("oc_bgp_" + name).c_str(), 2, offered.data()),
                      (std::string_view(marked) == "00" ? refusal : "") + "-> 0");
            EXPECT_EQ(std::to_string(offered[0].selected) + std::to_string(offered[1].selected), marked) << name << vrf;
        }
    }
}

TEST(NewFamily, TakesOverWhatTheNeighborHas) {
    // 1: removes, and a client; 2: both forms in one family, a client in another; 3: settings that are off; 4: has the
    // new family.
    const Stored stored(
        "@1#v4 RM* RRC=true\n@2#v4 RM* RP*\n@2#vpn6 RRC=false\n@3#v4 RP/enable=false\n@4#v4 RM*\n@4#v6\n"
        "blue vrf-global/exists=\nblue@#v4 RP*");
    play("oc_bgp_", R"(nbr_afi_safi_name #IPV6_UNICAST
DEFAULT@1* | TRC: RRC = 1, RM_PAS = 1, RP_PAS = 0; NA[v6] <none>; NA(v6) NA/RRC=true <none>; NA(v6) NA/RM* <none>; -> 0
DEFAULT@2* | TRC: RRC = 0, RM_PAS = 1, RP_PAS = 1; TRC: RRC = 1, RM_PAS = 1, RP_PAS = 1; NA[v6] <none>; \
    NA(v6) NA/RRC=false <none>; NA(v6) NA/RM* <none>; NA(v6) NA/RP* <none>; -> 0
DEFAULT@3* | TRC: RRC = 0, RM_PAS = 0, RP_PAS = 0; NA[v6] <none>; -> 0
DEFAULT@4* | TRC: RRC = 0, RM_PAS = 1, RP_PAS = 0; NA[v6] <none>; -> 0
DEFAULT@9* | NA[v6] <none>; -> 0
blue@1* | TRC: RRC = 0, RM_PAS = 0, RP_PAS = 1; WA[v6] <none>; WA(v6) WA/RP* <none>; -> 0
// What the request says comes before what is stored; a client is written with the entry and on its own.
DEFAULT@1/RRC=false; DEFAULT@1* | NA[v6] <none>; NA(v6) NA/RRC=false <none>; NA(v6) NA/RRC=false <none>; -> 0
DEFAULT@1/PAS=REPLACE_ALL; DEFAULT@1* | NA[v6] <none>; NA(v6) NA/RP* <none>; -> 0
DEFAULT@9/PAS=REMOVE_ALL; DEFAULT@9* | NA[v6] <none>; NA(v6) NA/RM* <none>; -> 0
blue@1/PAS=REPLACE_ALL; blue@1* | WA[v6] <none>; WA(v6) WA/RP* <none>; -> 0
DEFAULT@1/RRC=true; DEFAULT@1/PAS=REMOVE_ALL; DEFAULT@1* | NA[v6] <none>; NA(v6) NA/RRC=true <none>; \
    NA(v6) NA/RRC=true <none>; NA(v6) NA/RM* <none>; -> 0
// What goes in the same request is not taken over.
DEFAULT@1/PAS{delete}=REMOVE_ALL; DEFAULT@1* | NA[v6] <none>; -> 0
DEFAULT@1/RRC{remove}=true; DEFAULT@1* | NA[v6] <none>; -> 0
DEFAULT@1/RRC{delete}=true; DEFAULT@1/PAS=REMOVE_ALL; DEFAULT@1* | NA[v6] <none>; NA(v6) NA/RM* <none>; -> 0
DEFAULT@1/PAS{delete}=REMOVE_ALL; DEFAULT@1/RRC=true; DEFAULT@1* | NA[v6] <none>; NA(v6) NA/RRC=true <none>; -> 0
// A family that has them gets them once.
DEFAULT@1/PAS=REMOVE_ALL; DEFAULT@1#V4 | NA[v4] <none>; -> 0
DEFAULT@1/RRC=true; DEFAULT@1#V4 | NA[v4] <none>; NA(v4) NA/RRC=true <none>; -> 0
// Another neighbour's settings are its own.
DEFAULT@9/PAS=REPLACE_ALL; DEFAULT@1* | TRC: RRC = 1, RM_PAS = 1, RP_PAS = 0; NA[v6] <none>; \
    NA(v6) NA/RRC=true <none>; NA(v6) NA/RM* <none>; -> 0)");
}

TEST(PeerGroupPolicies, ReachTheFamiliesOfTheGroup) {
    const Stored stored("&edge#v4 RRC=true RM*\n&edge#vpn6 RRC=true RM*\n&edge update-source-interface=Loopback0\n"
                        "&odd#v4 RRC=false RP*\n&odd#vpn6 RM*\n&odd local-address/local-ip-address=192.0.2.1");
    play("oc_bgp_", R"(peer_grp_rr_client /RRC
DEFAULT&*=false | GA(v4) GA/RRC=false <none>; GA(vpn6) GA/RRC=false <none>; -> 0
DEFAULT&*{create}=true | GA(v4) GA/RRC=true <merge>; GA(vpn6) GA/RRC=true <merge>; -> 0 merge
DEFAULT&*=odd | -> 0
blue&*=true | TRC: RRC is not supported inside VRF; REFUSED
DEFAULT&odd*{delete} | GA(v4) GA/RRC <delete>; -> 0
DEFAULT&odd*{remove} | GA(v4) GA/RRC <remove>; GA(vpn6) GA/RRC <remove>; -> 0
? DEFAULT&* | GA(vpn6) GA/RRC <none>; -> 0
? DEFAULT&odd* | -> 0
? DEFAULT&&* | GA/RRC; -> 0
peer_grp_remove_pas /PAS
DEFAULT&*=REPLACE_ALL | GA(v4) GA/RM <remove>; GA(vpn6) GA/RM <remove>; GA(v4) GA/RP* <merge>; \
    GA(vpn6) GA/RP* <merge>; -> 0 merge
DEFAULT&*=REMOVE_ALL | GA(v4) GA/RM* <none>; GA(vpn6) GA/RM* <none>; -> 0
DEFAULT&*{delete}=REMOVE_ALL | GA(v4) GA/RM <delete>; GA(vpn6) GA/RM <delete>; -> 0
DEFAULT&odd*{delete} | GA(v4) GA/RP <delete>; -> 0
DEFAULT&odd*{remove}=REPLACE_ALL | GA(v4) GA/RP <remove>; GA(vpn6) GA/RP <remove>; -> 0
? DEFAULT&* | GA(vpn6) GA/RM GA/RP <none>; -> 0
? DEFAULT&odd* | -> 0
? DEFAULT&&* | G/neighbor-group-afs{}; GA{}; GA/RM; GA/RP; -> 0
peer_grp_rr_cluster_id /route-reflector/config/route-reflector-cluster-id
DEFAULT&*=10.0.0.1 | G/CLUSTER-address=10.0.0.1 <none>; -> 0
blue&*=100 | G/CLUSTER-number=100 <none>; -> 0
DEFAULT&* | -> 0
? DEFAULT&* | G/CLUSTER-number; G/CLUSTER-address; -> 0
? DEFAULT&*=100 | G/CLUSTER-number=100; -> 0
DEFAULT&*{delete}=100 | G/neighbor-cluster-id <delete>; -> 0
nbr_rr_cluster_id /route-reflector/config/route-reflector-cluster-id
DEFAULT@1*=10.0.0.1 | N/CLUSTER-address=10.0.0.1 <none>; -> 0
blue@1*=100 | TRC: Route-Reflector cluster ID is not supported inside VRF; REFUSED
? blue@1*=100 | TRC: Route-Reflector cluster ID is not supported inside VRF; REFUSED
blue@1*{delete} | -> 0
? DEFAULT@1* | N/CLUSTER-address; N/CLUSTER-number; -> 0
? DEFAULT@1*=100 | N/CLUSTER-number=100; -> 0
DEFAULT@1*{remove} | N/neighbor-cluster-id <remove>; -> 0
peer_group_tcp_localaddr /transport/config/local-address
DEFAULT&*=192.0.2.7 | G/IF <remove>; G/NO-IP=false G/IP=192.0.2.7 <merge>; -> 0 merge
DEFAULT&*=lo7 | G/IF=lo7 <none>; -> 0
DEFAULT&odd*=lo7 | G/local-address <remove>; G/IF=lo7 <merge>; -> 0 merge
DEFAULT&* | -> 0
DEFAULT&*{remove}=lo7 | G/local-address <remove>; -> 0
DEFAULT&*{delete} | -> 0
DEFAULT&*{delete}=lo7 | G/IF <delete>; -> 0
DEFAULT&*{delete}=192.0.2.9 | G/local-address <delete>; -> 0
? DEFAULT&*=192.0.2.9 | G/IP=192.0.2.9; -> 0
peer_group_authpwd /config/auth-password
DEFAULT&*{delete}=x | G/password <delete>; -> 0
? DEFAULT&*=x | G/password/password=x; -> 0)");
}

} // namespace
} // namespace yfw::test
