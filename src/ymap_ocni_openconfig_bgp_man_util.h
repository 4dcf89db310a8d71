// What every callback of the BGP mapping stands on: the frame, the default VRF, trees, address families, the system
// database. Functions marked YMAP_EXPORT are found by the framework, or by other mappings, under these names.
#pragma once

#include "cerrno.h"
#include "sysdb.h"
#include "vnos_platform.h"
#include "yfw_map.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#define YMAP_EXPORT extern "C" __attribute__((visibility("default")))

// ---- The frame ----------------------------------------------------------------------------------------------------

// One call of a callback. A worker that logs for a callback gets its frame.
struct ymap_frame {
    yfw_map_ctx ctx;
    const char *name;  // the callback's
    int32_t *end_cell; // of the End line
    int line;
    bool log_traces; // the debug log takes level 3
    bool buffer;     // lines go to the trace buffer too
};

[[noreturn]] void ymap_assert_failed(const char *text, const char *function, int line);

// Holds in every build: a context that is missing is the framework's fault, not the request's.
#define YMAP_ASSERT(expression, text)                                                                                  \
    do {                                                                                                               \
        if (!(expression)) [[unlikely]] {                                                                              \
            ymap_assert_failed(text, __func__, __LINE__);                                                              \
        }                                                                                                              \
    } while (0)

void ymap_frame_start(const ymap_frame &frame, int32_t *start_cell);
void ymap_frame_end(const ymap_frame &frame);
void ymap_trace_line(yfw_map_ctx ctx, const char *format, ...) __attribute__((format(printf, 2, 3)));

inline ymap_frame ymap_frame_open(yfw_map_ctx ctx, const char *name, int line, int32_t *end_cell) {
    return {ctx, name, end_cell, line, yfw_debug_should_log(&ctx->debug_filter, 3) != 0, ctx->trace_enabled};
}

inline void ymap_frame_close(const ymap_frame *frame) {
    if (frame->log_traces | frame->buffer) [[unlikely]] {
        ymap_frame_end(*frame);
    }
}

// Opens a callback: the context is there, and every way out writes one End.
#define YMAP_FRAME_END_ONLY(ctx)                                                                                       \
    YMAP_ASSERT(nullptr != (ctx), "NULL != ctx");                                                                      \
    static int32_t ymap_end_cell = -1;                                                                                 \
    [[maybe_unused]] const ymap_frame frame __attribute__((cleanup(ymap_frame_close))) =                               \
        ymap_frame_open(ctx, __func__, __LINE__, &ymap_end_cell)

// The same, after a Start.
#define YMAP_FRAME(ctx)                                                                                                \
    YMAP_FRAME_END_ONLY(ctx);                                                                                          \
    do {                                                                                                               \
        if (frame.log_traces | frame.buffer) [[unlikely]] {                                                            \
            static int32_t ymap_cell = -1;                                                                             \
            ymap_frame_start(frame, &ymap_cell);                                                                       \
        }                                                                                                              \
    } while (0)

// For functions that log without a Start or an End of their own.
#define YMAP_FRAME_SILENT(ctx)                                                                                         \
    const ymap_frame frame {                                                                                           \
        (ctx), __func__, nullptr, __LINE__, yfw_debug_should_log(&(ctx)->debug_filter, 3) != 0, (ctx)->trace_enabled   \
    }

// One log statement: its own filter cell, and the two forms of its text.
#define YMAP_LINE(frame, wanted, log, severity, text, ...)                                                             \
    do {                                                                                                               \
        if ((wanted) | (frame).buffer) [[unlikely]] {                                                                  \
            static int32_t ymap_cell = -1;                                                                             \
            if (wanted) {                                                                                              \
                _vnos_dt_log_filter_adv((frame).ctx->log, 0, 0, 0, 0, 0, &ymap_cell, severity ": YFW: ctx=%p," text,   \
                                        static_cast<void *>((frame).ctx) __VA_OPT__(, ) __VA_ARGS__);                  \
            }                                                                                                          \
            if ((frame).buffer) {                                                                                      \
                ymap_trace_line((frame).ctx, "#%u: " severity ": %s:%d ctx=%p," text, ret_nc_yfw_trace_index_incr(),   \
                                (frame).name, __LINE__, static_cast<void *>((frame).ctx) __VA_OPT__(, ) __VA_ARGS__);  \
            }                                                                                                          \
        }                                                                                                              \
    } while (0)

// An informational line.
#define YMAP_TRACE(frame, text, ...)                                                                                   \
    YMAP_LINE(frame, (frame).log_traces, trace_log, "TRC", text __VA_OPT__(, ) __VA_ARGS__)

