/*
 * The mapping framework as a plug-in sees it: the context that every callback is given, the data tree, and the
 * operations on them. The framework supplies every function declared here.
 *
 * Paths name schema nodes and carry no keys ("/bgp/instance/instance-as/as"). At each list level a path addresses the
 * current entry: the one opened last by an add with the container flag, or the one made current with
 * yfw_map_update_ctx_current_list_ptr. Adding a key leaf with another value than the current entry's opens a new entry.
 * When an entry's keys are complete and a sibling has the same keys, the two become one.
 *
 * One request at a time: none of this may be called from two threads at once.
 */
#ifndef YFW_MAP_H
#define YFW_MAP_H

#include "cerrno.h"

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Edit operations of a node. */
enum {
    YFW_OP_NONE = 0, /* none of its own: the request's default operation applies, or merge when marked as set */
    YFW_OP_CREATE = 1,
    YFW_OP_REPLACE = 2,
    YFW_OP_DELETE = 3, /* fails when there is nothing to delete */
    YFW_OP_REMOVE = 4  /* a delete that does not mind */
};

/* Flags of a node. The upper 16 bits are the framework's own: a plug-in leaves them as they are. */
enum {
    YFW_NODE_NS_SET = 0x01,  /* name_space is the node's own heap copy, else it is borrowed from the schema */
    YFW_NODE_PRESENT = 0x02, /* a leaf that the request itself names */
    YFW_NODE_OP_SET = 0x08   /* the operation was set explicitly */
};

/* A node of a data tree. The framework owns every node; a plug-in reads all members but the last, and writes operation,
 * flags, name_space, and the text that value points to (never longer than it was). */
struct cidl_yfw_datatree {
    const char *name;                 /* the schema node's name, without a prefix */
    char *value;                      /* as the client wrote it, identities without prefix; null when there is none */
    char *name_space;                 /* of the node, or of its value where that is an identity */
    uint32_t operation;               /* YFW_OP_... */
    uint32_t flags;                   /* YFW_NODE_... */
    struct cidl_yfw_datatree *parent; /* null for a tree's root */
    struct cidl_yfw_datatree *first_child;  /* in the order of arrival; null for a leaf */
    struct cidl_yfw_datatree *next_sibling; /* null for the last */
    const void *framework;                  /* the framework's own */
};

/* One level of the current path: from the tree's top to the parent of the node being mapped. */
struct yfw_path_level {
    const char *name;
    struct cidl_yfw_datatree *node;
};

/* What the client asks for. */
struct yfw_request_kind {
    uint32_t kind; /* 0 read of configuration, 10 read with state, anything else an edit */
    uint32_t mode; /* 3 when the global AS number is not wanted in a read, else 0 */
};

enum { YFW_KIND_READ = 0, YFW_KIND_EDIT = 2, YFW_KIND_READ_STATE = 10 };

/* The content selection of a read: when it is active (the counter is negative or a group is not 0) and its mode is
 * YFW_SELECT_STATE_ONLY, configuration values are not wanted. */
enum { YFW_SELECT_GROUPS = 2, YFW_SELECT_STATE_ONLY = 2 };

struct yfw_content_selection {
    int32_t count;
    uint32_t groups[YFW_SELECT_GROUPS];
    uint32_t mode;
};

/* How a delete of a node that no callback deletes whole reaches its children. */
enum {
    YFW_EXPAND_OFF = 0,    /* it does not: the node's callback has written the whole delete */
    YFW_EXPAND_ON = 1,     /* the mapped children are added to the request as deletes */
    YFW_EXPAND_COVERED = 2 /* an outer delete has written everything already: add nothing */
};

/* Option flags of a request. */
enum { YFW_OPT_KEEP_BGP_TREE = 0x40 /* a delete of a protocol entry leaves the operation of its "bgp" node alone */ };

/* The framework's record of one request. */
struct yfw_req_ctx {
    const struct yfw_request_kind *kind;
    uint32_t del_expansion_mode; /* YFW_EXPAND_... */
    uint32_t option_flags;       /* YFW_OPT_... */
    char *error_text; /* the reason returned to the client, or null; a yfw_strdup copy, the framework's once set */
    struct yfw_path_level *path; /* outermost first */
    uint16_t path_depth;
    bool entire_bgp_delete; /* the plug-in's mark that the request deletes the whole BGP configuration */
    void *common_data_ptr;  /* the plug-in's own block; from vnos_named_calloc_, freed by the framework at the end */
    char *trim_path;        /* the prefix that adds are relative to, or null; from vnos_named_calloc_ */
    uint32_t scratch_as;    /* a number that one callback keeps for the next; 0 in a new entry below the top */
    struct yfw_content_selection selection;
};

