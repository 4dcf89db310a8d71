// Native neighbour groups as OpenConfig's peer groups. Where one differs from its twin of the neighbour, it is meant
// so.
#include "native.h"

#define OC_GROUP_AF OC_GROUP "/afi-safis/afi-safi"
#define VN_GROUP VN_DEFAULT_VRF "/bgp-entity/neighbor-groups/neighbor-group"
#define VN_GROUP_AF VN_GROUP "/neighbor-group-afs/neighbor-group-af"
// Groups are the default VRF's: they have no other place.
#define GROUP_PLACE(suffix)                                                                                            \
    { VN_GROUP suffix, nullptr, false }

namespace {

constexpr int is_group = 1;

// The upper half of a group's remote or local AS, between the calls for its two leaves.
uint32_t nbrgrp_as_x = 0;

char *listed_family(yfw_map_ctx ctx) {
    return vn_leaf(ctx, VN_GROUP_AF, "af-name");
}

} // namespace

YMAP_EXPORT cerrno vn_bgp_instance_nbr_grp_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const char *name = vn_leaf(ctx, VN_GROUP, "neighbor-group-name");
    yfw_map_datatree_add_path(ctx, dst, OC_GROUP, NS_OC_NETWORK_INSTANCE, nullptr, nullptr, 0, 1);
    const cerrno status =
        yfw_map_datatree_add_path(ctx, dst, OC_GROUP "/peer-group-name", NS_OC_NETWORK_INSTANCE, name, nullptr, 0, 0);
    return ymap_config_unwanted(ctx) ? status : vn_write(ctx, dst, OC_GROUP "/config/peer-group-name", name, 0);
}

YMAP_EXPORT cerrno vn_bgp_instance_neighbor_grp_remoteas(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                         cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_as_record peer{OC_GROUP "/config/peer-as", "Missing nbr remote as xx",
                                       "Missing nbr remote as yy"};
    return vn_map_as(frame, src, dst, peer, &nbrgrp_as_x);
}

// With the texts of the remote AS.
YMAP_EXPORT cerrno vn_bgp_nbrgrp_local_as(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_as_record local{OC_GROUP "/config/local-as", "Missing nbr remote as xx",
                                        "Missing nbr remote as yy"};
    return vn_map_as(frame, src, dst, local, &nbrgrp_as_x);
}

YMAP_EXPORT cerrno vn_bgp_instance_neighbor_tcp_mode(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                     cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_boolean_record mode{OC_GROUP "/transport/config/passive-mode",
                                            "passive-only",
                                            "active-only",
                                            "Missing nbr-grp passive-mode",
                                            false,
                                            "true",
                                            "false"};
    return vn_map_boolean(frame, src, dst, mode);
}

YMAP_EXPORT const char *vn_bgp_nbrgrp_transport_cfg_mtu_to_oc(yfw_map_ctx, const cidl_yfw_datatree *node) {
    return vn_switch_to_oc(node);
}

YMAP_EXPORT cerrno vn_bgp_instance_neighbor_grp_ebgp_multihop(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                              cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_multihop_record multihop{GROUP_PLACE("/ebgp-multihop"),
                                                 OC_GROUP "/ebgp-multihop/config/enabled",
                                                 OC_GROUP "/ebgp-multihop/config/multihop-ttl"};
    return vn_map_multihop(frame, src, dst, multihop);
}

YMAP_EXPORT cerrno vn_bgp_neighbor_group_local_ipaddr(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                      cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_local_address_record local{GROUP_PLACE("/local-address"),
                                                   OC_GROUP "/transport/config/local-address", true};
    return vn_map_local_address(frame, src, dst, local);
}

YMAP_EXPORT cerrno vn_bgp_instance_neighbor_grp_pwd(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                    cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return vn_map_password(frame, src, dst, OC_GROUP "/config/auth-password");
}

