// The per-family settings of a neighbour or group: their native paths, and what a request says of them.
#include "ymap_ocni_openconfig_bgp_man_util.h"

#include <cstring>

namespace {

struct family_paths {
    const char *entry;
    const char *name;
    const char *rr_client;
    const char *remove;
    const char *remove_enable;
    const char *remove_entire;
    const char *remove_internal;
    const char *replace;
    const char *replace_enable;
    const char *replace_internal;
};

#define REMOVE_PATH "/remove-private-as-entire-as-path"
#define REPLACE_PATH "/replace-private-as"
#define FAMILY_PATHS(entry)                                                                                            \
    {                                                                                                                  \
        entry, entry "/af-name", entry "/route-reflector-client", entry REMOVE_PATH, entry REMOVE_PATH "/enable",      \
            entry REMOVE_PATH "/entire", entry REMOVE_PATH "/internal", entry REPLACE_PATH,                            \
            entry REPLACE_PATH "/enable", entry REPLACE_PATH "/internal"                                               \
    }

constexpr family_paths neighbor_paths =
    FAMILY_PATHS(VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor/neighbor-afs/neighbor-af");
constexpr family_paths vrf_neighbor_paths =
    FAMILY_PATHS(VN_VRF "/vrf-neighbors/vrf-neighbor/vrf-neighbor-afs/vrf-neighbor-af");
constexpr family_paths group_paths =
    FAMILY_PATHS(VN_DEFAULT_VRF "/bgp-entity/neighbor-groups/neighbor-group/neighbor-group-afs/neighbor-group-af");

struct adder {
    yfw_map_ctx ctx;
    cidl_yfw_datatree *dst;
    const cidl_yfw_datatree *src;

    cerrno add(const char *path, const char *value) const {
        return yfw_map_datatree_add_path_flagged(ctx, dst, path, NS_NATIVE_CFG, value, src, nullptr, 0, 0);
    }
};

cerrno declare_or_delete(const adder &native, const family_paths &paths, int setting, bool is_read) {
    switch (setting) {
    case NBR_RR_CLIENT:
        return native.add(paths.rr_client, nullptr);
    case NBR_REMOVE_PRIVATE_AS:
    case NBR_REPLACE_PRIVATE_AS:
        if (is_read) {
            native.add(paths.remove, nullptr);
            return native.add(paths.replace, nullptr);
        }
        return native.add(setting == NBR_REMOVE_PRIVATE_AS ? paths.remove : paths.replace, nullptr);
    default:
        return 0;
    }
}

cerrno write_setting(const adder &native, const family_paths &paths, int setting, const char *value) {
    cerrno status = 0;
    if (setting == NBR_RR_CLIENT) {
        status = native.add(paths.rr_client, value);
    }
    if (yfw_map_do_these_match(value, PRIVATE_AS_REMOVE_ALL) != 0) {
        native.add(paths.remove_enable, "true");
        native.add(paths.remove_entire, "true");
        status = native.add(paths.remove_internal, "false");
    }
    if (yfw_map_do_these_match(value, PRIVATE_AS_REPLACE_ALL) != 0) {
        native.add(paths.replace_enable, "true");
        status = native.add(paths.replace_internal, "false");
    }
    return status;
}

} // namespace

cerrno oc_bgp_vn_prepare_xpath(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, int group,
                               const char *family, int setting, const char *value) {
    YMAP_FRAME(ctx);
    char name[AF_TEXT_SIZE];
    ymap_join(name, sizeof(name), {family});
    ymap_convert_af_sysdb_2_VN(name);
    const bool is_default = yfw_map_oc_is_default_vrf_hierarchy(ctx);
    const family_paths &paths = !is_default ? vrf_neighbor_paths : group != 0 ? group_paths : neighbor_paths;
    yfw_map_datatree_add_path_flagged(ctx, dst, paths.entry, NS_NATIVE_CFG, nullptr, nullptr, nullptr, 1, 0);
    yfw_map_datatree_add_path_flagged(ctx, dst, paths.name, NS_NATIVE_CFG, name, nullptr, nullptr, 0, 0);
    const adder native{ctx, dst, src};
    const bool is_read = ymap_is_read(ctx);
    if (is_read || yfw_map_is_request_delete(src) != 0) {
        return declare_or_delete(native, paths, setting, is_read);
    }
    return write_setting(native, paths, setting, value);
}

namespace {

const cidl_yfw_datatree *child_named(const cidl_yfw_datatree *parent, const char *name) {
    const cidl_yfw_datatree *node = parent == nullptr ? nullptr : parent->first_child;
    while (node != nullptr && (node->name == nullptr || std::strcmp(node->name, name) != 0)) {
        node = node->next_sibling;
    }
    return node;
}

bool is_present(const cidl_yfw_datatree *node) {
    return node != nullptr && (node->flags & YFW_NODE_PRESENT) != 0;
}

// The entry that the request is in, when it is the one named: searching them all for each family of each neighbour
// would cost their square.
const cidl_yfw_datatree *current_entry(yfw_map_ctx ctx, const char *name, bool group) {
    const cidl_yfw_datatree *key =
        yfw_map_get_node(ctx, group ? OC_PROTOCOL "/bgp/peer-groups/peer-group" : OC_PROTOCOL "/bgp/neighbors/neighbor",
                         group ? "peer-group-name" : "neighbor-address");
    return is_present(key) && name != nullptr && yfw_map_do_these_match(key->value, name) != 0 ? key->parent : nullptr;
}

// The leaf of a setting in an entry, or null.
const cidl_yfw_datatree *setting_leaf(const cidl_yfw_datatree *entry, bool reflector) {
    const cidl_yfw_datatree *container = child_named(entry, reflector ? "route-reflector" : "config");
    if (reflector) {
        container = child_named(container, "config");
    }
    return child_named(container, reflector ? "route-reflector-client" : "remove-private-as");
}

} // namespace

cerrno bgp_prepare_xpath_for_nbr_asafi(yfw_map_ctx ctx, const cidl_yfw_datatree *, cidl_yfw_datatree *, char *name,
                                       int group, const char **value, int *is_delete, char *setting) {
    YMAP_FRAME(ctx);
    const bool reflector = yfw_map_do_these_match(setting, "route-reflector") != 0;
    const cidl_yfw_datatree *current = current_entry(ctx, name, group != 0);
    const cidl_yfw_datatree *bgp = current == nullptr ? yfw_map_get_node(ctx, OC_PROTOCOL, "bgp") : nullptr;
    const cidl_yfw_datatree *list = child_named(bgp, group != 0 ? "peer-groups" : "neighbors");
    const cidl_yfw_datatree *entry = current != nullptr ? current : list == nullptr ? nullptr : list->first_child;
    for (; entry != nullptr; entry = current != nullptr ? nullptr : entry->next_sibling) {
        if (entry->name == nullptr) {
            YMAP_TRACE(frame, "No tag is available");
            return 0;
        }
        const cidl_yfw_datatree *key = child_named(entry, group != 0 ? "peer-group-name" : "neighbor-address");
        if (is_present(key) && name != nullptr && yfw_map_do_these_match(key->value, name) == 0) {
            continue;
        }
        const cidl_yfw_datatree *leaf = setting_leaf(entry, reflector);
        if (leaf != nullptr && yfw_map_is_request_delete(leaf) != 0) {
            *is_delete = 1;
        }
        if (is_present(leaf)) {
            *value = leaf->value;
            break;
        }
    }
    return 0;
}

cerrno bgp_oc_chk_if_rpc_has_nbr_rrc_rpa(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                                         char *name, int group, char *rr_value, int *rr_client, char *private_as_value,
                                         int *remove, int *replace, int *is_delete) {
    YMAP_FRAME(ctx);
    constexpr std::size_t value_size = 8; // a private-AS value is cut to "PRIVATE": it always was
    char reflector[] = "route-reflector";
    char private_as[] = "remove-private-as";
    const char *value = nullptr;
    bgp_prepare_xpath_for_nbr_asafi(ctx, src, dst, name, group, &value, is_delete, reflector);
    if (value != nullptr) {
        ymap_join(rr_value, value_size, {value});
        *rr_client = 1;
    }
    value = nullptr;
    bgp_prepare_xpath_for_nbr_asafi(ctx, nullptr, nullptr, name, group, &value, is_delete, private_as);
    if (value != nullptr) {
        ymap_join(private_as_value, value_size, {value});
        *remove = yfw_map_do_these_match(value, PRIVATE_AS_REMOVE_ALL) != 0 ? 1 : *remove;
        *replace = yfw_map_do_these_match(value, PRIVATE_AS_REPLACE_ALL) != 0 ? 1 : *replace;
    }
    return 0;
}