/* The debug log's filter; the framework's own. */
struct yfw_debug_filter {
    int32_t level; /* -1 writes nothing, 0 errors, 3 traces too */
};

/* The mapping context. */
struct yfw_map_context {
    struct yfw_debug_filter debug_filter;
    void *error_log;    /* destination of level 0 lines */
    void *trace_log;    /* destination of level 3 lines */
    void *trace_buffer; /* first argument of _lstrace */
    bool trace_enabled; /* every log line goes to the trace buffer too */
    struct yfw_req_ctx *req_ctx;
};
typedef struct yfw_map_context *yfw_map_ctx;

/* A candidate path of a path selection, or a row of a table that maps one node to several. */
typedef struct xpath_list_type {
    char xpath[250];
    char name_space[250];
    const char *(*get_value)(const struct cidl_yfw_datatree *source); /* null: the source's value */
    uint32_t selected;                                                /* set by the callback for a path that applies */
    char default_text[256];
} xpath_list_type_t;

/* A query of a tree. Cleared whole before each use. */
enum { YFW_XPATH_SET = 1, YFW_XPATH_FIND = 4 };
enum { YFW_XPATH_AS_IS = 1, YFW_XPATH_FORMAT = 2, YFW_XPATH_RELATIVE = 3 };
enum { YFW_XPATH_NAME_SIZE = 250, YFW_XPATH_VALUE_SIZE = 300, YFW_XPATH_EXPRESSION_SIZE = 1000 };

struct yfw_xpath_operation {
    struct cidl_yfw_datatree *tree;  /* where the query starts */
    struct cidl_yfw_datatree *found; /* the result; null when there is none */
    uint32_t operation;              /* YFW_XPATH_SET or YFW_XPATH_FIND */
    uint32_t form;                   /* YFW_XPATH_FORMAT: the expression has had its argument put in */
    char caller[YFW_XPATH_NAME_SIZE];
    char name_space[YFW_XPATH_NAME_SIZE];
    char value[YFW_XPATH_VALUE_SIZE];
    char expression[YFW_XPATH_EXPRESSION_SIZE]; /* an instance path, keys as [name=value] */
    char schema_path[YFW_XPATH_EXPRESSION_SIZE];
};

/* Kinds of node that oc_bgp_get_instance_node looks for. */
enum node_type { YFW_NODE_LEAF = 1, YFW_NODE_LIST = 2, YFW_NODE_KEY = 3 };

/* Records that the request failed at the current path. A record only: what decides is the code a callback returns. */
void yfw_oc_error_path(yfw_map_ctx ctx);

/* The value of a leaf in the request's current entry of a list, or in a container. *value is borrowed, and null when
 * the entry has no such leaf. Returns 0 when there is such an entry or container, else YFW_ERR_NO_ENTRY (*value null
 * too). */
cerrno yfw_map_get_node_info(yfw_map_ctx ctx, const char *path, const char *leaf, char **value);

/* The request's node of that name below the current entry of a list, or below a container; null when there is none. */
struct cidl_yfw_datatree *yfw_map_get_node(yfw_map_ctx ctx, const char *parent_path, const char *child);

/* Non-zero when the node's operation is delete or remove. Null is no delete. */
int yfw_map_is_request_delete(const struct cidl_yfw_datatree *node);

/* Non-zero when the texts are equal to the letter; a null text equals nothing. */
int yfw_map_do_these_match(const char *a, const char *b);

/*
 * Adds a path to the tree, creating the levels that are missing.
 *   name_space  of the path's first or last node
 *   value       copied; null for none
 *   source      the node of the request whose operation the last node takes; null for none
 *   added       where to store the last node, or null
 *   container   1 opens a new entry of a list, 0 addresses the current one; without meaning for other nodes
 *   flags       32 a trimmed prefix is in force, 8 a node of a read that is to be marked, 1 relative to the VRF entry
 *               of the network-instance mapping; advisory here, since the current entries say the same
 *
 * A leaf that is there already takes the new value, and the source's operation when that is set.
 */
cerrno yfw_map_datatree_add_path_flagged(yfw_map_ctx ctx, struct cidl_yfw_datatree *tree, const char *path,
                                         const char *name_space, const char *value,
                                         const struct cidl_yfw_datatree *source, struct cidl_yfw_datatree **added,
                                         int container, uint32_t flags);

