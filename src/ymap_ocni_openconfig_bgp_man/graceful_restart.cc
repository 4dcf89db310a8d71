// Graceful restart as a helper only: the default VRF's purge time.
#include "workers.h"

#include <cstdio>
#include <cstring>

#define VN_PURGE_TIME VN_DEFAULT_VRF "/global/graceful-restart-purge-time"
#define VN_RETAIN_DISABLE VN_DEFAULT_VRF "/global/graceful-restart-neighbor-retain-disable"

namespace {

constexpr uint32_t usual_purge_time = 600; // seconds
constexpr std::size_t item_path_size = 257;

// Whether the instance has a purge time other than 0 already.
bool has_purge_time(yfw_map_ctx ctx, const char *instance, const oc_as_halves &as) {
    char path[item_path_size];
    const char *order = yfw_map_oc_is_default_vrf_hierarchy(ctx) ? "ord_a" : "ord_b";
    std::snprintf(path, sizeof(path), "%s/%s/%s/%s/default/gbl/edm/ord_e/%s", instance, as.upper, as.lower, order,
                  "purge-time");
    void *item = nullptr;
    std::size_t size = 0;
    uint32_t seconds = 0;
    if (yfw_oc_bgp_sysdb_get_data(path, &item, &size) == 0 && item != nullptr && size >= sizeof(seconds)) {
        std::memcpy(&seconds, item, sizeof(seconds));
    }
    vnos_named_free(item);
    return seconds != 0;
}

cerrno keep_stale_routes(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    const oc_scope scope = oc_read_scope(frame.ctx);
    const oc_as_halves as = oc_find_as(frame.ctx, scope.instance);
    const char *instance = scope.instance == nullptr ? "" : scope.instance;
    if (as.lower[0] == '\0') {
        // Reported like a refusal, End line included, and then carried on with: meant so.
        YMAP_TRACE(frame, TRACE_NO_AS, instance);
        ymap_refuse(frame, OCBGP_ERR_GENERAL, TEXT_NO_AS);
        YMAP_TRACE(frame, "End");
    } else if (has_purge_time(frame.ctx, instance, as)) {
        return 0;
    }
    char seconds[12];
    std::snprintf(seconds, sizeof(seconds), "%u", usual_purge_time);
    return oc_add(frame.ctx, dst, VN_PURGE_TIME, seconds, src, 0);
}

} // namespace

YMAP_EXPORT cerrno oc_bgp_gbl_gr_helper_only(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (!yfw_map_oc_is_default_vrf_hierarchy(ctx)) {
        return 0;
    }
    if (ymap_is_read(ctx)) {
        oc_add(ctx, dst, VN_PURGE_TIME, "", nullptr, 0);
        return oc_add(ctx, dst, VN_RETAIN_DISABLE, "", nullptr, 0);
    }
    if (oc_is_delete(ctx, src)) {
        return oc_add(ctx, dst, VN_PURGE_TIME, nullptr, src, 0);
    }
    const char *value = src->value == nullptr ? "" : src->value;
    if (std::strcmp(value, "true") == 0) {
        oc_add(ctx, dst, VN_PURGE_TIME, "0", src, 0);
        return oc_add_with(ctx, dst, VN_RETAIN_DISABLE, "", src, 0, YFW_OP_REMOVE);
    }
    if (std::strcmp(value, "false") == 0) {
        return keep_stale_routes(frame, src, dst);
    }
    YMAP_TRACE(frame, "Input data is empty");
    return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
}
