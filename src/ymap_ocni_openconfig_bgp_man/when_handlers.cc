// The when-conditions of the OpenConfig BGP model: one handler for each guarded container and level. The level is where
// the container's list of address families lies.
#include "openconfig.h"

#define WHEN_HANDLER(level, container)                                                                                 \
    YMAP_EXPORT cerrno ymap_ov_ocni_openconfigbgp_cont_lvl##level##_bgp_##container##_handle_when(                     \
        yfw_map_ctx ctx, const cidl_yfw_datatree *node) {                                                              \
        YMAP_FRAME(ctx);                                                                                               \
        return ymap_when(frame, node);                                                                                 \
    }

#define A(container) WHEN_HANDLER(a, container)
#define ABC(container) WHEN_HANDLER(a, container) WHEN_HANDLER(b, container) WHEN_HANDLER(c, container)
#define ABCD(container) ABC(container) WHEN_HANDLER(d, container)

// clang-format off
ABCD(afisafi_ipv4unicast)
ABCD(afisafi_ipv6unicast)
ABC (afisafi_ipv4labeledunicast)
ABC (afisafi_ipv6labeledunicast)
ABC (afisafi_l3vpnipv4unicast)
ABC (afisafi_l3vpnipv6unicast)
ABC (afisafi_l3vpnipv4multicast)
ABC (afisafi_l3vpnipv6multicast)
ABC (afisafi_l2vpnvpls)
ABC (afisafi_l2vpnevpn)
ABC (afisafi_srtepolicyipv4)
ABC (afisafi_srtepolicyipv6)
A   (afisafi_ipv4srtepolicy)
A   (afisafi_ipv6srtepolicy)
A   (subtlv_remoteendpoints)
A   (subtlv_segmentlists)
// clang-format on

// Named as the handlers are, but a leaf: what answers it are the redistributions.
YMAP_EXPORT cerrno ymap_ov_ocni_openconfignetworkinstance_man_leaf_lvla_networkinstances_state_disablemetricpropagation(
    yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    return oc_bgp_tc_get_cfg(ctx, src, dst);
}
