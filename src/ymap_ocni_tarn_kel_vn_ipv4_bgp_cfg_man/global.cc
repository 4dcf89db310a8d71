// The native global settings, each one OpenConfig leaf.
#include "native.h"

#define OC_GLOBAL_AF OC_GLOBAL "/afi-safis/afi-safi"
#define VN_GLOBAL_CONTAINER VN_DEFAULT_VRF "/global"
#define VN_CONFED_DOMAIN VN_GLOBAL_CONTAINER "/confederation-domain"
#define VN_CONFED_PEER VN_GLOBAL_CONTAINER "/confederation-peer-ases/confederation-peer-as"

YMAP_EXPORT cerrno vn_bgp_gbl_gr_enabled(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_leaf_record enabled{OC_GLOBAL "/graceful-restart/config/enabled", "true", false, 1};
    return vn_map_leaf(frame, src, dst, enabled);
}

YMAP_EXPORT cerrno vn_bgp_gbl_afisafi_enable(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_leaf_record enabled{OC_GLOBAL_AF "/config/enabled", "true", false, 1};
    return vn_map_leaf(frame, src, dst, enabled);
}

YMAP_EXPORT cerrno vn_bgp_gbl_bestpath_med(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_leaf_record med{OC_GLOBAL "/route-selection-options/config/always-compare-med", "true", true,
                                        1};
    return vn_map_leaf(frame, src, dst, med);
}

YMAP_EXPORT cerrno vn_bgp_gbl_bestpath_aslen(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_leaf_record length{OC_GLOBAL "/route-selection-options/config/ignore-as-path-length", "true",
                                           true, 1};
    return vn_map_leaf(frame, src, dst, length);
}

YMAP_EXPORT cerrno vn_bgp_gbl_bestpath_rtrid(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_leaf_record router_id{OC_GLOBAL "/route-selection-options/config/external-compare-router-id",
                                              "true", true, 1};
    return vn_map_leaf(frame, src, dst, router_id);
}

YMAP_EXPORT cerrno vn_bgp_instance_gbl_af_multipath_ebgp(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                         cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_leaf_record paths{OC_GLOBAL_AF "/use-multiple-paths/ebgp/config/maximum-paths", nullptr, false,
                                          0};
    return vn_map_leaf(frame, src, dst, paths);
}

YMAP_EXPORT cerrno vn_bgp_instance_gbl_af_multipath_ibgp(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                         cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_leaf_record paths{OC_GLOBAL_AF "/use-multiple-paths/ibgp/config/maximum-paths", nullptr, false,
                                          0};
    return vn_map_leaf(frame, src, dst, paths);
}

YMAP_EXPORT cerrno vn_bgp_instance_gbl_add_paths_cfg_receive(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                             cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_boolean_record receive{OC_GLOBAL_AF "/add-paths/config/receive",
                                               "enable",
                                               "disable",
                                               "Missing gbl add-path-receive",
                                               false,
                                               "true",
                                               "false"};
    return vn_map_boolean(frame, src, dst, receive);
}

YMAP_EXPORT cerrno vn_bgp_instance_gbl_add_paths_cfg_send(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                          cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_boolean_record send{OC_GLOBAL_AF "/add-paths/config/send",
                                            "enable",
                                            "disable",
                                            "Missing gbl add-path-send",
                                            false,
                                            "true",
                                            "false"};
    return vn_map_boolean(frame, src, dst, send);
}

// Called for the upper half first; the lower one writes the number.
YMAP_EXPORT cerrno vn_bgp_instance_gbl_confed_domain(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                     cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (vn_node_is(src, "as-xx")) {
        const char *upper = vn_leaf(ctx, VN_CONFED_DOMAIN, "as-xx");
        if (upper == nullptr) {
            YMAP_ERROR(frame, "Missing confed domain as xx");
            return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
        }
        ctx->req_ctx->scratch_as = vn_number(upper);
        return 0;
    }
    const char *lower = vn_leaf(ctx, VN_CONFED_DOMAIN, "as-yy");
    if (lower == nullptr) {
        YMAP_ERROR(frame, "Missing confed-domain as-yy");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    char as[AS_TEXT_SIZE];
    vn_join_as(ctx->req_ctx->scratch_as, vn_number(lower), as);
    return vn_write(ctx, dst, OC_GLOBAL "/confederation/config/identifier", as, 0);
}

// Reads both halves from the entry, unlike the identifier: meant so.
YMAP_EXPORT cerrno vn_bgp_instance_gbl_confed_peeras(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                     cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const char *upper = vn_leaf(ctx, VN_CONFED_PEER, "as-xx");
    if (upper == nullptr) {
        YMAP_ERROR(frame, "Missing confed peer as xx");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    const char *lower = vn_leaf(ctx, VN_CONFED_PEER, "as-yy");
    if (lower == nullptr) {
        YMAP_ERROR(frame, "Missing confed-peer as-yy");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    char as[AS_TEXT_SIZE];
    vn_join_as(vn_number(upper), vn_number(lower), as);
    return vn_write(ctx, dst, OC_GLOBAL "/confederation/config/member-as", as, 0);
}

// A helper only: nothing is kept of a restarting neighbour.
YMAP_EXPORT cerrno vn_bgp_gbl_gr_helper_only(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (!vn_node_is(src, "graceful-restart-purge-time")) {
        return 0; // the other leaf is read with this one
    }
    if (src->value == nullptr || src->value[0] == '\0') {
        YMAP_ERROR(frame, "Missing gbl gr helper data");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    const char *retain_disable = vn_leaf(ctx, VN_GLOBAL_CONTAINER, "graceful-restart-neighbor-retain-disable");
    const bool retains = retain_disable == nullptr || yfw_map_do_these_match(retain_disable, "false") != 0;
    const bool helper_only = yfw_map_do_these_match(src->value, "0") != 0 && retains;
    return vn_write(ctx, dst, OC_GLOBAL "/graceful-restart/config/helper-only", helper_only ? "true" : "false", 1);
}

YMAP_EXPORT cerrno vn_bgp_gbl_afisafi_afname(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_place list{VN_GLOBAL_CONTAINER "/global-afs/global-af",
                                   VN_VRF "/vrf-global/vrf-global-afs/vrf-global-af", true};
    static constexpr vn_family_record family{OC_GLOBAL_AF, OC_GLOBAL_AF "/afi-safi-name",
                                             OC_GLOBAL_AF "/config/afi-safi-name"};
    return vn_map_family(frame, src, dst, vn_container(ctx, list), family);
}
