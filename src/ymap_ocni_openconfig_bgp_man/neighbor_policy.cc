// Neighbour settings that change how routes are treated. Route-reflector client and private-AS removal are kept
// natively for each address family: they go into every family that the system database has of the neighbour.
#include "workers.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr int not_a_group = 0;

char *neighbor_address(yfw_map_ctx ctx) {
    char *address = nullptr;
    yfw_map_get_node_info(ctx, OC_NEIGHBOR, "neighbor-address", &address);
    return address;
}

// Calls visit with each family of the neighbour; the list's status is the result, or the first failure of a visit.
template <typename Visit>
cerrno each_family(yfw_map_ctx ctx, const char *name, int group, Visit visit) {
    sysdb_list_t *list = nullptr;
    cerrno status = vn_bgp_get_nbr_asafi_list(ctx, name, group, MODE_OC, &list);
    for (const char *family = status == 0 ? sysdb_list_next(list) : nullptr; family != nullptr;
         family = sysdb_list_next(list)) {
        const cerrno visited = visit(family);
        status = status == 0 ? visited : status;
    }
    sysdb_list_free(list);
    return status;
}

cerrno declare_in_families(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *name,
                           int setting) {
    return each_family(ctx, name, not_a_group, [&](const char *family) {
        return oc_bgp_vn_prepare_xpath(ctx, src, dst, not_a_group, family, setting, nullptr);
    });
}

// A family's stored item; the caller releases it.
void *read_item(yfw_map_ctx ctx, const char *name, int group, const char *family, const char *leaf) {
    char families[NBR_PATH_SIZE];
    char path[NBR_PATH_SIZE + 64];
    vn_bgp_nbr_asafi_prepare_sysdb_path(ctx, name, group, families, sizeof(families), MODE_OC);
    std::snprintf(path, sizeof(path), "%s%s%s", families, family, leaf);
    void *item = nullptr;
    yfw_oc_bgp_sysdb_get_data(path, &item, nullptr);
    return item;
}

} // namespace

// ---- Route reflector
// --------------------------------------------------------------------------------------------------

namespace {

cerrno delete_rr_client(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *name) {
    return each_family(ctx, name, not_a_group, [&](const char *family) -> cerrno {
        if (src->operation != YFW_OP_REMOVE) {
            void *item = read_item(ctx, name, not_a_group, family, "ord_g/rr-client");
            const bool configured = item != nullptr && ymap_item_number(item) < 2;
            oc_bgp_free_ptr(item);
            if (!configured) {
                return 0;
            }
        }
        return oc_bgp_vn_prepare_xpath(ctx, src, dst, not_a_group, family, NBR_RR_CLIENT, nullptr);
    });
}

cerrno declare_rr_client(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *name) {
    if (name != nullptr && vn_bgp_show_nbr_cfg(ctx, name, not_a_group, nullptr, NBR_RR_CLIENT, MODE_OC, nullptr) == 1) {
        return declare_in_families(ctx, src, dst, name, NBR_RR_CLIENT);
    }
    return oc_add(ctx, dst,
                  VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor/neighbor-afs/neighbor-af/route-reflector-client",
                  nullptr, nullptr, 0);
}

} // namespace

