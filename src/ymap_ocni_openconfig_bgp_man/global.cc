// The BGP global settings that are one leaf each, and the global address families.
#include "workers.h"

#define OC_GLOBAL_AF OC_PROTOCOL "/bgp/global/afi-safis/afi-safi"
#define OPER_GLOBAL_AFS "/ocni-bgp/network-instances/network-instance/protocols/protocol/bgp/global/afi-safis"

YMAP_EXPORT cerrno oc_bgp_gbl_bestpath_med(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_empty_leaf med{VN_GLOBAL("/best-path-med-always"), "Input can not be empty"};
    return oc_map_empty_leaf(frame, src, dst, med);
}

YMAP_EXPORT cerrno oc_bgp_gbl_bestpath_aslen(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_empty_leaf length{VN_GLOBAL("/best-path-as-path-length"), "Input can not be empty"};
    return oc_map_empty_leaf(frame, src, dst, length);
}

YMAP_EXPORT cerrno oc_bgp_gbl_bestpath_rtrid(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_empty_leaf router_id{VN_GLOBAL("/best-path-router-id"), "Input can not be empty"};
    return oc_map_empty_leaf(frame, src, dst, router_id);
}

YMAP_EXPORT cerrno oc_bgp_gbl_gr_enabled(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_empty_leaf restart{VN_GLOBAL_DEFAULT_ONLY("/graceful-restart"), nullptr};
    return oc_map_empty_leaf(frame, src, dst, restart);
}

YMAP_EXPORT cerrno oc_bgp_gbl_afisafis_parent(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_parent families{VN_GLOBAL_AFS, OPER_GLOBAL_AFS};
    return oc_map_parent(frame, src, dst, families);
}

YMAP_EXPORT cerrno oc_bgp_gbl_afisafi_afname(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_family_entry family{OC_GLOBAL_AF, VN_GLOBAL_AF(""), VN_GLOBAL_AF("/af-name"),
                                            OPER_GLOBAL_AFS "/afi-safi", OPER_GLOBAL_AFS "/afi-safi/afi-safi-name"};
    return oc_map_family_entry(frame, src, dst, family);
}

YMAP_EXPORT cerrno oc_bgp_gbl_afisafi_enable(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_empty_leaf enable{VN_GLOBAL_AF("/enable"), "Input can not be empty"};
    return oc_map_empty_leaf(frame, src, dst, enable);
}

YMAP_EXPORT cerrno oc_bgp_gbl_afisafi_multipath_ebgp(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                     cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf paths{VN_GLOBAL_AF("/ebgp/paths-value"), VN_GLOBAL_AF("/ebgp"), {}};
    return oc_map_copied_leaf(frame, src, dst, paths);
}

YMAP_EXPORT cerrno oc_bgp_gbl_afisafi_multipath_ibgp(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                     cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf paths{VN_GLOBAL_AF("/ibgp/paths-value"), VN_GLOBAL_AF("/ibgp"), {}};
    return oc_map_copied_leaf(frame, src, dst, paths);
}

YMAP_EXPORT cerrno oc_bgp_gbl_add_paths_cfg_receive(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                    cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_boolean_leaf receive{VN_GLOBAL_AF("/additional-paths-receive"), "enable", "disable", nullptr};
    return oc_map_boolean_leaf(frame, src, dst, receive);
}

YMAP_EXPORT cerrno oc_bgp_gbl_add_paths_cfg_send(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_boolean_leaf send{VN_GLOBAL_AF("/additional-paths-send"), "enable", "disable", nullptr};
    return oc_map_boolean_leaf(frame, src, dst, send);
}
