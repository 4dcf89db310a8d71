// Neighbours, peer groups and address families with state: list entries, and the families' names.
#include "state.h"

#include <cstdio>

namespace {

// One keyed step of an OpenConfig path, and the native list that its key is read from. Both keys bear one name.
struct list_step {
    const char *native;
    const char *openconfig;
    const char *key;
};

struct state_list {
    const vn_state_model *model;
    list_step outer; // the entry around it; no native list: none
    list_step entry;
    const char *schema_path;
};

#define OPER_BGP OPER_BGP_INSTANCE "/protocols/protocol/bgp"
#define OPER_BPM OPER_BPM_INSTANCE "/protocols/protocol/bgp"
#define OPER_NEIGHBOR OPER_BGP "/neighbors/neighbor"
#define OPER_GROUP OPER_BPM "/peer-groups/peer-group"

constexpr list_step neighbor{OPER_NEIGHBOR, "/bgp/neighbors/neighbor", "neighbor-address"};
constexpr list_step group{OPER_GROUP, "/bgp/peer-groups/peer-group", "peer-group-name"};

// Returns whether the step's text fitted in behind the others.
bool append_step(char *text, std::size_t size, int &length, const list_step &step, const char *value) {
    const int added = std::snprintf(text + length, size - static_cast<std::size_t>(length), "%s[%s=%s]",
                                    step.openconfig, step.key, value);
    length += added;
    return added >= 0 && static_cast<std::size_t>(length) < size;
}

bool write_instance_path(yfw_xpath_operation &operation, const vn_state_place &place, const state_list &record,
                         const char *outer, const char *entry) {
    constexpr std::size_t size = sizeof(operation.expression) - 1; // the last "/" fits
    char *text = operation.expression;
    int length = std::snprintf(text, size,
                               "/network-instances/network-instance[name=%s]/protocols/protocol[identifier=BGP]"
                               "[name=%s]",
                               place.vrf, place.protocol);
    if (static_cast<std::size_t>(length) >= size ||
        (outer != nullptr && !append_step(text, size, length, record.outer, outer)) ||
        !append_step(text, size, length, record.entry, entry)) {
        return false;
    }
    text[length] = '/';
    return true;
}

// What became of a native entry: whether its keys were read and it was to be joined, and as what.
struct joined_entry {
    bool tried;
    cidl_yfw_datatree *entry; // null when the join failed
};

// Joins the native entry into its OpenConfig list. The status of the join, or of what kept it from being tried.
cerrno map_entry(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                 const state_list &record, joined_entry &joined) {
    joined = {};
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const vn_state_place place = vn_read_state_place(frame.ctx, *record.model);
    char *outer = nullptr;
    char *key = nullptr;
    if (record.outer.native != nullptr) {
        yfw_map_get_node_info(frame.ctx, record.outer.native, record.outer.key, &outer);
    }
    if (ymap_request_kind(frame.ctx) != YFW_KIND_READ_STATE) {
        return 0;
    }
    if (const cerrno status = yfw_map_get_node_info(frame.ctx, record.entry.native, record.entry.key, &key);
        status != 0) {
        return status;
    }
    const bool has_keys = key != nullptr && (outer != nullptr || record.outer.native == nullptr);
    yfw_xpath_operation operation{};
    if (!has_keys || place.protocol == nullptr || !write_instance_path(operation, place, record, outer, key)) {
        return OCBGP_ERR_NO_RESOURCE;
    }
    const cerrno status =
        vn_stitch_entry(frame.ctx, yfw_map_stitch_list_to_list, operation, dst, record.schema_path, frame.name);
    joined = {true, operation.found};
    return status;
}

cerrno map_list(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                const state_list &record) {
    joined_entry joined{};
    return map_entry(frame, src, dst, record, joined);
}

// Of a family it is the code of naming its identity that counts, not that of the join: a family that was not joined has
// no name to be found.
cerrno map_family(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                  const state_list &record) {
    joined_entry joined{};
    const cerrno status = map_entry(frame, src, dst, record, joined);
    return joined.tried ? vn_name_identity(frame.ctx, joined.entry, "/afi-safi-name", NS_OC_BGP_TYPES, frame.name)
                        : status;
}

// The name of a family among its state.
cerrno map_family_name(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                       const char *path) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (ymap_request_kind(frame.ctx) != YFW_KIND_READ_STATE) {
        return 0;
    }
    cidl_yfw_datatree *leaf = nullptr;
    const cerrno status =
        yfw_map_datatree_add_path(frame.ctx, dst, path, NS_OC_NETWORK_INSTANCE, src->value, &leaf, 0, 0);
    if (status == 0) {
        vn_bgp_set_type_ns(leaf, NS_OC_BGP_TYPES);
    }
    return status;
}

} // namespace

cerrno vn_bgp_ocni_add_aflist_identity_ref(yfw_map_ctx ctx, cidl_yfw_datatree *entry) {
    YMAP_FRAME(ctx);
    return vn_name_identity(ctx, entry, "/afi-safi-name", NS_OC_BGP_TYPES, frame.name);
}

YMAP_EXPORT cerrno vn_ocni_to_bgp_nbr(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr state_list neighbors{&vn_state_bgp, {}, neighbor, OC_BGP "/neighbors/neighbor"};
    return map_list(frame, src, dst, neighbors);
}

YMAP_EXPORT cerrno vn_ocni_oper_peer_grp_list(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr state_list groups{&vn_state_bpm, {}, group, OC_BGP "/peer-groups/peer-group"};
    return map_list(frame, src, dst, groups);
}

YMAP_EXPORT cerrno vn_ocni_bgp_gbl_afisafi_list(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr state_list families{
        &vn_state_bgp,
        {},
        {OPER_BGP "/global/afi-safis/afi-safi", "/bgp/global/afi-safis/afi-safi", "afi-safi-name"},
        OC_BGP "/global/afi-safis/afi-safi"};
    return map_family(frame, src, dst, families);
}

YMAP_EXPORT cerrno vn_ocni_bgp_nbr_af_list(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr state_list families{
        &vn_state_bgp,
        neighbor,
        {OPER_NEIGHBOR "/neighbors-afi-safis/neighbors-afi-safi", "/afi-safis/afi-safi", "afi-safi-name"},
        OC_BGP "/neighbors/neighbor/afi-safis/afi-safi"};
    return map_family(frame, src, dst, families);
}

YMAP_EXPORT cerrno vn_ocni_bgp_nbrgrp_af_list(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr state_list families{
        &vn_state_bpm,
        group,
        {OPER_GROUP "/peer-groups-afi-safis/peer-groups-afi-safi", "/afi-safis/afi-safi", "afi-safi-name"},
        OC_BGP "/peer-groups/peer-group/afi-safis/afi-safi"};
    return map_family(frame, src, dst, families);
}

YMAP_EXPORT cerrno vn_ocni_bgp_gbl_state_af_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return map_family_name(frame, src, dst, OC_BGP "/global/afi-safis/afi-safi/state/afi-safi-name");
}

YMAP_EXPORT cerrno vn_ocni_bgp_nbr_state_af_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return map_family_name(frame, src, dst, OC_BGP "/neighbors/neighbor/afi-safis/afi-safi/state/afi-safi-name");
}

YMAP_EXPORT cerrno vn_ocni_bgp_nbrgrp_state_af_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                    cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return map_family_name(frame, src, dst, OC_BGP "/peer-groups/peer-group/afi-safis/afi-safi/state/afi-safi-name");
}
