// Shared by the callbacks that turn OpenConfig into native configuration.
#pragma once

#include "ymap_ocni_openconfig_bgp_man_util.h"

// What a request says of where it is.
struct oc_scope {
    const char *vrf; // the native name: "default" or the VRF's
    char *instance;  // the protocol entry's name, the native instance's; null when there is none
    bool is_default_vrf;
};

oc_scope oc_read_scope(yfw_map_ctx ctx);

// Whether an OpenConfig AS number is the one of the halves, which are combined as read, without masking.
bool oc_as_matches(const oc_as_halves &stored, const char *value);

// The read of table connections: declares the redistributions of the default VRF that the system database has.
YMAP_EXPORT cerrno oc_bgp_tc_get_cfg(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst);

// The AS halves of the instance as the system database has them; lower is empty when it has none.
oc_as_halves oc_stored_as(yfw_map_ctx ctx, char *instance);

// Adds a native configuration path that carries the source.
cerrno oc_add(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *path, const char *value,
              const cidl_yfw_datatree *src, int container);

// The same with another operation than the source's, which gets its own back; that it was set is kept.
cerrno oc_add_with(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *path, const char *value,
                   const cidl_yfw_datatree *src, int container, uint32_t operation);
