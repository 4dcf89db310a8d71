// The neighbour and its session settings.
#include "workers.h"

#define OPER_NEIGHBORS "/ocni-bgp/network-instances/network-instance/protocols/protocol/bgp/neighbors"

namespace {

constexpr oc_path neighbor_entry = VN_NEIGHBOR("");
constexpr oc_path neighbor_create = VN_NEIGHBOR("/create");
constexpr oc_path neighbor_address = VN_NEIGHBOR("/neighbor-address");
constexpr oc_path hold_time = VN_NEIGHBOR("/timers/hold-time");
constexpr oc_path keepalive = VN_NEIGHBOR("/timers/keepalive-interval");

cerrno declare_neighbor(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *address) {
    oc_declare(ctx, src, dst, neighbor_entry, 1);
    const cerrno status = yfw_map_oc_add_path_flagged(ctx, src, dst, neighbor_address.default_vrf, neighbor_address.vrf,
                                                      address == nullptr ? "" : address, 0);
    if (ymap_request_kind(ctx) != YFW_KIND_READ_STATE) {
        return status;
    }
    oc_declare_operational(ctx, dst, OPER_NEIGHBORS "/neighbor", nullptr, 1);
    return oc_declare_operational(ctx, dst, OPER_NEIGHBORS "/neighbor/neighbor-address", address, 0);
}

// The "create" leaf brings the neighbour into being, and goes in with every edit.
cerrno write_neighbor(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *address) {
    oc_add(ctx, dst, oc_form(ctx, neighbor_entry), src->value, src, 1);
    oc_add(ctx, dst, oc_form(ctx, neighbor_create), "", src, 0);
    return oc_add(ctx, dst, oc_form(ctx, neighbor_address), address, src, 0);
}

} // namespace

YMAP_EXPORT cerrno oc_bgp_nbr(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const bool is_read = ymap_is_read(ctx);
    if (yfw_map_ocbgpni_is_parent_state_node(ctx) && !is_read) {
        YMAP_TRACE(frame, "EDIT/DELETE requests not allowed on State nodes");
        return 0;
    }
    char *address = nullptr;
    yfw_map_get_node_info(ctx, OC_NEIGHBOR, "neighbor-address", &address);
    if (is_read) {
        return declare_neighbor(ctx, src, dst, address);
    }
    if (!oc_is_delete(ctx, src)) {
        return write_neighbor(ctx, src, dst, address);
    }
    uint32_t saved = YFW_EXPAND_OFF;
    ymap_set_operation(src, YFW_OP_REMOVE);
    oc_bgp_turnoff_del_expansion(ctx, src, &saved);
    const cerrno status = write_neighbor(ctx, src, dst, address);
    oc_bgp_restore_saved_del_expansion(ctx, src, saved);
    return status;
}

YMAP_EXPORT cerrno oc_bgp_nbr_parent(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_parent neighbors{VN_NEIGHBORS, OPER_NEIGHBORS};
    return oc_map_parent(frame, src, dst, neighbors);
}

YMAP_EXPORT cerrno oc_bgp_nbr_peer_as(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_as_leaf peer{VN_NEIGHBOR("/remote-as"), VN_NEIGHBOR("/remote-as/as-xx"),
                                     VN_NEIGHBOR("/remote-as/as-yy"), false};
    return oc_map_as(frame, src, dst, peer);
}

YMAP_EXPORT cerrno oc_bgp_nbr_local_as(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_as_leaf local{VN_NEIGHBOR("/local-as"), VN_NEIGHBOR("/local-as/as-xx"),
                                      VN_NEIGHBOR("/local-as/as-yy"), false};
    return oc_map_as(frame, src, dst, local);
}

// Enabled is not shut down: the two are opposites.
YMAP_EXPORT cerrno oc_bgp_peer_enabled(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_boolean_leaf shutdown{VN_NEIGHBOR("/shutdown"), "false", "true", nullptr};
    return oc_map_boolean_leaf(frame, src, dst, shutdown);
}

