// Native neighbour groups as OpenConfig's peer groups, beside the neighbours that they are like; families of both.
#include "neighbor_fixture.h"

namespace yfw::test {
namespace {

const std::string edge = "~/default-vrf/bgp-entity/neighbor-groups/neighbor-group[neighbor-group-name=edge]";
const std::string refused = "error path\n-> aaf2a000", named_default = replaced(blue_neighbor, "blue", "default");

// The callbacks of a neighbour and of a group behind "vn_bgp_", a native leaf with its value, and what becomes of it
// below O; of the group's, where that is not the same below P. "!" is an error line and the refusal.
const char *const sessions = R"(
nbr | instance_nbr_grp_name | | f1; /neighbor-address=10.0.0.1; /config/neighbor-address=10.0.0.1 \
    | f1; /peer-group-name=edge; /config/peer-group-name=edge
nbr_shut | | /shutdown=false | /config/enabled=true
nbr_shut | | /shutdown=true | /config/enabled=false
nbr_shut | | /shutdown= | /config/enabled
nbr_shut | | /shutdown | -> aaf2a000
instance_nbr_transport_cfg_mtu | | /tcpmtu-discovery=1 | /transport/config/mtu-discovery=true
instance_nbr_transport_cfg_mtu | | /tcpmtu-discovery= | !Missing nbr mtu discovery data
nbr_gr_helper_only | | /neighbor-graceful-restart-helper-only=2 | /graceful-restart/config/helper-only=false
nbr_gr_helper_only | | /neighbor-graceful-restart-helper-only | !Missing nbr gr helper data
instance_nbr_transport_cfg_passive_mode | instance_neighbor_tcp_mode | /session-open-mode=passive-only \
    | /transport/config/passive-mode=true
instance_nbr_transport_cfg_passive_mode | instance_neighbor_tcp_mode | /session-open-mode=active-only \
    | /transport/config/passive-mode=false
instance_nbr_transport_cfg_passive_mode | instance_neighbor_tcp_mode | /session-open-mode= | /transport/config/passive-mode
instance_nbr_transport_cfg_passive_mode | instance_neighbor_tcp_mode | /session-open-mode \
    | !Missing nbr passive-mode | !Missing nbr-grp passive-mode
nbr_dflt_policy_in | nbrgrp_dflt_policy_in | /default-routepolicy-in=accept-route \
    | /apply-policy/config/default-import-policy=ACCEPT_ROUTE
nbr_dflt_policy_in | nbrgrp_dflt_policy_in | /default-routepolicy-in=odd | /apply-policy/config/default-import-policy
nbr_dflt_policy_in | nbrgrp_dflt_policy_in | /default-routepolicy-in= | !Missing nbr default-import-policy data
nbr_dflt_policy_out | nbrgrp_dflt_policy_out | /default-routepolicy-out=reject-route \
    | /apply-policy/config/default-export-policy=REJECT_ROUTE
nbr_dflt_policy_out | nbrgrp_dflt_policy_out | /default-routepolicy-out | !Missing nbr default-export-policy data
instance_nbr_timers_cfg_hld_time | instance_nbr_grp_timers_hold_time | /timers/hold-time=90 \
    | /timers/config/hold-time=90 f1 | /timers/config/hold-time=90
instance_nbr_timers_cfg_hld_time | instance_nbr_grp_timers_hold_time | /timers/hold-time | !Missing hold time time
instance_nbr_timers_cfg_keepalive_interval | instance_nbr_grp_timers_keepalive_time | /timers/keepalive-interval=3 \
    | /timers/config/keepalive-interval=3
instance_nbr_timers_cfg_keepalive_interval | instance_nbr_grp_timers_keepalive_time | /timers/keepalive-interval \
    | !Missing keepalive_interval interval time
instance_nbr_timers_cfg_minimum_adv_interval | instance_nbr_grp_min_interval \
    | /advertisement-interval/minimum-interval-msecs=7 | ->
instance_nbr_timers_cfg_minimum_adv_interval | instance_nbr_grp_min_interval \
    | /advertisement-interval/minimum-interval=5 | /timers/config/minimum-advertisement-interval=5.000
nbr_ebgp_multihop | instance_neighbor_grp_ebgp_multihop | /ebgp-multihop/max-hop-count=1 | /ebgp-multihop/config/enabled=true
nbr_ebgp_multihop | instance_neighbor_grp_ebgp_multihop | /ebgp-multihop/max-hop-count=9 \
    | /ebgp-multihop/config/enabled=true; /ebgp-multihop/config/multihop-ttl=9
nbr_ebgp_multihop | instance_neighbor_grp_ebgp_multihop | /ebgp-multihop/mpls-deactivation=false | ->
instance_nbr_transport_cfg_local_addr | neighbor_group_local_ipaddr | /local-address/local-ip-address=1.1.1.1 \
    | /transport/config/local-address=1.1.1.1
instance_nbr_transport_cfg_local_addr | neighbor_group_local_ipaddr | /local-address/local-address-disable=false | ->
instance_nbr_transport_cfg_local_addr | neighbor_group_local_ipaddr | /update-source-interface=lo \
    | /transport/config/local-address=lo
instance_nbr_auth_passwd | instance_neighbor_grp_pwd | /password/password-disable=false | ->
instance_nbr_auth_passwd | instance_neighbor_grp_pwd | /password/password=junk | !Password cannot be deciphered
nbr_cluster_id | nbr_grp_cluster_id | /neighbor-cluster-id/cluster-id-number=7 \
    | /route-reflector/config/route-reflector-cluster-id=7
nbr_cluster_id | nbr_grp_cluster_id | /neighbor-cluster-id/cluster-id-address=10.0.0.1 \
    | /route-reflector/config/route-reflector-cluster-id=10.0.0.1
nbr_cluster_id | nbr_grp_cluster_id | /neighbor-cluster-id/cluster-id-number | ->
cfg_nbr_bfd_enable_modes | cfg_nbr_grp_bfd_enable_modes | /bfd-enable-modes=strict | /enable-bfd/config/enabled=true f1 @bfd
cfg_nbr_bfd_enable_modes | cfg_nbr_grp_bfd_enable_modes | /bfd-enable-modes=disable | /enable-bfd/config/enabled=false f1 @bfd
cfg_nbr_bfd_enable_modes | cfg_nbr_grp_bfd_enable_modes | /bfd-enable-modes=odd | !
instance_nbr_log_neighbor_state | instance_nbr_grp_log_neighbor_state \
    | /log-neighbor-state-change/log-up-down-enable=true | /logging-options/config/log-neighbor-state-changes=true
instance_nbr_log_neighbor_state | instance_nbr_grp_log_neighbor_state \
    | /log-neighbor-state-change/log-up-down-disable=true | /logging-options/config/log-neighbor-state-changes=false
instance_nbr_log_neighbor_state | instance_nbr_grp_log_neighbor_state \
    | /log-neighbor-state-change/log-up-down-inherit-disable=true | ->
instance_nbr_peer_as | instance_neighbor_grp_remoteas | /remote-as/as-xx=1 | ->
instance_nbr_peer_as | instance_neighbor_grp_remoteas | /remote-as/as-yy=10 | /config/peer-as=65546
instance_nbr_peer_as | instance_neighbor_grp_remoteas | /remote-as/as-xx | !Missing nbr remote as xx
instance_nbr_peer_as | instance_neighbor_grp_remoteas | /remote-as/as-yy | !Missing nbr remote as yy
nbr_local_as | nbrgrp_local_as | /local-as/as-xx=2 | ->
instance_nbr_peer_as | instance_neighbor_grp_remoteas | /remote-as/as-yy=1 | /config/peer-as=131073
nbr_local_as | nbrgrp_local_as | /local-as/as-yy=3 | /config/local-as=3
nbr_local_as | nbrgrp_local_as | /local-as/as-xx=65535 | ->
nbr_local_as | nbrgrp_local_as | /local-as/as-yy=65535 | /config/local-as=4294967295
nbr_local_as | nbrgrp_local_as | /local-as/as-xx | !Missing config xx | !Missing nbr remote as xx
nbr_local_as | nbrgrp_local_as | /local-as/as-yy | !Missing config as-yy | !Missing nbr remote as yy)";

// Of a family: "FAMILY/leaf". A group's default route takes two names that are OpenConfig's, and leads with them to
// leaves that the model has not ("~").
const char *const of_families = R"(
nbr_afi_safi_name | nbrgrp_afi_safi_name | vpnv4-unicast \
    | /afi-safis/afi-safi f1; A/afi-safi-name=L3VPN_IPV4_UNICAST; A/config/afi-safi-name=L3VPN_IPV4_UNICAST
nbr_afi_safi_name | nbrgrp_afi_safi_name | no-such-family | -> aaf2f600
instance_nbr_afi_safi_cfg_enabled | instance_nbr_grp_afi_safi_activate | ipv4-unicast/activate= | A/config/enabled=true
nbr_afi_safi_use_multipath | | ipv4-unicast/multipath= | A/use-multiple-paths/config/enabled=true
nbr_afi_safi_addpath_receive | | ipv4-unicast/advertise-additional-paths-receive-capability=enable \
    | A/add-paths/config/receive=true
nbr_afi_safi_addpath_receive | | ipv4-unicast/advertise-additional-paths-receive-capability | A/add-paths/config/receive
nbr_afi_safi_addpath_send | | ipv4-unicast/advertise-additional-paths-send-capability=disable \
    | A/add-paths/config/send=false
nbr_import_policy | nbrgrp_afi_safi_apply_policy_cfg_in_pol | ipv4-unicast/route-policy-in=p \
    | A/apply-policy/config/import-policy=p
nbr_export_policy | nbrgrp_afi_safi_apply_policy_cfg_out_pol | ipv4-unicast/route-policy-out \
    | A/apply-policy/config/export-policy
instance_nbr_afi_safi_cfg_send_def_route | instance_nbr_grp_afi_safi_send_default \
    | ipv4-unicast/default-originate/enable=true | A/ipv4-unicast/config/send-default-route=true
instance_nbr_afi_safi_cfg_send_def_route | instance_nbr_grp_afi_safi_send_default \
    | ipv6-unicast/default-originate/enable=false | A/ipv6-unicast/config/send-default-route=false
instance_nbr_afi_safi_cfg_send_def_route | instance_nbr_grp_afi_safi_send_default \
    | vpnv4-unicast/default-originate/enable=true | !NAMED
instance_nbr_afi_safi_cfg_send_def_route | instance_nbr_grp_afi_safi_send_default \
    | srte-policy-ipv4/default-originate/enable=true | !NAMED | ~A/srte-policy-ipv4/config/send-default-route=true
instance_nbr_afi_safi_cfg_send_def_route | instance_nbr_grp_afi_safi_send_default \
    | srte-policy-ipv6/default-originate/enable=true | !NAMED | ~A/srte-policy-ipv6/config/send-default-route=true
nbr_af_max_pfx_params | instance_nbr_grp_afi_safi_maxprefix | vpnv4-unicast/maximum-prefixes/prefix-limit=9 \
    | A/l3vpn-ipv4-unicast/prefix-limit/config/max-prefixes=9
nbr_af_max_pfx_params | instance_nbr_grp_afi_safi_maxprefix | ipv4-unicast/maximum-prefixes/discard-extra-paths=true | ->
nbr_af_max_pfx_params | instance_nbr_grp_afi_safi_maxprefix | ipv4-unicast/maximum-prefixes/warning-only=true \
    | -> | A/ipv4-unicast/prefix-limit/config/max-prefixes=true
nbr_af_max_pfx_params | instance_nbr_grp_afi_safi_maxprefix | lsls/maximum-prefixes/prefix-limit=9 | !UNKNOWN
nbr_af_pfx_limit_prevent_tear | nbr_grp_af_pfx_limit_prevent_tear | ipv4-sr-policy/maximum-prefixes/warning-only=true \
    | A/srte-policy-ipv4/prefix-limit/config/prevent-teardown=true
nbr_af_pfx_limit_prevent_tear | nbr_grp_af_pfx_limit_prevent_tear | lsls/maximum-prefixes/warning-only=true | !UNKNOWN
nbr_af_shut_down_thrshld | nbr_grp_af_shut_down_thrshld | l2vpn-evpn/maximum-prefixes/warning-percentage=80 \
    | A/l2vpn-evpn/prefix-limit/config/warning-threshold-pct=80
nbr_af_shut_down_thrshld | nbr_grp_af_shut_down_thrshld | lsls/maximum-prefixes/warning-percentage=80 | !UNKNOWN
nbr_af_pfx_limit_restart_timer | nbr_grp_af_pfx_limit_restart_timer | l2vpn-vpls/maximum-prefixes/restart-time=60 \
    | A/l2vpn-vpls/prefix-limit/config/restart-timer=60
nbr_af_pfx_limit_restart_timer | nbr_grp_af_pfx_limit_restart_timer | lsls/maximum-prefixes/restart-time=60 | !UNKNOWN)";

