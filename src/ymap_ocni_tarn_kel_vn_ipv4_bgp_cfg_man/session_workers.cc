// Workers of the session settings that neighbours and groups share.
#include "native.h"

#include <cstdio>

namespace {

constexpr int cipher_type = 7;

} // namespace

const char *vn_container(yfw_map_ctx ctx, const vn_place &place) {
    if (place.vrf == nullptr) {
        return place.default_vrf;
    }
    const char *vrf = vn_leaf(ctx, VN_VRF, "vrf-name");
    const bool in_vrf = vrf != nullptr && (place.default_name_is_vrf || yfw_map_do_these_match(vrf, "default") == 0);
    return in_vrf ? place.vrf : place.default_vrf;
}

const char *vn_switch_to_oc(const cidl_yfw_datatree *node) {
    return yfw_map_do_these_match(node->value, "1") != 0   ? "true"
           : yfw_map_do_these_match(node->value, "2") != 0 ? "false"
                                                           : nullptr;
}

const char *vn_ability_to_oc(const cidl_yfw_datatree *node) {
    return yfw_map_do_these_match(node->value, "enable") != 0    ? "true"
           : yfw_map_do_these_match(node->value, "disable") != 0 ? "false"
                                                                 : nullptr;
}

cerrno vn_map_boolean(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                      const vn_boolean_record &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (src->value == nullptr || (record.empty_is_missing && src->value[0] == '\0')) {
        if (record.missing == nullptr) {
            return OCBGP_ERR_GENERAL;
        }
        YMAP_ERROR(frame, "%s", record.missing);
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    const char *value = yfw_map_do_these_match(src->value, record.when_true) != 0    ? record.true_text
                        : yfw_map_do_these_match(src->value, record.when_false) != 0 ? record.false_text
                                                                                     : nullptr;
    return vn_write(frame.ctx, dst, record.leaf, value, 0);
}

cerrno vn_map_copied(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                     const vn_copied_record &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (src->value == nullptr && record.missing != nullptr) {
        YMAP_ERROR(frame, "%s", record.missing);
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    return vn_write(frame.ctx, dst, record.leaf, src->value, record.flag);
}

cerrno vn_map_as(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                 const vn_as_record &record, uint32_t *half) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const bool upper = vn_node_is(src, "as-xx");
    if (!upper && !vn_node_is(src, "as-yy")) {
        return 0;
    }
    if (src->value == nullptr) {
        YMAP_ERROR(frame, "%s", upper ? record.missing_upper : record.missing_lower);
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    if (upper) {
        *half = vn_number(src->value);
        return 0;
    }
    char as[AS_TEXT_SIZE];
    vn_join_as(*half, vn_number(src->value), as);
    *half = 0;
    return vn_write(frame.ctx, dst, record.leaf, as, 0);
}

cerrno vn_map_multihop(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                       const vn_multihop_record &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (vn_node_is(src, "mpls-deactivation") || ymap_config_unwanted(frame.ctx)) {
        return 0;
    }
    const char *hops = vn_leaf(frame.ctx, vn_container(frame.ctx, record.container), "max-hop-count");
    const cerrno status = vn_write(frame.ctx, dst, record.enabled, "true", 0);
    // One hop is what multihop without a hop count was written as.
    return yfw_map_do_these_match(hops, "1") != 0 ? status : vn_write(frame.ctx, dst, record.ttl, src->value, 0);
}

cerrno vn_map_local_address(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                            const vn_local_address_record &record) {
    if (record.check_arguments && (src == nullptr || dst == nullptr)) {
        return ymap_refuse_arguments(frame);
    }
    if (vn_node_is(src, "local-address-disable")) {
        return 0;
    }
    // An explicit address wins over the interface's.
    const bool interface = vn_node_is(src, "update-source-interface");
    if (interface && vn_leaf(frame.ctx, vn_container(frame.ctx, record.container), "local-ip-address") != nullptr) {
        return 0;
    }
    return vn_write(frame.ctx, dst, record.leaf, src->value, 0);
}

cerrno vn_map_password(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                       const char *leaf) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (vn_node_is(src, "password-disable") || ymap_config_unwanted(frame.ctx)) {
        return 0;
    }
    char *clear = src->value == nullptr ? nullptr : pw_decrypt(cipher_type, src->value);
    if (clear == nullptr) {
        YMAP_ERROR(frame, "Password cannot be deciphered");
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    const cerrno status = vn_write(frame.ctx, dst, leaf, clear, 0);
    vnos_named_free(clear);
    return status;
}

cerrno vn_map_interval(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                       const vn_interval_record &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (vn_node_is(src, "minimum-interval-msecs")) {
        return 0; // written with the seconds
    }
    const char *container = vn_container(frame.ctx, record.container);
    const char *seconds = vn_leaf(frame.ctx, container, "minimum-interval");
    const char *msecs = vn_leaf(frame.ctx, container, "minimum-interval-msecs");
    char text[20];
    std::snprintf(text, sizeof(text), "%u.%03u", seconds == nullptr ? 0 : vn_number(seconds),
                  msecs == nullptr ? 0 : vn_number(msecs));
    return vn_write(frame.ctx, dst, record.leaf, text, 0);
}

cerrno vn_map_logging(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                      const vn_logging_record &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (vn_node_is(src, "log-up-down-inherit-disable")) {
        return 0;
    }
    const char *container = vn_container(frame.ctx, record.container);
    if (yfw_map_do_these_match(vn_leaf(frame.ctx, container, "log-up-down-enable"), "true") != 0) {
        return vn_write(frame.ctx, dst, record.leaf, "true", 0);
    }
    if (yfw_map_do_these_match(vn_leaf(frame.ctx, container, "log-up-down-disable"), "true") != 0) {
        return vn_write(frame.ctx, dst, record.leaf, "false", 0);
    }
    return 0;
}

cerrno vn_map_agreed(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                     const vn_agreed_record &record) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    char value[NBR_TEXT_SIZE] = "";
    const char *name = vn_leaf(frame.ctx, vn_container(frame.ctx, record.list), record.key);
    if (name == nullptr ||
        vn_bgp_show_nbr_cfg(frame.ctx, name, record.group, nullptr, record.setting, MODE_VN, value) != 1) {
        return 0;
    }
    return vn_write(frame.ctx, dst, record.leaf, value, 0);
}

cerrno vn_map_bfd(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *leaf) {
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    const bool on =
        yfw_map_do_these_match(src->value, "default") != 0 || yfw_map_do_these_match(src->value, "strict") != 0;
    if (!on && yfw_map_do_these_match(src->value, "disable") == 0) {
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    if (ymap_config_unwanted(frame.ctx)) {
        return 0;
    }
    const cerrno status = yfw_map_datatree_add_path_flagged(frame.ctx, dst, leaf, NS_OC_BFD, on ? "true" : "false",
                                                            nullptr, nullptr, 0, 1);
    return status == 0 ? 0 : ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
}
