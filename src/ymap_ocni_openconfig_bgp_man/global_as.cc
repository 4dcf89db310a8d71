// The AS number of the BGP instance. It makes the instance, checks edits against it, and its delete takes all BGP
// along.
#include "openconfig.h"

#include <cstring>

namespace {

enum as_target { TARGET_INSTANCE_AS, TARGET_RUNNING, TARGET_FOUR_BYTE_AS, TARGET_COUNT };

const char *value_of(const cidl_yfw_datatree *source) {
    return source->value;
}

// The native leaves that stand for the one AS leaf; the last row ends the table.
constexpr xpath_list_type_t as_targets[] = {
    {VN_INSTANCE "/instance-as/as", NS_NATIVE_CFG, value_of, 0, "NULL"},
    {VN_FOUR_BYTE_AS "/bgp-running", NS_NATIVE_CFG, value_of, 0, "NULL"},
    {VN_FOUR_BYTE_AS "/as", NS_NATIVE_CFG, value_of, 0, "NULL"},
    {"NULL", "NULL", nullptr, 0, "None"},
};

cerrno add_target(yfw_map_ctx ctx, cidl_yfw_datatree *dst, as_target target, const char *value,
                  const cidl_yfw_datatree *src) {
    return yfw_map_datatree_add_path_flagged(ctx, dst, as_targets[target].xpath, as_targets[target].name_space, value,
                                             src, nullptr, 0, 0);
}

cerrno refuse_missing_as(const ymap_frame &frame, const char *instance) {
    YMAP_TRACE(frame, TRACE_NO_AS, instance == nullptr ? "" : instance);
    return ymap_refuse(frame, OCBGP_ERR_GENERAL, TEXT_NO_AS_RUN_TOGETHER);
}

cerrno refuse_wrong_as(const ymap_frame &frame) {
    YMAP_TRACE(frame, "Wrong AS Number!");
    return ymap_refuse(frame, OCBGP_ERR_GENERAL, TEXT_IMPROPER_AS);
}

void mark_removed(yfw_map_ctx ctx, const cidl_yfw_datatree *dst, const char *path) {
    const cidl_yfw_datatree *node = oc_bgp_find_node_in_subtree(ctx, dst, nullptr, path, YFW_XPATH_AS_IS);
    if (node != nullptr) {
        ymap_set_operation(node, YFW_OP_REMOVE);
    }
}

cerrno delete_all(const ymap_frame &frame, const cidl_yfw_datatree *src, const cidl_yfw_datatree *dst, char *instance) {
    frame.ctx->req_ctx->entire_bgp_delete = true;
    YMAP_TRACE(frame, "Deleting AS. This will be deleting entire BGP config.");
    const oc_as_halves stored = oc_stored_as(frame.ctx, instance);
    if (stored.lower[0] == '\0') {
        return refuse_missing_as(frame, instance);
    }
    if (src->value != nullptr && yfw_map_do_these_match(src->name, "as") != 0 && !oc_as_matches(stored, src->value)) {
        return refuse_wrong_as(frame);
    }
    YMAP_TRACE(frame, "Setting REMOVE operation for '/bgp/instance'");
    mark_removed(frame.ctx, dst, VN_INSTANCE);
    YMAP_TRACE(frame, "Setting REMOVE operation for '/bgp/instance/instance-name'");
    mark_removed(frame.ctx, dst, VN_INSTANCE "/instance-name");
    return 0;
}

cerrno declare_as(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    add_target(ctx, dst, TARGET_INSTANCE_AS, "", nullptr);
    if (!ymap_config_unwanted(ctx)) {
        add_target(ctx, dst, TARGET_RUNNING, "", nullptr);
    }
    return add_target(ctx, dst, TARGET_FOUR_BYTE_AS, as_targets[TARGET_FOUR_BYTE_AS].get_value(src), nullptr);
}

// A new instance gets the whole AS in the lower leaf; an existing one keeps its halves.
cerrno edit_as(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, char *instance,
               bool *refused) {
    const oc_as_halves stored = oc_stored_as(frame.ctx, instance);
    const bool exists = stored.lower[0] != '\0';
    if (exists && src->value == nullptr) {
        *refused = true;
        YMAP_TRACE(frame, "AS Number Missing!");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, TEXT_MISSING_AS);
    }
    if (exists && !oc_as_matches(stored, src->value)) {
        *refused = true;
        return refuse_wrong_as(frame);
    }
    add_target(frame.ctx, dst, TARGET_INSTANCE_AS, exists ? stored.upper : "0", src);
    add_target(frame.ctx, dst, TARGET_RUNNING, "", src);
    return add_target(frame.ctx, dst, TARGET_FOUR_BYTE_AS,
                      exists ? stored.lower : as_targets[TARGET_FOUR_BYTE_AS].get_value(src), src);
}

// The instance stays: it is only named, so that the VRF in it can be removed.
void name_instance(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    oc_add_with(ctx, dst, as_targets[TARGET_INSTANCE_AS].xpath, "0", src, 0, YFW_OP_NONE);
    oc_add_with(ctx, dst, as_targets[TARGET_FOUR_BYTE_AS].xpath, src->value, src, 0, YFW_OP_NONE);
    oc_add_with(ctx, dst, as_targets[TARGET_RUNNING].xpath, "", src, 0, YFW_OP_NONE);
}

cerrno write_vrf_entry(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *vrf,
                       bool is_read) {
    if (yfw_map_is_request_delete(src) != 0 || yfw_oc_bgp_is_delete_on_vrf_node(ctx)) {
        oc_add_with(ctx, dst, VN_VRF, nullptr, src, 1, YFW_OP_REMOVE);
        oc_add_with(ctx, dst, VN_VRF_EXISTS, nullptr, src, 1, YFW_OP_REMOVE);
    } else if (!is_read) {
        oc_add(ctx, dst, VN_VRF_EXISTS, "", src, 0);
    }
    return oc_add(ctx, dst, VN_VRF_NAME, vrf, is_read ? nullptr : src, 0);
}

} // namespace

static_assert(sizeof(as_targets) / sizeof(as_targets[0]) == TARGET_COUNT + 1);

YMAP_EXPORT cerrno oc_bgp_global_config_as(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const oc_scope scope = oc_read_scope(ctx);
    const bool is_read = ymap_is_read(ctx);
    if (!is_read && yfw_map_is_request_delete(src) != 0) {
        if (scope.is_default_vrf) {
            return delete_all(frame, src, dst, scope.instance);
        }
        name_instance(ctx, src, dst);
        return write_vrf_entry(ctx, src, dst, scope.vrf, false);
    }
    bool refused = false;
    const cerrno status = is_read ? declare_as(ctx, src, dst) : edit_as(frame, src, dst, scope.instance, &refused);
    return scope.is_default_vrf || refused ? status : write_vrf_entry(ctx, src, dst, scope.vrf, is_read);
}
