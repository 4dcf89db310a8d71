// Native neighbours and neighbour groups as OpenConfig's; families of both.
#include "rows.h"

namespace yfw::test {
namespace {

// The callbacks of a neighbour and of a group behind "vn_bgp_"; below them a native leaf with its value, and what
// becomes of it below O; of the group's, where that is not the same below P. "!" is an error line and the refusal.
const char *const sessions = R"(
nbr instance_nbr_grp_name
| f1; /neighbor-address=10.0.0.1; /config/neighbor-address=10.0.0.1 | f1; /peer-group-name=edge; \
    /config/peer-group-name=edge
nbr_shut
/shutdown=false | /config/enabled=true
/shutdown=true | /config/enabled=false
/shutdown= | /config/enabled
/shutdown | -> aaf2a000
instance_nbr_transport_cfg_mtu
/tcpmtu-discovery=1 | /transport/config/mtu-discovery=true
/tcpmtu-discovery= | !Missing nbr mtu discovery data
nbr_gr_helper_only
/neighbor-graceful-restart-helper-only=2 | /graceful-restart/config/helper-only=false
/neighbor-graceful-restart-helper-only | !Missing nbr gr helper data
instance_nbr_transport_cfg_passive_mode instance_neighbor_tcp_mode
/session-open-mode=passive-only | /transport/config/passive-mode=true
/session-open-mode=active-only | /transport/config/passive-mode=false
/session-open-mode= | /transport/config/passive-mode
/session-open-mode | !Missing nbr passive-mode | !Missing nbr-grp passive-mode
nbr_dflt_policy_in nbrgrp_dflt_policy_in
/default-routepolicy-in=accept-route | /apply-policy/config/default-import-policy=ACCEPT_ROUTE
/default-routepolicy-in=odd | /apply-policy/config/default-import-policy
/default-routepolicy-in= | !Missing nbr default-import-policy data
nbr_dflt_policy_out nbrgrp_dflt_policy_out
/default-routepolicy-out=reject-route | /apply-policy/config/default-export-policy=REJECT_ROUTE
/default-routepolicy-out | !Missing nbr default-export-policy data
instance_nbr_timers_cfg_hld_time instance_nbr_grp_timers_hold_time
/timers/hold-time=90 | /timers/config/hold-time=90 f1 | /timers/config/hold-time=90
/timers/hold-time | !Missing hold time time
instance_nbr_timers_cfg_keepalive_interval instance_nbr_grp_timers_keepalive_time
/timers/keepalive-interval=3 | /timers/config/keepalive-interval=3
/timers/keepalive-interval | !Missing keepalive_interval interval time
instance_nbr_timers_cfg_minimum_adv_interval instance_nbr_grp_min_interval
/advertisement-interval/minimum-interval-msecs=7 | ->
/advertisement-interval/minimum-interval=5 | /timers/config/minimum-advertisement-interval=5.000
nbr_ebgp_multihop instance_neighbor_grp_ebgp_multihop
/ebgp-multihop/max-hop-count=1 | /ebgp-multihop/config/enabled=true
/ebgp-multihop/max-hop-count=9 | /ebgp-multihop/config/enabled=true; /ebgp-multihop/config/multihop-ttl=9
/ebgp-multihop/mpls-deactivation=false | ->
instance_nbr_transport_cfg_local_addr neighbor_group_local_ipaddr
/local-address/local-ip-address=1.1.1.1 | /transport/config/local-address=1.1.1.1
/local-address/local-address-disable=false | ->
/update-source-interface=lo | /transport/config/local-address=lo
instance_nbr_auth_passwd instance_neighbor_grp_pwd
/password/password-disable=false | ->
/password/password=junk | !Password cannot be deciphered
nbr_cluster_id nbr_grp_cluster_id
/neighbor-cluster-id/cluster-id-number=7 | /route-reflector/config/route-reflector-cluster-id=7
/neighbor-cluster-id/cluster-id-address=10.0.0.1 | /route-reflector/config/route-reflector-cluster-id=10.0.0.1
/neighbor-cluster-id/cluster-id-number | ->
cfg_nbr_bfd_enable_modes cfg_nbr_grp_bfd_enable_modes
/bfd-enable-modes=strict | /enable-bfd/config/enabled=true f1 @bfd
/bfd-enable-modes=disable | /enable-bfd/config/enabled=false f1 @bfd
/bfd-enable-modes=odd | !
instance_nbr_log_neighbor_state instance_nbr_grp_log_neighbor_state
/log-neighbor-state-change/log-up-down-enable=true | /logging-options/config/log-neighbor-state-changes=true
/log-neighbor-state-change/log-up-down-disable=true | /logging-options/config/log-neighbor-state-changes=false
/log-neighbor-state-change/log-up-down-inherit-disable=true | ->
instance_nbr_peer_as instance_neighbor_grp_remoteas
/remote-as/as-xx=1 | ->
/remote-as/as-yy=10 | /config/peer-as=65546
/remote-as/as-xx | !Missing nbr remote as xx
/remote-as/as-yy | !Missing nbr remote as yy
nbr_local_as nbrgrp_local_as
/local-as/as-xx=2 | ->
instance_nbr_peer_as instance_neighbor_grp_remoteas
/remote-as/as-yy=1 | /config/peer-as=131073
nbr_local_as nbrgrp_local_as
/local-as/as-yy=3 | /config/local-as=3
/local-as/as-xx=65535 | ->
/local-as/as-yy=65535 | /config/local-as=4294967295
/local-as/as-xx | !Missing config xx | !Missing nbr remote as xx
/local-as/as-yy | !Missing config as-yy | !Missing nbr remote as yy)";

// Of a family: "FAMILY/leaf". A group's default route takes two names that are OpenConfig's, and leads with them to
// leaves that the model has not ("~").
const char *const of_families = R"(
nbr_afi_safi_name nbrgrp_afi_safi_name
vpnv4-unicast | /AF f1; /AF/afi-safi-name=L3VPN_IPV4_UNICAST; /AF/config/afi-safi-name=L3VPN_IPV4_UNICAST
no-such-family | -> aaf2f600
instance_nbr_afi_safi_cfg_enabled instance_nbr_grp_afi_safi_activate
ipv4-unicast/activate= | /AF/config/enabled=true
nbr_afi_safi_use_multipath
ipv4-unicast/multipath= | /AF/use-multiple-paths/config/enabled=true
nbr_afi_safi_addpath_receive
ipv4-unicast/advertise-additional-paths-receive-capability=enable | /AF/add-paths/config/receive=true
ipv4-unicast/advertise-additional-paths-receive-capability | /AF/add-paths/config/receive
nbr_afi_safi_addpath_send
ipv4-unicast/advertise-additional-paths-send-capability=disable | /AF/add-paths/config/send=false
nbr_import_policy nbrgrp_afi_safi_apply_policy_cfg_in_pol
ipv4-unicast/route-policy-in=p | /AF/apply-policy/config/import-policy=p
nbr_export_policy nbrgrp_afi_safi_apply_policy_cfg_out_pol
ipv4-unicast/route-policy-out | /AF/apply-policy/config/export-policy
instance_nbr_afi_safi_cfg_send_def_route instance_nbr_grp_afi_safi_send_default
ipv4-unicast/default-originate/enable=true | /AF/ipv4-unicast/config/send-default-route=true
ipv6-unicast/default-originate/enable=false | /AF/ipv6-unicast/config/send-default-route=false
vpnv4-unicast/default-originate/enable=true | !NAMED
srte-policy-ipv4/default-originate/enable=true | !NAMED | ~/AF/srte-policy-ipv4/config/send-default-route=true
srte-policy-ipv6/default-originate/enable=true | !NAMED | ~/AF/srte-policy-ipv6/config/send-default-route=true
nbr_af_max_pfx_params instance_nbr_grp_afi_safi_maxprefix
vpnv4-unicast/maximum-prefixes/prefix-limit=9 | /AF/l3vpn-ipv4-unicast/prefix-limit/config/max-prefixes=9
ipv4-unicast/maximum-prefixes/discard-extra-paths=true | ->
ipv4-unicast/maximum-prefixes/warning-only=true | -> | /AF/ipv4-unicast/prefix-limit/config/max-prefixes=true
lsls/maximum-prefixes/prefix-limit=9 | !UNKNOWN
nbr_af_pfx_limit_prevent_tear nbr_grp_af_pfx_limit_prevent_tear
ipv4-sr-policy/maximum-prefixes/warning-only=true | /AF/srte-policy-ipv4/prefix-limit/config/prevent-teardown=true
lsls/maximum-prefixes/warning-only=true | !UNKNOWN
nbr_af_shut_down_thrshld nbr_grp_af_shut_down_thrshld
l2vpn-evpn/maximum-prefixes/warning-percentage=80 | /AF/l2vpn-evpn/prefix-limit/config/warning-threshold-pct=80
lsls/maximum-prefixes/warning-percentage=80 | !UNKNOWN
nbr_af_pfx_limit_restart_timer nbr_grp_af_pfx_limit_restart_timer
l2vpn-vpls/maximum-prefixes/restart-time=60 | /AF/l2vpn-vpls/prefix-limit/config/restart-timer=60
lsls/maximum-prefixes/restart-time=60 | !UNKNOWN)";

