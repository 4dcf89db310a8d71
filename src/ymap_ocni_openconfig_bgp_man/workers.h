// The families that most OpenConfig callbacks belong to: a callback is its record and its family's worker.
#pragma once

#include "openconfig.h"

// How a read declares a path.
enum oc_read_form {
    by_vrf,     // the forms of the VRFs asked for, without a value
    with_value, // the path with the node's value, as groups do
    plain       // the path alone
};

// The two forms of a native path. No VRF form: the node exists in the default VRF only, and in another it is ignored.
struct oc_path {
    const char *default_vrf;
    const char *vrf;
    oc_read_form read;
};

#define VN_GLOBAL(suffix)                                                                                              \
    { VN_DEFAULT_VRF "/global" suffix, VN_VRF "/vrf-global" suffix, by_vrf }
#define VN_GLOBAL_DEFAULT_ONLY(suffix)                                                                                 \
    { VN_DEFAULT_VRF "/global" suffix, nullptr, by_vrf }
#define VN_GLOBAL_AFS                                                                                                  \
    { VN_DEFAULT_VRF "/global/global-afs", VN_VRF "/vrf-global/vrf-global-afs", by_vrf }
#define VN_GLOBAL_AF(suffix)                                                                                           \
    {                                                                                                                  \
        VN_DEFAULT_VRF "/global/global-afs/global-af" suffix,                                                          \
            VN_VRF "/vrf-global/vrf-global-afs/vrf-global-af" suffix, by_vrf                                           \
    }

#define VN_NEIGHBORS                                                                                                   \
    { VN_DEFAULT_VRF "/bgp-entity/neighbors", VN_VRF "/vrf-neighbors", by_vrf }
