// Shared by the callbacks that render operational state as OpenConfig.
#pragma once

#include "ymap_ocni_openconfig_bgp_man_util.h"

#define OC_BGP OC_PROTOCOL "/bgp"
#define OPER_BGP_INSTANCE "/ocni-bgp/network-instances/network-instance"
#define OPER_BPM_INSTANCE "/ocni-bpm/network-instances/network-instance"

// One of the two operational models: where its network instance and its protocol entry are.
struct vn_state_model {
    const char *instance;
    const char *protocol;
};
inline constexpr vn_state_model vn_state_bgp{OPER_BGP_INSTANCE, OPER_BGP_INSTANCE "/protocols/protocol"};
inline constexpr vn_state_model vn_state_bpm{OPER_BPM_INSTANCE, OPER_BPM_INSTANCE "/protocols/protocol"};

// Where a native entry is: its VRF under the OpenConfig name, and its protocol entry's name, null when it has none.
struct vn_state_place {
    const char *vrf;
    char *protocol;
};
vn_state_place vn_read_state_place(yfw_map_ctx ctx, const vn_state_model &model);

// The shared builders. add_vrf_name joins the network instance and its BGP protocol entry into the OpenConfig tree, and
// yields the result of naming the identity's module. The other names that of an address-family entry's key.
YMAP_EXPORT cerrno vn_ocni_add_vrf_name(yfw_map_ctx ctx, cidl_yfw_datatree *dst, char *vrf, char *protocol);
YMAP_EXPORT cerrno vn_bgp_ocni_add_aflist_identity_ref(yfw_map_ctx ctx, cidl_yfw_datatree *entry);

// Gives the leaf of an entry, "/leaf", the namespace of the identity that it holds. The status of looking for the leaf.
cerrno vn_name_identity(yfw_map_ctx ctx, cidl_yfw_datatree *entry, const char *leaf, const char *name_space,
                        const char *caller);

// Runs one of the framework's stitches of a keyed path; a path that does not fit its record is none.
using vn_stitch = cerrno (*)(yfw_map_ctx, yfw_xpath_operation *);
cerrno vn_stitch_entry(yfw_map_ctx ctx, vn_stitch stitch, yfw_xpath_operation &operation, cidl_yfw_datatree *dst,
                       const char *schema_path, const char *caller);
