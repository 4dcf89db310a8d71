// The peer group and its session settings. Where it differs from its twin of the neighbour, it is meant so.
#include "workers.h"

#define OPER_GROUP "/ocni-bpm/network-instances/network-instance/protocols/protocol/bgp/peer-groups/peer-group"

namespace {

constexpr oc_path hold_time = VN_GROUP("/timers/hold-time");
constexpr oc_path keepalive = VN_GROUP("/timers/keepalive-interval");

cerrno declare_group(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *name) {
    oc_add(ctx, dst, VN_GROUP_ENTRY, src->value, nullptr, 1);
    const cerrno status = oc_add(ctx, dst, VN_GROUP_ENTRY "/neighbor-group-name", name, nullptr, 0);
    if (ymap_request_kind(ctx) != YFW_KIND_READ_STATE) {
        return status;
    }
    oc_declare_operational(ctx, dst, OPER_GROUP, src->value, 1);
    return oc_declare_operational(ctx, dst, OPER_GROUP "/peer-group-name", name, 0);
}

cerrno remove_group(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *name) {
    uint32_t saved = YFW_EXPAND_OFF;
    ymap_set_operation(src, YFW_OP_REMOVE);
    oc_bgp_turnoff_del_expansion(ctx, src, &saved);
    oc_add(ctx, dst, VN_GROUP_ENTRY, nullptr, src, 1);
    const cerrno status = oc_add(ctx, dst, VN_GROUP_ENTRY "/neighbor-group-name", name, src, 0);
    oc_bgp_restore_saved_del_expansion(ctx, src, saved);
    return status;
}

} // namespace

YMAP_EXPORT cerrno oc_bgp_peer_grp_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    char *network_instance = nullptr;
    char *name = nullptr;
    yfw_map_get_node_info(ctx, OC_NETWORK_INSTANCE, "name", &network_instance);
    if (network_instance != nullptr && !is_default_vrf(network_instance)) {
        YMAP_TRACE(frame, "Peer-Group is not supported inside VRF");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    yfw_map_get_node_info(ctx, OC_GROUP, "peer-group-name", &name);
    if (ymap_is_read(ctx)) {
        return declare_group(ctx, src, dst, name);
    }
    if (oc_is_delete(ctx, src)) {
        return remove_group(ctx, src, dst, name);
    }
    if (name == nullptr) {
        YMAP_TRACE(frame, "Key is invalid");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    oc_add(ctx, dst, VN_GROUP_ENTRY, src->value, src, 1);
    oc_add(ctx, dst, VN_GROUP_ENTRY "/create", "", src, 0);
    return oc_add(ctx, dst, VN_GROUP_ENTRY "/neighbor-group-name", name, src, 0);
}

YMAP_EXPORT cerrno oc_bgp_peer_group_peeras(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_as_leaf peer{VN_GROUP("/remote-as"), VN_GROUP("/remote-as/as-xx"), VN_GROUP("/remote-as/as-yy"),
                                     true};
    return oc_map_as(frame, src, dst, peer);
}

YMAP_EXPORT cerrno oc_bgp_nbrgrp_local_as(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_as_leaf local{VN_GROUP("/local-as"), VN_GROUP("/local-as/as-xx"), VN_GROUP("/local-as/as-yy"),
                                      true};
    return oc_map_as(frame, src, dst, local);
}

YMAP_EXPORT cerrno oc_bgp_peer_group_authpwd(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_password_leaf password{VN_GROUP("/password"), VN_GROUP("/password/password-disable"),
                                               VN_GROUP("/password/password")};
    return oc_map_password(frame, src, dst, password);
}

YMAP_EXPORT cerrno oc_bgp_peer_group_tcp_mode(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_boolean_leaf mode{VN_GROUP("/session-open-mode"), "passive-only", "active-only",
                                          "Missing nbr-grp passive-mode", true};
    return oc_map_boolean_leaf(frame, src, dst, mode);
}

// A delete of either timer takes both, the hold time first.
YMAP_EXPORT cerrno oc_bgp_nbr_grp_timers_hold_time(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                   cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf timer{hold_time, hold_time, keepalive};
    return oc_map_copied_leaf(frame, src, dst, timer);
}

YMAP_EXPORT cerrno oc_bgp_nbr_grp_timers_keepalive_time(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                        cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf timer{keepalive, hold_time, keepalive};
    return oc_map_copied_leaf(frame, src, dst, timer);
}

YMAP_EXPORT cerrno oc_bgp_peer_group_timer_min_interval(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                        cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_interval_leaf interval{
        VN_GROUP("/advertisement-interval"), VN_GROUP("/advertisement-interval/minimum-interval"),
        VN_GROUP("/advertisement-interval/minimum-interval-msecs"), "000", nullptr};
    return oc_map_interval(frame, src, dst, interval);
}

YMAP_EXPORT cerrno oc_bgp_peer_group_tcp_localaddr(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                   cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_local_address local{
        VN_GROUP("/local-address"), VN_GROUP("/local-address/local-address-disable"),
        VN_GROUP("/local-address/local-ip-address"), VN_GROUP("/update-source-interface"), 0};
    return oc_map_local_address(frame, src, dst, local);
}

YMAP_EXPORT cerrno oc_bgp_peer_group_ebgp_multihop(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                   cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_multihop multihop{OC_GROUP "/ebgp-multihop/config", VN_GROUP("/ebgp-multihop"),
                                          VN_GROUP("/ebgp-multihop/max-hop-count"),
                                          VN_GROUP("/ebgp-multihop/mpls-deactivation"), true};
    return oc_map_multihop(frame, src, dst, multihop);
}

YMAP_EXPORT cerrno oc_bgp_peer_grp_path_recv(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_boolean_leaf receive =
        OC_ABILITY(VN_GROUP("/additional-paths-receive-capability"), "Input is wrong");
    return oc_map_boolean_leaf(frame, src, dst, receive);
}

YMAP_EXPORT cerrno oc_bgp_peer_group_log_neighbor_state(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                        cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
#define VN_GROUP_LOG(suffix) VN_GROUP_FORM("/log-neighbor-state-change" suffix, by_vrf)
    static constexpr oc_state_logging logging{VN_GROUP_LOG(""),
                                              VN_GROUP_LOG("/log-up-down-enable"),
                                              VN_GROUP_LOG("/log-up-down-disable"),
                                              VN_GROUP_LOG("/log-up-down-inherit-disable"),
                                              {"LogNeighborStateChange Get",
                                               "LogNeighborStateChange edit-config for nbr_grp",
                                               "LogNeighborStateChange delete"}};
#undef VN_GROUP_LOG
    return oc_map_state_logging(frame, src, dst, logging);
}

// Any other value than the two leaves the mode without one; a neighbour's is then disabled.
YMAP_EXPORT cerrno oc_bgp_cfg_peer_grp_bfd_enabled(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                   cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_boolean_leaf modes{VN_GROUP_FORM("/bfd-enable-modes", by_vrf), "default", "disable", nullptr};
    return oc_map_boolean_leaf(frame, src, dst, modes);
}