// An error line.
#define YMAP_ERROR(frame, text, ...)                                                                                   \
    YMAP_LINE(frame, (yfw_debug_should_log(&(frame).ctx->debug_filter, 0) != 0), error_log, "ERR",                     \
              text __VA_OPT__(, ) __VA_ARGS__)

// Tells the client why (client_text may be null), marks the error path, yields the code.
cerrno ymap_refuse(const ymap_frame &frame, cerrno code, const char *client_text);

// The refusal of missing arguments.
cerrno ymap_refuse_arguments(const ymap_frame &frame);

// A when-condition: the framework has judged it, and hands the node out when it holds. 0, or 1 without a node, which is
// no error.
cerrno ymap_when(const ymap_frame &frame, const cidl_yfw_datatree *node);

// ---- The request --------------------------------------------------------------------------------------------------

constexpr std::size_t OC_BGP_INSTANCE_NAME_MAX = 64;

// The plug-in's block of one request, in its common-data slot. Made anew for every protocol entry that is mapped.
struct oc_bgp_ctx_t {
    char instance_name[OC_BGP_INSTANCE_NAME_MAX + 1]; // empty when the protocol entry has no name
};

inline oc_bgp_ctx_t *oc_bgp_get_bgp_ctx(yfw_map_ctx ctx) {
    YMAP_ASSERT(ctx->req_ctx->common_data_ptr != nullptr, "ctx->req_ctx->common_data_ptr != NULL");
    return static_cast<oc_bgp_ctx_t *>(ctx->req_ctx->common_data_ptr);
}

inline uint32_t ymap_request_kind(yfw_map_ctx ctx) {
    return ctx->req_ctx->kind->kind;
}

// Kinds 0 and 10: the callback declares native paths, without values of its own and without a source.
inline bool ymap_is_read(yfw_map_ctx ctx) {
    const uint32_t kind = ymap_request_kind(ctx);
    return kind == YFW_KIND_READ || kind == YFW_KIND_READ_STATE;
}

// True when a read does not want configuration values.
inline bool ymap_config_unwanted(yfw_map_ctx ctx) {
    const yfw_content_selection &selection = ctx->req_ctx->selection;
    const bool active = selection.count < 0 || (selection.groups[0] | selection.groups[1]) != 0;
    return active && selection.mode == YFW_SELECT_STATE_ONLY;
}

// A node's operation is the one thing of a request that callbacks change: the framework hands the node out read-only.
inline cidl_yfw_datatree *ymap_writable(const cidl_yfw_datatree *node) {
    return const_cast<cidl_yfw_datatree *>(node);
}

inline void ymap_set_operation(const cidl_yfw_datatree *node, uint32_t operation) {
    ymap_writable(node)->operation = operation;
    ymap_writable(node)->flags |= YFW_NODE_OP_SET;
}

// ---- Names and namespaces -------------------------------------------------------------------------------------------

#define NS_NATIVE_CFG "http://tarn-kel.example/ns/yang/Tarn-KEL-VN-ipv4-bgp-cfg"
#define NS_NATIVE_BGP_OPER "http://tarn-kel.example/ns/yang/Tarn-KEL-VN-PRIVATE-ocni-bgp-oper"
#define NS_NATIVE_BPM_OPER "http://tarn-kel.example/ns/yang/Tarn-KEL-VN-PRIVATE-ocni-bpm-oper"
#define NS_OC_POLICY_TYPES "http://openconfig.net/yang/policy-types"
#define NS_OC_BGP_TYPES "http://openconfig.net/yang/bgp-types"
#define NS_OC_TYPES "http://openconfig.net/yang/openconfig-types"
#define NS_OC_BFD "http://openconfig.net/yang/bfd"
#define NS_OC_NETWORK_INSTANCE "http://openconfig.net/yang/network-instance"

// Paths of the native model and of OpenConfig, to be joined by the compiler.
#define VN_INSTANCE "/bgp/instance"
#define VN_FOUR_BYTE_AS VN_INSTANCE "/instance-as/four-byte-as"
#define VN_DEFAULT_VRF VN_FOUR_BYTE_AS "/default-vrf"
#define VN_VRF VN_FOUR_BYTE_AS "/vrfs/vrf"
#define VN_VRF_EXISTS VN_VRF "/vrf-global/exists"
#define VN_VRF_NAME VN_VRF "/vrf-name"
#define OC_NETWORK_INSTANCE "/network-instances/network-instance"
#define OC_PROTOCOL OC_NETWORK_INSTANCE "/protocols/protocol"

