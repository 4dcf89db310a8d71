// The network instance and the protocol entry that all state is rendered into, and the instance's own state.
#include "state.h"

#include <cstdio>

#define INSTANCE_FORMAT "/network-instances/network-instance[name=%s]"

vn_state_place vn_read_state_place(yfw_map_ctx ctx, const vn_state_model &model) {
    vn_state_place place{};
    char *name = nullptr;
    yfw_map_get_node_info(ctx, model.instance, "name", &name);
    default_vrf_to_upper(name, &place.vrf);
    yfw_map_get_node_info(ctx, model.protocol, "name", &place.protocol);
    return place;
}

cerrno vn_stitch_entry(yfw_map_ctx ctx, vn_stitch stitch, yfw_xpath_operation &operation, cidl_yfw_datatree *dst,
                       const char *schema_path, const char *caller) {
    operation.operation = YFW_XPATH_SET;
    operation.form = YFW_XPATH_FORMAT;
    operation.tree = dst;
    yfw_strcpy_s(operation.caller, sizeof(operation.caller), caller, caller);
    yfw_strcpy_s(operation.name_space, sizeof(operation.name_space), NS_OC_NETWORK_INSTANCE, caller);
    yfw_strcpy_s(operation.schema_path, sizeof(operation.schema_path), schema_path, caller);
    return stitch(ctx, &operation);
}

cerrno vn_name_identity(yfw_map_ctx ctx, cidl_yfw_datatree *entry, const char *leaf, const char *name_space,
                        const char *caller) {
    yfw_xpath_operation query{};
    query.operation = YFW_XPATH_FIND;
    query.form = YFW_XPATH_RELATIVE;
    query.tree = entry;
    yfw_strcpy_s(query.caller, sizeof(query.caller), caller, caller);
    yfw_strcpy_s(query.name_space, sizeof(query.name_space), NS_OC_NETWORK_INSTANCE, caller);
    yfw_strcpy_s(query.expression, sizeof(query.expression), leaf, caller);
    const cerrno status = yfw_map_tree_xpath_operations(ctx, &query);
    if (status == 0) {
        vn_bgp_set_type_ns(query.found, name_space);
    }
    return status;
}

cerrno vn_ocni_add_vrf_name(yfw_map_ctx ctx, cidl_yfw_datatree *dst, char *vrf, char *protocol) {
    YMAP_FRAME(ctx);
    // The codes of the two joins do not count: the protocol entry is there, or its identifier is not found.
    yfw_xpath_operation instance{};
    std::snprintf(instance.expression, sizeof(instance.expression), INSTANCE_FORMAT "/", vrf);
    vn_stitch_entry(ctx, yfw_map_stitch_container_to_list, instance, dst, OC_NETWORK_INSTANCE, frame.name);
    yfw_xpath_operation entry{};
    std::snprintf(entry.expression, sizeof(entry.expression),
                  INSTANCE_FORMAT "/protocols/protocol[identifier=BGP][name=%s]/", vrf,
                  protocol == nullptr ? "" : protocol);
    vn_stitch_entry(ctx, yfw_map_stitch_container_to_list, entry, dst, OC_PROTOCOL, frame.name);
    return vn_name_identity(ctx, entry.found, "/identifier", NS_OC_POLICY_TYPES, frame.name);
}

namespace {

// The top of an operational model.
struct vn_state_top {
    const vn_state_model *model;
    const char *missing;  // what is logged when the instance has no name
    bool check_arguments; // the one takes them for granted: meant so
};

cerrno map_state_top(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                     const vn_state_top &record) {
    if (record.check_arguments && (src == nullptr || dst == nullptr)) {
        return ymap_refuse_arguments(frame);
    }
    char *name = nullptr;
    yfw_map_get_node_info(frame.ctx, record.model->instance, "name", &name);
    if (name == nullptr) {
        YMAP_ERROR(frame, "%s", record.missing);
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    const vn_state_place place = vn_read_state_place(frame.ctx, *record.model);
    return vn_ocni_add_vrf_name(frame.ctx, dst, const_cast<char *>(place.vrf), place.protocol);
}

} // namespace

YMAP_EXPORT cerrno vn_bgp_state_toplevel(yfw_map_ctx ctx, const cidl_yfw_datatree *src, unsigned int,
                                         cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_state_top top{&vn_state_bgp, "[vn_bgp_state_toplevel]:missing network-instance name", false};
    return map_state_top(frame, src, dst, top);
}

YMAP_EXPORT cerrno vn_ocni_oper_peer_grp_top(yfw_map_ctx ctx, const cidl_yfw_datatree *src, unsigned int,
                                             cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr vn_state_top top{&vn_state_bpm, "[vn_ocni_oper_peer_grp_top]:missing network-instance name", true};
    return map_state_top(frame, src, dst, top);
}

// The tag of the two messages is not this function's name: meant so.
YMAP_EXPORT cerrno vn_ocnibgp_state_rd(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || src->value == nullptr || src->value[0] == '\0') {
        return 0;
    }
    char *name = nullptr;
    yfw_map_get_node_info(ctx, OPER_BGP_INSTANCE, "name", &name);
    if (name == nullptr) {
        YMAP_ERROR(frame, "[vn_ocnibgp_state_rd_rev]:  missing network-instance name");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    if (is_default_vrf(name)) {
        YMAP_ERROR(frame, "[vn_ocnibgp_state_rd_rev]: RD is not supported in default VRF");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    yfw_xpath_operation leaf{};
    leaf.operation = YFW_XPATH_SET;
    leaf.form = YFW_XPATH_RELATIVE;
    leaf.tree = dst;
    yfw_strcpy_s(leaf.caller, sizeof(leaf.caller), frame.name, frame.name);
    yfw_strcpy_s(leaf.name_space, sizeof(leaf.name_space), NS_OC_NETWORK_INSTANCE, frame.name);
    std::snprintf(leaf.value, sizeof(leaf.value), "%s", src->value);
    std::snprintf(leaf.expression, sizeof(leaf.expression), INSTANCE_FORMAT "/state/route-distinguisher", name);
    return yfw_map_tree_xpath_operations(ctx, &leaf);
}
