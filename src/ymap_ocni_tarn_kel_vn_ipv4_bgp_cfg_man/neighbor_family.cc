// Address families of a native neighbour.
#include "native.h"

#define OC_NEIGHBOR_AF OC_NEIGHBOR "/afi-safis/afi-safi"

namespace {

constexpr const char *default_vrf_families = VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor/neighbor-afs/neighbor-af";
constexpr const char *vrf_families = VN_VRF "/vrf-neighbors/vrf-neighbor/vrf-neighbor-afs/vrf-neighbor-af";

// The af-name of the family entry that is being visited.
char *current_family(yfw_map_ctx ctx) {
    const yfw_req_ctx *request = ctx->req_ctx;
    for (int level = request->path_depth - 1; level >= 0; --level) {
        for (const cidl_yfw_datatree *node = request->path[level].node->first_child; node != nullptr;
             node = node->next_sibling) {
            if (yfw_map_do_these_match(node->name, "af-name") != 0) {
                return node->value;
            }
        }
    }
    return nullptr;
}

// The family as its list has it, where a VRF named "default" is a VRF: meant so.
char *listed_family(yfw_map_ctx ctx) {
    static constexpr vn_place list{default_vrf_families, vrf_families, true};
    return vn_leaf(ctx, vn_container(ctx, list), "af-name");
}

cerrno map_ability(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *leaf) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    return vn_write(frame.ctx, dst, leaf, vn_ability_to_oc(src), 0);
}

} // namespace

YMAP_EXPORT cerrno vn_bgp_nbr_afi_safi_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_place list{default_vrf_families, vrf_families, false};
    static constexpr vn_family_record family{OC_NEIGHBOR_AF, OC_NEIGHBOR_AF "/afi-safi-name",
                                             OC_NEIGHBOR_AF "/config/afi-safi-name"};
    return vn_map_family(frame, src, dst, vn_container(ctx, list), family);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_afi_safi_cfg_enabled(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                            cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_leaf_record enabled{OC_NEIGHBOR_AF "/config/enabled", "true", true, 0};
    return vn_map_leaf(frame, src, dst, enabled);
}

YMAP_EXPORT cerrno vn_bgp_nbr_afi_safi_use_multipath(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                     cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_leaf_record enabled{OC_NEIGHBOR_AF "/use-multiple-paths/config/enabled", "true", false, 0};
    return vn_map_leaf(frame, src, dst, enabled);
}

YMAP_EXPORT cerrno vn_bgp_nbr_afi_safi_addpath_receive(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                       cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return map_ability(frame, src, dst, OC_NEIGHBOR_AF "/add-paths/config/receive");
}

YMAP_EXPORT cerrno vn_bgp_nbr_afi_safi_addpath_send(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                    cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return map_ability(frame, src, dst, OC_NEIGHBOR_AF "/add-paths/config/send");
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_afi_safi_cfg_send_def_route(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                                   cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const char *family = current_family(ctx);
    const char *container = yfw_map_do_these_match(family, "ipv4-unicast") != 0   ? OC_NEIGHBOR_AF "/ipv4-unicast"
                            : yfw_map_do_these_match(family, "ipv6-unicast") != 0 ? OC_NEIGHBOR_AF "/ipv6-unicast"
                                                                                  : nullptr;
    if (container == nullptr) {
        YMAP_ERROR(frame, "[vn_bgp_instance_nbr_afi_safi_cfg_send_def_route]:Invalid afi-safi path");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    return vn_write_in_container(ctx, src, dst, container, "/config/send-default-route");
}

YMAP_EXPORT cerrno vn_bgp_nbr_af_pfx_limit_prevent_tear(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                        cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_limit_record prevent{vn_get_oc_nbr_af_path, "/config/prevent-teardown",
                                             "[vn_bgp_nbr_af_pfx_limit_prevent_tear]:Invalid afi-safi path"};
    return vn_map_limit(frame, src, dst, listed_family(ctx), prevent);
}

YMAP_EXPORT cerrno vn_bgp_nbr_af_shut_down_thrshld(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                   cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_limit_record threshold{vn_get_oc_nbr_af_path, "/config/warning-threshold-pct",
                                               "[vn_bgp_nbr_af_shut_down_thrshld]:Invalid afi-safi path"};
    return vn_map_limit(frame, src, dst, current_family(ctx), threshold);
}

YMAP_EXPORT cerrno vn_bgp_nbr_af_pfx_limit_restart_timer(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                         cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_limit_record timer{vn_get_oc_nbr_af_path, "/config/restart-timer",
                                           "[vn_bgp_nbr_af_pfx_limit_restart_timer]:Invalid afi-safi path"};
    return vn_map_limit(frame, src, dst, current_family(ctx), timer);
}

YMAP_EXPORT cerrno vn_bgp_nbr_af_max_pfx_params(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_limit_record limit{vn_get_oc_nbr_af_path, "/config/max-prefixes",
                                           "[vn_bgp_nbr_af_max_pfx_params]:Invalid afi-safi path"};
    const bool other = src != nullptr && (vn_node_is(src, "warning-only") || vn_node_is(src, "discard-extra-paths"));
    return other && dst != nullptr ? 0 : vn_map_limit(frame, src, dst, current_family(ctx), limit);
}
