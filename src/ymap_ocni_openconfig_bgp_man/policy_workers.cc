// Workers of the settings that change how routes are treated, shared by neighbours and groups. Route-reflector client
// and private-AS removal are kept natively for each address family: they go into every family that the system database
// has.
#include "workers.h"

#include <cstring>

namespace {

// Calls visit with the path of the families and each family; the list's status is the result, or the first failure of a
// visit. Without any family there is nothing that could have failed.
template <typename Visit>
cerrno each_family(yfw_map_ctx ctx, const char *name, int group, Visit visit) {
    char families[NBR_PATH_SIZE];
    vn_bgp_nbr_asafi_prepare_sysdb_path(ctx, name, group, families, sizeof(families), MODE_OC);
    sysdb_list_t *list = nullptr;
    cerrno status = vn_bgp_get_nbr_asafi_list(ctx, name, group, MODE_OC, &list);
    bool any = false;
    for (const char *family = sysdb_list_next(list); family != nullptr; family = sysdb_list_next(list)) {
        const cerrno visited = visit(families, family);
        status = status == 0 ? visited : status;
        any = true;
    }
    sysdb_list_free(list);
    return any ? status : 0;
}

// What a read of a setting that all families agree on declares: of a neighbour every family, of a group the one that
// the answer comes from. Not agreed on: nothing. agreed tells which.
cerrno declare_agreed(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *name,
                      int group, int setting, bool *agreed) {
    char reported[AF_TEXT_SIZE] = "";
    *agreed = vn_bgp_show_nbr_cfg(ctx, name, group, reported, setting, MODE_OC, nullptr) == 1;
    if (!*agreed) {
        return 0;
    }
    if (group != 0) {
        return oc_bgp_vn_prepare_xpath(ctx, src, dst, group, reported, setting, nullptr);
    }
    return each_family(ctx, name, group, [&](const char *, const char *family) {
        return oc_bgp_vn_prepare_xpath(ctx, src, dst, group, family, setting, nullptr);
    });
}

cerrno declare_rr_client(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                         const oc_family_setting &record, const char *name) {
    bool agreed = false;
    const cerrno status =
        name == nullptr ? 0 : declare_agreed(ctx, src, dst, name, record.group, NBR_RR_CLIENT, &agreed);
    if (agreed || (name != nullptr && record.group != 0)) {
        return status;
    }
    return oc_add(ctx, dst, record.reflector.default_vrf, nullptr, nullptr, 0);
}

cerrno delete_rr_client(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *name,
                        int group) {
    return each_family(ctx, name, group, [&](const char *families, const char *family) -> cerrno {
        uint32_t value = 0;
        const bool goes = src->operation == YFW_OP_REMOVE || ymap_has_rr_client(families, family, &value);
        return goes ? oc_bgp_vn_prepare_xpath(ctx, src, dst, group, family, NBR_RR_CLIENT, nullptr) : 0;
    });
}

} // namespace

