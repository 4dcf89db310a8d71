// Neighbour settings that change how routes are treated.
#include "workers.h"

namespace {

constexpr oc_family_setting neighbor_families{0,
                                              VN_NEIGHBOR_AFS,
                                              VN_NEIGHBOR_AF(""),
                                              VN_NEIGHBOR_AF("/route-reflector-client"),
                                              VN_NEIGHBOR_AF("/remove-private-as-entire-as-path"),
                                              VN_NEIGHBOR_AF("/replace-private-as")};

char *neighbor_address(yfw_map_ctx ctx) {
    char *address = nullptr;
    yfw_map_get_node_info(ctx, OC_NEIGHBOR, "neighbor-address", &address);
    return address;
}

} // namespace

YMAP_EXPORT cerrno oc_bgp_nbr_rr_client(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const bool carries =
        yfw_map_do_these_match(src->name, "route-reflector-client") != 0 && (src->flags & YFW_NODE_PRESENT) != 0;
    return oc_map_rr_client(frame, src, dst, neighbor_families, neighbor_address(ctx), carries ? src->value : nullptr);
}

YMAP_EXPORT cerrno oc_bgp_nbr_rr_cluster_id(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_cluster_id cluster{OC_NEIGHBOR "/route-reflector/config", VN_NEIGHBOR("/neighbor-cluster-id"),
                                           VN_NEIGHBOR("/neighbor-cluster-id/cluster-id-address"),
                                           VN_NEIGHBOR("/neighbor-cluster-id/cluster-id-number"), 0};
    return oc_map_cluster_id(frame, src, dst, cluster);
}

YMAP_EXPORT cerrno oc_bgp_nbr_remove_pas(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    char *value = nullptr;
    yfw_map_get_node_info(ctx, OC_NEIGHBOR "/config", "remove-private-as", &value);
    return oc_map_private_as(frame, src, dst, neighbor_families, neighbor_address(ctx), value);
}

YMAP_EXPORT cerrno oc_bgp_nbr_dflt_policy_in(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_path in = VN_NEIGHBOR("/default-routepolicy-in");
    return oc_bgp_process_nbr(frame, src, dst, in);
}

YMAP_EXPORT cerrno oc_bgp_nbr_dflt_policy_out(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_path out = VN_NEIGHBOR("/default-routepolicy-out");
    return oc_bgp_process_nbr(frame, src, dst, out);
}

// Policies are mapped by address family; those of the whole neighbour are taken and left alone.
YMAP_EXPORT cerrno oc_bgp_nbr_import_policy(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return src == nullptr || dst == nullptr ? ymap_refuse_arguments(frame) : 0;
}

YMAP_EXPORT cerrno oc_bgp_nbr_export_policy(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return src == nullptr || dst == nullptr ? ymap_refuse_arguments(frame) : 0;
}

namespace {

// "true" as "1", "false" as "2".
const char *one_or_two(const cidl_yfw_datatree *node) {
    return oc_is_text(node->value, "true") ? "1" : oc_is_text(node->value, "false") ? "2" : nullptr;
}

} // namespace

YMAP_EXPORT const char *oc_bgp_nbr_gr_helper_to_vn(yfw_map_ctx, const cidl_yfw_datatree *node) {
    return one_or_two(node);
}

YMAP_EXPORT const char *oc_bgp_peer_grp_transport_cfg_mtu_to_vn(yfw_map_ctx, const cidl_yfw_datatree *node) {
    return one_or_two(node);
}
