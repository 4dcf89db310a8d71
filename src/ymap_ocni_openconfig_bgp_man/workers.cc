#include "workers.h"

#include <cstring>

cerrno oc_declare(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const oc_path &path,
                  int container) {
    if (path.read == by_vrf) {
        return yfw_map_oc_add_path_flagged(ctx, src, dst, path.default_vrf, path.vrf, "", container);
    }
    return oc_add(ctx, dst, path.default_vrf, path.read == with_value ? src->value : nullptr, nullptr, container);
}

bool oc_is_text(const char *value, const char *text) {
    return value != nullptr && std::strcmp(value, text) == 0;
}

const char *oc_form(yfw_map_ctx ctx, const oc_path &path) {
    return yfw_map_oc_is_default_vrf_hierarchy(ctx) ? path.default_vrf : path.vrf;
}

cerrno oc_declare_operational(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *path, const char *value,
                              int container) {
    const bool groups = std::strncmp(path, "/ocni-bpm/", sizeof("/ocni-bpm/") - 1) == 0;
    return yfw_map_datatree_add_path_flagged(ctx, dst, path, groups ? NS_NATIVE_BPM_OPER : NS_NATIVE_BGP_OPER, value,
                                             nullptr, nullptr, container, 0);
}

oc_as_halves oc_find_as(yfw_map_ctx ctx, char *instance) {
    const cidl_yfw_datatree *bgp = yfw_map_get_node(ctx, OC_PROTOCOL, "bgp");
    const cidl_yfw_datatree *as =
        bgp == nullptr ? nullptr : oc_bgp_find_node_in_subtree(ctx, bgp, nullptr, "/global/config/as", YFW_XPATH_AS_IS);
    if (as == nullptr || as->value == nullptr) {
        return oc_stored_as(ctx, instance);
    }
    oc_as_halves halves{};
    ymap_join(halves.upper, sizeof(halves.upper), {"0"});
    ymap_join(halves.lower, sizeof(halves.lower), {as->value});
    return halves;
}

