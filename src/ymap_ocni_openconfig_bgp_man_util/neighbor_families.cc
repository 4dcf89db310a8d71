// The address families of a neighbour or group, as the system database has them.
#include "ymap_ocni_openconfig_bgp_man_util.h"

#include <cstring>

namespace {

// One family's item below the neighbour's families, or null; size is its length in bytes, which need not be that of a
// number, nor need it end a text. The caller releases it with oc_bgp_free_ptr.
void *read_item(const char *families, const char *family, const char *leaf, std::size_t *size) {
    char path[NBR_PATH_SIZE + sizeof("0x19/ord_g/rm-private-as")];
    void *item = nullptr;
    *size = 0;
    ymap_join(path, sizeof(path), {families, family, leaf});
    yfw_oc_bgp_sysdb_get_data(path, &item, size);
    return item;
}

} // namespace

bool ymap_has_rr_client(const char *families, const char *family, uint32_t *value) {
    std::size_t size = 0;
    void *item = read_item(families, family, "ord_g/rr-client", &size);
    const bool configured = item != nullptr && size >= sizeof(*value) && ymap_item_number(item) < 2;
    if (configured) {
        *value = ymap_item_number(item);
    }
    oc_bgp_free_ptr(item);
    return configured;
}

ymap_private_as ymap_read_private_as(const char *families, const char *family, int setting) {
    ymap_private_as result{};
    const bool remove = setting == NBR_REMOVE_PRIVATE_AS;
    std::size_t size = 0;
    void *item = read_item(families, family, remove ? "ord_g/rm-private-as" : "ord_g/rp-private-as", &size);
    if (item == nullptr) {
        return result;
    }
    result.exists = true;
    const auto *text = static_cast<const char *>(item);
    int32_t *number = result.number;
    if (std::memchr(text, '\0', size) != nullptr) {
        const uint32_t read = remove ? tuple_unpack(text, "%d%d%d", &number[0], &number[1], &number[2])
                                     : tuple_unpack(text, "%d%d", &number[0], &number[1]);
        result.unpacks = read != UINT32_MAX;
    }
    result.configured = result.unpacks && number[0] != 0 && (!remove || number[1] != 0);
    oc_bgp_free_ptr(item);
    return result;
}

namespace {

// Calls visit with each family until it returns a code other than 0, which is the result.
template <typename Visit>
cerrno each_family(yfw_map_ctx ctx, const char *name, int group, const char *mode, Visit visit) {
    char families[NBR_PATH_SIZE];
    vn_bgp_nbr_asafi_prepare_sysdb_path(ctx, name, group, families, sizeof(families), mode);
    sysdb_list_t *list = nullptr;
    cerrno result = 0;
    if (vn_bgp_get_nbr_asafi_list(ctx, name, group, mode, &list) == 0) {
        for (const char *family = sysdb_list_next(list); family != nullptr && result == 0;
             family = sysdb_list_next(list)) {
            result = visit(families, family);
        }
    }
    sysdb_list_free(list);
    return result;
}

void keep_family(char *target, const char *family) {
    if (target != nullptr) {
        ymap_join(target, AF_TEXT_SIZE, {family});
    }
}

} // namespace

void oc_bgp_free_ptr(void *memory) {
    vnos_named_free(memory);
}

cerrno vn_bgp_nbr_asafi_prepare_sysdb_path(yfw_map_ctx ctx, const char *name, int group, char *path, std::size_t size,
                                           const char *mode) {
    YMAP_FRAME(ctx);
    char *instance = nullptr;
    char *vrf = nullptr;
    bool is_default = true;
    if (yfw_map_do_these_match(mode, MODE_OC) != 0) {
        yfw_map_get_node_info(ctx, OC_PROTOCOL, "name", &instance);
        yfw_map_get_node_info(ctx, OC_NETWORK_INSTANCE, "name", &vrf);
        is_default = yfw_map_oc_is_default_vrf_hierarchy(ctx);
    } else {
        yfw_map_get_node_info(ctx, VN_INSTANCE, "instance-name", &instance);
        yfw_map_get_node_info(ctx, VN_VRF, "vrf-name", &vrf);
        is_default = vrf == nullptr;
    }
    char found_instance[SYSDB_INSTANCE_SIZE] = "";
    char vrf_name[NBR_TEXT_SIZE];
    oc_as_halves as{};
    ymap_join(found_instance, sizeof(found_instance), {instance});
    ymap_join(vrf_name, sizeof(vrf_name), {is_default ? "default" : vrf});
    const cerrno status = yfw_oc_bgp_sysdb_vrf_and_as_lookup(ctx, vrf_name, found_instance, as.upper, as.lower);
    // The upper half in these paths is always 0.
    ymap_join(path, size,
              {instance, "/0/", as.lower, "/", is_default ? "ord_a" : "ord_b", "/", vrf_name, "/nbr/________/edm/",
               group != 0 ? "ord_q/0x2/________/" : "ord_u/0x3/", name, group != 0 ? "/________" : "/________/________",
               "/ord_s/"});
    return status;
}