// What becomes of a leaf: "A" is a family.
std::string outcome(const std::string &entry, const std::string &callback, const std::string &cell) {
    const std::string message = "ERR: [vn_bgp_" + callback + "]:Invalid afi-safi path; ",
                      lines = replaced(cell, {{"^~", ""}, {"\n", "; "}, {"(^|; )/", "$1" + entry + "/"}});
    return cell == "!"          ? "REFUSED"
           : cell == "!NAMED"   ? message + "REFUSED"
           : cell == "!UNKNOWN" ? "ERR: Invalid afi-safi; error path; " + message + "-> aaf2a000"
           : cell == "->"       ? "-> 0"
           : cell[0] == '!'     ? "ERR: " + cell.substr(1) + "; REFUSED"
           : cell[0] == '-'     ? cell
           : cell[0] == '~'     ? lines + " !79661200; -> 79661200"
                                : replaced(lines, "^f1", entry + " f1") + "; -> 0";
}

// A read of state alone gets no configuration.
std::string call_twice(Scene &scene, const std::string &callback, Node *node) {
    const std::string result = call(scene, callback, node);
    scene.fields.selection = {-1, {0, 0}, YFW_SELECT_STATE_ONLY};
    const std::string lines = call(scene, callback, node);
    EXPECT_EQ(lines.find("/config/"), lines.npos) << callback << lines;
    return result;
}

