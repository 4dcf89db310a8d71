// OpenConfig neighbours as native ones.
#include "rows.h"

namespace yfw::test {
namespace {

TEST(NeighborEntry, IsWrittenWithItsKey) {
    play("oc_bgp_", R"(nbr
DEFAULT@1 | N{} N/create= N/neighbor-address=10.0.0.1 <none>; -> 0
blue@1{create} | W{} W/create= W/neighbor-address=10.0.0.1 <create>; -> 0
default@1{delete} | N{} N/create= N/neighbor-address=10.0.0.1 <remove>; -> 0 remove
blue@1{remove} | W{} W/create= W/neighbor-address=10.0.0.1 <remove>; -> 0
? -@1 | N{}=; W{}=; N/neighbor-address=10.0.0.1; W/neighbor-address=10.0.0.1; -> 0
?? blue@1 | W{}=; W/neighbor-address=10.0.0.1; B:neighbors/neighbor{}; \
    B:neighbors/neighbor/neighbor-address=10.0.0.1; -> 0
? blue@1/state/neighbor-address | W{}=; W/neighbor-address=10.0.0.1; -> 0
blue@1/state/neighbor-address{delete} | TRC: EDIT/DELETE requests not allowed on State nodes; -> 0
nbr_parent /bgp/neighbors
DEFAULT* | F/default-vrf/bgp-entity/neighbors <none>; -> 0
blue*{remove} | V/vrf-neighbors <remove>; -> aaf2f600
? -* | F/default-vrf/bgp-entity/neighbors=; V/vrf-neighbors=; -> 0
?? blue* | V/vrf-neighbors=; B:neighbors; -> 0)");
}

TEST(NeighborLocalAddress, TakesTheOtherKindOutOfTheWay) {
    const Stored stored("@1 update-source-interface=Loopback0\n@2 local-address/local-ip-address=192.0.2.1\n"
                        "blue vrf-global/exists=\nblue@ local-address/local-ip-address=192.0.2.1");
    play("oc_bgp_", R"(nbr_transport_cfg_local_addr /transport/config/local-address
DEFAULT@1*=192.0.2.1 | N/IF <remove>; N/NO-IP=false N/IP=192.0.2.1 <merge>; -> 0 merge
default@1*{create}=192.0.2.1 | N/IF <remove>; N/NO-IP=false N/IP=192.0.2.1 <create>; -> 0
DEFAULT@2*=192.0.2.1 | N/NO-IP=false N/IP=192.0.2.1 <none>; -> 0
DEFAULT@2*=lo7 | N/local-address <remove>; N/IF=lo7 <merge>; -> 0 merge
blue@1*=lo7 | W/local-address <remove>; W/IF=lo7 <merge>; -> 0 merge
DEFAULT@1*=lo7 | N/IF=lo7 <none>; -> 0
// What the request says of the AS comes first.
DEFAULT/AS=65000; DEFAULT@1*=192.0.2.1 | N/IF <remove>; N/NO-IP=false N/IP=192.0.2.1 <merge>; -> 0 merge
DEFAULT/AS=65001; DEFAULT@1*=192.0.2.1 | N/NO-IP=false N/IP=192.0.2.1 <none>; -> 0
DEFAULT.edge/AS=7; DEFAULT.edge@1*=192.0.2.1 | N/NO-IP=false N/IP=192.0.2.1 <none>; -> 0
DEFAULT.edge@1*=192.0.2.1 | LOST; error path: AS number NOT alreadycreated under instance; -> aaf2a000
DEFAULT@1* | -> 0
DEFAULT@1*{remove}=lo7 | N/local-address N/IF <remove>; -> 0
blue@1*{delete}=192.0.2.9 | W/local-address <delete>; -> 0
blue@1*{delete}=lo7 | W/IF <delete>; -> 0
blue@1*{delete} | TRC: DELETE requests without value not allowed due to YFW restrictions; -> 0
? -@1* | N/IP=; W/IP=; N/IF=; W/IF=; -> 0)");
}

TEST(NeighborRouteReflector, ReachesEveryFamily) {
    // Without a database there is no list, and nothing in it that could fail.
    play("oc_bgp_", "nbr_rr_client\nDEFAULT@1/RRC=true | LOST; LOST; -> 0");
    // 1: clients; 2: no families; 3: one family says nothing; 4: one family.
    const Stored stored("@1#v4 RRC=true\n@1#vpn6 RRC=true\n@3#v4\n@3#vpn6 RRC=false\n@4#v4 RRC=true");
    play("oc_bgp_", R"(nbr_rr_client /RRC
DEFAULT@1*=true | NA(v4) NA/RRC=true <none>; NA(vpn6) NA/RRC=true <none>; -> 0
-@1*{create}=false | NA(v4) NA/RRC=false <merge>; NA(vpn6) NA/RRC=false <merge>; -> 0 merge
DEFAULT@1*{create}=yes | -> 0 merge
DEFAULT@2*=true | -> 0
blue@1*=true | TRC: RRC is not supported inside VRF; REFUSED
blue@1*{delete} | TRC: RRC is not supported inside VRF; REFUSED
// A delete goes where something is stored, a remove everywhere.
DEFAULT@1*{delete}=true | NA(v4) NA/RRC <delete>; NA(vpn6) NA/RRC <delete>; -> 0
DEFAULT@3*{delete} | NA(vpn6) NA/RRC <delete>; -> 0
DEFAULT@3*{remove} | NA(v4) NA/RRC <remove>; NA(vpn6) NA/RRC <remove>; -> 0
? DEFAULT@3* | NA/RRC; -> 0
?? DEFAULT@* | NA/RRC; -> 0
? DEFAULT@4* | NA(v4) NA/RRC <none>; -> 0
? DEFAULT@1* | NA(v4) NA/RRC <none>; NA(vpn6) NA/RRC <none>; -> 0)");
    // A node that the request did not name has no value.
    Scene scene;
    Node *node = scene.map(request_line("DEFAULT@1/RRC=true"));
    node->flags &= ~std::uint32_t{YFW_NODE_PRESENT};
    EXPECT_EQ(call(scene, "oc_bgp_nbr_rr_client", node), "-> 0");
}

TEST(NeighborPrivateAs, SwitchesBetweenItsTwoFormsInEveryFamily) {
    // 1: removes in both; 2: replaces in one; 3: families only; 4: settings that are off; 5: one of each.
    const Stored stored("@1#v4 RM*\n@1#vpn6 RM*\n@2#v4\n@2#vpn6 RP*\n@3#v4\n@3#vpn6\n@4#v4 RM/enable=true\n"
                        "@4#vpn6 RP/enable=false\n@5#v4 RM*\n@5#vpn6 RP*\nblue vrf-global/exists=\nblue@#v4 RM*");
    play("oc_bgp_", R"(nbr_remove_pas /PAS
DEFAULT@1*=REPLACE_ALL | NA(v4) NA/RM <remove>; NA(vpn6) NA/RM <remove>; NA(v4) NA/RP* <merge>; \
    NA(vpn6) NA/RP* <merge>; -> 0 merge
DEFAULT@1*{create}=REPLACE_ALL | NA(v4) NA/RM <remove>; NA(vpn6) NA/RM <remove>; NA(v4) NA/RP* <merge>; \
    NA(vpn6) NA/RP* <merge>; -> 0 merge
DEFAULT@1*=REMOVE_ALL | NA(v4) NA/RM* <none>; NA(vpn6) NA/RM* <none>; -> 0
DEFAULT@2*=REMOVE_ALL | NA(v4) NA/RP <remove>; NA(vpn6) NA/RP <remove>; NA(v4) NA/RM* <merge>; \
    NA(vpn6) NA/RM* <merge>; -> 0 merge
// A replace clears nothing.
DEFAULT@1*{replace}=REPLACE_ALL | NA(v4) NA/RP* <replace>; NA(vpn6) NA/RP* <replace>; -> 0
DEFAULT@1*=PRIVATE_AS_KEEP | NA(v4) NA/RM <remove>; NA(vpn6) NA/RM <remove>; -> 0 merge
DEFAULT@6*=REMOVE_ALL | -> 0
blue@1*=REPLACE_ALL | WA(v4) WA/RM <remove>; WA(v4) WA/RP* <merge>; -> 0 merge
DEFAULT@1*{delete}=REMOVE_ALL | NA(v4) NA/RM <delete>; NA(vpn6) NA/RM <delete>; -> 0
DEFAULT@1*{delete}=REPLACE_ALL | -> 0
// No value counts as replace-all.
DEFAULT@1*{delete} | -> 0
DEFAULT@5*{delete} | NA(vpn6) NA/RP <delete>; -> 0
DEFAULT@4*{delete}=REMOVE_ALL | -> 0
DEFAULT@3*{remove}=REMOVE_ALL | NA(v4) NA/RM <remove>; NA(vpn6) NA/RM <remove>; -> 0
blue@1*{remove} | WA(v4) WA/RM <remove>; WA(v4) WA/RP <remove>; -> 0
? DEFAULT@1* | NA(v4) NA/RM NA/RP <none>; NA(vpn6) NA/RM NA/RP <none>; -> 0
?? DEFAULT@5* | -> 0
? -@* | N/neighbor-afs; NA{}; NA/RM; NA/RP; -> 0
? blue@* | W/vrf-neighbor-afs; WA{}; WA/RM; WA/RP; -> 0)");
}

} // namespace
} // namespace yfw::test