cerrno vn_bgp_get_nbr_asafi_list(yfw_map_ctx ctx, const char *name, int group, const char *mode, sysdb_list_t **list) {
    YMAP_FRAME(ctx);
    char path[NBR_PATH_SIZE];
    vn_bgp_nbr_asafi_prepare_sysdb_path(ctx, name, group, path, sizeof(path), mode);
    return ymap_sysdb_list(path, list);
}

cerrno vn_bgp_nbr_asafiX_have_cfg(yfw_map_ctx ctx, const char *name, int group, const char *family, int *rr_client,
                                  int *remove, int *replace) {
    YMAP_FRAME(ctx);
    if (family == nullptr) {
        return 0;
    }
    char families[NBR_PATH_SIZE];
    vn_bgp_nbr_asafi_prepare_sysdb_path(ctx, name, group, families, sizeof(families), MODE_OC);
    uint32_t client = 0;
    if (ymap_has_rr_client(families, family, &client)) {
        *rr_client = 1;
    }
    const ymap_private_as removed = ymap_read_private_as(families, family, NBR_REMOVE_PRIVATE_AS);
    if (removed.exists && removed.unpacks && removed.number[1] != 0) {
        *remove = 1;
    }
    const ymap_private_as replaced = ymap_read_private_as(families, family, NBR_REPLACE_PRIVATE_AS);
    if (replaced.exists && replaced.unpacks) {
        *replace = 1;
    }
    return 0;
}

cerrno vn_bgp_ordg_have_cfg(yfw_map_ctx ctx, const char *name, int group, char *family, int setting, const char *mode) {
    YMAP_FRAME(ctx);
    return each_family(ctx, name, group, mode, [family, setting](const char *families, const char *key) -> cerrno {
        keep_family(family, key);
        const ymap_private_as item = ymap_read_private_as(families, key, setting);
        if (item.exists && !item.unpacks) {
            return OCBGP_ERR_BAD_TUPLE;
        }
        return item.exists ? 1 : 0;
    });
}

namespace {

struct agreement {
    uint32_t families;
    uint32_t first; // clients, or families that remove
    uint32_t second;
};

cerrno count_rr_client(agreement &count, const char *families, const char *family) {
    uint32_t value = 0;
    if (ymap_has_rr_client(families, family, &value)) {
        count.first += value == 1 ? 1 : 0;
        count.second += value == 0 ? 1 : 0;
    }
    return 0;
}

cerrno count_private_as(agreement &count, const char *families, const char *family) {
    const ymap_private_as removed = ymap_read_private_as(families, family, NBR_REMOVE_PRIVATE_AS);
    const ymap_private_as replaced = ymap_read_private_as(families, family, NBR_REPLACE_PRIVATE_AS);
    if ((removed.exists && !removed.unpacks) || (replaced.exists && !replaced.unpacks)) {
        return OCBGP_ERR_BAD_TUPLE;
    }
    count.first += removed.exists && removed.number[1] != 0 ? 1 : 0;
    count.second += replaced.exists ? 1 : 0;
    return 0;
}

} // namespace

cerrno vn_bgp_show_nbr_cfg(yfw_map_ctx ctx, const char *name, int group, char *family, int setting, const char *mode,
                           char *text) {
    YMAP_FRAME(ctx);
    const bool clients = setting == NBR_RR_CLIENT;
    agreement count{};
    const cerrno walked = each_family(ctx, name, group, mode, [&](const char *families, const char *key) {
        ++count.families;
        keep_family(family, key);
        return clients ? count_rr_client(count, families, key) : count_private_as(count, families, key);
    });
    if (walked != 0) {
        return walked;
    }
    if (count.families == 0 || (count.first != count.families && count.second != count.families) ||
        (!clients && count.first + count.second != count.families)) {
        return 0;
    }
    const bool all_first = count.first == count.families;
    if (text != nullptr) {
        const char *value =
            clients ? (all_first ? "true" : "false") : (all_first ? PRIVATE_AS_REMOVE_ALL : PRIVATE_AS_REPLACE_ALL);
        ymap_join(text, NBR_TEXT_SIZE, {value});
    }
    return 1;
}