// Result texts of the client.
#define TEXT_WRONG_INSTANCE "VRF configured in different instance"
#define TEXT_IMPROPER_AS "Improper AS Number"
#define TEXT_MISSING_AS "Missing AS Number"
#define TEXT_NO_AS_RUN_TOGETHER "AS number NOT alreadycreated under instance" // spelled so; clients match it
#define TEXT_NO_AS "AS number NOT already created under instance"

#define TRACE_NO_AS "No AS number under the instance: %s. First create the AS number and then edit under BGP"

// True for null, "default" and "DEFAULT", and for no other spelling.
YMAP_EXPORT bool is_default_vrf(const char *name);
// Store the name to use: "default" (or "DEFAULT") for a default name, null included, else the name itself. Return
// whether it was a default name.
YMAP_EXPORT bool default_vrf_to_lower(const char *name, const char **result);
YMAP_EXPORT bool default_vrf_to_upper(const char *name, const char **result);

// Rotating slots for short-lived texts: a slot is valid until 64 more have been handed out.
constexpr uint32_t OC_BGP_STR_SLOTS = 64;
constexpr std::size_t OC_BGP_STR_SLOT_SIZE = 512;
// Stores a slot that holds the empty text. Returns 0, or 0xaaf29e00 and null when the index is corrupt (it starts
// anew).
YMAP_EXPORT cerrno oc_bgp_string_buffer_get(char **slot);
// Copies in upper or lower case in a slot; null when there was no slot. A text is cut at 511 characters.
YMAP_EXPORT char *ocni_vn2oc_str(const char *text);
YMAP_EXPORT char *ocni_oc2vn_str(const char *text);

// Writes the texts one after the other, cut to what fits; null counts as empty. What snprintf does with "%s", at a
// tenth of its price: the paths of the system database are composed for each family of each neighbour.
void ymap_join(char *target, std::size_t size, std::initializer_list<const char *> texts);

// A rough test that tells addresses from interface names; not a validation.
YMAP_EXPORT bool ocni_bgp_is_ipaddr(const char *text);
// The node's value, unchanged.
YMAP_EXPORT const char *ocni_bgp_dummy_convert(const cidl_yfw_datatree *node, const void *unused);

// ---- Trees ----------------------------------------------------------------------------------------------------------

// The protocol entry of the request's BGP instance in an OpenConfig tree, made current; null when it is not there.
YMAP_EXPORT const cidl_yfw_datatree *vn_bgp_search_instance(yfw_map_ctx ctx, const cidl_yfw_datatree *tree);
// Replaces a namespace that the node borrows or owns by a copy of its own; without memory it stays. Whether it went.
bool ymap_replace_name_space(cidl_yfw_datatree *node, const char *name_space, const char *tag);
// Gives the node a copy of the namespace, unless its own begins with it. Null node: nothing.
YMAP_EXPORT void vn_bgp_set_type_ns(cidl_yfw_datatree *node, const char *name_space);
// True when the innermost level of the current path is named "state".
YMAP_EXPORT bool yfw_map_ocbgpni_is_parent_state_node(yfw_map_ctx ctx);

// Bracket the adds of a callback that writes the delete of a whole subtree.
YMAP_EXPORT void oc_bgp_turnoff_del_expansion(yfw_map_ctx ctx, const cidl_yfw_datatree *node, uint32_t *saved);
YMAP_EXPORT void oc_bgp_restore_saved_del_expansion(yfw_map_ctx ctx, const cidl_yfw_datatree *node, uint32_t saved);

// A callback for nodes that are mapped elsewhere.
YMAP_EXPORT cerrno oc_bgp_do_nothing(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst);

// Finds a list entry by up to 10 keys, or adds it with them. prefix, key_name_spaces and name_space may be null; with a
// name_space an entry that exists must be of it. Records the error path first, whatever comes.
YMAP_EXPORT cerrno yfw_map_ocni_bgp_search_or_add_subtree_list_multi_keys2(
    yfw_map_ctx ctx, cidl_yfw_datatree *tree, cidl_yfw_datatree **entry, const char *prefix, const char *list_path,
    uint32_t count, const char *const *key_values, const char *const *key_names, const char *const *key_name_spaces,
    const char *name_space);

// Runs a find below a node. form 2 puts the argument into the expression, 1 and 3 use it as it stands.
YMAP_EXPORT cidl_yfw_datatree *oc_bgp_find_node_in_subtree(yfw_map_ctx ctx, const cidl_yfw_datatree *tree,
                                                           const char *argument, const char *expression, uint32_t form);

