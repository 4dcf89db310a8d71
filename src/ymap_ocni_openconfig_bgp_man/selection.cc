// Callbacks that choose among the native paths that the mapping offers.
#include "openconfig.h"

#include <cstring>

namespace {

// The candidate of the request's VRF; without a network-instance name the first two, which are its two forms.
void select_vrf_form(yfw_map_ctx ctx, int count, xpath_list_type_t *candidates) {
    if (count < 1) {
        return;
    }
    const int other = count > 1 ? 1 : 0;
    char *name = nullptr;
    yfw_map_get_node_info(ctx, OC_NETWORK_INSTANCE, "name", &name);
    if (name == nullptr) {
        candidates[0].selected = 1;
        candidates[other].selected = 1;
        return;
    }
    const char *form = is_default_vrf(name) ? "default-vrf" : "vrfs/vrf";
    candidates[std::strstr(candidates[0].xpath, form) != nullptr ? 0 : other].selected = 1;
}

} // namespace

namespace {

// The selection of a leaf that is there in both VRF forms; an edit of its state copy is left alone.
cerrno select_leaf(const ymap_frame &frame, int count, xpath_list_type_t *candidates) {
    if (yfw_map_ocbgpni_is_parent_state_node(frame.ctx) && !ymap_is_read(frame.ctx)) {
        YMAP_TRACE(frame, "EDIT/DELETE requests not allowed on State nodes");
        return 0;
    }
    select_vrf_form(frame.ctx, count, candidates);
    return 0;
}

} // namespace

YMAP_EXPORT cerrno oc_bgp_gbl_routerid(yfw_map_ctx ctx, int count, xpath_list_type_t *candidates) {
    YMAP_FRAME(ctx);
    return select_leaf(frame, count, candidates);
}

YMAP_EXPORT cerrno oc_bgp_nbr_peer_grp(yfw_map_ctx ctx, int count, xpath_list_type_t *candidates) {
    YMAP_FRAME(ctx);
    return select_leaf(frame, count, candidates);
}

YMAP_EXPORT cerrno oc_bgp_nbr_description(yfw_map_ctx ctx, int count, xpath_list_type_t *candidates) {
    YMAP_FRAME(ctx);
    return select_leaf(frame, count, candidates);
}

YMAP_EXPORT cerrno oc_bgp_nbr_transport_cfg_tcp_mss(yfw_map_ctx ctx, int count, xpath_list_type_t *candidates) {
    YMAP_FRAME(ctx);
    return select_leaf(frame, count, candidates);
}

YMAP_EXPORT cerrno oc_bgp_nbr_gr_cfg_restart_time(yfw_map_ctx ctx, int count, xpath_list_type_t *candidates) {
    YMAP_FRAME(ctx);
    return select_leaf(frame, count, candidates);
}

YMAP_EXPORT cerrno oc_bgp_nbr_gr_cfg_stale_routes_time(yfw_map_ctx ctx, int count, xpath_list_type_t *candidates) {
    YMAP_FRAME(ctx);
    return select_leaf(frame, count, candidates);
}

YMAP_EXPORT cerrno oc_bgp_nbr_afi_safi(yfw_map_ctx ctx, int count, xpath_list_type_t *candidates) {
    YMAP_FRAME(ctx);
    return select_leaf(frame, count, candidates);
}

YMAP_EXPORT cerrno oc_bgp_nbr_afi_safi_apply_policy_cfg_imp_policy(yfw_map_ctx ctx, int count,
                                                                   xpath_list_type_t *candidates) {
    YMAP_FRAME(ctx);
    return select_leaf(frame, count, candidates);
}

YMAP_EXPORT cerrno oc_bgp_nbr_afi_safi_apply_policy_cfg_exp_policy(yfw_map_ctx ctx, int count,
                                                                   xpath_list_type_t *candidates) {
    YMAP_FRAME(ctx);
    return select_leaf(frame, count, candidates);
}

// No test for state nodes here: meant so.
YMAP_EXPORT cerrno oc_bgp_gbl_af_config(yfw_map_ctx ctx, int count, xpath_list_type_t *candidates) {
    YMAP_FRAME(ctx);
    select_vrf_form(ctx, count, candidates);
    return 0;
}

YMAP_EXPORT cerrno oc_bgp_gbl_confed(yfw_map_ctx ctx, int count, xpath_list_type_t *candidates) {
    YMAP_FRAME(ctx);
    const uint32_t kind = ymap_request_kind(ctx);
    const bool none = kind == 1 || kind == 8 || kind == 15; // edits of the framework's that select on their own
    for (int i = 0; i < count && !none; ++i) {
        candidates[i].selected = 1;
    }
    return 0;
}
