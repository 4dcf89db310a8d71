// Where OpenConfig keeps the prefix limit of an address family.
#include "native.h"

namespace {

#define NEIGHBOR_AF OC_BGP "/neighbors/neighbor/afi-safis/afi-safi/"
#define GROUP_AF OC_BGP "/peer-groups/peer-group/afi-safis/afi-safi/"

struct limit_paths {
    const char *native; // the af-name
    const char *neighbor;
    const char *group;
};

#define LIMIT_PATHS(native, container)                                                                                 \
    { native, NEIGHBOR_AF container "/prefix-limit", GROUP_AF container "/prefix-limit" }

constexpr limit_paths containers[] = {
    LIMIT_PATHS("ipv4-unicast", "ipv4-unicast"),
    LIMIT_PATHS("ipv6-unicast", "ipv6-unicast"),
    LIMIT_PATHS("ipv4-labeled-unicast", "ipv4-labeled-unicast"),
    LIMIT_PATHS("ipv6-labeled-unicast", "ipv6-labeled-unicast"),
    LIMIT_PATHS("vpnv4-unicast", "l3vpn-ipv4-unicast"),
    LIMIT_PATHS("vpnv6-unicast", "l3vpn-ipv6-unicast"),
    LIMIT_PATHS("vpnv4-multicast", "l3vpn-ipv4-multicast"),
    LIMIT_PATHS("vpnv6-multicast", "l3vpn-ipv6-multicast"),
    LIMIT_PATHS("l2vpn-vpls", "l2vpn-vpls"),
    LIMIT_PATHS("l2vpn-evpn", "l2vpn-evpn"),
    LIMIT_PATHS("ipv4-sr-policy", "srte-policy-ipv4"),
    LIMIT_PATHS("ipv6-sr-policy", "srte-policy-ipv6"),
};

cerrno find_path(const ymap_frame &frame, const char *native, const char *limit_paths::*member, const char **path) {
    if (native == nullptr) {
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    for (const limit_paths &row : containers) {
        if (yfw_map_do_these_match(native, row.native) != 0) {
            *path = row.*member;
            return 0;
        }
    }
    YMAP_ERROR(frame, "Invalid afi-safi");
    return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
}

} // namespace

YMAP_EXPORT cerrno vn_get_oc_nbr_af_path(yfw_map_ctx ctx, char *native, const char **path) {
    YMAP_FRAME(ctx);
    return find_path(frame, native, &limit_paths::neighbor, path);
}

YMAP_EXPORT cerrno vn_get_oc_nbr_grp_af_path(yfw_map_ctx ctx, char *native, const char **path) {
    YMAP_FRAME(ctx);
    return find_path(frame, native, &limit_paths::group, path);
}
