// Searches and additions in data trees.
#include "ymap_ocni_openconfig_bgp_man_util.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr uint32_t most_keys = 10;
constexpr uint32_t trimmed_prefix_flag = 32;
const char search_tag[] = "YFW MAP search list";
const char trim_tag[] = "YFW MAP trim list ctx";

// "prefix/path", or the path alone; null when memory is short. Released with vnos_named_free.
char *join_path(const char *prefix, const char *path) {
    const std::size_t size = (prefix == nullptr ? 0 : std::strlen(prefix) + 1) + std::strlen(path) + 1;
    auto *full = static_cast<char *>(vnos_named_calloc_(1, size, search_tag, 0));
    if (full != nullptr) {
        std::snprintf(full, size, "%s%s%s", prefix == nullptr ? "" : prefix, prefix == nullptr ? "" : "/", path);
    }
    return full;
}

cerrno add_key(yfw_map_ctx ctx, cidl_yfw_datatree *tree, const char *list, const char *name, const char *value,
               const char *key_name_space, const char *name_space, uint32_t flags) {
    char *path = join_path(list, name);
    if (path == nullptr) {
        return OCBGP_ERR_NO_RESOURCE;
    }
    cidl_yfw_datatree *key = nullptr;
    const cerrno status =
        yfw_map_datatree_add_path_flagged(ctx, tree, path, name_space, value, nullptr, &key, 0, flags);
    vnos_named_free(path);
    const bool differs = key != nullptr && key_name_space != nullptr &&
                         (key->name_space == nullptr || std::strcmp(key->name_space, key_name_space) != 0);
    const bool lost = differs && !ymap_replace_name_space(key, key_name_space, "YFW OCNI NS");
    return lost ? static_cast<cerrno>(OCBGP_ERR_NO_RESOURCE) : status;
}

} // namespace

bool ymap_replace_name_space(cidl_yfw_datatree *node, const char *name_space, const char *tag) {
    char *copy = yfw_strdup(name_space, tag);
    if (copy == nullptr) {
        return false;
    }
    if ((node->flags & YFW_NODE_NS_SET) != 0) {
        vnos_named_free(node->name_space);
    }
    node->name_space = copy;
    node->flags |= YFW_NODE_NS_SET;
    return true;
}

const cidl_yfw_datatree *vn_bgp_search_instance(yfw_map_ctx ctx, const cidl_yfw_datatree *tree) {
    YMAP_FRAME_SILENT(ctx);
    char *instance = nullptr;
    yfw_map_get_node_info(ctx, VN_INSTANCE, "instance-name", &instance);
    if (instance == nullptr) {
        YMAP_ERROR(frame, "Missing bgp instance name");
        yfw_oc_error_path(ctx);
        return nullptr;
    }
    cidl_yfw_datatree *entry = nullptr;
    const cerrno found = yfw_map_search_list(ctx, ymap_writable(tree), &entry, OC_NETWORK_INSTANCE, "DEFAULT", "name",
                                             NS_OC_NETWORK_INSTANCE);
    if (found != 0 || entry == nullptr) {
        YMAP_ERROR(frame, "vrf not found");
        yfw_oc_error_path(ctx);
        return nullptr;
    }
    yfw_map_update_ctx_current_list_ptr(ctx, entry);
    const char *const values[] = {"BGP", instance};
    const char *const names[] = {"identifier", "name"};
    cidl_yfw_datatree *protocol = nullptr;
    if (yfw_map_search_list_multi_keys(ctx, ymap_writable(tree), &protocol, OC_PROTOCOL, 2, values, names,
                                       NS_OC_NETWORK_INSTANCE) != 0 ||
        protocol == nullptr) {
        return nullptr;
    }
    yfw_map_update_ctx_current_list_ptr(ctx, protocol);
    return protocol;
}

void vn_bgp_set_type_ns(cidl_yfw_datatree *node, const char *name_space) {
    if (node == nullptr ||
        (node->name_space != nullptr && std::strncmp(node->name_space, name_space, std::strlen(name_space)) == 0)) {
        return;
    }
    ymap_replace_name_space(node, name_space, "YFW OCNI BGP NS");
}

bool yfw_map_ocbgpni_is_parent_state_node(yfw_map_ctx ctx) {
    const yfw_req_ctx *request = ctx->req_ctx;
    return request->path_depth > 0 && yfw_map_do_these_match(request->path[request->path_depth - 1].name, "state") != 0;
}

void oc_bgp_turnoff_del_expansion(yfw_map_ctx ctx, const cidl_yfw_datatree *node, uint32_t *saved) {
    const oc_bgp_ctx_t *block = oc_bgp_get_bgp_ctx(ctx);
    if (node != nullptr && saved != nullptr && yfw_map_is_request_delete(node) != 0 &&
        block->instance_name[0] != '\0' && ctx->req_ctx->del_expansion_mode != YFW_EXPAND_OFF) {
        *saved = ctx->req_ctx->del_expansion_mode;
        ctx->req_ctx->del_expansion_mode = YFW_EXPAND_OFF;
    }
}

