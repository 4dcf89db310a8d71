// The BGP protocol entry's "bgp" container: the native skeleton, or the delete of an instance or of a VRF.
#include "openconfig.h"

#include <cstdio>
#include <cstring>
#include <strings.h>

namespace {

constexpr char oc_as_path[] = "/global/config/as";

// The default VRF's protocol entry stands for the instance: the whole of it goes, or without a name all of BGP.
cerrno delete_instance(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *instance) {
    ymap_set_operation(src, YFW_OP_REMOVE);
    if (instance == nullptr) {
        oc_add(ctx, dst, "/bgp", nullptr, src, 0);
        return OCBGP_SKIP_SUBTREE;
    }
    oc_add(ctx, dst, VN_INSTANCE, nullptr, src, 1);
    oc_add(ctx, dst, VN_INSTANCE "/instance-name", instance, src, 0);
    return OCBGP_SKIP_SUBTREE;
}

// Only the VRF entry and its marker carry the delete; the instance around them stays. The marker goes in as a container
// here, and as a leaf in an edit: meant so.
void write_vrf_delete(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *vrf,
                      const char *instance, const oc_as_halves &as) {
    oc_add_with(ctx, dst, VN_INSTANCE, nullptr, src, 1, YFW_OP_NONE);
    oc_add_with(ctx, dst, VN_INSTANCE "/instance-name", instance, src, 0, YFW_OP_NONE);
    oc_add_with(ctx, dst, VN_INSTANCE "/instance-as/as", as.upper, src, 0, YFW_OP_NONE);
    oc_add_with(ctx, dst, VN_FOUR_BYTE_AS "/as", as.lower, src, 0, YFW_OP_NONE);
    oc_add_with(ctx, dst, VN_FOUR_BYTE_AS "/bgp-running", "", src, 0, YFW_OP_NONE);
    oc_add(ctx, dst, VN_VRF, nullptr, src, 1);
    oc_add(ctx, dst, VN_VRF_EXISTS, nullptr, src, 1);
    oc_add_with(ctx, dst, VN_VRF_NAME, vrf, src, 0, YFW_OP_NONE);
}

cerrno delete_vrf(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const oc_scope &scope,
                  const cidl_yfw_datatree *as_leaf) {
    char vrf[SYSDB_INSTANCE_SIZE * 8];
    char instance[SYSDB_INSTANCE_SIZE] = "";
    oc_as_halves as{};
    std::snprintf(vrf, sizeof(vrf), "%s", scope.vrf);
    yfw_oc_bgp_sysdb_vrf_and_as_lookup(frame.ctx, vrf, instance, as.upper, as.lower);
    if (instance[0] == '\0') {
        YMAP_TRACE(frame, "Couldn't Find the VRF in sysdb!");
        return OCBGP_SKIP_SUBTREE;
    }
    if (scope.instance != nullptr && std::strcmp(scope.instance, instance) != 0) {
        YMAP_TRACE(frame, "Wrong instance name!");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, TEXT_WRONG_INSTANCE);
    }
    if (as_leaf != nullptr && as_leaf->value != nullptr && !oc_as_matches(as, as_leaf->value)) {
        YMAP_TRACE(frame, "Wrong AS Number!");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, TEXT_IMPROPER_AS);
    }
    write_vrf_delete(frame.ctx, src, dst, scope.vrf, instance, as);
    return OCBGP_SKIP_SUBTREE;
}

cerrno declare_operational_roots(yfw_map_ctx ctx, cidl_yfw_datatree *dst) {
    yfw_map_datatree_add_path_flagged(ctx, dst, "/ocni-bgp/network-instances/network-instance/protocols/protocol/bgp",
                                      NS_NATIVE_BGP_OPER, nullptr, nullptr, nullptr, 0, 0);
    return yfw_map_datatree_add_path_flagged(ctx, dst,
                                             "/ocni-bpm/network-instances/network-instance/protocols/protocol/bgp",
                                             NS_NATIVE_BPM_OPER, nullptr, nullptr, nullptr, 0, 0);
}

cerrno write_skeleton(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                      const oc_scope &scope, bool has_as) {
    yfw_map_ctx ctx = frame.ctx;
    oc_add(ctx, dst, VN_INSTANCE, nullptr, src, 1);
    const cerrno named = oc_add(ctx, dst, VN_INSTANCE "/instance-name", scope.instance, src, 0);
    if (has_as) {
        return named; // the AS leaf's callback writes the AS
    }
    const oc_as_halves as = oc_stored_as(ctx, scope.instance);
    if (as.lower[0] == '\0') {
        YMAP_TRACE(frame, TRACE_NO_AS, scope.instance == nullptr ? "" : scope.instance);
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, TEXT_NO_AS_RUN_TOGETHER);
    }
    oc_add(ctx, dst, VN_INSTANCE "/instance-as/as", as.upper, src, 0);
    oc_add(ctx, dst, VN_FOUR_BYTE_AS "/as", as.lower, src, 0);
    const cerrno running = oc_add(ctx, dst, VN_FOUR_BYTE_AS "/bgp-running", "", src, 0);
    if (scope.is_default_vrf) {
        return running;
    }
    oc_add(ctx, dst, VN_VRF, nullptr, src, 1);
    oc_add(ctx, dst, VN_VRF_EXISTS, "", src, 0);
    return oc_add(ctx, dst, VN_VRF_NAME, scope.vrf, src, 0);
}

} // namespace

// pass is the framework's: not 0 keeps a state read from asking for the operational roots again.
YMAP_EXPORT cerrno oc_bgp_toplevel(yfw_map_ctx ctx, const cidl_yfw_datatree *src, unsigned int pass,
                                   cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const oc_scope scope = oc_read_scope(ctx);
    char *identifier = nullptr;
    yfw_map_get_node_info(ctx, OC_PROTOCOL, "identifier", &identifier);
    if (identifier != nullptr && strcasecmp(identifier, "BGP") != 0) {
        return OCBGP_SKIP_SUBTREE;
    }
    const cidl_yfw_datatree *as_leaf = oc_bgp_find_node_in_subtree(ctx, src, nullptr, oc_as_path, YFW_XPATH_AS_IS);
    if (yfw_map_is_request_delete(src) != 0) {
        if (ctx->req_ctx->del_expansion_mode == YFW_EXPAND_COVERED) {
            return OCBGP_SKIP_SUBTREE;
        }
        ctx->req_ctx->del_expansion_mode = YFW_EXPAND_OFF;
        return scope.is_default_vrf ? delete_instance(ctx, src, dst, scope.instance)
                                    : delete_vrf(frame, src, dst, scope, as_leaf);
    }
    switch (ymap_request_kind(ctx)) {
    case YFW_KIND_READ:
        return 0;
    case YFW_KIND_READ_STATE:
        return pass != 0 ? 0 : declare_operational_roots(ctx, dst);
    default:
        return write_skeleton(frame, src, dst, scope, as_leaf != nullptr);
    }
}
