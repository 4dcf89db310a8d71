// The families that most OpenConfig callbacks belong to: a callback is its record and its family's worker.
#pragma once

#include "openconfig.h"

// The two forms of a native path. No VRF form: the node exists in the default VRF only, and in another it is ignored.
struct oc_path {
    const char *default_vrf;
    const char *vrf;
};

#define VN_GLOBAL(suffix)                                                                                              \
    { VN_DEFAULT_VRF "/global" suffix, VN_VRF "/vrf-global" suffix }
#define VN_GLOBAL_DEFAULT_ONLY(suffix)                                                                                 \
    { VN_DEFAULT_VRF "/global" suffix, nullptr }
#define VN_GLOBAL_AFS                                                                                                  \
    { VN_DEFAULT_VRF "/global/global-afs", VN_VRF "/vrf-global/vrf-global-afs" }
#define VN_GLOBAL_AF(suffix)                                                                                           \
    { VN_DEFAULT_VRF "/global/global-afs/global-af" suffix, VN_VRF "/vrf-global/vrf-global-afs/vrf-global-af" suffix }

// The form of the request's VRF.
const char *oc_form(yfw_map_ctx ctx, const oc_path &path);

// Declares a path of the operational model of a state read.
cerrno oc_declare_operational(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *path, const char *value,
                              int container);

// The AS of the request's instance: what the request itself says, else what the system database has.
oc_as_halves oc_find_as(yfw_map_ctx ctx, char *instance);

// What is deleted is a delete of the whole request; callbacks of a read never see one.
inline bool oc_is_delete(yfw_map_ctx ctx, const cidl_yfw_datatree *src) {
    return !ymap_is_read(ctx) && yfw_map_is_request_delete(src) != 0;
}

// A leaf of type empty: "true" sets it, "false" removes it, any other value does nothing.
struct oc_empty_leaf {
    oc_path path;
    bool absent_sets; // no value, or the empty one, sets it too; otherwise that is refused
};
cerrno oc_map_empty_leaf(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                         const oc_empty_leaf &record);

// A leaf whose value is taken over as it is.
struct oc_copied_leaf {
    oc_path path;
    oc_path deleted; // what a delete writes: the leaf, or the container around it
};
cerrno oc_map_copied_leaf(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                          const oc_copied_leaf &record);

// A boolean leaf with two native texts. Any other value writes the leaf without one.
struct oc_boolean_leaf {
    oc_path path;
    const char *when_true;
    const char *when_false;
};
cerrno oc_map_boolean_leaf(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                           const oc_boolean_leaf &record);

// The container around a list. Its delete is one of the native list whole.
struct oc_parent {
    oc_path path;
    const char *operational; // what a state read asks for too
};
cerrno oc_map_parent(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                     const oc_parent &record);

// An address-family entry of a list.
struct oc_family_entry {
    const char *list; // the OpenConfig list
    oc_path entry;
    oc_path name;
    const char *operational; // the list of the operational model, and its key
    const char *operational_name;
};
cerrno oc_map_family_entry(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                           const oc_family_entry &record);