struct Twins {
    std::string neighbor, group, leaf, expected, of_group;
};

// "A" is a family.
std::string below(const std::string &entry, const std::string &cell) {
    const std::string lines = replaced(cell, "(^|\n)A", "$1/afi-safis/afi-safi");
    return replaced(replaced(lines, "(^|\n)/", "$1" + entry + "/"), "^f1", entry + " f1");
}

std::vector<Twins> twins_of(const char *text) {
    const auto outcome = [](const std::string &entry, const std::string &callback, const std::string &cell) {
        const std::string message = "ERR: [vn_bgp_" + callback + "]:Invalid afi-safi path\n";
        return cell == "!"          ? refused
               : cell == "!NAMED"   ? message + refused
               : cell == "!UNKNOWN" ? "ERR: Invalid afi-safi\nerror path\n" + message + "-> aaf2a000"
               : cell == "->"       ? "-> 0"
               : cell[0] == '!'     ? "ERR: " + cell.substr(1) + '\n' + refused
               : cell[0] == '-'     ? cell
               : cell[0] == '~'     ? below(entry, cell.substr(1)) + " !79661200\n-> 79661200"
                                    : below(entry, cell) + "\n-> 0";
    };
    std::vector<Twins> rows;
    for (auto &row : table(text)) {
        row.resize(5);
        rows.push_back({row[0], row[1], row[2], outcome("O", row[0], row[3]),
                        outcome("P", row[1], row[4].empty() ? row[3] : row[4])});
    }
    return rows;
}