// Plays the rows of a table with an entry, a group's or a neighbour's.
void play_entry(const std::string &entry, const char *text) {
    std::string neighbor, group, rows;
    for (auto &row : table(text)) {
        if (row.size() == 1) {
            neighbor = replaced(row[0], " .*", "");
            group = row[0] == neighbor ? "" : row[0].substr(neighbor.size() + 1);
            continue;
        }
        row.resize(3);
        const bool of_group = entry == "&edge", family = row[0][0] != '/' && !row[0].empty();
        const std::string &callback = of_group ? group : neighbor;
        std::string expected = outcome(of_group ? "P" : "O", callback, row[of_group && !row[2].empty() ? 2 : 1]);
        if (entry == "default@" && callback == "nbr_afi_safi_name") { // the VRF's name counts in the list alone
            expected = "-> aaf2f600";
        }
        if (!callback.empty() && !(entry == "blue@" && callback == "nbr_cluster_id")) { // which a VRF's has not
            rows += callback + "\n? %" + entry + (family ? "#" : "") + row[0] + " | " + expected + '\n';
        }
    }
    play("vn_bgp_", rows, call_twice);
}

TEST(NativePeerGroups, AreRenderedLikeNeighborsButForWhatTheyDoOtherwise) {
    for (const char *entry : {"@1", "blue@", "&edge"}) { // the upper half of an AS waits for the lower
        play_entry(entry, sessions);
        play_entry(entry, of_families);
    }
    play_entry("default@", of_families);
}

