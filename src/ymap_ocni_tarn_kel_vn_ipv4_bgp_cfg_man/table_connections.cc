// Native redistributions of the default VRF as OpenConfig table connections into BGP.
#include "native.h"

#define OC_TABLE_CONNECTION OC_NETWORK_INSTANCE "/table-connections/table-connection"

namespace {

constexpr uint32_t trimmed_prefix_flag = 32;
const char sources[][PROTO_TEXT_SIZE] = {"connected-routes", "static-routes", "ospf-route", "isis-route"};

bool is_source(const char *name) {
    for (const char *source : sources) {
        if (yfw_map_do_these_match(name, source) != 0) {
            return true;
        }
    }
    return false;
}

// The value of a node's leaf that is present; null when none is.
const char *present_leaf(const cidl_yfw_datatree *node, const char *name) {
    const char *value = nullptr;
    for (const cidl_yfw_datatree *leaf = node->first_child; leaf != nullptr; leaf = leaf->next_sibling) {
        if (yfw_map_do_these_match(leaf->name, name) != 0 && (leaf->flags & YFW_NODE_PRESENT) != 0) {
            value = leaf->value;
        }
    }
    return value;
}

struct connection_leaf {
    const char *config;
    const char *state;
    const char *value;      // null: the leaf is left out
    const char *name_space; // of an identity; null for other values
};

#define CONNECTION_LEAF(name) OC_TABLE_CONNECTION "/config/" name, OC_TABLE_CONNECTION "/state/" name

void write_leaf(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *path, const connection_leaf &leaf) {
    cidl_yfw_datatree *added = nullptr;
    yfw_map_datatree_add_path_flagged(ctx, dst, path, NS_OC_NETWORK_INSTANCE, leaf.value, nullptr, &added, 0,
                                      trimmed_prefix_flag);
    if (added != nullptr && leaf.name_space != nullptr &&
        yfw_map_do_these_match(added->name_space, leaf.name_space) == 0) {
        ymap_replace_name_space(added, leaf.name_space, "YFW OCNI BGP NS");
    }
}

} // namespace

YMAP_EXPORT cidl_yfw_datatree *vn_bgp_search_or_add_list_oc_table_conn(yfw_map_ctx ctx, cidl_yfw_datatree *dst,
                                                                       const char *protocol, const char *family,
                                                                       const char *metric, const char *policy) {
    YMAP_FRAME(ctx);
    cidl_yfw_datatree *entry = vn_bgp_search_or_add_list_oc_gb_table_conn(ctx, dst, protocol, "BGP", family);
    if (entry == nullptr) {
        return nullptr;
    }
    yfw_map_set_trim_path_list_ctx(ctx, OC_TABLE_CONNECTION);
    const connection_leaf leaves[] = {
        {CONNECTION_LEAF("src-protocol"), protocol, NS_OC_POLICY_TYPES},
        {CONNECTION_LEAF("dst-protocol"), "BGP", NS_OC_POLICY_TYPES},
        {CONNECTION_LEAF("address-family"), family, NS_OC_TYPES},
        {CONNECTION_LEAF("import-policy"), policy, nullptr},
        // Any default metric, whatever its value, takes the place of the propagated one.
        {CONNECTION_LEAF("disable-metric-propagation"), metric == nullptr ? nullptr : "true", nullptr},
    };
    for (const connection_leaf &leaf : leaves) {
        if (leaf.value != nullptr && !ymap_config_unwanted(ctx)) {
            write_leaf(ctx, dst, leaf.config, leaf);
        }
    }
    for (const connection_leaf &leaf : leaves) {
        if (leaf.value != nullptr && ymap_request_kind(ctx) == YFW_KIND_READ_STATE) {
            write_leaf(ctx, dst, leaf.state, leaf);
        }
    }
    yfw_map_free_trim_path_list_ctx(ctx);
    return entry;
}

YMAP_EXPORT cerrno vn_oc_bgp_table_conn_list(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    char protocol[PROTO_TEXT_SIZE];
    ymap_join(protocol, sizeof(protocol), {src->name});
    if (!is_source(protocol)) {
        return 0;
    }
    const char *policy = present_leaf(src, "route-policy-name");
    const char *metric = present_leaf(src, "default-metric");
    const char *native_family = vn_leaf(ctx, VN_DEFAULT_VRF "/global/global-afs/global-af", "af-name");
    char family[AF_TEXT_SIZE];
    ymap_join(family, sizeof(family), {native_family});
    ymap_convert_af_proto_VN_2_OC(family, protocol);
    // What comes of it has been logged there and is not passed up: meant so.
    vn_bgp_search_or_add_list_oc_table_conn(ctx, dst, protocol, family, metric, policy);
    return 0;
}

YMAP_EXPORT cerrno vn_oc_bgp_table_conn_list_1(yfw_map_ctx ctx, const cidl_yfw_datatree *src, unsigned int,
                                               cidl_yfw_datatree *dst) {
    return vn_oc_bgp_table_conn_list(ctx, src, dst);
}

YMAP_EXPORT cerrno vn_oc_bgp_table_conn_list_2(void) {
    return 0;
}