std::string of_family(const std::string &entry, const std::string &leaf) {
    const std::string list = entry.find("group") != entry.npos ? "/neighbor-group-afs/neighbor-group-af"
                             : entry.starts_with("~/vrfs")     ? "/vrf-neighbor-afs/vrf-neighbor-af"
                                                               : "/neighbor-afs/neighbor-af";
    return entry + list + replaced(leaf, "^([^/]*)", "[af-name=$1]");
}

void expect(const std::string &callback, const std::string &line, const std::string &expected) {
    Scene scene(YFW_KIND_READ);
    EXPECT_EQ(call(scene, "vn_bgp_" + callback, scene.map(line)), expected + " none") << callback << ": " << line;
}

// A read of state alone gets no configuration.
void expect_state_only(const std::string &callback, const std::string &line) {
    Scene scene(YFW_KIND_READ_STATE);
    scene.fields.selection = {-1, {0, 0}, YFW_SELECT_STATE_ONLY};
    const std::string lines = callback.empty() ? "" : call(scene, "vn_bgp_" + callback, scene.map(line));
    EXPECT_EQ(lines.find("/config/"), lines.npos) << lines;
}

TEST(NativePeerGroups, AreRenderedLikeNeighborsButForWhatTheyDoOtherwise) {
    // One entry after the other: the upper half of an AS waits for the lower. A VRF's neighbour has no cluster.
    for (const std::string &entry : {std::string("@1"), blue_neighbor, edge}) {
        for (const Twins &row : twins_of(sessions)) {
            const std::string &callback = entry == edge ? row.group : row.neighbor;
            if (!callback.empty() && !(entry == blue_neighbor && callback == "nbr_cluster_id")) {
                expect(callback, entry + row.leaf, entry == edge ? row.of_group : row.expected);
                expect_state_only(callback, entry + row.leaf);
            }
        }
    }
    for (const auto &[neighbor, group, leaf, expected, of_group] : twins_of(of_families)) {
        for (const std::string &entry : {std::string("@1"), blue_neighbor, named_default}) {
            // A VRF's name counts in the entry's list alone.
            const bool by_name = entry == named_default && neighbor == "nbr_afi_safi_name";
            expect(neighbor, of_family(entry, leaf), by_name ? "-> aaf2f600" : expected);
        }
        if (!group.empty()) {
            expect(group, of_family(edge, leaf), of_group);
        }
        expect_state_only(neighbor, of_family("@1", leaf));
        expect_state_only(group, of_family(edge, leaf));
    }
}