cerrno oc_map_rr_client(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                        const oc_family_setting &record, const char *name, const char *value) {
    yfw_map_ctx ctx = frame.ctx;
    if (ymap_is_read(ctx)) {
        return declare_rr_client(ctx, src, dst, record, name);
    }
    if (!yfw_map_oc_is_default_vrf_hierarchy(ctx)) {
        YMAP_TRACE(frame, "route-reflector-client is not supported inside VRF");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    if (oc_is_delete(ctx, src)) {
        return delete_rr_client(ctx, src, dst, name, record.group);
    }
    if (src->operation == YFW_OP_CREATE) {
        ymap_set_operation(src, YFW_OP_NONE);
    }
    if (!oc_is_text(value, "true") && !oc_is_text(value, "false")) {
        return 0;
    }
    return each_family(ctx, name, record.group, [&](const char *, const char *family) {
        return oc_bgp_vn_prepare_xpath(ctx, src, dst, record.group, family, NBR_RR_CLIENT, value);
    });
}

namespace {

// Deletes a family's setting when it is stored as configured.
cerrno oc_bgp_nbr_del_rem_pas_cfg(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                                  const char *families, int group, const char *family, int setting) {
    return ymap_read_private_as(families, family, setting).configured
               ? oc_bgp_vn_prepare_xpath(ctx, src, dst, group, family, setting, nullptr)
               : 0;
}

// No value counts as replace-all, but for a remove, which takes both.
cerrno oc_bgp_nbr_dlt_rem_pas(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *name,
                              int group, const char *value) {
    const int setting = oc_is_text(value, PRIVATE_AS_REMOVE_ALL) ? NBR_REMOVE_PRIVATE_AS : NBR_REPLACE_PRIVATE_AS;
    return each_family(ctx, name, group, [&](const char *families, const char *family) {
        if (src->operation != YFW_OP_REMOVE) {
            return oc_bgp_nbr_del_rem_pas_cfg(ctx, src, dst, families, group, family, setting);
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
    return each_family(ctx, name, group, [&](const char *, const char *family) {
        return oc_bgp_vn_prepare_xpath(ctx, src, dst, group, family, NBR_REMOVE_PRIVATE_AS, value);
    });
}

cerrno declare_private_as(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                          const oc_family_setting &record, const char *name) {
    bool agreed = false;
    if (name != nullptr) {
        return declare_agreed(ctx, src, dst, name, record.group, NBR_REMOVE_PRIVATE_AS, &agreed);
    }
    const int group = record.group == 0 ? 0 : 1;
    oc_add(ctx, dst, oc_form(ctx, record.list), nullptr, nullptr, group);
    oc_add(ctx, dst, oc_form(ctx, record.entry), nullptr, nullptr, 1);
    oc_add(ctx, dst, oc_form(ctx, record.remove), nullptr, nullptr, 0);
    return oc_add(ctx, dst, oc_form(ctx, record.replace), nullptr, nullptr, 0);
}

} // namespace

cerrno oc_map_private_as(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                         const oc_family_setting &record, const char *name, const char *value) {
    yfw_map_ctx ctx = frame.ctx;
    if (ymap_is_read(ctx)) {
        return declare_private_as(ctx, src, dst, record, name);
    }
    return oc_is_delete(ctx, src) ? oc_bgp_nbr_dlt_rem_pas(ctx, src, dst, name, record.group, value)
                                  : oc_bgp_nbr_edit_rem_pas(ctx, src, dst, name, record.group, value);
}

namespace {

cerrno write_cluster_id(yfw_map_ctx ctx, const cidl_yfw_datatree *source, cidl_yfw_datatree *dst,
                        const oc_cluster_id &record, const char *value) {
    const char *address = record.address.default_vrf;
    const char *number = record.number.default_vrf;
    if (value != nullptr) {
        return oc_add(ctx, dst, std::strchr(value, '.') != nullptr ? address : number, value, source, 0);
    }
    if (record.group == 0) {
        oc_add(ctx, dst, address, nullptr, source, 0);
        return oc_add(ctx, dst, number, nullptr, source, 0);
    }
    if (source != nullptr) {
        return 0;
    }
    oc_add(ctx, dst, number, nullptr, nullptr, 0);
    return oc_add(ctx, dst, address, nullptr, nullptr, 0);
}

} // namespace

cerrno oc_map_cluster_id(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                         const oc_cluster_id &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    yfw_map_ctx ctx = frame.ctx;
    const bool deletes = oc_is_delete(ctx, src);
    if (record.group == 0 && !yfw_map_oc_is_default_vrf_hierarchy(ctx)) {
        if (deletes) {
            return 0;
        }
        YMAP_TRACE(frame, "Route-Reflector cluster ID is not supported inside VRF");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    if (deletes) {
        return oc_add(ctx, dst, record.container.default_vrf, nullptr, src, 0);
    }
    char *value = nullptr;
    yfw_map_get_node_info(ctx, record.openconfig, "route-reflector-cluster-id", &value);
    return write_cluster_id(ctx, ymap_is_read(ctx) ? nullptr : src, dst, record, value);
}

cerrno oc_bgp_process_nbr(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                          const oc_path &policy) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    yfw_map_ctx ctx = frame.ctx;
    const char *path = oc_form(ctx, policy);
    if (ymap_is_read(ctx)) {
        return oc_declare(ctx, src, dst, policy, 0);
    }
    if (oc_is_delete(ctx, src)) {
        return oc_add(ctx, dst, path, nullptr, src, 0);
    }
    const char *value = oc_is_text(src->value, "ACCEPT_ROUTE")   ? "accept-route"
                        : oc_is_text(src->value, "REJECT_ROUTE") ? "reject-route"
                                                                 : nullptr;
    if (value == nullptr) {
        YMAP_ERROR(frame, "Invalid default-route-policy value");
        return ymap_refuse(frame, OCBGP_ERR_BAD_POLICY, nullptr);
    }
    return oc_add(ctx, dst, path, value, src, 0);
}
