// Native neighbours as OpenConfig's.
#include "native.h"

#define NEIGHBOR_PLACE(suffix)                                                                                         \
    { VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor" suffix, VN_VRF "/vrf-neighbors/vrf-neighbor" suffix, true }
// The same, but a VRF named "default" counts as the default one: meant so.
#define NEIGHBOR_PLACE_BY_NAME(suffix)                                                                                 \
    { VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor" suffix, VN_VRF "/vrf-neighbors/vrf-neighbor" suffix, false }

namespace {

constexpr int not_a_group = 0;
constexpr vn_place neighbor = NEIGHBOR_PLACE("");

// The upper half of a neighbour's remote or local AS, between the calls for its two leaves.
uint32_t nbr_as_x = 0;

} // namespace

YMAP_EXPORT cerrno vn_bgp_nbr(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const char *address = vn_leaf(ctx, vn_container(ctx, neighbor), "neighbor-address");
    yfw_map_datatree_add_path(ctx, dst, OC_NEIGHBOR, NS_OC_NETWORK_INSTANCE, src->value, nullptr, 0, 1);
    const cerrno status = yfw_map_datatree_add_path(ctx, dst, OC_NEIGHBOR "/neighbor-address", NS_OC_NETWORK_INSTANCE,
                                                    address, nullptr, 0, 0);
    return ymap_config_unwanted(ctx) ? status : vn_write(ctx, dst, OC_NEIGHBOR "/config/neighbor-address", address, 0);
}

// Shut down is not enabled: the two are opposites.
YMAP_EXPORT cerrno vn_bgp_nbr_shut(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_boolean_record enabled{
        OC_NEIGHBOR "/config/enabled", "false", "true", nullptr, false, "true", "false"};
    return vn_map_boolean(frame, src, dst, enabled);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_transport_cfg_passive_mode(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                                  cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_boolean_record mode{OC_NEIGHBOR "/transport/config/passive-mode",
                                            "passive-only",
                                            "active-only",
                                            "Missing nbr passive-mode",
                                            false,
                                            "true",
                                            "false"};
    return vn_map_boolean(frame, src, dst, mode);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_transport_cfg_mtu(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                         cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_boolean_record discovery{OC_NEIGHBOR "/transport/config/mtu-discovery",
                                                 "1",
                                                 "2",
                                                 "Missing nbr mtu discovery data",
                                                 true,
                                                 "true",
                                                 "false"};
    return vn_map_boolean(frame, src, dst, discovery);
}

YMAP_EXPORT cerrno vn_bgp_nbr_gr_helper_only(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_boolean_record helper{OC_NEIGHBOR "/graceful-restart/config/helper-only",
                                              "1",
                                              "2",
                                              "Missing nbr gr helper data",
                                              true,
                                              "true",
                                              "false"};
    return vn_map_boolean(frame, src, dst, helper);
}

YMAP_EXPORT const char *vn_bgp_nbr_gr_helper_to_oc(yfw_map_ctx, const cidl_yfw_datatree *node) {
    return vn_switch_to_oc(node);
}

YMAP_EXPORT cerrno vn_bgp_nbr_dflt_policy_in(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_boolean_record policy = VN_DEFAULT_POLICY(
        OC_NEIGHBOR "/apply-policy/config/default-import-policy", "Missing nbr default-import-policy data");
    return vn_map_boolean(frame, src, dst, policy);
}

YMAP_EXPORT cerrno vn_bgp_nbr_dflt_policy_out(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_boolean_record policy = VN_DEFAULT_POLICY(
        OC_NEIGHBOR "/apply-policy/config/default-export-policy", "Missing nbr default-export-policy data");
    return vn_map_boolean(frame, src, dst, policy);
}

YMAP_EXPORT cerrno vn_bgp_cfg_nbr_bfd_enable_modes(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                   cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return vn_map_bfd(frame, src, dst, OC_NEIGHBOR "/enable-bfd/config/enabled");
}

YMAP_EXPORT cerrno vn_bgp_nbr_cluster_id(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return src->value == nullptr
               ? 0
               : vn_write(ctx, dst, OC_NEIGHBOR "/route-reflector/config/route-reflector-cluster-id", src->value, 0);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_timers_cfg_keepalive_interval(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                                     cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_copied_record timer{OC_NEIGHBOR "/timers/config/keepalive-interval",
                                            "Missing keepalive_interval interval time", 0};
    return vn_map_copied(frame, src, dst, timer);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_timers_cfg_hld_time(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                           cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_copied_record timer{OC_NEIGHBOR "/timers/config/hold-time", "Missing hold time time", 1};
    return vn_map_copied(frame, src, dst, timer);
}

// The policies of a family: not the neighbour's own.
YMAP_EXPORT cerrno vn_bgp_nbr_import_policy(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_copied_record policy{OC_NEIGHBOR "/afi-safis/afi-safi/apply-policy/config/import-policy",
                                             nullptr, 0};
    return vn_map_copied(frame, src, dst, policy);
}

YMAP_EXPORT cerrno vn_bgp_nbr_export_policy(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_copied_record policy{OC_NEIGHBOR "/afi-safis/afi-safi/apply-policy/config/export-policy",
                                             nullptr, 0};
    return vn_map_copied(frame, src, dst, policy);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_peer_as(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_as_record peer{OC_NEIGHBOR "/config/peer-as", "Missing nbr remote as xx",
                                       "Missing nbr remote as yy"};
    return vn_map_as(frame, src, dst, peer, &nbr_as_x);
}

YMAP_EXPORT cerrno vn_bgp_nbr_local_as(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_as_record local{OC_NEIGHBOR "/config/local-as", "Missing config xx", "Missing config as-yy"};
    return vn_map_as(frame, src, dst, local, &nbr_as_x);
}

YMAP_EXPORT cerrno vn_bgp_nbr_ebgp_multihop(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_multihop_record multihop{NEIGHBOR_PLACE("/ebgp-multihop"),
                                                 OC_NEIGHBOR "/ebgp-multihop/config/enabled",
                                                 OC_NEIGHBOR "/ebgp-multihop/config/multihop-ttl"};
    return vn_map_multihop(frame, src, dst, multihop);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_transport_cfg_local_addr(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                                cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_local_address_record local{NEIGHBOR_PLACE("/local-address"),
                                                   OC_NEIGHBOR "/transport/config/local-address", false};
    return vn_map_local_address(frame, src, dst, local);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_auth_passwd(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                   cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return vn_map_password(frame, src, dst, OC_NEIGHBOR "/config/auth-password");
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_timers_cfg_minimum_adv_interval(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                                       cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_interval_record interval{NEIGHBOR_PLACE_BY_NAME("/advertisement-interval"),
                                                 OC_NEIGHBOR "/timers/config/minimum-advertisement-interval"};
    return vn_map_interval(frame, src, dst, interval);
}

// The address is looked for in the default VRF's list, also for a VRF's neighbour: meant so.
YMAP_EXPORT cerrno vn_bgp_nbr_rr_client(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_agreed_record client{{VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor", nullptr, false},
                                             "neighbor-address",
                                             not_a_group,
                                             NBR_RR_CLIENT,
                                             OC_NEIGHBOR "/route-reflector/config/route-reflector-client"};
    return vn_map_agreed(frame, src, dst, client);
}

YMAP_EXPORT cerrno vn_bgp_nbr_remove_pas(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_agreed_record removal{neighbor, "neighbor-address", not_a_group, NBR_REMOVE_PRIVATE_AS,
                                              OC_NEIGHBOR "/config/remove-private-as"};
    return vn_map_agreed(frame, src, dst, removal);
}

YMAP_EXPORT cerrno vn_bgp_instance_nbr_log_neighbor_state(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                          cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_logging_record logging{NEIGHBOR_PLACE_BY_NAME("/log-neighbor-state-change"),
                                               OC_NEIGHBOR "/logging-options/config/log-neighbor-state-changes"};
    return vn_map_logging(frame, src, dst, logging);
}