YMAP_EXPORT cerrno vn_bgp_nbr_grp_cluster_id(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    return src->value == nullptr
               ? 0
               : vn_write(ctx, dst, OC_GROUP "/route-reflector/config/route-reflector-cluster-id", src->value, 0);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_grp_timers_keepalive_time(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_copied_record timer{OC_GROUP "/timers/config/keepalive-interval",
                                            "Missing keepalive_interval interval time", 0};
    return vn_map_copied(frame, src, dst, timer);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_grp_timers_hold_time(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                            cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_copied_record timer{OC_GROUP "/timers/config/hold-time", "Missing hold time time", 0};
    return vn_map_copied(frame, src, dst, timer);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_grp_min_interval(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                        cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_interval_record interval{GROUP_PLACE("/advertisement-interval"),
                                                 OC_GROUP "/timers/config/minimum-advertisement-interval"};
    return vn_map_interval(frame, src, dst, interval);
}

YMAP_EXPORT cerrno vn_bgp_cfg_nbr_grp_bfd_enable_modes(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                       cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return vn_map_bfd(frame, src, dst, OC_GROUP "/enable-bfd/config/enabled");
}

YMAP_EXPORT cerrno vn_bgp_nbrgrp_dflt_policy_in(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_boolean_record policy = VN_DEFAULT_POLICY(OC_GROUP "/apply-policy/config/default-import-policy",
                                                                  "Missing nbr default-import-policy data");
    return vn_map_boolean(frame, src, dst, policy);
}

YMAP_EXPORT cerrno vn_bgp_nbrgrp_dflt_policy_out(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_boolean_record policy = VN_DEFAULT_POLICY(OC_GROUP "/apply-policy/config/default-export-policy",
                                                                  "Missing nbr default-export-policy data");
    return vn_map_boolean(frame, src, dst, policy);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_grp_log_neighbor_state(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                              cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_logging_record logging{GROUP_PLACE("/log-neighbor-state-change"),
                                               OC_GROUP "/logging-options/config/log-neighbor-state-changes"};
    return vn_map_logging(frame, src, dst, logging);
}

YMAP_EXPORT cerrno vn_bgp_nbr_grp_rr_client(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_agreed_record client{GROUP_PLACE(""), "neighbor-group-name", is_group, NBR_RR_CLIENT,
                                             OC_GROUP "/route-reflector/config/route-reflector-client"};
    return vn_map_agreed(frame, src, dst, client);
}

YMAP_EXPORT cerrno vn_bgp_nbr_grp_remove_pas(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_agreed_record removal{GROUP_PLACE(""), "neighbor-group-name", is_group, NBR_REMOVE_PRIVATE_AS,
                                              OC_GROUP "/config/remove-private-as"};
    return vn_map_agreed(frame, src, dst, removal);
}

YMAP_EXPORT cerrno vn_bgp_nbrgrp_afi_safi_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_family_record family{OC_GROUP_AF, OC_GROUP_AF "/afi-safi-name",
                                             OC_GROUP_AF "/config/afi-safi-name"};
    return vn_map_family(frame, src, dst, VN_GROUP_AF, family);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_grp_afi_safi_activate(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                             cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_leaf_record enabled{OC_GROUP_AF "/config/enabled", "true", true, 0};
    return vn_map_leaf(frame, src, dst, enabled);
}

YMAP_EXPORT cerrno vn_bgp_nbrgrp_afi_safi_apply_policy_cfg_in_pol(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                                  cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_copied_record policy{OC_GROUP_AF "/apply-policy/config/import-policy", nullptr, 0};
    return vn_map_copied(frame, src, dst, policy);
}

YMAP_EXPORT cerrno vn_bgp_nbrgrp_afi_safi_apply_policy_cfg_out_pol(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                                   cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_copied_record policy{OC_GROUP_AF "/apply-policy/config/export-policy", nullptr, 0};
    return vn_map_copied(frame, src, dst, policy);
}

namespace {

// A missing value is logged, and that alone: converters have no error path.
const char *ability_to_oc(const ymap_frame &frame, const cidl_yfw_datatree *src, const char *missing) {
    if (src == nullptr || src->value == nullptr) {
        YMAP_ERROR(frame, "%s", missing);
        return nullptr;
    }
    return vn_ability_to_oc(src);
}

} // namespace

YMAP_EXPORT const char *vn_bgp_peer_group_afi_safi_addpath_receive(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                                   cidl_yfw_datatree *) {
    YMAP_FRAME(ctx);
    return ability_to_oc(frame, src, "[vn_bgp_peer_group_afi_safi_addpath_receive]:Input data is null");
}

YMAP_EXPORT const char *vn_bgp_peer_group_afi_safi_addpath_send(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                                cidl_yfw_datatree *) {
    YMAP_FRAME(ctx);
    return ability_to_oc(frame, src, "[vn_bgp_peer_group_afi_safi_addpath_send]:Input data is null");
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_grp_afi_safi_send_default(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    struct row {
        const char *native;
        const char *container;
    };
    // The last two are OpenConfig's names where the native one stands: meant so.
    static constexpr row containers[] = {{"ipv4-unicast", OC_GROUP_AF "/ipv4-unicast"},
                                         {"ipv6-unicast", OC_GROUP_AF "/ipv6-unicast"},
                                         {"srte-policy-ipv4", OC_GROUP_AF "/srte-policy-ipv4"},
                                         {"srte-policy-ipv6", OC_GROUP_AF "/srte-policy-ipv6"}};
    const char *family = listed_family(ctx);
    for (const row &candidate : containers) {
        if (yfw_map_do_these_match(family, candidate.native) != 0) {
            return vn_write_in_container(ctx, src, dst, candidate.container, "/config/send-default-route");
        }
    }
    YMAP_ERROR(frame, "[vn_bgp_instance_nbr_grp_afi_safi_send_default]:Invalid afi-safi path");
    return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
}

// Skips fewer nodes than its twin: a "warning-only" is written as a maximum.
YMAP_EXPORT cerrno vn_bgp_instance_nbr_grp_afi_safi_maxprefix(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                              cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_limit_record limit{vn_get_oc_nbr_grp_af_path, "/config/max-prefixes",
                                           "[vn_bgp_instance_nbr_grp_afi_safi_maxprefix]:Invalid afi-safi path"};
    const bool other = src != nullptr && vn_node_is(src, "discard-extra-paths");
    return other && dst != nullptr ? 0 : vn_map_limit(frame, src, dst, listed_family(ctx), limit);
}

YMAP_EXPORT cerrno vn_bgp_nbr_grp_af_pfx_limit_prevent_tear(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                            cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_limit_record prevent{vn_get_oc_nbr_grp_af_path, "/config/prevent-teardown",
                                             "[vn_bgp_nbr_grp_af_pfx_limit_prevent_tear]:Invalid afi-safi path"};
    return vn_map_limit(frame, src, dst, listed_family(ctx), prevent);
}

YMAP_EXPORT cerrno vn_bgp_nbr_grp_af_shut_down_thrshld(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                       cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_limit_record threshold{vn_get_oc_nbr_grp_af_path, "/config/warning-threshold-pct",
                                               "[vn_bgp_nbr_grp_af_shut_down_thrshld]:Invalid afi-safi path"};
    return vn_map_limit(frame, src, dst, listed_family(ctx), threshold);
}

YMAP_EXPORT cerrno vn_bgp_nbr_grp_af_pfx_limit_restart_timer(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                             cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_limit_record timer{vn_get_oc_nbr_grp_af_path, "/config/restart-timer",
                                           "[vn_bgp_nbr_grp_af_pfx_limit_restart_timer]:Invalid afi-safi path"};
    return vn_map_limit(frame, src, dst, listed_family(ctx), timer);
}