// Sets the prefix that adds are relative to. 0, or 0xaaf29e00.
YMAP_EXPORT cerrno yfw_map_set_trim_path_list_ctx(yfw_map_ctx ctx, const char *prefix);

// ---- Address families -----------------------------------------------------------------------------------------------

constexpr std::size_t AF_TEXT_SIZE = 25;
constexpr std::size_t PROTO_TEXT_SIZE = 20;

extern const char *oc_bgp_afi_name[2];
extern const char *oc_bgp_safi_name[2];

// The OpenConfig identity (native af-name) of the "af-name" ("afi-safi-name") of the current entry of a list, or null.
// The texts are constants.
YMAP_EXPORT const char *vn_bgp_afisafi_to_oc_bgp_afisafi(yfw_map_ctx ctx, const void *unused1, const void *unused2,
                                                         const char *list_path);
YMAP_EXPORT const char *oc_bgp_afisafi_to_vn_bgp_afisafi(yfw_map_ctx ctx, const void *unused1, const void *unused2,
                                                         const char *list_path);
// Rewrite the buffer in place and return the number of characters written. What is in no table is left as it is; the
// result then is not 0 either, so callers look at the buffer.
YMAP_EXPORT int ymap_convert_af_VN_2_sysdb(char *family);
YMAP_EXPORT int ymap_convert_af_sysdb_2_VN(char *family);
YMAP_EXPORT int ymap_convert_af_proto_sysdb_2_OC(char *family, char *protocol);
YMAP_EXPORT int ymap_convert_af_proto_VN_2_OC(char *family, char *protocol);

// ---- The system database --------------------------------------------------------------------------------------------

// Sizes of the look-up's outputs, terminators included.
constexpr std::size_t SYSDB_INSTANCE_SIZE = 33;
constexpr std::size_t SYSDB_AS_SIZE = 11;

// Binds the connection; called by the framework before the first request. Returns the platform's status.
YMAP_EXPORT cerrno yfw_bgpcfg_sysdb_init(void);
// Reads one item; *value is the caller's, released with vnos_named_free. Returns the database's status.
YMAP_EXPORT cerrno yfw_oc_bgp_sysdb_get_data(const char *path, void **value, size_t *size);
// Finds the AS halves of an instance (default VRF), or the instance and the AS halves that a VRF is configured under.
// Look at the outputs: they keep what they held when nothing was found, and the result says nothing of it.
YMAP_EXPORT cerrno yfw_oc_bgp_sysdb_vrf_and_as_lookup(yfw_map_ctx ctx, char *vrf, char *instance, char *as_upper,
                                                      char *as_lower);

// The names directly below a path of the connection's.
cerrno ymap_sysdb_list(const char *path, sysdb_list_t **list);
// The number of a stored item.
uint32_t ymap_item_number(const void *item);

// The AS halves of an existing instance; lower is empty when there is none.
struct oc_as_halves {
    char upper[SYSDB_AS_SIZE];
    char lower[SYSDB_AS_SIZE];
};

// ---- Address families of a neighbour or group -----------------------------------------------------------------------

// Settings that OpenConfig keeps once for a neighbour and the native model for each of its address families. Which
// families there are, and what they hold, the system database says.
enum nbr_setting : int { NBR_RR_CLIENT = 1, NBR_REMOVE_PRIVATE_AS = 2, NBR_REPLACE_PRIVATE_AS = 3 };

#define MODE_OC "OC" // the request is OpenConfig's
#define MODE_VN "VN" // it is native

#define PRIVATE_AS_REMOVE_ALL "PRIVATE_AS_REMOVE_ALL"
#define PRIVATE_AS_REPLACE_ALL "PRIVATE_AS_REPLACE_ALL"

constexpr std::size_t NBR_PATH_SIZE = 257; // a system-database path, the longest names included
constexpr std::size_t NBR_TEXT_SIZE = 128;

// The path above the families of a neighbour (or of a group). mode is MODE_OC or MODE_VN. Returns the code of the
// look-up of the AS; the path is written whatever it is.
YMAP_EXPORT cerrno vn_bgp_nbr_asafi_prepare_sysdb_path(yfw_map_ctx ctx, const char *name, int group, char *path,
                                                       std::size_t size, const char *mode);
// Lists them ("0x0/"); the list is the caller's.
YMAP_EXPORT cerrno vn_bgp_get_nbr_asafi_list(yfw_map_ctx ctx, const char *name, int group, const char *mode,
                                             sysdb_list_t **list);