YMAP_EXPORT cerrno oc_bgp_nbr_rr_client(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const bool carries =
        yfw_map_do_these_match(src->name, "route-reflector-client") != 0 && (src->flags & YFW_NODE_PRESENT) != 0;
    const char *value = carries ? src->value : nullptr;
    const char *name = neighbor_address(ctx);
    if (ymap_is_read(ctx)) {
        return declare_rr_client(ctx, src, dst, name);
    }
    if (!yfw_map_oc_is_default_vrf_hierarchy(ctx)) {
        YMAP_TRACE(frame, "route-reflector-client is not supported inside VRF");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    if (oc_is_delete(ctx, src)) {
        return delete_rr_client(ctx, src, dst, name);
    }
    if (src->operation == YFW_OP_CREATE) {
        ymap_set_operation(src, YFW_OP_NONE);
    }
    if (!oc_is_text(value, "true") && !oc_is_text(value, "false")) {
        return 0;
    }
    return each_family(ctx, name, not_a_group, [&](const char *family) {
        return oc_bgp_vn_prepare_xpath(ctx, src, dst, not_a_group, family, NBR_RR_CLIENT, value);
    });
}

YMAP_EXPORT cerrno oc_bgp_nbr_rr_cluster_id(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
#define VN_CLUSTER VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor/neighbor-cluster-id"
    const bool deletes = oc_is_delete(ctx, src);
    if (!yfw_map_oc_is_default_vrf_hierarchy(ctx)) {
        if (deletes) {
            return 0;
        }
        YMAP_TRACE(frame, "Route-Reflector cluster ID is not supported inside VRF");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    if (deletes) {
        return oc_add(ctx, dst, VN_CLUSTER, nullptr, src, 0);
    }
    char *value = nullptr;
    yfw_map_get_node_info(ctx, OC_NEIGHBOR "/route-reflector/config", "route-reflector-cluster-id", &value);
    const cidl_yfw_datatree *source = ymap_is_read(ctx) ? nullptr : src;
    if (value == nullptr) {
        oc_add(ctx, dst, VN_CLUSTER "/cluster-id-address", nullptr, source, 0);
        return oc_add(ctx, dst, VN_CLUSTER "/cluster-id-number", nullptr, source, 0);
    }
    const bool is_address = std::strchr(value, '.') != nullptr;
    return oc_add(ctx, dst, is_address ? VN_CLUSTER "/cluster-id-address" : VN_CLUSTER "/cluster-id-number", value,
                  source, 0);
#undef VN_CLUSTER
}

// ---- Private AS numbers
// -----------------------------------------------------------------------------------------------

namespace {

// Deletes a family's setting when it is stored as configured.
cerrno oc_bgp_nbr_del_rem_pas_cfg(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                                  const char *name, int group, const char *family, int setting) {
    const bool remove = setting == NBR_REMOVE_PRIVATE_AS;
    void *item = read_item(ctx, name, group, family, remove ? "ord_g/rm-private-as" : "ord_g/rp-private-as");
    if (item == nullptr) {
        return 0;
    }
    int32_t first = 0;
    int32_t second = 0;
    int32_t third = 0;
    const auto *text = static_cast<const char *>(item);
    const uint32_t read =
        remove ? tuple_unpack(text, "%d%d%d", &first, &second, &third) : tuple_unpack(text, "%d%d", &first, &second);
    oc_bgp_free_ptr(item);
    const bool configured = read != UINT32_MAX && first != 0 && (!remove || second != 0);
    return configured ? oc_bgp_vn_prepare_xpath(ctx, src, dst, group, family, setting, nullptr) : 0;
}

// No value counts as replace-all, but for a remove, which takes both.
cerrno oc_bgp_nbr_dlt_rem_pas(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *name,
                              int group, const char *value) {
    const int setting = oc_is_text(value, PRIVATE_AS_REMOVE_ALL) ? NBR_REMOVE_PRIVATE_AS : NBR_REPLACE_PRIVATE_AS;
    return each_family(ctx, name, group, [&](const char *family) {
        if (src->operation != YFW_OP_REMOVE) {
            return oc_bgp_nbr_del_rem_pas_cfg(ctx, src, dst, name, group, family, setting);
        }
        if (value == nullptr) {
            oc_bgp_vn_prepare_xpath(ctx, src, dst, group, family, NBR_REMOVE_PRIVATE_AS, nullptr);
        }
        return oc_bgp_vn_prepare_xpath(ctx, src, dst, group, family, setting, nullptr);
    });
}

cerrno oc_bgp_nbr_edit_rem_pas(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *name,
                               int group, const char *value) {
    if (src->operation < YFW_OP_REPLACE) {
        const bool removes = oc_is_text(value, PRIVATE_AS_REMOVE_ALL);
        const int other = removes ? NBR_REPLACE_PRIVATE_AS : NBR_REMOVE_PRIVATE_AS;
        if (vn_bgp_ordg_have_cfg(ctx, name, group, nullptr, other, MODE_OC) == 1) {
            ymap_set_operation(src, YFW_OP_REMOVE);
            oc_bgp_nbr_dlt_rem_pas(ctx, src, dst, name, group,
                                   removes ? PRIVATE_AS_REPLACE_ALL : PRIVATE_AS_REMOVE_ALL);
        }
    }
    if (src->operation == YFW_OP_REMOVE) {
        ymap_set_operation(src, YFW_OP_NONE);
    }
    if (!oc_is_text(value, PRIVATE_AS_REMOVE_ALL) && !oc_is_text(value, PRIVATE_AS_REPLACE_ALL)) {
        return 0;
    }
    return each_family(ctx, name, group, [&](const char *family) {
        return oc_bgp_vn_prepare_xpath(ctx, src, dst, group, family, NBR_REMOVE_PRIVATE_AS, value);
    });
}

constexpr oc_path family_list = {VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor/neighbor-afs",
                                 VN_VRF "/vrf-neighbors/vrf-neighbor/vrf-neighbor-afs"};
constexpr oc_path family_entry = {VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor/neighbor-afs/neighbor-af",
                                  VN_VRF "/vrf-neighbors/vrf-neighbor/vrf-neighbor-afs/vrf-neighbor-af"};
constexpr oc_path family_remove = {
    VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor/neighbor-afs/neighbor-af/remove-private-as-entire-as-path",
    VN_VRF "/vrf-neighbors/vrf-neighbor/vrf-neighbor-afs/vrf-neighbor-af/remove-private-as-entire-as-path"};
constexpr oc_path family_replace = {
    VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor/neighbor-afs/neighbor-af/replace-private-as",
    VN_VRF "/vrf-neighbors/vrf-neighbor/vrf-neighbor-afs/vrf-neighbor-af/replace-private-as"};

cerrno declare_private_as(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *name) {
    if (name == nullptr) {
        oc_add(ctx, dst, oc_form(ctx, family_list), nullptr, nullptr, 0);
        oc_add(ctx, dst, oc_form(ctx, family_entry), nullptr, nullptr, 1);
        oc_add(ctx, dst, oc_form(ctx, family_remove), nullptr, nullptr, 0);
        return oc_add(ctx, dst, oc_form(ctx, family_replace), nullptr, nullptr, 0);
    }
    if (vn_bgp_show_nbr_cfg(ctx, name, not_a_group, nullptr, NBR_REMOVE_PRIVATE_AS, MODE_OC, nullptr) != 1) {
        return 0;
    }
    return declare_in_families(ctx, src, dst, name, NBR_REMOVE_PRIVATE_AS);
}

} // namespace

YMAP_EXPORT cerrno oc_bgp_nbr_remove_pas(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const char *name = neighbor_address(ctx);
    if (ymap_is_read(ctx)) {
        return declare_private_as(ctx, src, dst, name);
    }
    char *value = nullptr;
    yfw_map_get_node_info(ctx, OC_NEIGHBOR "/config", "remove-private-as", &value);
    return oc_is_delete(ctx, src) ? oc_bgp_nbr_dlt_rem_pas(ctx, src, dst, name, not_a_group, value)
                                  : oc_bgp_nbr_edit_rem_pas(ctx, src, dst, name, not_a_group, value);
}

// ---- Default policies
// -------------------------------------------------------------------------------------------------

namespace {

struct default_policy {
    oc_path path;
    bool declares_value; // a read passes the value on, as groups do
};

cerrno oc_bgp_process_nbr(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                          const default_policy &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    yfw_map_ctx ctx = frame.ctx;
    const char *path = oc_form(ctx, record.path);
    if (ymap_is_read(ctx)) {
        return record.declares_value ? oc_add(ctx, dst, path, src->value, nullptr, 0)
                                     : oc_declare(ctx, src, dst, record.path, 0);
    }
    if (oc_is_delete(ctx, src)) {
        return oc_add(ctx, dst, path, nullptr, src, 0);
    }
    const char *policy = oc_is_text(src->value, "ACCEPT_ROUTE")   ? "accept-route"
                         : oc_is_text(src->value, "REJECT_ROUTE") ? "reject-route"
                                                                  : nullptr;
    if (policy == nullptr) {
        YMAP_ERROR(frame, "Invalid default-route-policy value");
        return ymap_refuse(frame, OCBGP_ERR_BAD_POLICY, nullptr);
    }
    return oc_add(ctx, dst, path, policy, src, 0);
}

} // namespace

YMAP_EXPORT cerrno oc_bgp_nbr_dflt_policy_in(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr default_policy in{VN_NEIGHBOR("/default-routepolicy-in"), false};
    return oc_bgp_process_nbr(frame, src, dst, in);
}

YMAP_EXPORT cerrno oc_bgp_nbr_dflt_policy_out(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr default_policy out{VN_NEIGHBOR("/default-routepolicy-out"), false};
    return oc_bgp_process_nbr(frame, src, dst, out);
}

// Policies are mapped by address family; those of the whole neighbour are taken and left alone.
YMAP_EXPORT cerrno oc_bgp_nbr_import_policy(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return src == nullptr || dst == nullptr ? ymap_refuse_arguments(frame) : 0;
}

YMAP_EXPORT cerrno oc_bgp_nbr_export_policy(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    return src == nullptr || dst == nullptr ? ymap_refuse_arguments(frame) : 0;
}

namespace {

// "true" as "1", "false" as "2".
const char *one_or_two(const cidl_yfw_datatree *node) {
    return oc_is_text(node->value, "true") ? "1" : oc_is_text(node->value, "false") ? "2" : nullptr;
}

} // namespace

YMAP_EXPORT const char *oc_bgp_nbr_gr_helper_to_vn(yfw_map_ctx, const cidl_yfw_datatree *node) {
    return one_or_two(node);
}

YMAP_EXPORT const char *oc_bgp_peer_grp_transport_cfg_mtu_to_vn(yfw_map_ctx, const cidl_yfw_datatree *node) {
    return one_or_two(node);
}
