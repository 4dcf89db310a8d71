// Redistributions in the system database, and the OpenConfig list that they are shown in.
#include "ymap_ocni_openconfig_bgp_man_util.h"
#include "ymap_ocni_openconfig_network_instance_common_man_util.h"

#include <cstdio>

cerrno vn_bgp_prepare_sysdb_path(yfw_map_ctx ctx, const char *family, char *path, std::size_t size) {
    YMAP_FRAME(ctx);
    const oc_table_conn_ctx_t *connection = oc_table_conn_get_ctx(ctx);
    std::snprintf(path, size, "default/0/%s/ord_a/default/gbl/edm/ord_g/%s/ord_r/redistribute/",
                  connection->four_byte_as, family);
    return 0;
}

cerrno vn_bgp_get_src_protocol_list(yfw_map_ctx ctx, const char *family, sysdb_list_t **list) {
    YMAP_FRAME(ctx);
    char path[80];
    vn_bgp_prepare_sysdb_path(ctx, family, path, sizeof(path));
    return ymap_sysdb_list(path, list);
}

cidl_yfw_datatree *vn_bgp_search_or_add_list_oc_gb_table_conn(yfw_map_ctx ctx, cidl_yfw_datatree *tree,
                                                              const char *source, const char *destination,
                                                              const char *family) {
    YMAP_FRAME(ctx);
    cidl_yfw_datatree *instance = nullptr;
    if (yfw_map_search_list(ctx, tree, &instance, OC_NETWORK_INSTANCE, "DEFAULT", "name", NS_OC_NETWORK_INSTANCE) !=
            0 ||
        instance == nullptr) {
        yfw_oc_error_path(ctx);
        return nullptr;
    }
    yfw_map_update_ctx_current_list_ptr(ctx, instance);
    const char *const values[] = {source, destination, family};
    const char *const names[] = {"src-protocol", "dst-protocol", "address-family"};
    const char *const name_spaces[] = {NS_OC_POLICY_TYPES, NS_OC_POLICY_TYPES, NS_OC_TYPES};
    cidl_yfw_datatree *connection = nullptr;
    const cerrno status = yfw_map_ocni_bgp_search_or_add_subtree_list_multi_keys2(
        ctx, instance, &connection, OC_NETWORK_INSTANCE, "table-connections/table-connection", 3, values, names,
        name_spaces, NS_OC_NETWORK_INSTANCE);
    if (status != 0 || connection == nullptr) {
        return nullptr;
    }
    yfw_map_update_ctx_current_list_ptr(ctx, connection);
    return connection;
}