// The two timers live together and are deleted together.
YMAP_EXPORT cerrno oc_bgp_nbr_timers_cfg_hld_time(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                  cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf timer{hold_time, hold_time, keepalive};
    return oc_map_copied_leaf(frame, src, dst, timer);
}

YMAP_EXPORT cerrno oc_bgp_nbr_timers_cfg_keepalive_interval(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                            cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf timer{keepalive, keepalive, hold_time};
    return oc_map_copied_leaf(frame, src, dst, timer);
}

YMAP_EXPORT cerrno oc_bgp_nbr_timers_cfg_minimum_adv_interval(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                              cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_interval_leaf interval{
        VN_NEIGHBOR("/advertisement-interval"), VN_NEIGHBOR("/advertisement-interval/minimum-interval"),
        VN_NEIGHBOR("/advertisement-interval/minimum-interval-msecs"), "0", "Input is wrong"};
    return oc_map_interval(frame, src, dst, interval);
}

YMAP_EXPORT cerrno oc_bgp_nbr_transport_cfg_passive_mode(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                         cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_boolean_leaf mode{VN_NEIGHBOR("/session-open-mode"), "passive-only", "active-only",
                                          "Input data is empty"};
    return oc_map_boolean_leaf(frame, src, dst, mode);
}

YMAP_EXPORT cerrno oc_bgp_nbr_transport_cfg_mtu(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_boolean_leaf discovery{VN_NEIGHBOR("/tcpmtu-discovery"), "1", "2", nullptr};
    return oc_map_boolean_leaf(frame, src, dst, discovery);
}

YMAP_EXPORT cerrno oc_bgp_nbr_transport_cfg_local_addr(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                       cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_local_address local{
        VN_NEIGHBOR("/local-address"), VN_NEIGHBOR("/local-address/local-address-disable"),
        VN_NEIGHBOR("/local-address/local-ip-address"), VN_NEIGHBOR("/update-source-interface"), 1};
    return oc_map_local_address(frame, src, dst, local);
}

YMAP_EXPORT cerrno oc_bgp_nbr_auth_passwd(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_password_leaf password{VN_NEIGHBOR("/password"), VN_NEIGHBOR("/password/password-disable"),
                                               VN_NEIGHBOR("/password/password")};
    return oc_map_password(frame, src, dst, password);
}

YMAP_EXPORT cerrno oc_bgp_nbr_ebgp_multihop(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_multihop multihop{OC_NEIGHBOR "/ebgp-multihop/config", VN_NEIGHBOR("/ebgp-multihop"),
                                          VN_NEIGHBOR("/ebgp-multihop/max-hop-count"),
                                          VN_NEIGHBOR("/ebgp-multihop/mpls-deactivation"), false};
    return oc_map_multihop(frame, src, dst, multihop);
}

YMAP_EXPORT cerrno oc_bgp_nbr_gr_cfg_helper_only(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_boolean_leaf helper{VN_NEIGHBOR("/neighbor-graceful-restart-helper-only"), "1", "2", nullptr};
    return oc_map_boolean_leaf(frame, src, dst, helper);
}

YMAP_EXPORT cerrno oc_bgp_nbr_log_neighbor_state(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_state_logging logging{VN_NEIGHBOR("/log-neighbor-state-change"),
                                              VN_NEIGHBOR("/log-neighbor-state-change/log-up-down-enable"),
                                              VN_NEIGHBOR("/log-neighbor-state-change/log-up-down-disable"),
                                              VN_NEIGHBOR("/log-neighbor-state-change/log-up-down-inherit-disable"),
                                              {}};
    return oc_map_state_logging(frame, src, dst, logging);
}

YMAP_EXPORT cerrno oc_bgp_cfg_peer_bfd_enabled(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    static constexpr oc_path modes = VN_NEIGHBOR("/bfd-enable-modes");
    if (ymap_is_read(ctx)) {
        return oc_declare(ctx, src, dst, modes, 0);
    }
    const char *mode = oc_is_text(src->value, "true") ? "default" : "disable";
    return oc_add(ctx, dst, oc_form(ctx, modes), oc_is_delete(ctx, src) ? nullptr : mode, src, 0);
}
