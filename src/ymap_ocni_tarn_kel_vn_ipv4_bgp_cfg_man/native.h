// Shared by the callbacks that render native configuration as OpenConfig.
#pragma once

#include "ymap_ocni_openconfig_bgp_man_util.h"

#define OC_BGP OC_PROTOCOL "/bgp"
#define OC_GLOBAL OC_BGP "/global"

// Adds an OpenConfig leaf, unless the read does not want configuration values.
cerrno vn_write(yfw_map_ctx ctx, cidl_yfw_datatree *dst, const char *path, const char *value, uint32_t flag);

// A leaf of a container that the node lies in, or of the container itself; null when it is absent.
char *vn_leaf(yfw_map_ctx ctx, const char *container, const char *leaf);

bool vn_node_is(const cidl_yfw_datatree *node, const char *name);

constexpr std::size_t AS_TEXT_SIZE = 11;
// Joins the two halves of an AS number.
void vn_join_as(uint32_t upper, uint32_t lower, char (&text)[AS_TEXT_SIZE]);
uint32_t vn_number(const char *text);

// A leaf that is there natively and has one value in OpenConfig, or the node's own.
struct vn_leaf_record {
    const char *leaf;
    const char *value;    // null: the node's, unchanged
    bool check_arguments; // some members take them for granted: meant so
    uint32_t flag;
};
cerrno vn_map_leaf(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                   const vn_leaf_record &record);

// ---- Neighbours and groups
// ----------------------------------------------------------------------------------------------

#define OC_NEIGHBOR OC_BGP "/neighbors/neighbor"
#define OC_GROUP OC_BGP "/peer-groups/peer-group"

// Where a callback reads other leaves of its neighbour.
struct vn_place {
    const char *default_vrf;
    const char *vrf;          // null for groups, which are the default VRF's
    bool default_name_is_vrf; // a VRF named "default" counts as a VRF; otherwise as the default one
};
const char *vn_container(yfw_map_ctx ctx, const vn_place &place);

// A leaf with two native texts. Other texts add it without a value.
struct vn_boolean_record {
    const char *leaf;
    const char *when_true; // native texts
    const char *when_false;
    const char *missing; // what is logged when there is no value; null: nothing, and the error path stays as it is
    bool empty_is_missing;
    const char *true_text; // OpenConfig texts
    const char *false_text;
};
// The native words of a default policy.
#define VN_DEFAULT_POLICY(leaf, missing)                                                                               \
    { leaf, "accept-route", "reject-route", missing, true, "ACCEPT_ROUTE", "REJECT_ROUTE" }
// "1" as "true", "2" as "false", anything else as nothing.
const char *vn_switch_to_oc(const cidl_yfw_datatree *node);
// The same for "enable" and "disable".
const char *vn_ability_to_oc(const cidl_yfw_datatree *node);
cerrno vn_map_boolean(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                      const vn_boolean_record &record);

// A leaf copied with a message when there is nothing to copy.
struct vn_copied_record {
    const char *leaf;
    const char *missing; // null: an absent value is added as it is
    uint32_t flag;
};
cerrno vn_map_copied(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                     const vn_copied_record &record);

// An AS number in two leaves: the upper one is kept in half, the lower one writes.
struct vn_as_record {
    const char *leaf;
    const char *missing_upper;
    const char *missing_lower;
};
cerrno vn_map_as(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                 const vn_as_record &record, uint32_t *half);

struct vn_multihop_record {
    vn_place container;
    const char *enabled;
    const char *ttl;
};
cerrno vn_map_multihop(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                       const vn_multihop_record &record);

struct vn_local_address_record {
    vn_place container;
    const char *leaf;
    bool check_arguments; // the neighbour's takes them for granted: meant so
};
cerrno vn_map_local_address(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                            const vn_local_address_record &record);

cerrno vn_map_password(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *leaf);

struct vn_interval_record {
    vn_place container;
    const char *leaf;
};
cerrno vn_map_interval(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                       const vn_interval_record &record);

struct vn_logging_record {
    vn_place container;
    const char *leaf;
};
cerrno vn_map_logging(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                      const vn_logging_record &record);

// An address-family entry: its key and the key's repeat carry the identity's namespace.
struct vn_family_record {
    const char *entry;
    const char *name;
    const char *config_name;
};
// list is the native list; a family without an OpenConfig identity is skipped.
cerrno vn_map_family(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *list,
                     const vn_family_record &record);

// The OpenConfig container of a family's prefix limit.
YMAP_EXPORT cerrno vn_get_oc_nbr_af_path(yfw_map_ctx ctx, char *native, const char **path);
YMAP_EXPORT cerrno vn_get_oc_nbr_grp_af_path(yfw_map_ctx ctx, char *native, const char **path);

// A leaf of a prefix limit.
struct vn_limit_record {
    cerrno (*find)(yfw_map_ctx ctx, char *native, const char **path);
    const char *suffix;
    const char *message; // when the family has no container
};
cerrno vn_map_limit(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, char *family,
                    const vn_limit_record &record);

// Adds the node's value at a leaf of a family's container.
cerrno vn_write_in_container(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                             const char *container, const char *suffix);

// A setting that all families of a neighbour or group agree on.
struct vn_agreed_record {
    vn_place list;
    const char *key;
    int group;
    int setting;
    const char *leaf;
};
cerrno vn_map_agreed(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                     const vn_agreed_record &record);

cerrno vn_map_bfd(const ymap_frame &frame, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *leaf);
