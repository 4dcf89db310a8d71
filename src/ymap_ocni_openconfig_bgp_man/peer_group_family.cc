// Address families of a peer group, and its settings that go into each of them.
#include "workers.h"

#define OC_GROUP_AF OC_GROUP "/afi-safis/afi-safi"
#define OPER_GROUP_AFS                                                                                                 \
    "/ocni-bpm/network-instances/network-instance/protocols/protocol/bgp/peer-groups/peer-group/peer-groups-afi-safis"
// A limit's leaves are asked for without the value that a read may carry.
#define VN_GROUP_LIMIT(suffix) VN_GROUP_FORM("/neighbor-group-afs/neighbor-group-af/maximum-prefixes" suffix, plain)

namespace {

constexpr oc_family_setting group_families{1,
                                           VN_GROUP_AFS,
                                           VN_GROUP_AF(""),
                                           VN_GROUP_AF("/route-reflector-client"),
                                           VN_GROUP_AF("/remove-private-as-entire-as-path"),
                                           VN_GROUP_AF("/replace-private-as")};

char *group_name(yfw_map_ctx ctx) {
    char *name = nullptr;
    yfw_map_get_node_info(ctx, OC_GROUP, "peer-group-name", &name);
    return name;
}

// A leaf of the limit goes alone.
constexpr oc_copied_leaf limit_leaf(const oc_path &path) {
    return {path, path, {}};
}

} // namespace

YMAP_EXPORT cerrno oc_bgp_nbrgrp_afi_safi_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_family_entry family{OC_GROUP_AF, VN_GROUP_AF(""), VN_GROUP_AF("/af-name"),
                                            OPER_GROUP_AFS "/peer-groups-afi-safi",
                                            OPER_GROUP_AFS "/peer-groups-afi-safi/afi-safi-name"};
    return oc_map_family_entry(frame, src, dst, family);
}

YMAP_EXPORT cerrno oc_bgp_nbrgrp_afisafis_parent(yfw_map_ctx ctx, const cidl_yfw_datatree *src, unsigned int,
                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_parent families{VN_GROUP_AFS, OPER_GROUP_AFS};
    return oc_map_parent(frame, src, dst, families);
}

YMAP_EXPORT cerrno oc_bgp_peer_grp_afi_safi_enable(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                   cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_empty_leaf activate{VN_GROUP_AF("/activate"), "Input is wrong"};
    return oc_map_empty_leaf(frame, src, dst, activate);
}

YMAP_EXPORT cerrno oc_bgp_peer_group_afi_safi_maxprefix(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                        cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_prefix_limit limit{VN_GROUP_AF("/maximum-prefixes/prefix-limit"),
                                           VN_GROUP_AF("/maximum-prefixes"),
                                           VN_GROUP_AF("/maximum-prefixes/discard-extra-paths")};
    return oc_map_prefix_limit(frame, src, dst, limit);
}

YMAP_EXPORT cerrno oc_bgp_nbr_grp_afi_pfx_limit_prevent_tear(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                             cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf warning = limit_leaf(VN_GROUP_LIMIT("/warning-only"));
    return oc_map_copied_leaf(frame, src, dst, warning);
}

YMAP_EXPORT cerrno oc_bgp_nbr_grp_afi_shut_down_thrshld(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                        cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf threshold = limit_leaf(VN_GROUP_LIMIT("/warning-percentage"));
    return oc_map_copied_leaf(frame, src, dst, threshold);
}

YMAP_EXPORT cerrno oc_bgp_nbr_grp_afi_pfx_limit_restart_timer(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                              cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf timer = limit_leaf(VN_GROUP_LIMIT("/restart-time"));
    return oc_map_copied_leaf(frame, src, dst, timer);
}

YMAP_EXPORT cerrno oc_bgp_peer_group_afi_safi_send_default(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                           cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf originate{
        VN_GROUP_AF("/default-originate/enable"), VN_GROUP_AF("/default-originate"), {}};
    return oc_map_copied_leaf(frame, src, dst, originate);
}

YMAP_EXPORT cerrno oc_bgp_nbrgrp_afi_safi_apply_policy_cfg_in_pol(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                                  cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf policy{VN_GROUP_AF("/route-policy-in"), {}, {}};
    return oc_map_copied_leaf(frame, src, dst, policy);
}

YMAP_EXPORT cerrno oc_bgp_nbrgrp_afi_safi_apply_policy_cfg_out_pol(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                                   cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf policy{VN_GROUP_AF("/route-policy-out"), {}, {}};
    return oc_map_copied_leaf(frame, src, dst, policy);
}

namespace {

const char *ability(const cidl_yfw_datatree *node) {
    return yfw_map_do_these_match(node->value, "true") != 0    ? "enable"
           : yfw_map_do_these_match(node->value, "false") != 0 ? "disable"
                                                               : nullptr;
}

} // namespace

YMAP_EXPORT const char *oc_bgp_peer_group_afi_safi_addpath_receive(yfw_map_ctx, const cidl_yfw_datatree *node) {
    return ability(node);
}

YMAP_EXPORT const char *oc_bgp_peer_group_afi_safi_addpath_send(yfw_map_ctx, const cidl_yfw_datatree *node) {
    return ability(node);
}

YMAP_EXPORT cerrno oc_bgp_peer_grp_rr_client(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    return oc_map_rr_client(frame, src, dst, group_families, group_name(ctx), src->value);
}

YMAP_EXPORT cerrno oc_bgp_peer_grp_remove_pas(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    return oc_map_private_as(frame, src, dst, group_families, group_name(ctx), src->value);
}

YMAP_EXPORT cerrno oc_bgp_peer_grp_rr_cluster_id(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_cluster_id cluster{OC_GROUP "/route-reflector/config", VN_GROUP("/neighbor-cluster-id"),
                                           VN_GROUP("/neighbor-cluster-id/cluster-id-address"),
                                           VN_GROUP("/neighbor-cluster-id/cluster-id-number"), 1};
    return oc_map_cluster_id(frame, src, dst, cluster);
}

YMAP_EXPORT cerrno oc_bgp_peer_grp_dflt_policy_in(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                  cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_path in = VN_GROUP("/default-routepolicy-in");
    return oc_bgp_process_nbr(frame, src, dst, in);
}

YMAP_EXPORT cerrno oc_bgp_peer_grp_dflt_policy_out(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                   cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_path out = VN_GROUP("/default-routepolicy-out");
    return oc_bgp_process_nbr(frame, src, dst, out);
}

// Policies are mapped by address family; those of the whole group are taken and left alone.
YMAP_EXPORT cerrno oc_bgp_peer_grp_import_policy(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return src == nullptr || dst == nullptr ? ymap_refuse_arguments(frame) : 0;
}

YMAP_EXPORT cerrno oc_bgp_peer_grp_export_policy(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return src == nullptr || dst == nullptr ? ymap_refuse_arguments(frame) : 0;
}
