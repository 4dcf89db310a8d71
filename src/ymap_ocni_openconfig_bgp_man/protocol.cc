// The protocol list entry, as the network-instance mapping hands it on, and the instance's node.
#include "openconfig.h"

namespace {

// Adds the keys of an operational model's network instance and protocol entry.
cerrno declare_operational_keys(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *const (&paths)[5],
                                const char *name_space, const char *vrf, const char *protocol) {
    const char *const values[5] = {nullptr, vrf, nullptr, "BGP", protocol};
    cerrno status = 0;
    for (int level = 0; level < 5; ++level) {
        const int container = level == 0 || level == 2 ? 1 : 0;
        status = yfw_map_datatree_add_path_flagged(ctx, dst, paths[level], name_space, values[level], nullptr, nullptr,
                                                   container, 0);
    }
    return status;
}

#define OPERATIONAL_KEYS(root)                                                                                         \
    {                                                                                                                  \
        root "/network-instances/network-instance", root "/network-instances/network-instance/name",                   \
            root "/network-instances/network-instance/protocols/protocol",                                             \
            root "/network-instances/network-instance/protocols/protocol/identifier",                                  \
            root "/network-instances/network-instance/protocols/protocol/name"                                         \
    }

constexpr const char *bgp_oper_paths[5] = OPERATIONAL_KEYS("/ocni-bgp");
constexpr const char *bpm_oper_paths[5] = OPERATIONAL_KEYS("/ocni-bpm");

#undef OPERATIONAL_KEYS

bool new_request_block(yfw_map_ctx ctx, const char *instance) {
    yfw_req_ctx *request = ctx->req_ctx;
    vnos_named_free(request->common_data_ptr);
    request->common_data_ptr = vnos_named_calloc_(1, sizeof(oc_bgp_ctx_t), "YFW MAP", 0);
    if (request->common_data_ptr == nullptr) {
        return false;
    }
    oc_bgp_ctx_t *block = oc_bgp_get_bgp_ctx(ctx);
    ymap_join(block->instance_name, sizeof(block->instance_name), {instance});
    return true;
}

cerrno declare_instance(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *vrf, bool is_default,
                        const char *protocol) {
    cerrno status = oc_add(ctx, dst, VN_INSTANCE, nullptr, nullptr, 1);
    if (protocol != nullptr) {
        status = oc_add(ctx, dst, VN_INSTANCE "/instance-name", protocol, nullptr, 0);
    }
    if (ymap_request_kind(ctx) != YFW_KIND_READ_STATE) {
        return status;
    }
    status = declare_operational_keys(ctx, dst, bgp_oper_paths, NS_NATIVE_BGP_OPER, vrf, protocol);
    if (is_default) {
        status = declare_operational_keys(ctx, dst, bpm_oper_paths, NS_NATIVE_BPM_OPER, vrf, protocol);
    }
    return status;
}

} // namespace

YMAP_EXPORT cerrno oc_process_bgp_protocol_list(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                                                char *network_instance, char *protocol) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const char *vrf = network_instance == nullptr ? "DEFAULT" : network_instance;
    const bool is_read = ymap_is_read(ctx);
    if (yfw_map_ocbgpni_is_parent_state_node(ctx) && !is_read) {
        return 0;
    }
    if (!new_request_block(ctx, protocol)) {
        return ymap_refuse(frame, OCBGP_ERR_NO_RESOURCE, nullptr);
    }
    if (is_read) {
        return declare_instance(ctx, dst, vrf, is_default_vrf(vrf), protocol);
    }
    if (yfw_map_is_request_delete(src) != 0 && (ctx->req_ctx->option_flags & YFW_OPT_KEEP_BGP_TREE) == 0) {
        const cidl_yfw_datatree *bgp = oc_bgp_find_node_in_subtree(ctx, src, nullptr, "/bgp", YFW_XPATH_AS_IS);
        if (bgp != nullptr) {
            ymap_set_operation(bgp, YFW_OP_REMOVE);
        }
    }
    return 0;
}

YMAP_EXPORT cerrno oc_process_bgp_protocol(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                                           char *, char *) {
    YMAP_FRAME(ctx);
    return src == nullptr || dst == nullptr ? ymap_refuse_arguments(frame) : 0;
}

YMAP_EXPORT cerrno oc_get_bgp_instance_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                                            char *, char *instance) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    YMAP_TRACE(frame, "oc_get_bgp_instance");
    return oc_add(ctx, dst, VN_INSTANCE "/instance-name", instance, nullptr, 0);
}

YMAP_EXPORT cerrno oc_bgp_get_instance_node(yfw_map_ctx ctx, cidl_yfw_datatree *tree, char *instance,
                                            enum node_type kind, const cidl_yfw_datatree **found) {
    YMAP_FRAME(ctx);
    static constexpr char caller[] = "oc_bgp_get_instance_node";
    yfw_xpath_operation query{};
    query.operation = YFW_XPATH_FIND;
    query.tree = tree;
    yfw_strcpy_s(query.caller, sizeof(query.caller), caller, caller);
    yfw_strcpy_s(query.name_space, sizeof(query.name_space), NS_OC_NETWORK_INSTANCE, caller);
    cerrno status = 0;
    if (kind == YFW_NODE_KEY) {
        query.form = YFW_XPATH_RELATIVE;
        yfw_strcpy_s(query.expression, sizeof(query.expression), "/instance-name", caller);
        status = yfw_map_tree_xpath_operations(ctx, &query);
    } else if (kind == YFW_NODE_LIST) {
        query.form = YFW_XPATH_FORMAT;
        ymap_join(query.expression, sizeof(query.expression), {"/bgp/instance[instance-name=", instance, "]/"});
        status = yfw_map_tree_xpath_operations(ctx, &query);
    }
    *found = query.found;
    return status;
}
