// Confederation: in the default VRF only.
#include "workers.h"

#define VN_CONFED_DOMAIN VN_DEFAULT_VRF "/global/confederation-domain"
#define VN_CONFED_PEERS VN_DEFAULT_VRF "/global/confederation-peer-ases"
#define VN_CONFED_PEER VN_CONFED_PEERS "/confederation-peer-as"

YMAP_EXPORT cerrno oc_bgp_gbl_confed_identifier(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (!yfw_map_oc_is_default_vrf_hierarchy(ctx)) {
        return 0;
    }
    if (ymap_is_read(ctx)) {
        return oc_add(ctx, dst, VN_CONFED_DOMAIN, src->value, nullptr, 0);
    }
    if (oc_is_delete(ctx, src)) {
        return oc_add(ctx, dst, VN_CONFED_DOMAIN, nullptr, src, 0);
    }
    oc_add(ctx, dst, VN_CONFED_DOMAIN "/as-xx", "0", src, 0);
    return oc_add(ctx, dst, VN_CONFED_DOMAIN "/as-yy", src->value, src, 0);
}

YMAP_EXPORT cerrno oc_bgp_gbl_confed_memberas(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (!yfw_map_oc_is_default_vrf_hierarchy(ctx)) {
        return 0;
    }
    const bool is_read = ymap_is_read(ctx);
    const cidl_yfw_datatree *source = is_read ? nullptr : src;
    if (src->value == nullptr && (is_read || oc_is_delete(ctx, src))) {
        return oc_add(ctx, dst, VN_CONFED_PEERS, nullptr, source, 0); // all members
    }
    if (!is_read) {
        oc_add(ctx, dst, VN_CONFED_PEER, nullptr, src, 1);
    }
    oc_add(ctx, dst, VN_CONFED_PEER "/as-xx", "0", source, 0);
    return oc_add(ctx, dst, VN_CONFED_PEER "/as-yy", src->value, source, 0);
}
