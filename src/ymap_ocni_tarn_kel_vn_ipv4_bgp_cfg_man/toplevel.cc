// The skeleton that all other callbacks of this direction write into: network instance, protocol entry, AS number.
#include "native.h"

#include <cstdio>
#include <cstring>

#define OC_PROTOCOL_LEVELS "protocols/protocol"

namespace {

constexpr uint32_t marked_read_flag = 8;
constexpr uint32_t read_mark_operation = 2; // the framework's sign on nodes of a configuration read
constexpr uint32_t mode_without_as = 3;

// The protocol entry becomes what the following paths are relative to.
cerrno enter_protocol(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                      cidl_yfw_datatree *protocol) {
    if (protocol != nullptr) {
        yfw_map_update_ctx_current_list_ptr(ctx, protocol);
    }
    constexpr std::size_t size = sizeof(OC_NETWORK_INSTANCE) + sizeof(OC_PROTOCOL_LEVELS);
    auto *path = static_cast<char *>(vnos_named_calloc_(1, size, "YFW MAP search list", 0));
    if (path == nullptr) {
        return OCBGP_ERR_NO_RESOURCE;
    }
    ymap_join(path, size, {OC_NETWORK_INSTANCE, "/", OC_PROTOCOL_LEVELS});
    yfw_map_copy_trim_path_list_ctx(ctx, path);
    vnos_named_free(path);
    yfw_add_to_output_list_ctx(ctx, ymap_writable(src), dst);
    return 0;
}

// Adds a path and marks it, as the framework wants it of the AS in a read.
cerrno add_marked(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *path, const char *value, bool mark) {
    cidl_yfw_datatree *added = nullptr;
    const cerrno status = yfw_map_datatree_add_path_flagged(ctx, dst, path, NS_OC_NETWORK_INSTANCE, value, nullptr,
                                                            &added, 0, marked_read_flag);
    if (mark && added != nullptr) {
        ymap_set_operation(added, read_mark_operation);
    }
    return status;
}

cerrno add_global_as(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *container, const char *as, bool mark) {
    char path[100];
    int length = std::snprintf(path, sizeof(path), "%s", OC_GLOBAL);
    add_marked(ctx, dst, path, nullptr, mark);
    length += std::snprintf(path + length, sizeof(path) - static_cast<std::size_t>(length), "%s", container);
    add_marked(ctx, dst, path, nullptr, mark);
    std::snprintf(path + length, sizeof(path) - static_cast<std::size_t>(length), "/as");
    return add_marked(ctx, dst, path, as, mark);
}

cerrno add_identity(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *path) {
    cidl_yfw_datatree *added = nullptr;
    const cerrno status =
        yfw_map_datatree_add_path_flagged(ctx, dst, path, NS_OC_NETWORK_INSTANCE, "BGP", nullptr, &added, 0, 0);
    vn_bgp_set_type_ns(added, NS_OC_POLICY_TYPES);
    return status;
}

} // namespace

YMAP_EXPORT cerrno vn_oc_protocol_list_selection_internal(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                          cidl_yfw_datatree *dst, char *vrf) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const char *instance = vn_leaf(ctx, VN_INSTANCE, "instance-name");
    if (instance == nullptr) {
        YMAP_ERROR(frame, "vn_oc_protocol_list_selection: missing bgp instance-name");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    const char *name = yfw_map_do_these_match(vrf, "default") != 0 ? "DEFAULT" : vrf;
    yfw_remove_from_output_list_ctx(ctx, ymap_writable(src), dst);
    cidl_yfw_datatree *entry = nullptr;
    const cerrno found =
        yfw_map_search_or_add_list(ctx, dst, &entry, OC_NETWORK_INSTANCE, "name", name, NS_OC_NETWORK_INSTANCE);
    if (found != 0 || entry == nullptr) {
        YMAP_ERROR(frame, "Couldnt find/add vrf-list %s", name);
        return found;
    }
    yfw_map_update_ctx_current_list_ptr(ctx, entry);
    yfw_map_free_trim_path_list_ctx(ctx);
    const char *const values[] = {"BGP", instance};
    const char *const names[] = {"identifier", "name"};
    const char *const name_spaces[] = {NS_OC_POLICY_TYPES, nullptr};
    cidl_yfw_datatree *protocol = nullptr;
    const cerrno status = yfw_map_ocni_bgp_search_or_add_subtree_list_multi_keys2(
        ctx, entry, &protocol, OC_NETWORK_INSTANCE, OC_PROTOCOL_LEVELS, 2, values, names, name_spaces,
        NS_OC_NETWORK_INSTANCE);
    if (status != 0) {
        YMAP_ERROR(frame, "Couldnt add BGP instance %s under network-instance %s", instance, name);
        return status;
    }
    return enter_protocol(ctx, src, dst, protocol);
}

YMAP_EXPORT cerrno vn_bgp_oc_protocol_list_selection(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                     cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    char vrf[] = "DEFAULT";
    return vn_oc_protocol_list_selection_internal(ctx, src, dst, vrf);
}

YMAP_EXPORT cerrno vn_bgp_vrf_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    char *vrf = vn_leaf(ctx, VN_VRF, "vrf-name");
    if (vrf == nullptr) {
        YMAP_ERROR(frame, "Missing VRF name");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    // A failure has been logged there and is not passed up: meant so.
    vn_oc_protocol_list_selection_internal(ctx, src, dst, vrf);
    return 0;
}

YMAP_EXPORT cerrno vn_protocol_selection2(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (src->value == nullptr) {
        return 0;
    }
    cerrno status = 0;
    if (!ymap_config_unwanted(ctx)) {
        status = add_identity(ctx, dst, OC_PROTOCOL "/config/identifier");
        if (status == 0) {
            status = vn_write(ctx, dst, OC_PROTOCOL "/config/name", src->value, 0);
        }
    }
    // The state copy comes even when the configuration is not wanted, unlike that of the AS: meant so.
    if (status == 0 && ymap_request_kind(ctx) == YFW_KIND_READ_STATE) {
        add_identity(ctx, dst, OC_PROTOCOL "/state/identifier");
        status = yfw_map_datatree_add_path(ctx, dst, OC_PROTOCOL "/state/name", NS_OC_NETWORK_INSTANCE, src->value,
                                           nullptr, 0, 0);
    }
    return status;
}

YMAP_EXPORT cerrno vn_bgp_instance_fourbyteas_as(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (vn_node_is(src, "vrf-name")) {
        if (const cerrno status = vn_bgp_vrf_name(ctx, src, dst); status != 0) {
            return status;
        }
    }
    if (ctx->req_ctx->kind->mode == mode_without_as) {
        return 0;
    }
    const char *upper = vn_leaf(ctx, VN_INSTANCE "/instance-as", "as");
    const char *lower = vn_leaf(ctx, VN_FOUR_BYTE_AS, "as");
    if (upper == nullptr || lower == nullptr) {
        YMAP_ERROR(frame, "Missing BGP global/four-byte-as number");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    char as[AS_TEXT_SIZE];
    vn_join_as(vn_number(upper), vn_number(lower), as);
    if (ymap_config_unwanted(ctx)) {
        return 0;
    }
    cerrno status = add_global_as(ctx, dst, "/config", as, ymap_request_kind(ctx) == YFW_KIND_READ);
    if (ymap_request_kind(ctx) == YFW_KIND_READ_STATE) {
        status = add_global_as(ctx, dst, "/state", as, true);
    }
    return status;
}
