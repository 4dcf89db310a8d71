// Address families of a neighbour. A new one takes over what OpenConfig keeps once for the neighbour and the native
// model for each family: from the request, or from the families that are there.
#include "workers.h"

#define OC_NEIGHBOR_AF OC_NEIGHBOR "/afi-safis/afi-safi"
#define OPER_NEIGHBOR_AFS                                                                                              \
    "/ocni-bgp/network-instances/network-instance/protocols/protocol/bgp/neighbors/neighbor/neighbors-afi-safis"

namespace {

constexpr int not_a_group = 0;
constexpr std::size_t value_size = 24;

constexpr oc_family_entry neighbor_family{OC_NEIGHBOR_AF, VN_NEIGHBOR_AF(""), VN_NEIGHBOR_AF("/af-name"),
                                          OPER_NEIGHBOR_AFS "/neighbors-afi-safi",
                                          OPER_NEIGHBOR_AFS "/neighbors-afi-safi/afi-safi-name"};

// What a family has of the per-family settings, or is to get.
struct family_settings {
    int rr_client;
    int remove;
    int replace;
    char rr_value[value_size]; // of the route-reflector client
};

bool any_setting(const family_settings &settings) {
    return settings.rr_client != 0 || settings.remove != 0 || settings.replace != 0;
}

// Adds what a stored family has to the settings to be replicated.
void vn_bgp_nbr_asafi_cfg_prep_replica(const ymap_frame &frame, const char *families, const char *family,
                                       family_settings &replica) {
    uint32_t client = 0;
    if (ymap_has_rr_client(families, family, &client)) {
        replica.rr_client = 1;
        ymap_join(replica.rr_value, sizeof(replica.rr_value), {client == 1 ? "true" : "false"});
    }
    replica.remove |= ymap_read_private_as(families, family, NBR_REMOVE_PRIVATE_AS).configured ? 1 : 0;
    replica.replace |= ymap_read_private_as(families, family, NBR_REPLACE_PRIVATE_AS).configured ? 1 : 0;
    YMAP_TRACE(frame, "RRC = %d, RM_PAS = %d, RP_PAS = %d", replica.rr_client, replica.remove, replica.replace);
}

cerrno write_entry(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *native) {
    oc_add(ctx, dst, oc_form(ctx, neighbor_family.entry), nullptr, src, 1);
    return oc_add(ctx, dst, oc_form(ctx, neighbor_family.name), native, src, 0);
}

// The new family's entry with the settings.
cerrno vn_bgp_nbr_asafi_cfg_replicate(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                                      const char *native, const char *family, const family_settings &replica) {
    cerrno status = write_entry(ctx, src, dst, native);
    if (replica.rr_client != 0) {
        status = oc_bgp_vn_prepare_xpath(ctx, src, dst, not_a_group, family, NBR_RR_CLIENT, replica.rr_value);
    }
    if (replica.remove != 0) {
        status =
            oc_bgp_vn_prepare_xpath(ctx, src, dst, not_a_group, family, NBR_REMOVE_PRIVATE_AS, PRIVATE_AS_REMOVE_ALL);
    }
    if (replica.replace != 0) {
        status =
            oc_bgp_vn_prepare_xpath(ctx, src, dst, not_a_group, family, NBR_REPLACE_PRIVATE_AS, PRIVATE_AS_REPLACE_ALL);
    }
    return status;
}

// What the neighbour's stored families have; false when the family is one of them.
bool read_stored_families(const ymap_frame &frame, const char *name, const char *native, family_settings &replica) {
    yfw_map_ctx ctx = frame.ctx;
    char families[NBR_PATH_SIZE] = "";
    sysdb_list_t *list = nullptr;
    bool is_new = true;
    if (vn_bgp_get_nbr_asafi_list(ctx, name, not_a_group, MODE_OC, &list) == 0) {
        for (const char *family = sysdb_list_next(list); family != nullptr && is_new; family = sysdb_list_next(list)) {
            char stored[AF_TEXT_SIZE];
            ymap_join(stored, sizeof(stored), {family});
            ymap_convert_af_sysdb_2_VN(stored);
            is_new = yfw_map_do_these_match(stored, native) == 0;
            if (is_new && families[0] == '\0') {
                vn_bgp_nbr_asafi_prepare_sysdb_path(ctx, name, not_a_group, families, sizeof(families), MODE_OC);
            }
            if (is_new) {
                vn_bgp_nbr_asafi_cfg_prep_replica(frame, families, family, replica);
            }
        }
    }
    sysdb_list_free(list);
    return is_new;
}

// The settings that the same request gives the neighbour, unless the family has them.
cerrno write_requested(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, char *name,
                       const char *family, const family_settings &stored, const family_settings &present,
                       cerrno status) {
    yfw_map_ctx ctx = frame.ctx;
    char reflector[] = "route-reflector";
    char private_as[] = "remove-private-as";
    int deletes = 0;
    const char *value = nullptr;
    if (stored.rr_client == 0) {
        bgp_prepare_xpath_for_nbr_asafi(ctx, src, dst, name, not_a_group, &value, &deletes, reflector);
        if (value != nullptr && deletes == 0 && present.rr_client == 0) {
            status = oc_bgp_vn_prepare_xpath(ctx, src, dst, not_a_group, family, NBR_RR_CLIENT, value);
        }
    }
    if (stored.remove == 0 || stored.replace == 0) {
        value = nullptr;
        deletes = 0;
        bgp_prepare_xpath_for_nbr_asafi(ctx, src, dst, name, not_a_group, &value, &deletes, private_as);
        const bool removes = oc_is_text(value, PRIVATE_AS_REMOVE_ALL) && present.remove == 0;
        const bool replaces = oc_is_text(value, PRIVATE_AS_REPLACE_ALL) && present.replace == 0;
        if (deletes == 0 && (removes || replaces)) {
            status = oc_bgp_vn_prepare_xpath(ctx, src, dst, not_a_group, family, NBR_REMOVE_PRIVATE_AS, value);
        }
    }
    return status;
}

cerrno write_family(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *native) {
    yfw_map_ctx ctx = frame.ctx;
    char *name = nullptr;
    yfw_map_get_node_info(ctx, OC_NEIGHBOR, "neighbor-address", &name);
    char unnamed[] = "";
    name = name == nullptr ? unnamed : name;

    family_settings requested{};
    char private_as_value[value_size] = "";
    int deletes = 0;
    bgp_oc_chk_if_rpc_has_nbr_rrc_rpa(ctx, src, dst, name, not_a_group, requested.rr_value, &requested.rr_client,
                                      private_as_value, &requested.remove, &requested.replace, &deletes);
    family_settings stored{};
    family_settings present{};
    char family[AF_TEXT_SIZE];
    ymap_join(family, sizeof(family), {native});
    ymap_convert_af_VN_2_sysdb(family);
    cerrno status = 0;
    bool written = false;
    const bool is_new = any_setting(requested) || read_stored_families(frame, name, native, stored);
    if (is_new && (any_setting(requested) || any_setting(stored))) { // otherwise there is nothing to hold against it
        vn_bgp_nbr_asafiX_have_cfg(ctx, name, not_a_group, family, &present.rr_client, &present.remove,
                                   &present.replace);
        family_settings replica = stored;
        if (requested.rr_client != 0 && deletes == 0) {
            replica = requested;
            replica.remove = 0;
            replica.replace = 0;
        }
        if (any_setting(replica)) {
            status = vn_bgp_nbr_asafi_cfg_replicate(ctx, src, dst, native, family, replica);
            written = status == 0;
        }
    }
    if (!written) {
        status = write_entry(ctx, src, dst, native);
    }
    return write_requested(frame, src, dst, name, family, stored, present, status);
}

} // namespace

