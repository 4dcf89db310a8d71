// What a read of state asks the operational models for, beside what the callbacks of configuration ask for.
#include "openconfig.h"

#define OPER_BGP_INSTANCE "/ocni-bgp/network-instances/network-instance"
#define OPER_BGP OPER_BGP_INSTANCE "/protocols/protocol/bgp"
#define OPER_PEER_GROUPS "/ocni-bpm/network-instances/network-instance/protocols/protocol/bgp/peer-groups"
#define NATIVE_GROUPS VN_DEFAULT_VRF "/bgp-entity/neighbor-groups"

namespace {

cerrno ask(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *path, const char *name_space, const char *value,
           int container) {
    return yfw_map_datatree_add_path_flagged(ctx, dst, path, name_space, value, nullptr, nullptr, container, 0);
}

// The name of an address family among its state.
struct family_name {
    const char *path;
    const char *name_space;
    bool passes_value; // a group's alone asks for the value of the request: meant so
};

cerrno ask_family_name(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                       const family_name &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (ymap_request_kind(frame.ctx) != YFW_KIND_READ_STATE) {
        return 0;
    }
    return ask(frame.ctx, dst, record.path, record.name_space, record.passes_value ? src->value : nullptr, 0);
}

} // namespace

// The container of peer groups, of configuration as of state: only the default VRF has any.
YMAP_EXPORT cerrno ocni_vn_oper_peer_group_top(yfw_map_ctx ctx, const cidl_yfw_datatree *src, unsigned int,
                                               cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    char *name = nullptr;
    yfw_map_get_node_info(ctx, OC_NETWORK_INSTANCE, "name", &name);
    if (!is_default_vrf(name)) {
        YMAP_TRACE(frame, "Peer-Group is not supported inside VRF");
        return OCBGP_SKIP_SUBTREE;
    }
    if (ymap_is_read(ctx)) {
        const cerrno status = ask(ctx, dst, NATIVE_GROUPS, NS_NATIVE_CFG, src->value, 0);
        return ymap_request_kind(ctx) == YFW_KIND_READ_STATE
                   ? ask(ctx, dst, OPER_PEER_GROUPS, NS_NATIVE_BPM_OPER, nullptr, 0)
                   : status;
    }
    const bool deletes = yfw_map_is_request_delete(src) != 0;
    const cerrno status = oc_add(ctx, dst, NATIVE_GROUPS, src->value, src, 0);
    return deletes ? static_cast<cerrno>(OCBGP_SKIP_SUBTREE) : status;
}

YMAP_EXPORT cerrno ocni_bgp_gbl_state_af_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr family_name name{OPER_BGP "/global/afi-safis/afi-safi/state/afi-safi-name", NS_NATIVE_BGP_OPER,
                                      false};
    return ask_family_name(frame, src, dst, name);
}

YMAP_EXPORT cerrno ocni_bgp_nbr_state_af_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr family_name name{OPER_BGP
                                      "/neighbors/neighbor/neighbors-afi-safis/neighbors-afi-safi/state/afi-safi-name",
                                      NS_NATIVE_BGP_OPER, false};
    return ask_family_name(frame, src, dst, name);
}

YMAP_EXPORT cerrno ocni_bgp_nbrgrp_state_af_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr family_name name{OPER_PEER_GROUPS
                                      "/peer-group/peer-groups-afi-safis/peer-groups-afi-safi/state/afi-safi-name",
                                      NS_NATIVE_BPM_OPER, true};
    return ask_family_name(frame, src, dst, name);
}

// The trace speaks of peer groups although a route distinguisher is refused: clients know it so.
YMAP_EXPORT cerrno ocni_bgp_state_rd(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    char *name = nullptr;
    const cerrno status = yfw_map_get_node_info(ctx, OC_NETWORK_INSTANCE, "name", &name);
    const char *vrf = nullptr;
    if (default_vrf_to_lower(name, &vrf) && name != nullptr) {
        YMAP_TRACE(frame, "Peer-Group is not supported inside VRF");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    if (ymap_request_kind(ctx) != YFW_KIND_READ_STATE) {
        return status;
    }
    ask(ctx, dst, OPER_BGP_INSTANCE, NS_NATIVE_BGP_OPER, nullptr, 1);
    ask(ctx, dst, OPER_BGP_INSTANCE "/name", NS_NATIVE_BGP_OPER, name == nullptr ? nullptr : vrf, 0);
    return ask(ctx, dst, OPER_BGP_INSTANCE "/state/route-distinguisher", NS_NATIVE_BGP_OPER, src->value, 0);
}
