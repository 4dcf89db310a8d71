#include "bgp/items.h"

#include <array>

namespace yfw {

namespace {

#define INSTANCE "{instance}/{as-xx}/{as-yy}/"
#define NEIGHBOR INSTANCE "ord_a/default/nbr/________/edm/ord_u/0x3/{neighbor}/________/________/"
#define VRF_NEIGHBOR INSTANCE "ord_b/{vrf}/nbr/________/edm/ord_u/0x3/{neighbor}/________/________/"
#define GROUP INSTANCE "ord_a/default/nbr/________/edm/ord_q/0x2/________/{group}/________/"
#define REDISTRIBUTE INSTANCE "ord_a/default/gbl/edm/ord_g/{af}/ord_r/redistribute/"

#define NATIVE "/bgp/instance/instance-as/four-byte-as"
#define NATIVE_NEIGHBOR NATIVE "/default-vrf/bgp-entity/neighbors/neighbor"
#define NATIVE_VRF_NEIGHBOR NATIVE "/vrfs/vrf/vrf-neighbors/vrf-neighbor"
#define NATIVE_GROUP NATIVE "/default-vrf/bgp-entity/neighbor-groups/neighbor-group"
#define NATIVE_NEIGHBOR_AF NATIVE_NEIGHBOR "/neighbor-afs/neighbor-af"
#define NATIVE_VRF_NEIGHBOR_AF NATIVE_VRF_NEIGHBOR "/vrf-neighbor-afs/vrf-neighbor-af"
#define NATIVE_GROUP_AF NATIVE_GROUP "/neighbor-group-afs/neighbor-group-af"
#define NATIVE_GLOBAL_AF NATIVE "/default-vrf/global/global-afs/global-af"

#define REMOVE "/remove-private-as-entire-as-path"
#define REPLACE "/replace-private-as"

constexpr auto rows = std::to_array<ItemRow>({
    {INSTANCE "gbl/edm/ord_a/running", NATIVE "/bgp-running", ItemForm::marker},
    {INSTANCE "ord_a/default/gbl/edm/ord_e/purge-time", NATIVE "/default-vrf/global/graceful-restart-purge-time",
     ItemForm::number},
    {INSTANCE "ord_b/{vrf}/gbl/edm/ord_a/exists", NATIVE "/vrfs/vrf/vrf-global/exists", ItemForm::marker},

    {REDISTRIBUTE "0x0/ord_a/exists", NATIVE_GLOBAL_AF "/connected-routes", ItemForm::marker},
    {REDISTRIBUTE "0x1/ord_a/exists", NATIVE_GLOBAL_AF "/static-routes", ItemForm::marker},
    {REDISTRIBUTE "0x2/ord_a/exists", NATIVE_GLOBAL_AF "/ospf-routes", ItemForm::marker},
    {REDISTRIBUTE "0x3/ord_a/exists", NATIVE_GLOBAL_AF "/isis-routes", ItemForm::marker},

    {NEIGHBOR "ord_n/update-source", NATIVE_NEIGHBOR "/update-source-interface", ItemForm::text},
    {NEIGHBOR "ord_n/local_address", NATIVE_NEIGHBOR "/local-address/local-ip-address", ItemForm::text},
    {NEIGHBOR "ord_s/{af}/ord_a/exists", NATIVE_NEIGHBOR_AF, ItemForm::marker},
    {NEIGHBOR "ord_s/{af}/ord_g/rr-client", NATIVE_NEIGHBOR_AF "/route-reflector-client", ItemForm::truth},
    {NEIGHBOR "ord_s/{af}/ord_g/rm-private-as",
     NATIVE_NEIGHBOR_AF REMOVE,
     ItemForm::truth_tuple,
     {"enable", "entire", "internal"}},
    {NEIGHBOR "ord_s/{af}/ord_g/rp-private-as",
     NATIVE_NEIGHBOR_AF REPLACE,
     ItemForm::truth_tuple,
     {"enable", "internal"}},

    {VRF_NEIGHBOR "ord_n/update-source", NATIVE_VRF_NEIGHBOR "/update-source-interface", ItemForm::text},
    {VRF_NEIGHBOR "ord_n/local_address", NATIVE_VRF_NEIGHBOR "/local-address/local-ip-address", ItemForm::text},
    {VRF_NEIGHBOR "ord_s/{af}/ord_a/exists", NATIVE_VRF_NEIGHBOR_AF, ItemForm::marker},
    {VRF_NEIGHBOR "ord_s/{af}/ord_g/rr-client", NATIVE_VRF_NEIGHBOR_AF "/route-reflector-client", ItemForm::truth},
    {VRF_NEIGHBOR "ord_s/{af}/ord_g/rm-private-as",
     NATIVE_VRF_NEIGHBOR_AF REMOVE,
     ItemForm::truth_tuple,
     {"enable", "entire", "internal"}},
    {VRF_NEIGHBOR "ord_s/{af}/ord_g/rp-private-as",
     NATIVE_VRF_NEIGHBOR_AF REPLACE,
     ItemForm::truth_tuple,
     {"enable", "internal"}},

    {GROUP "ord_n/update-source", NATIVE_GROUP "/update-source-interface", ItemForm::text},
    {GROUP "ord_n/local_address", NATIVE_GROUP "/local-address/local-ip-address", ItemForm::text},
    {GROUP "ord_s/{af}/ord_a/exists", NATIVE_GROUP_AF, ItemForm::marker},
    {GROUP "ord_s/{af}/ord_g/rr-client", NATIVE_GROUP_AF "/route-reflector-client", ItemForm::truth},
    {GROUP "ord_s/{af}/ord_g/rm-private-as",
     NATIVE_GROUP_AF REMOVE,
     ItemForm::truth_tuple,
     {"enable", "entire", "internal"}},
    {GROUP "ord_s/{af}/ord_g/rp-private-as", NATIVE_GROUP_AF REPLACE, ItemForm::truth_tuple, {"enable", "internal"}},
});

#undef INSTANCE
#undef NEIGHBOR
#undef VRF_NEIGHBOR
#undef GROUP
#undef REDISTRIBUTE
#undef NATIVE
#undef NATIVE_NEIGHBOR
#undef NATIVE_VRF_NEIGHBOR
#undef NATIVE_GROUP
#undef NATIVE_NEIGHBOR_AF
#undef NATIVE_VRF_NEIGHBOR_AF
#undef NATIVE_GROUP_AF
#undef NATIVE_GLOBAL_AF
#undef REMOVE
#undef REPLACE

// The n-th family is number n.
constexpr auto families = std::to_array<std::string_view>({
    "ipv4-unicast",    "ipv4-multicast",     "ipv4-labeled-unicast", "ipv4-tunnel",
    "vpnv4-unicast",   "ipv6-unicast",       "ipv6-multicast",       "ipv6-labeled-unicast",
    "vpnv6-unicast",   "ipv4-mdt",           "l2vpn-vpls",           "ipv4rt-constraint",
    "ipv4-mvpn",       "ipv6-mvpn",          "l2vpn-evpn",           "lsls",
    "vpnv4-multicast", "vpnv6-multicast",    "ipv4-flowspec",        "ipv6-flowspec",
    "vpnv4-flowspec",  "vpnv6-flowspec",     "l2vpn-mspw",           "ipv4-sr-policy",
    "ipv6-sr-policy",  "all-address-family",
});

} // namespace

std::vector<ItemRule> bgp_items(const Schema &schema) {
    return item_rules(schema, rows, families);
}

} // namespace yfw