YMAP_EXPORT cerrno oc_bgp_nbr_afi_safi_name(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    const bool writes = src != nullptr && dst != nullptr && !ymap_is_read(ctx) && !oc_is_delete(ctx, src);
    const char *native = writes ? oc_bgp_afisafi_to_vn_bgp_afisafi(ctx, nullptr, nullptr, OC_NEIGHBOR_AF) : nullptr;
    return native != nullptr ? write_family(frame, src, dst, native)
                             : oc_map_family_entry(frame, src, dst, neighbor_family);
}

YMAP_EXPORT cerrno oc_bgp_nbr_afisafis_parent(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_parent families{VN_NEIGHBOR_AFS, OPER_NEIGHBOR_AFS};
    return oc_map_parent(frame, src, dst, families);
}

YMAP_EXPORT cerrno oc_bgp_nbr_afi_safi_enabled(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_empty_leaf activate{VN_NEIGHBOR_AF("/activate"), "Input can not be empty"};
    return oc_map_empty_leaf(frame, src, dst, activate);
}

YMAP_EXPORT cerrno oc_bgp_nbr_afi_max_pfx_params(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                 cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_prefix_limit limit{VN_NEIGHBOR_AF("/maximum-prefixes/prefix-limit"),
                                           VN_NEIGHBOR_AF("/maximum-prefixes"),
                                           VN_NEIGHBOR_AF("/maximum-prefixes/discard-extra-paths")};
    return oc_map_prefix_limit(frame, src, dst, limit);
}