TEST(NativePeerGroups, LookAtTheirOwnSiblings) {
    play("vn_bgp_", R"(neighbor_group_local_ipaddr
? %&edge/local-address/local-ip-address=1.1.1.1; %&edge/update-source-interface=lo | -> 0
instance_nbr_grp_min_interval
? %&edge/AI-msecs=50; %&edge/AI=5 | P/timers/config/minimum-advertisement-interval=5.050; -> 0
instance_nbr_grp_log_neighbor_state
? %&edge/LOG-enable=false; %&edge/LOG-disable=true | P/logging-options/config/log-neighbor-state-changes=false; -> 0
// Halves of a neighbour are not a group's.
nbr_local_as
%@1/local-as/as-xx=7 | -> 0
nbrgrp_local_as
%&edge/local-as/as-yy=3 | P/config/local-as=3; -> 0
nbr_local_as
%@1/local-as/as-yy=3 | O/config/local-as=458755; -> 0)");
    // What all families agree on; a client is looked for under the default VRF's address.
    const Stored stored(
        "&edge#v4 RRC=true RM/enable=true RM/entire=true\n&edge#vpn6 RRC=true RM/enable=true RM/entire=true\n"
        "@1#v4 RRC=false RP/enable=true\n@1#vpn6 RRC=false RP/enable=true\nblue vrf-global/exists=\n"
        "blue@#v4 RRC=true RP/enable=true\nblue@#vpn6 RRC=true RP/enable=true\n&odd#v4 RRC=true\n&odd#vpn6");
    play("vn_bgp_", R"(nbr_grp_rr_client
%&edge#v4/RRC | P/route-reflector/config/RRC=true; -> 0
%&odd#v4/RRC | -> 0
nbr_grp_remove_pas
%&edge#v4/RM | P/config/remove-private-as=PRIVATE_AS_REMOVE_ALL; -> 0
%&odd#v4/RP | -> 0
nbr_rr_client
%@1#v4/RRC | O/route-reflector/config/RRC=false; -> 0
%blue@#v4/RRC | -> 0
nbr_remove_pas
%@1#v4/RP | O/config/remove-private-as=PRIVATE_AS_REPLACE_ALL; -> 0
%blue@#v4/RP | O/config/remove-private-as=PRIVATE_AS_REPLACE_ALL; -> 0)");
}

TEST(NativeNeighborLeaves, LookAtTheirSiblings) {
    // A VRF that is named "default" is one to most callbacks.
    for (const std::string entry : {"@1", "blue@", "default@"}) {
        const std::string rows = R"(instance_nbr_transport_cfg_local_addr
? %E/local-address/local-ip-address=1.1.1.1; %E/update-source-interface=lo | -> 0
%E/local-address/local-address-disable=false; %E/update-source-interface=lo | O/transport/config/local-address=lo; -> 0
instance_nbr_timers_cfg_minimum_adv_interval
%E/AI=5; %E/AI-msecs=50 | -> 0
%E/AI-msecs=50; %E/AI=5 | T=5.050; -> 0
%E/AI-msecs=250; %E/AI=0 | T=0.250; -> 0
%E/AI-msecs=7; %E/advertisement-interval | T=0.007; -> 0
instance_nbr_log_neighbor_state
%E/LOG-enable=false; %E/LOG-disable=true | O/logging-options/config/log-neighbor-state-changes=false; -> 0
%E/LOG-enable=true; %E/LOG-disable=true | O/logging-options/config/log-neighbor-state-changes=true; -> 0)";
        play("vn_bgp_",
             replaced(entry != "default@" ? rows : replaced(rows, {{"T=[.0-9]+", "T=0.000"}, {"O/log[^;]*; ", ""}}),
                      {{"E/", entry + '/'}, {"T=", "O/timers/config/minimum-advertisement-interval="}}));
    }
}

TEST(NativePeerGroups, ConvertWithoutWriting) {
    using Converter = const char *(yfw_map_ctx, const Tree *, Tree *);
    for (const std::string name : {"peer_group_afi_safi_addpath_receive", "peer_group_afi_safi_addpath_send",
                                   "nbrgrp_transport_cfg_mtu_to_oc", "nbr_gr_helper_to_oc"}) {
        const bool number = name.ends_with("_to_oc");
        for (const auto &[given, converted] : {std::pair(number ? "=1" : "=enable", "true"),
                                               {number ? "=2" : "=disable", "false"},
                                               {"=odd", ""},
                                               {"", ""}}) {
            Scene scene(YFW_KIND_READ);
            const char *text = exported<Converter>("vn_bgp_" + name)(
                &scene.request, scene.map(edge + "/additional-paths-receive-capability" + given), nullptr);
            EXPECT_STREQ(text == nullptr ? "" : text, converted) << name << given;
            EXPECT_EQ(scene.take(), number || *given != '\0' ? "" : "ERR: [vn_bgp_" + name + "]:Input data is null\n");
        }
    }
}

} // namespace
} // namespace yfw::test