// Whether a family below the families' path has a route-reflector client, and with which value (0 or 1).
bool ymap_has_rr_client(const char *families, const char *family, uint32_t *value);

// A family's item of private-AS removal or replacement.
struct ymap_private_as {
    bool exists;
    bool unpacks;
    bool configured; // in force: the first number is not 0, nor is the second of a removal
    int32_t number[3];
};
ymap_private_as ymap_read_private_as(const char *families, const char *family, int setting);

// Sets the flags of the settings that the family has in an OpenConfig request's neighbour. A null family: none.
YMAP_EXPORT cerrno vn_bgp_nbr_asafiX_have_cfg(yfw_map_ctx ctx, const char *name, int group, const char *family,
                                              int *rr_client, int *remove, int *replace);
// 1 when a family has the setting (NBR_REMOVE_PRIVATE_AS or NBR_REPLACE_PRIVATE_AS), else 0; 0x40818800 when an item
// does not unpack. family (25 characters, may be null) gets each family looked at.
YMAP_EXPORT cerrno vn_bgp_ordg_have_cfg(yfw_map_ctx ctx, const char *name, int group, char *family, int setting,
                                        const char *mode);
// 1 and the OpenConfig value when all families agree, else 0; 0x40818800 when an item does not unpack. family (25
// characters) and text (128) may be null.
YMAP_EXPORT cerrno vn_bgp_show_nbr_cfg(yfw_map_ctx ctx, const char *name, int group, char *family, int setting,
                                       const char *mode, char *text);
// Adds a setting's native nodes for one family of the request's neighbour: its value, its delete, or its declaration.
YMAP_EXPORT cerrno oc_bgp_vn_prepare_xpath(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                                           int group, const char *family, int setting, const char *value);
// What the request itself says of a neighbour's settings. The value buffers take 8 characters; a private-AS value is
// cut to what fits.
YMAP_EXPORT cerrno bgp_oc_chk_if_rpc_has_nbr_rrc_rpa(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                     cidl_yfw_datatree *dst, char *name, int group, char *rr_value,
                                                     int *rr_client, char *private_as_value, int *remove, int *replace,
                                                     int *is_delete);
// Finds a setting ("route-reflector" or "remove-private-as") of a neighbour in the request: its value, and whether it
// is deleted. Both stay as they are when it is not there.
YMAP_EXPORT cerrno bgp_prepare_xpath_for_nbr_asafi(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                   cidl_yfw_datatree *dst, char *name, int group, const char **value,
                                                   int *is_delete, char *setting);
// Releases what the system database handed out; null is ignored.
YMAP_EXPORT void oc_bgp_free_ptr(void *memory);

// ---- Table connections
// ------------------------------------------------------------------------------------------------

// The path above the redistributions of a family ("0x0" or "0x5") of the default VRF. The request's common data is the
// table connection's.
YMAP_EXPORT cerrno vn_bgp_prepare_sysdb_path(yfw_map_ctx ctx, const char *family, char *path, std::size_t size);
// Lists them by their protocols ("0x0/"); the list is the caller's.
YMAP_EXPORT cerrno vn_bgp_get_src_protocol_list(yfw_map_ctx ctx, const char *family, sysdb_list_t **list);
// The default network instance's table connection, found or added, and made current; null when there is no such
// instance.
YMAP_EXPORT cidl_yfw_datatree *vn_bgp_search_or_add_list_oc_gb_table_conn(yfw_map_ctx ctx, cidl_yfw_datatree *tree,
                                                                          const char *source, const char *destination,
                                                                          const char *family);

// ---- The OpenConfig top level, as other callbacks use it ------------------------------------------------------------

YMAP_EXPORT bool yfw_map_oc_is_default_vrf_hierarchy(yfw_map_ctx ctx);
YMAP_EXPORT bool yfw_map_oc_is_instance_present(yfw_map_ctx ctx);
// Adds, without a source, the form of a native path that fits the request's VRF, or both when it names none. Either
// path may be null. A null value means the source's.
YMAP_EXPORT cerrno yfw_map_oc_add_path_flagged(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                                               const char *default_path, const char *vrf_path, const char *value,
                                               int container);
// Marks the one of two candidates that fits the request's VRF, or both when it names none.
YMAP_EXPORT cerrno yfw_map_oc_add_path_for_1_to_n_cb(yfw_map_ctx ctx, xpath_list_type_t *candidates);
// True when the request deletes the network instance itself.
YMAP_EXPORT bool yfw_oc_bgp_is_delete_on_vrf_node(yfw_map_ctx ctx);