YMAP_EXPORT cerrno oc_bgp_nbr_afi_pfx_limit_prevent_tear(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                         cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf warning{
        VN_NEIGHBOR_AF("/maximum-prefixes/warning-only"), VN_NEIGHBOR_AF("/maximum-prefixes/warning-only"), {}};
    return oc_map_copied_leaf(frame, src, dst, warning);
}

YMAP_EXPORT cerrno oc_bgp_nbr_afi_shut_down_thrshld(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                    cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf threshold{VN_NEIGHBOR_AF("/maximum-prefixes/warning-percentage"),
                                              VN_NEIGHBOR_AF("/maximum-prefixes/warning-percentage"),
                                              {}};
    return oc_map_copied_leaf(frame, src, dst, threshold);
}

YMAP_EXPORT cerrno oc_bgp_nbr_afi_pfx_limit_restart_timer(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                          cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf timer{
        VN_NEIGHBOR_AF("/maximum-prefixes/restart-time"), VN_NEIGHBOR_AF("/maximum-prefixes/restart-time"), {}};
    return oc_map_copied_leaf(frame, src, dst, timer);
}

YMAP_EXPORT cerrno oc_bgp_nbr_afi_safi_cfg_send_def_route(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                          cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_copied_leaf originate{
        VN_NEIGHBOR_AF("/default-originate/enable"), VN_NEIGHBOR_AF("/default-originate"), {}};
    return oc_map_copied_leaf(frame, src, dst, originate);
}

YMAP_EXPORT cerrno oc_bgp_nbr_afi_safi_use_multipath(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                     cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_empty_leaf multipath{VN_NEIGHBOR_AF("/multipath"), "Input can not be empty"};
    return oc_map_empty_leaf(frame, src, dst, multipath);
}

YMAP_EXPORT cerrno oc_bgp_nbr_afi_safi_addpath_receive(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                       cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_boolean_leaf receive =
        OC_ABILITY(VN_NEIGHBOR_AF("/advertise-additional-paths-receive-capability"), nullptr);
    return oc_map_boolean_leaf(frame, src, dst, receive);
}

YMAP_EXPORT cerrno oc_bgp_nbr_afi_safi_addpath_send(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                    cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_boolean_leaf send =
        OC_ABILITY(VN_NEIGHBOR_AF("/advertise-additional-paths-send-capability"), nullptr);
    return oc_map_boolean_leaf(frame, src, dst, send);
}

YMAP_EXPORT cerrno oc_bgp_nbr_add_paths_cfg_receive(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                    cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    static constexpr oc_boolean_leaf receive = OC_ABILITY(VN_NEIGHBOR("/additional-paths-receive-capability"), nullptr);
    return oc_map_boolean_leaf(frame, src, dst, receive);
}