TEST(NativePeerGroups, LookAtTheirOwnSiblings) {
    const std::string interface = "/update-source-interface=lo", min = "/advertisement-interval/minimum-interval";
    for (const auto &[callback, sibling, leaf, expected] :
         {std::tuple("neighbor_group_local_ipaddr", "/local-address/local-ip-address=1.1.1.1", interface, ""),
          {"instance_nbr_grp_min_interval", "/advertisement-interval/minimum-interval-msecs=50", min + "=5",
           "P/timers/config/minimum-advertisement-interval=5.050\n"},
          {"instance_nbr_grp_log_neighbor_state", "/log-neighbor-state-change/log-up-down-enable=false",
           "/log-neighbor-state-change/log-up-down-disable=true",
           "P/logging-options/config/log-neighbor-state-changes=false\n"}}) {
        check(std::string("vn_bgp_") + callback,
              {{edge + sibling + '\n' + edge + leaf, std::string(expected) + "-> 0 none", YFW_KIND_READ}});
    }
    // Halves of a neighbour are not a group's.
    check("vn_bgp_nbr_local_as", {{"@1/local-as/as-xx=7", "-> 0 none"}});
    check("vn_bgp_nbrgrp_local_as", {{edge + "/local-as/as-yy=3", "P/config/local-as=3\n-> 0 none"}});
    check("vn_bgp_nbr_local_as", {{"@1/local-as/as-yy=3", "O/config/local-as=458755\n-> 0 none"}});
    // What all families agree on; a client is looked for under the default VRF's address.
    const auto families_of = [](const std::string &entry, const std::string &settings) {
        const std::string both[] = {of_family(entry, "ipv4-unicast"), of_family(entry, "vpnv6-unicast")};
        return both[0] + '\n' + lines_of(both[0], settings, "") + both[1] + '\n' + lines_of(both[1], settings, "");
    };
    const std::string rr = "route-reflector-client", rm = "remove-private-as-entire-as-path", rp = "replace-private-as";
    const std::string odd = replaced(edge, "edge", "odd");
    const Stored stored(families_of(edge, rr + "=true " + rm + "/enable=true " + rm + "/entire=true") +
                        families_of("@1", rr + "=false " + rp + "/enable=true") + blue + "/vrf-global/exists=\n" +
                        families_of(blue_neighbor, rr + "=true " + rp + "/enable=true") +
                        of_family(odd, "ipv4-unicast/" + rr + "=true") + '\n' + of_family(odd, "vpnv6-unicast") + '\n');
    const auto in = [](const std::string &entry, const std::string &leaf) {
        return of_family(entry, "ipv4-unicast/" + leaf);
    };
    const std::string client = "/route-reflector/config/route-reflector-client=",
                      pas = "/config/remove-private-as=PRIVATE_AS_", end = "\n-> 0 none";
    check("vn_bgp_nbr_grp_rr_client", {{in(edge, rr), "P" + client + "true" + end}, {in(odd, rr), "-> 0 none"}});
    check("vn_bgp_nbr_grp_remove_pas", {{in(edge, rm), "P" + pas + "REMOVE_ALL" + end}, {in(odd, rp), "-> 0 none"}});
    check("vn_bgp_nbr_rr_client", {{in("@1", rr), "O" + client + "false" + end}, {in(blue_neighbor, rr), "-> 0 none"}});
    check("vn_bgp_nbr_remove_pas",
          {{in("@1", rp), "O" + pas + "REPLACE_ALL" + end}, {in(blue_neighbor, rp), "O" + pas + "REPLACE_ALL" + end}});
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

TEST(NativePeerGroupArguments, AreChecked) {
    std::set<std::string> names{"nbr_grp_rr_client", "nbr_grp_remove_pas", "nbr_rr_client", "nbr_remove_pas"};
    for (const Twins &row : twins_of(sessions)) {
        names.insert({row.neighbor, row.group});
    }
    for (const Twins &row : twins_of(of_families)) {
        names.insert({row.neighbor, row.group});
    }
    for (const char *lenient :
         {"", "nbr_afi_safi_use_multipath", "nbr_cluster_id", "instance_nbr_transport_cfg_local_addr"}) {
        names.erase(lenient);
    }
    for (const std::string &name : names) {
        Scene scene;
        const Node *node = scene.map(edge + "/password/password-disable");
        EXPECT_EQ(scene.run<Callback>(("vn_bgp_" + name).c_str(), nullptr, scene.destination), no_arguments) << name;
        EXPECT_EQ(scene.run<Callback>(("vn_bgp_" + name).c_str(), node, nullptr), no_arguments) << name;
    }
}

} // namespace
} // namespace yfw::test
