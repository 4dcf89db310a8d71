// The plug-in's one connection to the system database.
#include "ymap_ocni_openconfig_bgp_man_util.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

const char sysdb_library[] = "/pkg/lib/libsysdb.so";
const char sysdb_root[] = "/cfg/gl/ip-bgp/";
constexpr uint32_t bind_mode = 4;
constexpr uint32_t search_mode = 4;
constexpr std::size_t pattern_size = 257;

sysdb_connid_t bgp_cfg_sysdb_connid = 0;
bool library_found = false; // checked until it is there once

// Copies the component of a path that begins at *path, cut to what fits, and moves *path behind it.
void take_component(const char **path, char *target, std::size_t size) {
    const std::size_t length = std::strcspn(*path, "/");
    if (target != nullptr) {
        std::snprintf(target, size, "%.*s", static_cast<int>(length), *path);
    }
    *path += length;
    *path += **path == '/' ? 1 : 0;
}

} // namespace

cerrno yfw_bgpcfg_sysdb_init(void) {
    if (!library_found) {
        const int status = access(sysdb_library, R_OK);
        if (status != 0) {
            return static_cast<cerrno>(status);
        }
        library_found = true;
    }
    return _sysdb_bind(&bgp_cfg_sysdb_connid, sysdb_root, bind_mode);
}

cerrno yfw_oc_bgp_sysdb_get_data(const char *path, void **value, size_t *size) {
    return sysdb_item_get(bgp_cfg_sysdb_connid, path, value, size);
}

cerrno ymap_sysdb_list(const char *path, sysdb_list_t **list) {
    return sysdb_list(bgp_cfg_sysdb_connid, path, "", list);
}

uint32_t ymap_item_number(const void *item) {
    uint32_t number = 0;
    std::memcpy(&number, item, sizeof(number));
    return number;
}

cerrno yfw_oc_bgp_sysdb_vrf_and_as_lookup(yfw_map_ctx ctx, char *vrf, char *instance, char *as_upper, char *as_lower) {
    YMAP_FRAME(ctx);
    char pattern[pattern_size];
    if (is_default_vrf(vrf)) {
        ymap_join(pattern, sizeof(pattern), {instance, "/.*/.*/gbl/edm/ord_a/running"});
    } else {
        ymap_join(pattern, sizeof(pattern), {".*/.*/.*/ord_b/", vrf, "/gbl/edm/ord_a/exists"});
    }
    sysdb_datalist_t *list = nullptr;
    const cerrno searched = sysdb_find_data(bgp_cfg_sysdb_connid, pattern, "", search_mode, &list);
    if (searched != 0) {
        YMAP_TRACE(frame, "Couldn't Find the VRF/AS in sysdb!");
        return searched;
    }
    const bool keep_instance = vrf != nullptr && std::strcmp(vrf, "default") == 0;
    const char *path = nullptr;
    bool first = true;
    sysdb_datalist_start(list);
    cerrno walked = sysdb_datalist_next(list, &path);
    while (walked == 0 && path != nullptr) {
        if (first) { // the first entry stands, however many match
            take_component(&path, keep_instance ? nullptr : instance, SYSDB_INSTANCE_SIZE);
            take_component(&path, as_upper, SYSDB_AS_SIZE);
            take_component(&path, as_lower, SYSDB_AS_SIZE);
            first = false;
        }
        walked = sysdb_datalist_next(list, &path);
    }
    sysdb_datalist_free(list);
    return walked == 0 ? static_cast<cerrno>(OCBGP_SYSDB_NO_DATA) : walked;
}
