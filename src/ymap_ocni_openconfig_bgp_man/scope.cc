// Where a request is: instance, VRF, AS; and the choice between the two forms of a native path.
#include "openconfig.h"

#include <cstdlib>
#include <cstring>

oc_scope oc_read_scope(yfw_map_ctx ctx) {
    oc_scope scope{};
    char *name = nullptr;
    yfw_map_get_node_info(ctx, OC_NETWORK_INSTANCE, "name", &name);
    scope.is_default_vrf = default_vrf_to_lower(name, &scope.vrf);
    yfw_map_get_node_info(ctx, OC_PROTOCOL, "name", &scope.instance);
    return scope;
}

bool oc_as_matches(const oc_as_halves &stored, const char *value) {
    const auto upper = static_cast<uint32_t>(std::strtoul(stored.upper, nullptr, 10));
    const auto lower = static_cast<uint32_t>(std::strtoul(stored.lower, nullptr, 10));
    return (upper << 16U | lower) == static_cast<uint32_t>(std::strtoul(value, nullptr, 10));
}

oc_as_halves oc_stored_as(yfw_map_ctx ctx, char *instance) {
    oc_as_halves stored{};
    char default_vrf[] = "default";
    char no_instance[] = "";
    yfw_oc_bgp_sysdb_vrf_and_as_lookup(ctx, default_vrf, instance == nullptr ? no_instance : instance, stored.upper,
                                       stored.lower);
    return stored;
}

cerrno oc_add(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *path, const char *value,
              const cidl_yfw_datatree *src, int container) {
    return yfw_map_datatree_add_path_flagged(ctx, dst, path, NS_NATIVE_CFG, value, src, nullptr, container, 0);
}

cerrno oc_add_with(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *path, const char *value,
                   const cidl_yfw_datatree *src, int container, uint32_t operation) {
    const uint32_t previous = src->operation;
    ymap_set_operation(src, operation);
    const cerrno status = oc_add(ctx, dst, path, value, src, container);
    ymap_writable(src)->operation = previous;
    return status;
}

bool yfw_map_oc_is_default_vrf_hierarchy(yfw_map_ctx ctx) {
    char *name = nullptr;
    return yfw_map_get_node_info(ctx, OC_NETWORK_INSTANCE, "name", &name) != 0 || is_default_vrf(name);
}

bool yfw_map_oc_is_instance_present(yfw_map_ctx ctx) {
    char *name = nullptr;
    return yfw_map_get_node_info(ctx, OC_NETWORK_INSTANCE, "name", &name) == 0 && name != nullptr;
}

cerrno yfw_map_oc_add_path_flagged(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                                   const char *default_path, const char *vrf_path, const char *value, int container) {
    if (value == nullptr && src != nullptr) {
        value = src->value;
    }
    const bool present = yfw_map_oc_is_instance_present(ctx);
    const bool is_default = yfw_map_oc_is_default_vrf_hierarchy(ctx);
    cerrno status = 0;
    if (default_path != nullptr && (!present || is_default)) {
        status = oc_add(ctx, dst, default_path, value, nullptr, container);
    }
    if (vrf_path != nullptr && (!present || !is_default)) {
        status = oc_add(ctx, dst, vrf_path, value, nullptr, container);
    }
    return status;
}

cerrno yfw_map_oc_add_path_for_1_to_n_cb(yfw_map_ctx ctx, xpath_list_type_t *candidates) {
    if (!yfw_map_oc_is_instance_present(ctx)) {
        candidates[0].selected = 1;
        candidates[1].selected = 1;
        return 0;
    }
    const char *form = yfw_map_oc_is_default_vrf_hierarchy(ctx) ? "default-vrf" : "vrfs/vrf";
    candidates[std::strstr(candidates[0].xpath, form) != nullptr ? 0 : 1].selected = 1;
    return 0;
}

bool yfw_oc_bgp_is_delete_on_vrf_node(yfw_map_ctx ctx) {
    return yfw_map_is_request_delete(yfw_map_get_node(ctx, "/network-instances", "network-instance")) != 0;
}
