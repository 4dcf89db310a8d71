// What a native neighbour's leaves look for beside them.
#include "neighbor_fixture.h"

namespace yfw::test {
namespace {

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

} // namespace
} // namespace yfw::test
