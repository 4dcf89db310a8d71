// Workers of the session settings that neighbours and groups share.
#include "workers.h"

#include <cstring>

namespace {

constexpr int cipher_type = 7;

} // namespace

cerrno oc_map_as(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                 const oc_as_leaf &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    yfw_map_ctx ctx = frame.ctx;
    const bool is_read = ymap_is_read(ctx);
    if (is_read && !record.reads_leaves) {
        return oc_declare(ctx, src, dst, record.container, 0);
    }
    if (oc_is_delete(ctx, src)) {
        return oc_add(ctx, dst, oc_form(ctx, record.container), nullptr, src, 0);
    }
    const cidl_yfw_datatree *source = is_read ? nullptr : src;
    oc_add(ctx, dst, oc_form(ctx, record.upper), "0", source, 0);
    return oc_add(ctx, dst, oc_form(ctx, record.lower), src->value, source, 0);
}

cerrno oc_map_interval(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                       const oc_interval_leaf &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    yfw_map_ctx ctx = frame.ctx;
    const bool is_read = ymap_is_read(ctx);
    if (is_read && (record.seconds.read == by_vrf || src->value == nullptr)) {
        oc_declare(ctx, src, dst, record.seconds, 0);
        return oc_declare(ctx, src, dst, record.fraction, 0);
    }
    if (oc_is_delete(ctx, src)) {
        return oc_add(ctx, dst, oc_form(ctx, record.container), nullptr, src, 0);
    }
    if (src->value == nullptr) {
        if (record.refusal != nullptr) {
            YMAP_TRACE(frame, "%s", record.refusal);
        }
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    // Split in place, where the request's value stands.
    char *rest = nullptr;
    const char *seconds = strtok_r(src->value, ".", &rest);
    const char *fraction = strtok_r(nullptr, ".", &rest);
    if (is_read) {
        oc_add(ctx, dst, oc_form(ctx, record.seconds), seconds, nullptr, 0);
        return oc_add(ctx, dst, oc_form(ctx, record.fraction), fraction, nullptr, 0);
    }
    oc_add(ctx, dst, oc_form(ctx, record.seconds), seconds == nullptr ? "0" : seconds, src, 0);
    return oc_add(ctx, dst, oc_form(ctx, record.fraction), fraction == nullptr ? record.no_fraction : fraction, src, 0);
}

cerrno oc_map_password(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                       const oc_password_leaf &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    yfw_map_ctx ctx = frame.ctx;
    if (ymap_is_read(ctx)) {
        return oc_declare(ctx, src, dst, record.password, 0);
    }
    if (oc_is_delete(ctx, src)) {
        return oc_add(ctx, dst, oc_form(ctx, record.container), nullptr, src, 0);
    }
    char *cipher = src->value == nullptr ? nullptr : pw_encrypt(cipher_type, src->value);
    if (cipher == nullptr) {
        YMAP_ERROR(frame, "Password cannot be enciphered");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    oc_add(ctx, dst, oc_form(ctx, record.disable), "false", src, 0);
    const cerrno status = oc_add(ctx, dst, oc_form(ctx, record.password), cipher, src, 0);
    vnos_named_free(cipher);
    return status;
}

cerrno oc_map_multihop(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                       const oc_multihop &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    yfw_map_ctx ctx = frame.ctx;
    if (yfw_map_do_these_match(src->name, "multihop-ttl") != 0) {
        return 0; // the container's other leaf takes it along
    }
    const bool is_read = ymap_is_read(ctx);
    if (is_read && record.hops.read == by_vrf) {
        return oc_declare(ctx, src, dst, record.hops, 0);
    }
    if (oc_is_delete(ctx, src)) {
        return oc_add(ctx, dst, oc_form(ctx, record.container), nullptr, src, 0);
    }
    char *hops = nullptr;
    yfw_map_get_node_info(ctx, record.openconfig, "multihop-ttl", &hops);
    const char *path = oc_form(ctx, record.hops);
    if (is_read) {
        return oc_add(ctx, dst, path, hops, nullptr, 0);
    }
    const char *count = hops == nullptr ? "1" : hops;
    if (!record.hops_last) {
        oc_add(ctx, dst, path, count, src, 0);
    }
    const cerrno status = oc_add(ctx, dst, oc_form(ctx, record.deactivation), "false", src, 0);
    return record.hops_last ? oc_add(ctx, dst, path, count, src, 0) : status;
}

cerrno oc_map_state_logging(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                            const oc_state_logging &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    yfw_map_ctx ctx = frame.ctx;
    const int mode = ymap_is_read(ctx) ? 0 : oc_is_delete(ctx, src) ? 2 : 1;
    if (record.traces[mode] != nullptr) {
        YMAP_TRACE(frame, "%s", record.traces[mode]);
    }
    if (mode == 0) {
        oc_declare(ctx, src, dst, record.enable, 0);
        oc_declare(ctx, src, dst, record.disable, 0);
        return oc_declare(ctx, src, dst, record.inherit_disable, 0);
    }
    if (mode == 2) {
        return oc_add(ctx, dst, oc_form(ctx, record.container), nullptr, src, 0);
    }
    const bool on = oc_is_text(src->value, "true");
    oc_add(ctx, dst, oc_form(ctx, record.enable), on ? "true" : "false", src, 0);
    oc_add(ctx, dst, oc_form(ctx, record.disable), on ? "false" : "true", src, 0);
    return oc_add(ctx, dst, oc_form(ctx, record.inherit_disable), "false", src, 0);
}

namespace {

// An edit of the value, once the other kind is out of the way.
cerrno write_local_address(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                           const oc_local_address &record) {
    const cerrno removed =
        oc_bgp_find_and_delete_local_addr(ctx, src, dst, src->value, record.container.default_vrf, record.container.vrf,
                                          record.interface.default_vrf, record.interface.vrf, record.neighbor);
    if (removed != 0) {
        return removed;
    }
    if (!ocni_bgp_is_ipaddr(src->value)) {
        return oc_add(ctx, dst, oc_form(ctx, record.interface), src->value, src, 0);
    }
    oc_add(ctx, dst, oc_form(ctx, record.disable), "false", src, 0);
    return oc_add(ctx, dst, oc_form(ctx, record.address), src->value, src, 0);
}

} // namespace

cerrno oc_map_local_address(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                            const oc_local_address &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    yfw_map_ctx ctx = frame.ctx;
    if (ymap_is_read(ctx)) {
        const cerrno status = oc_declare(ctx, src, dst, record.address, 0);
        return status != 0 || record.neighbor == 0 ? status : oc_declare(ctx, src, dst, record.interface, 0);
    }
    const char *container = oc_form(ctx, record.container);
    const char *interface = oc_form(ctx, record.interface);
    if (src->operation == YFW_OP_REMOVE) {
        const cerrno status = oc_add(ctx, dst, container, nullptr, src, 0);
        return record.neighbor == 0 ? status : oc_add(ctx, dst, interface, nullptr, src, 0);
    }
    if (src->operation == YFW_OP_DELETE) {
        if (src->value == nullptr) {
            if (record.neighbor != 0) {
                YMAP_TRACE(frame, "DELETE requests without value not allowed due to YFW restrictions");
            }
            return 0;
        }
        return oc_add(ctx, dst, ocni_bgp_is_ipaddr(src->value) ? container : interface, nullptr, src, 0);
    }
    return src->value == nullptr ? 0 : write_local_address(ctx, src, dst, record);
}

YMAP_EXPORT cerrno oc_bgp_find_and_delete_local_addr(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                     cidl_yfw_datatree *dst, const char *value,
                                                     const char *default_address, const char *vrf_address,
                                                     const char *default_interface, const char *vrf_interface,
                                                     int neighbor) {
    YMAP_FRAME(ctx);
    char *network_instance = nullptr;
    char *instance = nullptr;
    char *name = nullptr;
    const char *vrf = nullptr;
    yfw_map_get_node_info(ctx, OC_NETWORK_INSTANCE, "name", &network_instance);
    const bool is_default = default_vrf_to_lower(network_instance, &vrf);
    if (const cerrno status = yfw_map_get_node_info(ctx, OC_PROTOCOL, "name", &instance); status != 0) {
        return status;
    }
    if (yfw_map_get_node(ctx, OC_PROTOCOL, "bgp") == nullptr) {
        return OCBGP_ERR_NO_RESOURCE;
    }
    const cerrno status = neighbor != 0 ? yfw_map_get_node_info(ctx, OC_NEIGHBOR, "neighbor-address", &name)
                                        : yfw_map_get_node_info(ctx, OC_GROUP, "peer-group-name", &name);
    if (status != 0) {
        return status;
    }
    const bool to_address = ocni_bgp_is_ipaddr(value);
    const oc_as_halves as = oc_find_as(ctx, instance);
    if (as.lower[0] == '\0') {
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, TEXT_NO_AS_RUN_TOGETHER);
    }
    char path[NBR_PATH_SIZE];
    ymap_join(path, sizeof(path),
              {instance, "/", as.upper, "/", as.lower, "/", is_default ? "ord_a" : "ord_b", "/", vrf,
               "/nbr/________/edm/", neighbor != 0 ? "ord_u/0x3/" : "ord_q/0x2/________/", name,
               neighbor != 0 ? "/________/________/ord_n/" : "/________/ord_n/",
               to_address ? "update-source" : "local_address"});
    void *item = nullptr;
    const cerrno found = yfw_oc_bgp_sysdb_get_data(path, &item, nullptr);
    oc_bgp_free_ptr(item);
    if (found == OCBGP_SYSDB_NO_DATA) {
        return 0;
    }
    if (found != 0) {
        return found;
    }
    const oc_path other =
        to_address ? oc_path{default_interface, vrf_interface, plain} : oc_path{default_address, vrf_address, plain};
    return oc_add_with(ctx, dst, is_default ? other.default_vrf : other.vrf, nullptr, src, 0, YFW_OP_REMOVE);
}