cerrno oc_map_empty_leaf(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                         const oc_empty_leaf &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const char *path = oc_form(frame.ctx, record.path);
    if (path == nullptr) {
        return 0;
    }
    if (ymap_is_read(frame.ctx)) {
        return oc_declare(frame.ctx, src, dst, record.path, 0);
    }
    if (oc_is_delete(frame.ctx, src)) {
        return oc_add(frame.ctx, dst, path, nullptr, src, 0);
    }
    const bool absent = src->value == nullptr || src->value[0] == '\0';
    if (absent && record.refusal != nullptr) {
        YMAP_TRACE(frame, "%s", record.refusal);
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    if (absent || oc_is_text(src->value, "true")) {
        return oc_add(frame.ctx, dst, path, "", src, 0);
    }
    return oc_is_text(src->value, "false") ? oc_add_with(frame.ctx, dst, path, "", src, 0, YFW_OP_REMOVE) : 0;
}

cerrno oc_map_copied_leaf(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                          const oc_copied_leaf &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (ymap_is_read(frame.ctx)) {
        return oc_declare(frame.ctx, src, dst, record.path, 0);
    }
    if (!oc_is_delete(frame.ctx, src)) {
        return oc_add(frame.ctx, dst, oc_form(frame.ctx, record.path), src->value, src, 0);
    }
    const char *deleted = oc_form(frame.ctx, record.deleted);
    if (deleted == nullptr) {
        return oc_add(frame.ctx, dst, oc_form(frame.ctx, record.path), src->value, src, 0);
    }
    const cerrno status = oc_add(frame.ctx, dst, deleted, nullptr, src, 0);
    const char *other = oc_form(frame.ctx, record.also_deleted);
    return other == nullptr ? status : oc_add(frame.ctx, dst, other, nullptr, src, 0);
}

cerrno oc_map_boolean_leaf(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                           const oc_boolean_leaf &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const bool is_read = ymap_is_read(frame.ctx);
    if (is_read && record.path.read == by_vrf) {
        return oc_declare(frame.ctx, src, dst, record.path, 0);
    }
    const char *value = oc_is_text(src->value, "true")    ? record.when_true
                        : oc_is_text(src->value, "false") ? record.when_false
                                                          : nullptr;
    if (is_read) {
        return oc_add(frame.ctx, dst, oc_form(frame.ctx, record.path), value, nullptr, 0);
    }
    const bool deletes = oc_is_delete(frame.ctx, src);
    if (value == nullptr && !deletes && record.refusal != nullptr) {
        if (record.refusal_is_error) {
            YMAP_ERROR(frame, "%s", record.refusal);
        } else {
            YMAP_TRACE(frame, "%s", record.refusal);
        }
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    return oc_add(frame.ctx, dst, oc_form(frame.ctx, record.path), deletes ? nullptr : value, src, 0);
}

cerrno oc_map_parent(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                     const oc_parent &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (ymap_is_read(frame.ctx)) {
        const cerrno status = oc_declare(frame.ctx, src, dst, record.path, 0);
        return ymap_request_kind(frame.ctx) == YFW_KIND_READ_STATE
                   ? oc_declare_operational(frame.ctx, dst, record.operational, nullptr, 0)
                   : status;
    }
    const cerrno status = oc_add(frame.ctx, dst, oc_form(frame.ctx, record.path), src->value, src, 0);
    return oc_is_delete(frame.ctx, src) ? static_cast<cerrno>(OCBGP_SKIP_SUBTREE) : status;
}

namespace {

cerrno declare_family(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                      const oc_family_entry &record, const char *native) {
    oc_declare(frame.ctx, src, dst, record.entry, 1);
    const cerrno status = record.name.read == by_vrf
                              ? yfw_map_oc_add_path_flagged(frame.ctx, src, dst, record.name.default_vrf,
                                                            record.name.vrf, native == nullptr ? "" : native, 0)
                              : oc_add(frame.ctx, dst, record.name.default_vrf, native, nullptr, 0);
    if (ymap_request_kind(frame.ctx) != YFW_KIND_READ_STATE) {
        return status;
    }
    char *identity = nullptr;
    yfw_map_get_node_info(frame.ctx, record.list, "afi-safi-name", &identity);
    oc_declare_operational(frame.ctx, dst, record.operational, nullptr, 1);
    return oc_declare_operational(frame.ctx, dst, record.operational_name, identity, 0);
}

// The entry goes whole; the remove stays on the source.
cerrno remove_family(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *entry,
                     const char *name, const char *native) {
    uint32_t saved = YFW_EXPAND_OFF;
    ymap_set_operation(src, YFW_OP_REMOVE);
    oc_bgp_turnoff_del_expansion(frame.ctx, src, &saved);
    oc_add(frame.ctx, dst, entry, nullptr, src, 1);
    const cerrno status = oc_add(frame.ctx, dst, name, native, nullptr, 0);
    oc_bgp_restore_saved_del_expansion(frame.ctx, src, saved);
    return status;
}

} // namespace

cerrno oc_map_family_entry(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                           const oc_family_entry &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const char *native = oc_bgp_afisafi_to_vn_bgp_afisafi(frame.ctx, nullptr, nullptr, record.list);
    if (ymap_is_read(frame.ctx)) {
        return declare_family(frame, src, dst, record, native);
    }
    const char *entry = oc_form(frame.ctx, record.entry);
    const char *name = oc_form(frame.ctx, record.name);
    if (oc_is_delete(frame.ctx, src)) {
        return remove_family(frame, src, dst, entry, name, native);
    }
    if (native == nullptr) {
        YMAP_TRACE(frame, "ERR: Input data is invalid !!");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    oc_add(frame.ctx, dst, entry, nullptr, src, 1);
    return oc_add(frame.ctx, dst, name, native, src, 0);
}

cerrno oc_map_prefix_limit(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                           const oc_prefix_limit &record) {
    const oc_copied_leaf limit{record.limit, record.container, {}};
    const cerrno status = oc_map_copied_leaf(frame, src, dst, limit);
    const bool edits = src != nullptr && dst != nullptr && !ymap_is_read(frame.ctx) && !oc_is_delete(frame.ctx, src);
    return edits ? oc_add(frame.ctx, dst, oc_form(frame.ctx, record.discard), "false", src, 0) : status;
}
