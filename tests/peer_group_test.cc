// OpenConfig peer groups as native neighbour groups, beside the neighbours that they are like; address families of
// both.
#include "neighbor_fixture.h"

namespace yfw::test {
namespace {

// Two callbacks, a group's and a neighbour's, and their leaf, which lies in a family where its path says so.
struct Twins {
    std::string group, neighbor, leaf;
    // A value, and what an edit, a delete and a read with it make of the native entry; the neighbour's, where it
    // differs.
    std::string value, written, deleted, read, neighbor_written, neighbor_deleted, neighbor_read;
};

const std::string log_state = "log-neighbor-state-change/log-up-down-",
                  family = oc_family + "[afi-safi-name=IPV6_UNICAST]";

// AI: advertisement-interval/minimum-interval; LOG: log-neighbor-state-change/log-up-down; MAX: maximum-prefixes; L:
// the prefix limit's leaves; AP: additional-paths.
std::string whole(std::string cell) {
    for (const auto &[form, text] : {std::pair("AI", std::string("advertisement-interval/minimum-interval")),
                                     {"LOG-", log_state},
                                     {"MAX", "maximum-prefixes"},
                                     {"AP-", "additional-paths-"},
                                     {"FAMILY", family},
                                     {"^L/", family + "/ipv6-unicast/prefix-limit/config/"}}) {
        cell = replaced(cell, form, text);
    }
    return cell;
}

const std::vector<Twins> twins = [] {
    std::vector<Twins> rows;
    for (auto &row : table(R"(
peer_group_peeras | nbr_peer_as | /config/peer-as | 4200000000 | remote-as/as-xx=0 remote-as/as-yy=4200000000 \
    | remote-as | remote-as/as-xx=0 remote-as/as-yy=4200000000 | | | remote-as=
nbrgrp_local_as | nbr_local_as | /config/local-as | 1 | local-as/as-xx=0 local-as/as-yy=1 \
    | local-as | local-as/as-xx=0 local-as/as-yy=1 | | | local-as=
nbr_grp_timers_hold_time | nbr_timers_cfg_hld_time | /timers/config/hold-time | 90 | timers/hold-time=90 \
    | timers/hold-time timers/keepalive-interval | timers/hold-time=90 | | | timers/hold-time=
nbr_grp_timers_keepalive_time | nbr_timers_cfg_keepalive_interval | /timers/config/keepalive-interval | 3 \
    | timers/keepalive-interval=3 | timers/hold-time timers/keepalive-interval | timers/keepalive-interval=3 \
    | | timers/keepalive-interval timers/hold-time | timers/keepalive-interval=
peer_group_timer_min_interval | nbr_timers_cfg_minimum_adv_interval | /timers/config/minimum-advertisement-interval \
    | 5.250 | AI=5 AI-msecs=250 | advertisement-interval | AI=5 AI-msecs=250 | | | AI= AI-msecs=
peer_group_tcp_mode | nbr_transport_cfg_passive_mode | /transport/config/passive-mode | true \
    | session-open-mode=passive-only | session-open-mode | session-open-mode=passive-only | | | session-open-mode=
peer_group_ebgp_multihop | nbr_ebgp_multihop | /ebgp-multihop/config/enabled | true \
    | ebgp-multihop/mpls-deactivation=false ebgp-multihop/max-hop-count=1 | ebgp-multihop | ebgp-multihop/max-hop-count \
    | ebgp-multihop/max-hop-count=1 ebgp-multihop/mpls-deactivation=false | | ebgp-multihop/max-hop-count=
peer_grp_path_recv | nbr_add_paths_cfg_receive | /add-paths/config/receive | false \
    | AP-receive-capability=disable | AP-receive-capability | AP-receive-capability=disable | | | AP-receive-capability=
peer_group_log_neighbor_state | nbr_log_neighbor_state | /logging-options/config/log-neighbor-state-changes | true \
    | LOG-enable=true LOG-disable=false LOG-inherit-disable=false | log-neighbor-state-change \
    | LOG-enable= LOG-disable= LOG-inherit-disable=
cfg_peer_grp_bfd_enabled | cfg_peer_bfd_enabled | /enable-bfd/config/enabled | true \
    | bfd-enable-modes=default | bfd-enable-modes | bfd-enable-modes=
peer_grp_dflt_policy_in | nbr_dflt_policy_in | /apply-policy/config/default-import-policy | ACCEPT_ROUTE \
    | default-routepolicy-in=accept-route | default-routepolicy-in | default-routepolicy-in=ACCEPT_ROUTE \
    | | | default-routepolicy-in=
peer_grp_dflt_policy_out | nbr_dflt_policy_out | /apply-policy/config/default-export-policy | REJECT_ROUTE \
    | default-routepolicy-out=reject-route | default-routepolicy-out | default-routepolicy-out=REJECT_ROUTE \
    | | | default-routepolicy-out=
peer_grp_import_policy | nbr_import_policy | /apply-policy/config/import-policy | p
peer_grp_export_policy | nbr_export_policy | /apply-policy/config/export-policy | p
peer_grp_afi_safi_enable | nbr_afi_safi_enabled | FAMILY/config/enabled | true | activate= | activate | activate=true \
    | | | activate=
peer_group_afi_safi_maxprefix | nbr_afi_max_pfx_params | L/max-prefixes | 9 \
    | MAX/prefix-limit=9 MAX/discard-extra-paths=false | maximum-prefixes | MAX/prefix-limit=9 | | | MAX/prefix-limit=
nbr_grp_afi_pfx_limit_prevent_tear | nbr_afi_pfx_limit_prevent_tear | L/prevent-teardown | true \
    | MAX/warning-only=true | MAX/warning-only | MAX/warning-only | | | MAX/warning-only=
nbr_grp_afi_shut_down_thrshld | nbr_afi_shut_down_thrshld | L/warning-threshold-pct | 80 \
    | MAX/warning-percentage=80 | MAX/warning-percentage | MAX/warning-percentage | | | MAX/warning-percentage=
nbr_grp_afi_pfx_limit_restart_timer | nbr_afi_pfx_limit_restart_timer | L/restart-timer | 60 \
    | MAX/restart-time=60 | MAX/restart-time | MAX/restart-time | | | MAX/restart-time=
peer_group_afi_safi_send_default | nbr_afi_safi_cfg_send_def_route | FAMILY/ipv6-unicast/config/send-default-route \
    | false | default-originate/enable=false | default-originate | default-originate/enable=false \
    | | | default-originate/enable=
nbrgrp_afi_safi_apply_policy_cfg_in_pol | | FAMILY/apply-policy/config/import-policy | in \
    | route-policy-in=in | route-policy-in=in | route-policy-in=in
nbrgrp_afi_safi_apply_policy_cfg_out_pol | | FAMILY/apply-policy/config/export-policy | out \
    | route-policy-out=out | route-policy-out=out | route-policy-out=out
| peer_enabled | /config/enabled | false | shutdown=true | shutdown | shutdown=
| nbr_transport_cfg_mtu | /transport/config/mtu-discovery | true | tcpmtu-discovery=1 | tcpmtu-discovery | tcpmtu-discovery=
| nbr_gr_cfg_helper_only | /graceful-restart/config/helper-only | false | neighbor-graceful-restart-helper-only=2 \
    | neighbor-graceful-restart-helper-only | neighbor-graceful-restart-helper-only=
| nbr_afi_safi_use_multipath | FAMILY/use-multiple-paths/config/enabled | true | multipath= | multipath | multipath=
| nbr_afi_safi_addpath_receive | FAMILY/add-paths/config/receive | true \
    | advertise-AP-receive-capability=enable | advertise-AP-receive-capability | advertise-AP-receive-capability=
| nbr_afi_safi_addpath_send | FAMILY/add-paths/config/send | false \
    | advertise-AP-send-capability=disable | advertise-AP-send-capability | advertise-AP-send-capability=)")) {
        row.resize(10);
        std::transform(row.begin(), row.end(), row.begin(), whole);
        const auto other = [&row](std::size_t at) { return row[at + 3].empty() ? row[at] : row[at + 3]; };
        rows.push_back({row[0], row[1], row[2], row[3], row[4], row[5], row[6], other(4), other(5), other(6)});
    }
    return rows;
}();

const Twins &of_callback(const std::string &neighbor) {
    return *std::find_if(twins.begin(), twins.end(), [&](const Twins &row) { return row.neighbor == neighbor; });
}

// The cases of one callback.
void play_one(const std::string &callback, const std::string &node, const std::string &entry, const std::string &value,
              const std::array<std::string, 3> &outcomes) {
    const bool traces = callback == "peer_group_log_neighbor_state";
    const auto expected = [&](std::size_t kind, const std::string &operation) {
        const char *const texts[] = {"edit-config for nbr_grp", "delete", "Get"};
        return (traces ? std::string("TRC: LogNeighborStateChange ") + texts[kind] + '\n' : "") +
               lines_of(entry, outcomes.at(kind), kind == 2 ? "" : " <" + operation + '>') + "-> 0 " + operation;
    };
    check("oc_bgp_" + callback, {{node + "{create}=" + value, expected(0, "create")},
                                 {node + "{replace}=" + value, expected(0, "replace")},
                                 {node + "=" + value, expected(0, "none")},
                                 {node + "{delete}=" + value, expected(1, "delete")},
                                 {node + "{remove}=" + value, expected(1, "remove")},
                                 {node + "=" + value, expected(2, "none"), YFW_KIND_READ},
                                 {node + "=" + value, expected(2, "none"), YFW_KIND_READ_STATE}});
}

TEST(PeerGroupLeaves, AreWrittenDeletedAndReadLikeANeighborsButForWhatTheyDoOtherwise) {
    for (const Twins &row : twins) {
        const std::string end = row.leaf.starts_with("/afi-safis") ? "A" : "";
        if (!row.group.empty()) {
            play_one(row.group, grp(row.leaf), 'G' + end, row.value, {row.written, row.deleted, row.read});
        }
        for (const auto &[vrf, entry] : {std::pair("DEFAULT", "N"), {"Default", "W"}}) {
            if (!row.neighbor.empty()) {
                play_one(row.neighbor, nbr(vrf, row.leaf), entry + end, row.value,
                         {row.neighbor_written, row.neighbor_deleted, row.neighbor_read});
            }
        }
        if (!row.neighbor.empty()) { // a read of any VRF
            const std::string forms = replaced(lines_of('N' + end, row.neighbor_read, ""), "N(.*\n)", "N$1W$1");
            check("oc_bgp_" + row.neighbor, {{nbr("", row.leaf), forms + "-> 0 none", YFW_KIND_READ}});
        }
    }
}

TEST(PeerGroupLeaves, TakeOddValuesInTheirOwnWay) {
    // The callbacks, the odd value; what a group's makes of it, and a neighbour's. "!" is a refusal with that trace.
    for (auto &row : table(R"(
peer_group_timer_min_interval | nbr_timers_cfg_minimum_adv_interval | =5 | AI=5 AI-msecs=000 | AI=5 AI-msecs=0
peer_group_timer_min_interval | nbr_timers_cfg_minimum_adv_interval | =.5 | AI=5 AI-msecs=000 | AI=5 AI-msecs=0
peer_group_timer_min_interval | nbr_timers_cfg_minimum_adv_interval | | ! | !TRC: Input is wrong
peer_group_tcp_mode | nbr_transport_cfg_passive_mode | =odd | !ERR: Missing nbr-grp passive-mode | !TRC: Input data is empty
peer_group_tcp_mode | nbr_transport_cfg_passive_mode | | !ERR: Missing nbr-grp passive-mode | !TRC: Input data is empty
peer_grp_path_recv | nbr_add_paths_cfg_receive | =odd | !TRC: Input is wrong | additional-paths-receive-capability
cfg_peer_grp_bfd_enabled | cfg_peer_bfd_enabled | =odd | bfd-enable-modes | bfd-enable-modes=disable
cfg_peer_grp_bfd_enabled | cfg_peer_bfd_enabled | =false | bfd-enable-modes=disable | bfd-enable-modes=disable
peer_grp_dflt_policy_in | nbr_dflt_policy_in | =ACCEPT_ROUTE_X | !ERR: Invalid default-route-policy value \
    | !ERR: Invalid default-route-policy value
peer_grp_afi_safi_enable | nbr_afi_safi_enabled | =false | -activate= | -activate=
peer_grp_afi_safi_enable | nbr_afi_safi_enabled | =odd | |
peer_grp_afi_safi_enable | nbr_afi_safi_enabled | | !TRC: Input is wrong | !TRC: Input can not be empty
peer_group_timer_min_interval | nbr_timers_cfg_minimum_adv_interval | =0.5 | AI=0 AI-msecs=5 | AI=0 AI-msecs=5
peer_group_timer_min_interval | nbr_timers_cfg_minimum_adv_interval | = | AI=0 AI-msecs=000 | AI=0 AI-msecs=0
cfg_peer_grp_bfd_enabled | cfg_peer_bfd_enabled | | bfd-enable-modes | bfd-enable-modes=disable
peer_grp_dflt_policy_out | nbr_dflt_policy_out | =ACCEPT_ROUT | !ERR: Invalid default-route-policy value \
    | !ERR: Invalid default-route-policy value
| peer_enabled | =true | | shutdown=false
| peer_enabled | =TRUE | | shutdown
| nbr_log_neighbor_state | =odd | | LOG-enable=false LOG-disable=true LOG-inherit-disable=false
| nbr_afi_safi_use_multipath | =false | | -multipath=
| nbr_afi_safi_use_multipath | | | !TRC: Input can not be empty)")) {
        row.resize(5);
        const std::string leaf = of_callback(row[1]).leaf, end = leaf.starts_with("/afi-safis") ? "A" : "";
        const auto outcome = [&](const std::string &entry, const std::string &cell) {
            if (cell.starts_with('!')) {
                const bool policy = cell.find("policy") != cell.npos;
                return cell.substr(1) + (cell == "!" ? "" : "\n") + "error path\n-> aaf2" + (policy ? "ee00" : "a000") +
                       " none";
            }
            const bool removes = cell.starts_with('-'); // an operation that is put back stays marked
            return lines_of(entry + end, whole(removes ? cell.substr(1) : cell), removes ? " <remove>" : " <none>") +
                   "-> 0 " + (removes ? "merge" : "none");
        };
        if (!row[0].empty()) {
            check("oc_bgp_" + row[0], {{grp(leaf + row[2]), outcome("G", row[3])}});
        }
        check("oc_bgp_" + row[1], {{nbr("blue", leaf + row[2]), outcome("W", row[4])}});
    }
    // A group's read without a value declares what there may be; its hop count comes with the flag.
    const std::string interval = "advertisement-interval/minimum-interval", hops = "G/ebgp-multihop/max-hop-count";
    const std::string ttl = grp("/ebgp-multihop/config/multihop-ttl"),
                      flag = ttl + "=9\n" + grp("/ebgp-multihop/config/enabled=true");
    check("oc_bgp_peer_group_timer_min_interval",
          {{grp("/timers/config/minimum-advertisement-interval"),
            lines_of("G", interval + ' ' + interval + "-msecs", "") + "-> 0 none", YFW_KIND_READ}});
    check("oc_bgp_peer_group_ebgp_multihop",
          {{flag, "G/ebgp-multihop/mpls-deactivation=false <none>\n" + hops + "=9 <none>\n-> 0 none"},
           {flag, hops + "=9\n-> 0 none", YFW_KIND_READ},
           {ttl + "{delete}=9", "-> 0 delete"}});
    check("oc_bgp_nbr_ebgp_multihop",
          {{replaced(flag, "/bgp.peer-groups.peer-group[^/]*", oc_list + "[neighbor-address=10.0.0.1]"),
            "N/ebgp-multihop/max-hop-count=9 <none>\nN/ebgp-multihop/mpls-deactivation=false <none>\n-> 0 none"},
           {nbr("blue", "/ebgp-multihop/config/multihop-ttl=9"), "-> 0 none"}});
    using Converter = const char *(yfw_map_ctx, const Tree *);
    for (const std::string name : {"peer_group_afi_safi_addpath_receive", "peer_group_afi_safi_addpath_send",
                                   "peer_grp_transport_cfg_mtu_to_vn", "nbr_gr_helper_to_vn"}) {
        const bool number = name.ends_with("_to_vn");
        for (const auto &[given, converted] : {std::pair("=true", number ? "1" : "enable"),
                                               {"=false", number ? "2" : "disable"},
                                               {"=odd", ""},
                                               {"", ""}}) {
            Scene scene;
            const Tree *node = scene.map(grp(std::string("/add-paths/config/receive") + given));
            const char *text = exported<Converter>("oc_bgp_" + name)(&scene.request, node);
            EXPECT_STREQ(text == nullptr ? "" : text, converted) << name << given;
        }
    }
}

TEST(PeerGroupEntry, IsTheDefaultVrfsAlone) {
    const std::string oper = "M/protocols/protocol/bgp/peer-groups/peer-group", at = " @ocni-bpm-oper\n";
    const std::string key = "G{}\nG/neighbor-group-name=edge\n", list = "/peer-groups-afi-safis";
    const std::string refused = "TRC: Peer-Group is not supported inside VRF\nerror path\n-> aaf2a000 ";
    const auto written = [](const std::string &form, const std::string &operation) {
        return replaced(form, "\n", " <" + operation + ">\n") + "-> 0 " + operation;
    };
    for (const char *vrf : {"", "default", "DEFAULT"}) {
        check("oc_bgp_peer_grp_name", {{grp("", vrf), written("G{}\nG/create=\nG/neighbor-group-name=edge\n", "none")},
                                       {grp("{delete}", vrf), written(key, "remove")},
                                       {grp("", vrf), key + "-> 0 none", YFW_KIND_READ}});
    }
    check("oc_bgp_peer_grp_name",
          {{grp("", "blue"), refused + "none"},
           {grp("{remove}", "Default"), refused + "remove"},
           {grp("", "blue"), refused + "none", YFW_KIND_READ},
           {grp("{replace}"), written("G{}\nG/create=\nG/neighbor-group-name=edge\n", "replace")},
           {protocol("DEFAULT") + oc_group, "TRC: Key is invalid\nerror path\n-> aaf2a000 none"},
           {protocol("DEFAULT") + oc_group, "G{}\nG/neighbor-group-name\n-> 0 none", YFW_KIND_READ},
           {grp(""), key + oper + "{}" + at + oper + "/peer-group-name=edge" + at + "-> 0 none", YFW_KIND_READ_STATE}});
}

// The entries of address families, by the container of them all and by their names.
TEST(AddressFamilies, AreWrittenWithTheirNativeNames) {
    const std::string name = family, unknown = "/afi-safis/afi-safi[afi-safi-name=LINKSTATE_SPF]";
    const auto entry = [](const std::string &form, const std::string &operation) {
        const std::string end = operation.empty() ? "" : " <" + operation + '>';
        return form + "{}" + end + '\n' + form + "/af-name=ipv6-unicast" + (operation == "remove" ? "" : end) +
               "\n-> 0 " + (operation.empty() ? "none" : operation);
    };
    const auto operational = [](const std::string &model, const std::string &kind) {
        const std::string list =
            model + "/protocols/protocol/bgp/" +
            (model == "B" ? "neighbors/neighbor/neighbors" : "peer-groups/peer-group/peer-groups") + "-afi-safis/" +
            (model == "B" ? "neighbors" : "peer-groups") + "-afi-safi";
        const std::string at = std::string(" @ocni-") + (model == "B" ? "bgp" : "bpm") + "-oper\n";
        return list + "{}" + at + list + "/afi-safi-name=" + kind + at + "-> 0 none";
    };
    const std::string invalid = "TRC: ERR: Input data is invalid !!\nerror path\n-> aaf2a000 none";
    const std::string any = "NA{}=\nWA{}=\nNA/af-name=\nWA/af-name=\n-> 0 none";
    check("oc_bgp_nbr_afi_safi_name",
          {{nbr("DEFAULT", name, 9), none_found + entry("NA", "none")},
           {nbr("DEFAULT", name + "{delete}"), entry("NA", "remove")},
           {nbr("blue", name + "{remove}"), entry("WA", "remove")},
           {nbr("DEFAULT", unknown), invalid},
           {nbr("blue", name), "WA{}=\nWA/af-name=ipv6-unicast\n-> 0 none", YFW_KIND_READ},
           {protocol("") + oc_list + oc_family, any, YFW_KIND_READ},
           {nbr("DEFAULT", name), "NA{}=\nNA/af-name=ipv6-unicast\n" + operational("B", "IPV6_UNICAST"),
            YFW_KIND_READ_STATE}});
    check("oc_bgp_nbrgrp_afi_safi_name",
          {{grp(name), entry("GA", "none")},
           {grp(name + "{create}"), entry("GA", "create")},
           {grp(name + "{delete}"), entry("GA", "remove")},
           {grp(unknown), invalid},
           {grp(name), entry("GA", ""), YFW_KIND_READ},
           {grp(name), replaced(entry("GA", ""), "-> 0 none", "") + operational("M", "IPV6_UNICAST"),
            YFW_KIND_READ_STATE}});
    const std::string in_state = "/neighbors-afi-safis @ocni-bgp-oper\n-> 0 none";
    check("oc_bgp_nbr_afisafis_parent",
          {{nbr("DEFAULT", "/afi-safis{delete}"), "N/neighbor-afs <delete>\n-> aaf2f600 delete"},
           {nbr("blue", "/afi-safis"), "W/vrf-neighbor-afs <none>\n-> 0 none"},
           {nbr("blue", "/afi-safis"), "W/vrf-neighbor-afs=\n-> 0 none", YFW_KIND_READ},
           {nbr("blue", "/afi-safis"), "W/vrf-neighbor-afs=\nB/protocols/protocol/bgp/neighbors/neighbor" + in_state,
            YFW_KIND_READ_STATE}});
    for (const auto &[node, expected, kind] :
         {std::tuple("", "G/neighbor-group-afs <none>\n-> 0", YFW_KIND_EDIT),
          {"{remove}", "G/neighbor-group-afs <remove>\n-> aaf2f600", YFW_KIND_EDIT},
          {"", "G/neighbor-group-afs\n-> 0", YFW_KIND_READ},
          {"",
           "G/neighbor-group-afs\nM/protocols/protocol/bgp/peer-groups/peer-group/peer-groups-afi-safis "
           "@ocni-bpm-oper\n-> 0",
           YFW_KIND_READ_STATE}}) {
        Scene scene(kind);
        const Tree *container = scene.map(grp(std::string("/afi-safis") + node));
        EXPECT_EQ(brief(scene.run<ToplevelCallback>("oc_bgp_nbrgrp_afisafis_parent", container, 7U, scene.destination)),
                  expected);
    }
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
            scene.map(nbr(vrf, container + std::string("/neighbor-address")));
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

const std::string rm = "remove-private-as-entire-as-path", rp = "replace-private-as", client = "route-reflector-client";
const std::string removes = rm + "/enable=true " + rm + "/entire=true " + rm + "/internal=false",
                  replaces = rp + "/enable=true " + rp + "/internal=false";

std::string stored_in(const std::string &entry, const std::string &name, const std::string &settings) {
    return entry + "[af-name=" + name + "]\n" + lines_of(entry + "[af-name=" + name + ']', settings, "");
}

TEST(NewFamily, TakesOverWhatTheNeighborHas) {
    const std::string at = "/neighbor-afs/neighbor-af", in_vrf = blue_neighbor + "/vrf-neighbor-afs/vrf-neighbor-af";
    const std::string v4 = "ipv4-unicast", vpn = "vpnv6-unicast", yes = client + "=true", no = client + "=false";
    // 1: removes, and a client; 2: both forms in one family, a client in another; 3: settings that are off; 4: has the
    // new family.
    const Stored stored(stored_in("@1" + at, v4, removes + ' ' + yes) +
                        stored_in("@2" + at, v4, removes + ' ' + replaces) + stored_in("@2" + at, vpn, no) +
                        stored_in("@3" + at, v4, rp + "/enable=false") + stored_in("@4" + at, v4, removes) +
                        stored_in("@4" + at, "ipv6-unicast", "") + blue + "/vrf-global/exists=\n" +
                        stored_in(in_vrf, v4, replaces));
    const auto line = [](int client_there, int remove, int replace) {
        return "TRC: RRC = " + std::to_string(client_there) + ", RM_PAS = " + std::to_string(remove) +
               ", RP_PAS = " + std::to_string(replace) + '\n';
    };
    const auto wrote = [](const std::vector<std::string> &settings, const std::string &entry = "NA") {
        std::string lines = entry + "{} <none>\n" + entry + "/af-name=ipv6-unicast <none>\n";
        for (const std::string &setting : settings) {
            lines += in_families("ipv6-unicast", setting, " <none>", entry);
        }
        return lines + "-> 0 none";
    };
    const std::string reflect = "/route-reflector/config/route-reflector-client", pas = "/config/remove-private-as";
    const std::string all = "=PRIVATE_AS_REMOVE_ALL\n", by_own = "=PRIVATE_AS_REPLACE_ALL\n";
    const std::string there = "NA{} <none>\nNA/af-name=ipv4-unicast <none>\n-> 0 none";
    const auto with = [](const std::string &asked, int number = 9, const std::string &vrf = "DEFAULT") {
        return nbr(vrf, asked, number) + nbr(vrf, family, number);
    };
    check("oc_bgp_nbr_afi_safi_name",
          {{with("", 1).substr(nbr("DEFAULT", "", 1).size()), line(1, 1, 0) + wrote({yes, removes})},
           {nbr("DEFAULT", family, 2), line(0, 1, 1) + line(1, 1, 1) + wrote({no, removes, replaces})},
           {nbr("DEFAULT", family, 3), line(0, 0, 0) + wrote({})},
           {nbr("DEFAULT", family, 4), line(0, 1, 0) + wrote({})}, // is there: nothing but its name
           {nbr("DEFAULT", family, 9), wrote({})},
           {nbr("blue", family), line(0, 0, 1) + wrote({replaces}, "WA")},
           // What the request says comes before what is stored; a client is written with the entry and on its own.
           {with(reflect + "=false\n", 1), wrote({no, no})},
           {with(pas + by_own, 1), wrote({replaces})},
           {with(pas + all), wrote({removes})},
           {with(pas + by_own, 1, "blue"), wrote({replaces}, "WA")},
           {nbr("DEFAULT", reflect + "=true\n") + nbr("DEFAULT", pas + all) + nbr("DEFAULT", family),
            wrote({yes, yes, removes})},
           // What goes in the same request is not taken over.
           {with(pas + "{delete}" + all, 1), wrote({})},
           {with(reflect + "{remove}=true\n", 1), wrote({})},
           {nbr("DEFAULT", reflect + "{delete}=true\n") + nbr("DEFAULT", pas + all) + nbr("DEFAULT", family),
            wrote({removes})},
           {nbr("DEFAULT", pas + "{delete}" + all) + nbr("DEFAULT", reflect + "=true\n") + nbr("DEFAULT", family),
            wrote({yes})},
           // A family that has them gets them once.
           {nbr("DEFAULT", pas + all) + nbr("DEFAULT", replaced(family, "V6", "V4")), there},
           {nbr("DEFAULT", reflect + "=true\n") + nbr("DEFAULT", replaced(family, "V6", "V4")),
            replaced(there, "-> 0 none", "") + in_families(v4, yes, " <none>") + "-> 0 none"},
           // Another neighbour's settings are its own.
           {nbr("DEFAULT", pas + by_own, 9) + nbr("DEFAULT", family, 1), line(1, 1, 0) + wrote({yes, removes})}});
}

TEST(PeerGroupPolicies, ReachTheFamiliesOfTheGroup) {
    const std::string edge = "~/default-vrf/bgp-entity/neighbor-groups/neighbor-group[neighbor-group-name=edge]",
                      odd = replaced(edge, "edge", "odd"), at = "/neighbor-group-afs/neighbor-group-af",
                      v4 = "ipv4-unicast", vpn = "vpnv6-unicast", both = v4 + ' ' + vpn;
    const Stored stored(
        stored_in(edge + at, v4, client + "=true " + removes) + stored_in(edge + at, vpn, client + "=true " + removes) +
        edge + "/update-source-interface=Loopback0\n" + stored_in(odd + at, v4, client + "=false " + replaces) +
        stored_in(odd + at, vpn, removes) + odd + "/local-address/local-ip-address=192.0.2.1\n");
    const auto of = [](const std::string &families_there, const std::string &leaves_there,
                       const std::string &operation) {
        return in_families(families_there, leaves_there, " <" + operation + ">", "GA") + "-> 0 " + operation;
    };
    const auto other = [](const std::string &leaf) { return replaced(grp(leaf), "=edge", "=odd"); };
    const std::string reflect = "/route-reflector/config/route-reflector-client", none = "-> 0 none";
    const std::string refused = "TRC: route-reflector-client is not supported inside VRF\nerror path\n-> aaf2a000 none";
    check("oc_bgp_peer_grp_rr_client",
          {{grp(reflect + "=false"), of(both, client + "=false", "none")},
           {grp(reflect + "{create}=true"), of(both, client + "=true", "merge")},
           {grp(reflect + "=odd"), none},
           {grp(reflect + "=true", "blue"), refused},
           {other(reflect + "{delete}"), of(v4, client, "delete")},
           {other(reflect + "{remove}"), of(both, client, "remove")},
           {grp(reflect), of(vpn, client, "none"), YFW_KIND_READ}, // of the family reported; a neighbour's of all
           {other(reflect), none, YFW_KIND_READ},
           {protocol("DEFAULT") + oc_group + reflect, "GA/route-reflector-client\n" + none, YFW_KIND_READ}});
    const std::string pas = "/config/remove-private-as", to_remove = "=PRIVATE_AS_REMOVE_ALL",
                      to_replace = "=PRIVATE_AS_REPLACE_ALL";
    check("oc_bgp_peer_grp_remove_pas",
          {{grp(pas + to_replace), in_families(both, rm, " <remove>", "GA") + of(both, replaces, "merge")},
           {grp(pas + to_remove), of(both, removes, "none")},
           {grp(pas + "{delete}" + to_remove), of(both, rm, "delete")},
           {other(pas + "{delete}"), of(v4, rp, "delete")},
           {other(pas + "{remove}" + to_replace), of(both, rp, "remove")},
           {grp(pas), of(vpn, rm + ' ' + rp, "none"), YFW_KIND_READ},
           {other(pas), none, YFW_KIND_READ},
           {protocol("DEFAULT") + oc_group + pas, "G/neighbor-group-afs{}\nGA{}\nGA/" + rm + "\nGA/" + rp + '\n' + none,
            YFW_KIND_READ}});
    const std::string cluster = "/route-reflector/config/route-reflector-cluster-id", id = "/neighbor-cluster-id";
    const std::string number = id + "/cluster-id-number", address = id + "/cluster-id-address",
                      end = " <none>\n" + none;
    const std::string vrf = "TRC: Route-Reflector cluster ID is not supported inside VRF\nerror path\n-> aaf2a000 none";
    check("oc_bgp_peer_grp_rr_cluster_id", {{grp(cluster + "=10.0.0.1"), 'G' + address + "=10.0.0.1" + end},
                                            {grp(cluster + "=100", "blue"), 'G' + number + "=100" + end},
                                            {grp(cluster), none},
                                            {grp(cluster), 'G' + number + "\nG" + address + '\n' + none, YFW_KIND_READ},
                                            {grp(cluster + "=100"), 'G' + number + "=100\n" + none, YFW_KIND_READ},
                                            {grp(cluster + "{delete}=100"), 'G' + id + " <delete>\n-> 0 delete"}});
    check("oc_bgp_nbr_rr_cluster_id",
          {{nbr("DEFAULT", cluster + "=10.0.0.1"), 'N' + address + "=10.0.0.1" + end},
           {nbr("blue", cluster + "=100"), vrf},
           {nbr("blue", cluster + "=100"), vrf, YFW_KIND_READ},
           {nbr("blue", cluster + "{delete}"), "-> 0 delete"},
           {nbr("DEFAULT", cluster), 'N' + address + "\nN" + number + '\n' + none, YFW_KIND_READ},
           {nbr("DEFAULT", cluster + "=100"), 'N' + number + "=100\n" + none, YFW_KIND_READ},
           {nbr("DEFAULT", cluster + "{remove}"), 'N' + id + " <remove>\n-> 0 remove"}});
    const std::string local = "/transport/config/local-address", lo = "G/update-source-interface";
    const std::string ip = "G/local-address/local-address-disable=false "
                           "<merge>\nG/local-address/local-ip-address=192.0.2.7 <merge>\n-> 0 merge";
    check("oc_bgp_peer_group_tcp_localaddr",
          {{grp(local + "=192.0.2.7"), lo + " <remove>\n" + ip},
           {grp(local + "=lo7"), lo + "=lo7" + end},
           {other(local + "=lo7"), "G/local-address <remove>\n" + lo + "=lo7 <merge>\n-> 0 merge"},
           {grp(local), none},
           {grp(local + "{remove}=lo7"), "G/local-address <remove>\n-> 0 remove"}, // whatever the value
           {grp(local + "{delete}"), "-> 0 delete"},                               // and without the neighbour's trace
           {grp(local + "{delete}=lo7"), lo + " <delete>\n-> 0 delete"},
           {grp(local + "{delete}=192.0.2.9"), "G/local-address <delete>\n-> 0 delete"},
           {grp(local + "=192.0.2.9"), "G/local-address/local-ip-address=192.0.2.9\n" + none, YFW_KIND_READ}});
    check("oc_bgp_peer_group_authpwd",
          {{grp("/config/auth-password{delete}=x"), "G/password <delete>\n-> 0 delete"},
           {grp("/config/auth-password=x"), "G/password/password=x\n" + none, YFW_KIND_READ}});
}

TEST(PeerGroupArguments, AreChecked) {
    std::set<std::string> names{"peer_grp_name",      "nbrgrp_afi_safi_name",
                                "nbr_afi_safi_name",  "nbr_afisafis_parent",
                                "peer_grp_rr_client", "peer_grp_remove_pas",
                                "peer_group_authpwd", "nbr",
                                "nbr_parent",         "nbr_transport_cfg_local_addr",
                                "nbr_auth_passwd",    "nbr_rr_client",
                                "nbr_rr_cluster_id",  "nbr_remove_pas"};
    for (const Twins &row : twins) {
        names.insert({row.group, row.neighbor});
    }
    names.erase("");
    for (const std::string &name : names) {
        Scene scene;
        const Tree *node = scene.map(grp("/ebgp-multihop/config/multihop-ttl{delete}=1"));
        EXPECT_EQ(scene.run<Callback>(("oc_bgp_" + name).c_str(), nullptr, scene.destination), no_arguments) << name;
        EXPECT_EQ(scene.run<Callback>(("oc_bgp_" + name).c_str(), node, nullptr), no_arguments) << name;
    }
}

} // namespace
} // namespace yfw::test