void oc_bgp_restore_saved_del_expansion(yfw_map_ctx ctx, const cidl_yfw_datatree *node, uint32_t saved) {
    if (node != nullptr && yfw_map_is_request_delete(node) != 0 && saved != YFW_EXPAND_OFF) {
        ctx->req_ctx->del_expansion_mode = saved;
    }
}

cerrno oc_bgp_do_nothing(yfw_map_ctx ctx, const cidl_yfw_datatree *, cidl_yfw_datatree *) {
    YMAP_FRAME_END_ONLY(ctx);
    return 0;
}

cerrno yfw_map_ocni_bgp_search_or_add_subtree_list_multi_keys2(
    yfw_map_ctx ctx, cidl_yfw_datatree *tree, cidl_yfw_datatree **entry, const char *prefix, const char *list_path,
    uint32_t count, const char *const *key_values, const char *const *key_names, const char *const *key_name_spaces,
    const char *name_space) {
    yfw_oc_error_path(ctx);
    if (count > most_keys) {
        return OCBGP_ERR_NO_RESOURCE;
    }
    const cerrno found =
        yfw_map_search_list_multi_keys(ctx, tree, entry, list_path, count, key_values, key_names, name_space);
    if (found == 0 && *entry != nullptr) {
        const bool matches = name_space == nullptr || yfw_map_do_these_match((*entry)->name_space, name_space) != 0;
        return matches ? 0 : static_cast<cerrno>(OCBGP_ERR_NO_RESOURCE);
    }
    char *full = join_path(prefix, list_path);
    if (full == nullptr) {
        return OCBGP_ERR_NO_RESOURCE;
    }
    const uint32_t flags = prefix == nullptr ? 0 : trimmed_prefix_flag;
    if (prefix != nullptr) {
        yfw_map_copy_trim_path_list_ctx(ctx, prefix);
    }
    cerrno status = yfw_map_datatree_add_path_flagged(ctx, tree, full, name_space, nullptr, nullptr, entry, 1, flags);
    // The last add's status, but none of the failures on the way is lost.
    for (uint32_t key = 0; key < count && status == 0; ++key) {
        status = add_key(ctx, tree, full, key_names[key], key_values[key],
                         key_name_spaces == nullptr ? nullptr : key_name_spaces[key], name_space, flags);
    }
    vnos_named_free(full);
    if (prefix != nullptr) {
        yfw_map_free_trim_path_list_ctx(ctx);
    }
    return status;
}

cidl_yfw_datatree *oc_bgp_find_node_in_subtree(yfw_map_ctx ctx, const cidl_yfw_datatree *tree, const char *argument,
                                               const char *expression, uint32_t form) {
    yfw_xpath_operation query{};
    query.operation = YFW_XPATH_FIND;
    query.form = form;
    query.tree = ymap_writable(tree);
    yfw_strcpy_s(query.caller, sizeof(query.caller), "oc_bgp_find_node_in_subtree", "oc_bgp_find_node_in_subtree");
    yfw_strcpy_s(query.name_space, sizeof(query.name_space), NS_OC_NETWORK_INSTANCE, "oc_bgp_find_node_in_subtree");
    if (form == YFW_XPATH_FORMAT) {
        // The one format of the plug-in that is not a literal: the caller gives it with the form.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        std::snprintf(query.expression, sizeof(query.expression), expression, argument);
#pragma GCC diagnostic pop
    } else if (form == YFW_XPATH_AS_IS || form == YFW_XPATH_RELATIVE) {
        yfw_strcpy_s(query.expression, sizeof(query.expression), expression, "oc_bgp_find_node_in_subtree");
    }
    yfw_map_tree_xpath_operations(ctx, &query);
    return query.found;
}

cerrno yfw_map_set_trim_path_list_ctx(yfw_map_ctx ctx, const char *prefix) {
    if (ctx == nullptr) {
        return OCBGP_ERR_NO_RESOURCE;
    }
    if (ctx->req_ctx->trim_path != nullptr) {
        yfw_map_free_trim_path_list_ctx(ctx);
    }
    const std::size_t size = std::strlen(prefix) + 1;
    auto *copy = static_cast<char *>(vnos_named_calloc_(1, size, trim_tag, 0));
    ctx->req_ctx->trim_path = copy;
    if (copy == nullptr || yfw_strcpy_s(copy, size, prefix, "yfw_map_set_trim_path_list_ctx") != 0) {
        return OCBGP_ERR_NO_RESOURCE;
    }
    return 0;
}
