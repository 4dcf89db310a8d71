// Native neighbours as OpenConfig's.
#include "neighbor_fixture.h"

namespace yfw::test {
namespace {

const std::string general = "-> aaf2a000", refused = "error path\n-> aaf2a000";

// A callback's name behind "vn_bgp_", its native leaf and value, and what becomes of that.
struct Leaf {
    std::string name, leaf, expected;
    bool fails = expected.ends_with(general);
};

std::vector<Leaf> leaves() {
    std::vector<Leaf> rows;
    // Two values with their texts, the refusals of no value and of an empty one (null: as any other).
    const auto boolean = [&rows](const std::string &name, const std::string &native, const std::string &leaf,
                                 const std::string &first, const std::string &second, const char *missing,
                                 bool empty_is_missing, const std::string &text = "true",
                                 const std::string &other = "false") {
        const std::string reason = missing == nullptr ? general : std::string("ERR: ") + missing + '\n' + refused;
        for (const auto &[given, expected] : {std::pair('=' + first, 'O' + leaf + '=' + text + "\n-> 0"),
                                              {'=' + second, 'O' + leaf + '=' + other + "\n-> 0"},
                                              {"=odd", 'O' + leaf + "\n-> 0"},
                                              {"", reason},
                                              {"=", empty_is_missing ? reason : 'O' + leaf + "\n-> 0"}}) {
            rows.push_back({name, native + given, expected});
        }
    };
    const std::string accept = "accept-route", reject = "reject-route", policy = "/apply-policy/config/default-";
    boolean("nbr_shut", "/shutdown", "/config/enabled", "false", "true", nullptr, false);
    boolean("instance_nbr_transport_cfg_passive_mode", "/session-open-mode", "/transport/config/passive-mode",
            "passive-only", "active-only", "Missing nbr passive-mode", false);
    boolean("instance_nbr_transport_cfg_mtu", "/tcpmtu-discovery", "/transport/config/mtu-discovery", "1", "2",
            "Missing nbr mtu discovery data", true);
    boolean("nbr_dflt_policy_in", "/default-routepolicy-in", policy + "import-policy", accept, reject,
            "Missing nbr default-import-policy data", true, "ACCEPT_ROUTE", "REJECT_ROUTE");
    const std::string bfd = "O/enable-bfd/config/enabled=", bfd_end = " f1 @bfd\n-> 0";
    const std::string hold = "O/timers/config/hold-time", keep = "O/timers/config/keepalive-interval";
    const std::string hops = "/ebgp-multihop/max-hop-count=", multihop = "O/ebgp-multihop/config/";
    const std::string local = "O/transport/config/local-address=", state = "/log-neighbor-state-change/log-up-down-";
    const std::string logged = "O/logging-options/config/log-neighbor-state-changes=";
    for (const Leaf &row : std::vector<Leaf>{
             {"", "", "O f1\nO/neighbor-address=10.0.0.1\nO/config/neighbor-address=10.0.0.1\n-> 0"},
             {"cfg_nbr_bfd_enable_modes", "/bfd-enable-modes=strict", bfd + "true" + bfd_end},
             {"cfg_nbr_bfd_enable_modes", "/bfd-enable-modes=disable", bfd + "false" + bfd_end},
             {"cfg_nbr_bfd_enable_modes", "/bfd-enable-modes=odd", refused},
             {"cfg_nbr_bfd_enable_modes", "/bfd-enable-modes", refused},
             {"nbr_cluster_id", "/neighbor-cluster-id/cluster-id-number=7",
              "O/route-reflector/config/route-reflector-cluster-id=7\n-> 0"},
             {"nbr_cluster_id", "/neighbor-cluster-id/cluster-id-number", "-> 0"},
             {"instance_nbr_timers_cfg_keepalive_interval", "/timers/keepalive-interval",
              "ERR: Missing keepalive_interval interval time\n" + refused},
             {"instance_nbr_timers_cfg_hld_time", "/timers/hold-time=90", hold + "=90 f1\n-> 0"},
             // The halves meet in one place, which is empty again once they are joined.
             {"instance_nbr_peer_as", "/remote-as/as-xx=1", "-> 0"},
             {"instance_nbr_peer_as", "/remote-as/as-yy=10", "O/config/peer-as=65546\n-> 0"},
             {"instance_nbr_peer_as", "/remote-as/as-xx", "ERR: Missing nbr remote as xx\n" + refused},
             {"nbr_local_as", "/local-as/as-yy=11", "O/config/local-as=11\n-> 0"},
             {"nbr_local_as", "/local-as/as-xx=65535", "-> 0"},
             {"instance_nbr_peer_as", "/remote-as/as-yy", "ERR: Missing nbr remote as yy\n" + refused},
             {"instance_nbr_peer_as", "/remote-as/as-yy=65535", "O/config/peer-as=4294967295\n-> 0"},
             {"nbr_local_as", "/local-as/as-xx=0", "-> 0"},
             {"nbr_local_as", "/local-as/as-yy=4200000000", "O/config/local-as=4200000000\n-> 0"},
             {"nbr_local_as", "/local-as/as-yy", "ERR: Missing config as-yy\n" + refused},
             {"nbr_ebgp_multihop", "/ebgp-multihop/mpls-deactivation=false", "-> 0"},
             {"nbr_ebgp_multihop", hops + "1", multihop + "enabled=true\n-> 0"},
             {"nbr_ebgp_multihop", hops + "255", multihop + "enabled=true\n" + multihop + "multihop-ttl=255\n-> 0"},
             {"instance_nbr_transport_cfg_local_addr", "/local-address/local-address-disable=false", "-> 0"},
             {"instance_nbr_transport_cfg_local_addr", "/local-address/local-ip-address=1.1.1.1",
              local + "1.1.1.1\n-> 0"},
             {"instance_nbr_transport_cfg_local_addr", "/update-source-interface=lo", local + "lo\n-> 0"},
             {"instance_nbr_auth_passwd", "/password/password-disable=false", "-> 0"},
             {"instance_nbr_auth_passwd", "/password/password=junk", "ERR: Password cannot be deciphered\n" + refused},
             {"instance_nbr_log_neighbor_state", state + "inherit-disable=false", "-> 0"},
             {"instance_nbr_log_neighbor_state", state + "enable=true", logged + "true\n-> 0"},
             {"instance_nbr_log_neighbor_state", state + "disable=true", logged + "false\n-> 0"},
             {"instance_nbr_log_neighbor_state", state + "enable=false", "-> 0"}}) {
        rows.push_back(row);
    }
    return rows;
}

TEST(NativeNeighborLeaves, AreRenderedUnlessConfigurationIsUnwanted) {
    for (const std::string &entry : {std::string("@1"), blue_neighbor}) {
        for (const auto &[name, leaf, expected, fails] : leaves()) {
            Scene scene(YFW_KIND_READ);
            if (name == "nbr_cluster_id" && entry == blue_neighbor) {
                continue;
            }
            const std::string callback = name.empty() ? "vn_bgp_nbr" : "vn_bgp_" + name;
            EXPECT_EQ(call(scene, callback, scene.map(entry + leaf)), expected + " none") << name << entry << leaf;
        }
    }
    for (const auto &[name, leaf, expected, fails] : leaves()) {
        Scene scene(YFW_KIND_READ_STATE);
        scene.fields.selection = {-1, {0, 0}, YFW_SELECT_STATE_ONLY};
        const std::string callback = name.empty() ? "vn_bgp_nbr" : "vn_bgp_" + name;
        const std::string lines = call(scene, callback, scene.map("@1" + leaf));
        EXPECT_EQ(lines.find("/config/"), lines.npos) << lines;
        EXPECT_EQ(lines.ends_with(general + " none"), fails && leaf != "/password/password=junk") << name << leaf;
    }
}

TEST(NativeNeighborLeaves, LookAtTheirSiblings) {
    const std::string local = "O/transport/config/local-address=", min = "/advertisement-interval/minimum-interval";
    const std::string log = "/log-neighbor-state-change/log-up-down-", interface = "/update-source-interface=lo";
    const std::string interval = "O/timers/config/minimum-advertisement-interval=";
    const std::string logged = "O/logging-options/config/log-neighbor-state-changes=";
    // A VRF that is named "default" is one to most callbacks.
    const std::string named_default = replaced(blue_neighbor, "blue", "default");
    for (const std::string &at : {std::string("@1"), blue_neighbor, named_default}) {
        const bool by_name = at != named_default;
        const auto sibling = [&at](const std::string &leaf) { return at + leaf + '\n' + at; };
        check("vn_bgp_instance_nbr_transport_cfg_local_addr",
              {{sibling("/local-address/local-ip-address=1.1.1.1") + interface, "-> 0 none", YFW_KIND_READ},
               {sibling("/local-address/local-address-disable=false") + interface, local + "lo\n-> 0 none"}});
        for (const auto &[lines, value] :
             {std::pair(sibling(min + "=5") + min + "-msecs=50", ""),
              {sibling(min + "-msecs=50") + min + "=5", by_name ? "5.050" : "0.000"},
              {sibling(min + "-msecs=250") + min + "=0", by_name ? "0.250" : "0.000"},
              {sibling(min + "-msecs=7") + "/advertisement-interval", by_name ? "0.007" : "0.000"}}) {
            check("vn_bgp_instance_nbr_timers_cfg_minimum_adv_interval",
                  {{lines, (*value == '\0' ? "" : interval + value + '\n') + "-> 0 none"}});
        }
        check(
            "vn_bgp_instance_nbr_log_neighbor_state",
            {{sibling(log + "enable=false") + log + "disable=true", (by_name ? logged + "false\n" : "") + "-> 0 none"},
             {sibling(log + "enable=true") + log + "disable=true", (by_name ? logged + "true\n" : "") + "-> 0 none"}});
    }
}

TEST(NativeNeighborArguments, AreChecked) {
    std::set<std::string> names{"vn_bgp_nbr",
                                "vn_bgp_nbr_gr_helper_only",
                                "vn_bgp_nbr_dflt_policy_out",
                                "vn_bgp_instance_nbr_timers_cfg_minimum_adv_interval",
                                "vn_bgp_nbr_rr_client",
                                "vn_bgp_nbr_remove_pas",
                                "vn_bgp_nbr_import_policy",
                                "vn_bgp_nbr_export_policy"};
    for (const Leaf &row : leaves()) {
        names.insert("vn_bgp_" + (row.name.empty() ? "nbr" : row.name));
    }
    names.erase("vn_bgp_nbr_cluster_id"); // these two take them for granted
    names.erase("vn_bgp_instance_nbr_transport_cfg_local_addr");
    for (const std::string &name : names) {
        Scene scene;
        const Node *node = scene.map("@1/password/password-disable");
        EXPECT_EQ(scene.run<Callback>(name.c_str(), nullptr, scene.destination), no_arguments) << name;
        EXPECT_EQ(scene.run<Callback>(name.c_str(), node, nullptr), no_arguments) << name;
    }
}

} // namespace
} // namespace yfw::test
