#include "native.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

cerrno vn_write(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *path, const char *value, uint32_t flag) {
    if (ymap_config_unwanted(ctx)) {
        return 0;
    }
    return yfw_map_datatree_add_path(ctx, dst, path, NS_OC_NETWORK_INSTANCE, value, nullptr, 0, flag);
}

char *vn_leaf(yfw_map_ctx ctx, const char *container, const char *leaf) {
    char *value = nullptr;
    yfw_map_get_node_info(ctx, container, leaf, &value);
    return value;
}

bool vn_node_is(const cidl_yfw_datatree *node, const char *name) {
    return yfw_map_do_these_match(node->name, name) != 0;
}

void vn_join_as(uint32_t upper, uint32_t lower, char (&text)[AS_TEXT_SIZE]) {
    std::snprintf(text, sizeof(text), "%u", upper << 16U | lower);
}

uint32_t vn_number(const char *text) {
    return static_cast<uint32_t>(std::strtoul(text, nullptr, 10));
}

cerrno vn_map_leaf(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                   const vn_leaf_record &record) {
    if (record.check_arguments && (src == nullptr || dst == nullptr)) {
        return ymap_refuse_arguments(frame);
    }
    return vn_write(frame.ctx, dst, record.leaf, record.value != nullptr ? record.value : src->value, record.flag);
}

cerrno vn_map_family(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *list,
                     const vn_family_record &record) {
    yfw_map_ctx ctx = frame.ctx;
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const char *identity = vn_bgp_afisafi_to_oc_bgp_afisafi(ctx, nullptr, nullptr, list);
    if (identity == nullptr) {
        return OCBGP_SKIP_SUBTREE;
    }
    yfw_map_datatree_add_path(ctx, dst, record.entry, NS_OC_NETWORK_INSTANCE, nullptr, nullptr, 0, 1);
    cidl_yfw_datatree *added = nullptr;
    cerrno status = yfw_map_datatree_add_path(ctx, dst, record.name, NS_OC_NETWORK_INSTANCE, identity, &added, 0, 0);
    vn_bgp_set_type_ns(added, NS_OC_BGP_TYPES);
    if (!ymap_config_unwanted(ctx)) {
        status =
            yfw_map_datatree_add_path(ctx, dst, record.config_name, NS_OC_NETWORK_INSTANCE, identity, &added, 0, 0);
        vn_bgp_set_type_ns(added, NS_OC_BGP_TYPES);
    }
    return status;
}

cerrno vn_write_in_container(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                             const char *container, const char *suffix) {
    char path[255];
    ymap_join(path, sizeof(path), {container, suffix});
    return vn_write(ctx, dst, path, src->value, 0);
}

cerrno vn_map_limit(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, char *family,
                    const vn_limit_record &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const char *container = nullptr;
    if (const cerrno status = record.find(frame.ctx, family, &container); status != 0) {
        YMAP_ERROR(frame, "%s", record.message);
        return status;
    }
    return vn_write_in_container(frame.ctx, src, dst, container, record.suffix);
}
