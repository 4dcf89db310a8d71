// Shared by the callbacks that render native configuration as OpenConfig.
#pragma once

#include "ymap_ocni_openconfig_bgp_man_util.h"

#define NS_OC_POLICY_TYPES "http://openconfig.net/yang/policy-types"
#define NS_OC_BGP_TYPES "http://openconfig.net/yang/bgp-types"

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