#define VN_NEIGHBOR(suffix)                                                                                            \
    { VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor" suffix, VN_VRF "/vrf-neighbors/vrf-neighbor" suffix, by_vrf }
#define VN_NEIGHBOR_AFS                                                                                                \
    {                                                                                                                  \
        VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor/neighbor-afs",                                                  \
            VN_VRF "/vrf-neighbors/vrf-neighbor/vrf-neighbor-afs", by_vrf                                              \
    }
#define VN_NEIGHBOR_AF(suffix)                                                                                         \
    {                                                                                                                  \
        VN_DEFAULT_VRF "/bgp-entity/neighbors/neighbor/neighbor-afs/neighbor-af" suffix,                               \
            VN_VRF "/vrf-neighbors/vrf-neighbor/vrf-neighbor-afs/vrf-neighbor-af" suffix, by_vrf                       \
    }

// Groups are the default VRF's, whoever asks: their entry refuses the others.
#define VN_GROUP_ENTRY VN_DEFAULT_VRF "/bgp-entity/neighbor-groups/neighbor-group"
#define VN_GROUP_FORM(suffix, read)                                                                                    \
    { VN_GROUP_ENTRY suffix, VN_GROUP_ENTRY suffix, read }
#define VN_GROUP(suffix) VN_GROUP_FORM(suffix, with_value)
#define VN_GROUP_AFS VN_GROUP("/neighbor-group-afs")
#define VN_GROUP_AF(suffix) VN_GROUP("/neighbor-group-afs/neighbor-group-af" suffix)

#define OC_NEIGHBOR OC_PROTOCOL "/bgp/neighbors/neighbor"
#define OC_GROUP OC_PROTOCOL "/bgp/peer-groups/peer-group"

// The form of the request's VRF.
const char *oc_form(yfw_map_ctx ctx, const oc_path &path);

// Declares a path in the form of its read.
cerrno oc_declare(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const oc_path &path,
                  int container);

bool oc_is_text(const char *value, const char *text);

// Declares a path of one of the operational models of a state read.
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
    const char *refusal; // the trace of an edit without a value, or with the empty one; null: that sets the leaf too
};
cerrno oc_map_empty_leaf(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                         const oc_empty_leaf &record);

// A leaf whose value is taken over as it is.
struct oc_copied_leaf {
    oc_path path;
    oc_path deleted;      // what a delete writes: the leaf, or the container around it; null: the leaf with its value
    oc_path also_deleted; // and with it; null for nothing
};
cerrno oc_map_copied_leaf(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                          const oc_copied_leaf &record);

// A boolean leaf with two native texts.
struct oc_boolean_leaf {
    oc_path path;
    const char *when_true;
    const char *when_false;
    const char *refusal; // the trace of an edit with any other value, or none; null: that writes the leaf without one
    bool refusal_is_error = false; // an error line in the trace's place
};
// An enabled and a disabled ability.
#define OC_ABILITY(path, refusal)                                                                                      \
    { path, "enable", "disable", refusal }
cerrno oc_map_boolean_leaf(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                           const oc_boolean_leaf &record);

// An AS number: "0" in the upper leaf and the whole of it in the lower one.
struct oc_as_leaf {
    oc_path container;
    oc_path upper;
    oc_path lower;
    bool reads_leaves; // a read declares the two leaves, as groups do; otherwise the container
};
cerrno oc_map_as(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                 const oc_as_leaf &record);

// Seconds with a fraction: what stands before the point and what stands behind it, not scaled.
struct oc_interval_leaf {
    oc_path container;
    oc_path seconds;
    oc_path fraction;
    const char *no_fraction; // what is written for a missing one
    const char *refusal;     // the trace of an edit without a value; null for none
};
cerrno oc_map_interval(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                       const oc_interval_leaf &record);

// A password, enciphered.
struct oc_password_leaf {
    oc_path container;
    oc_path disable;
    oc_path password;
};
cerrno oc_map_password(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                       const oc_password_leaf &record);

// eBGP multihop: the hop count of the OpenConfig container, whichever of its leaves calls.
struct oc_multihop {
    const char *openconfig;
    oc_path container;
    oc_path hops;
    oc_path deactivation;
    bool hops_last; // as groups write it
};
cerrno oc_map_multihop(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                       const oc_multihop &record);

// A local address: an address, or the name of an interface. The other kind is removed when it is configured.
struct oc_local_address {
    oc_path container;
    oc_path disable;
    oc_path address;
    oc_path interface;
    int neighbor; // 0 for a group, which reads, and removes, the address alone
};
cerrno oc_map_local_address(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                            const oc_local_address &record);

// Removes the other kind of local address than the value is, when the system database has it. Shared by neighbours (1)
// and groups (0); the paths are those to remove.
YMAP_EXPORT cerrno oc_bgp_find_and_delete_local_addr(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                     cidl_yfw_datatree *dst, const char *value,
                                                     const char *default_address, const char *vrf_address,
                                                     const char *default_interface, const char *vrf_interface,
                                                     int neighbor);

// Logging of state changes: three native leaves.
struct oc_state_logging {
    oc_path container;
    oc_path enable;
    oc_path disable;
    oc_path inherit_disable;
    const char *traces[3]; // of a read, an edit and a delete; null for none
};
cerrno oc_map_state_logging(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                            const oc_state_logging &record);

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

// The prefix limit of a family. It takes the whole container along when it goes.
struct oc_prefix_limit {
    oc_path limit;
    oc_path container;
    oc_path discard;
};
cerrno oc_map_prefix_limit(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                           const oc_prefix_limit &record);

// What is done with a route that no policy speaks of.
cerrno oc_bgp_process_nbr(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                          const oc_path &policy);

// A setting of the whole neighbour or group that is kept natively for each address family.
struct oc_family_setting {
    int group;
    oc_path list; // of the families
    oc_path entry;
    oc_path reflector;
    oc_path remove;
    oc_path replace;
};
// name, of the neighbour or group, is null for a read of all.
cerrno oc_map_rr_client(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                        const oc_family_setting &record, const char *name, const char *value);
cerrno oc_map_private_as(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                         const oc_family_setting &record, const char *name, const char *value);

// The cluster id: an address when it has a point, otherwise a number.
struct oc_cluster_id {
    const char *openconfig; // the container of the leaf
    oc_path container;
    oc_path address;
    oc_path number;
    int group; // a group's is written in any VRF, and an absent one is not written
};
cerrno oc_map_cluster_id(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                         const oc_cluster_id &record);