/* The same without a source; flag 1 opens a new entry of a list. */
cerrno yfw_map_datatree_add_path(yfw_map_ctx ctx, struct cidl_yfw_datatree *tree, const char *path,
                                 const char *name_space, const char *value, struct cidl_yfw_datatree **added,
                                 uint32_t reserved, uint32_t flag);

/* Find an entry of a list by its key or keys. A path that begins with "/" starts at the tree's root, any other at the
 * given node. The entry may be of another namespace than the one given: that is the caller's to look at. Return 0 and
 * the entry, or YFW_ERR_NO_ENTRY and null. */
cerrno yfw_map_search_list(yfw_map_ctx ctx, struct cidl_yfw_datatree *tree, struct cidl_yfw_datatree **entry,
                           const char *path, const char *key_value, const char *key_name, const char *name_space);
cerrno yfw_map_search_list_multi_keys(yfw_map_ctx ctx, struct cidl_yfw_datatree *tree, struct cidl_yfw_datatree **entry,
                                      const char *path, uint32_t count, const char *const *key_values,
                                      const char *const *key_names, const char *name_space);

/* Finds the entry, or adds it with its key. */
cerrno yfw_map_search_or_add_list(yfw_map_ctx ctx, struct cidl_yfw_datatree *tree, struct cidl_yfw_datatree **entry,
                                  const char *path, const char *key_name, const char *key_value,
                                  const char *name_space);

/* Makes the entry, and the entries it lies in, the current ones. */
cerrno yfw_map_update_ctx_current_list_ptr(yfw_map_ctx ctx, struct cidl_yfw_datatree *entry);

/* Runs a query. Find: 0 and operation->found, or YFW_ERR_NO_ENTRY. Set: adds the expression's nodes with their keys. */
cerrno yfw_map_tree_xpath_operations(yfw_map_ctx ctx, struct yfw_xpath_operation *operation);

/*
 * Join a list entry into a tree under the keys that operation->expression gives it,
 * "/list[key=value]/inner[key=value]/", from operation->tree, the tree's root. An entry of these keys that is there
 * already is the one that is joined to, so that what several models say of it meets in one entry; what is missing on
 * the way is added. The entry and those it lies in are the current ones from then on, the last one the context's.
 *   operation    YFW_XPATH_SET; form YFW_XPATH_FORMAT
 *   expression   all keys of the last list must be given, in the words of the tree's model
 *   schema_path  of that list
 *   name_space   of its module
 *   found        set to the entry, borrowed; null on failure
 * The entry is that of the list entry being mapped (list_to_list), or of a container (container_to_list).
 *
 * Return 0; YFW_ERR_UNKNOWN_PATH when the schema path is no list of the namespace or the expression does not lead to
 * it; YFW_ERR_NO_ENTRY when a key is missing, or is an identity that the model lacks.
 */
cerrno yfw_map_stitch_list_to_list(yfw_map_ctx ctx, struct yfw_xpath_operation *operation);
cerrno yfw_map_stitch_container_to_list(yfw_map_ctx ctx, struct yfw_xpath_operation *operation);

/* The request's output: the nodes of its source whose translation is in the destination. A node that a callback takes
 * out and does not put back did not get there. */
void yfw_add_to_output_list_ctx(yfw_map_ctx ctx, struct cidl_yfw_datatree *node, struct cidl_yfw_datatree *tree);
void yfw_remove_from_output_list_ctx(yfw_map_ctx ctx, struct cidl_yfw_datatree *node, struct cidl_yfw_datatree *tree);

/* Set (a copy is kept) and clear the prefix that the following adds are relative to: paths that begin with it are taken
 * from the context's current list entry. */
cerrno yfw_map_copy_trim_path_list_ctx(yfw_map_ctx ctx, const char *prefix);
void yfw_map_free_trim_path_list_ctx(yfw_map_ctx ctx);

/* A heap copy, released with vnos_named_free; null when the text is null or memory is short. */
char *yfw_strdup(const char *text, const char *tag);

/* Bounded copies: the text and its terminator must fit, else the target becomes empty and the result is not 0. The n
 * form copies at most count characters. */
int yfw_strcpy_s(char *target, size_t size, const char *text, const char *caller);
int yfw_strncpy_s(char *target, size_t size, const char *text, size_t count);

/* The next number of the trace buffer's lines. */
uint32_t ret_nc_yfw_trace_index_incr(void);

/* Non-zero when a line of that level (0 error, 3 trace) is to be written. */
int yfw_debug_should_log(const struct yfw_debug_filter *filter, int level);

#ifdef __cplusplus
}
#endif

#endif
