/*
 * The system database as a plug-in reads it: items under slash-separated paths, relative to the root that a connection
 * is bound to. In a path or pattern the component ".*" stands for any one component.
 */
#ifndef SYSDB_H
#define SYSDB_H

#include "cerrno.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint64_t sysdb_connid_t; /* 0 is no connection */

typedef struct sysdb_list sysdb_list_t; /* the names directly below a path */

typedef struct sysdb_datalist sysdb_datalist_t; /* the paths that match a pattern */

/* Binds a connection to a root such as "/cfg/gl/ip-bgp/". mode is the platform's (4: read). Binding again is harmless.
 */
cerrno _sysdb_bind(sysdb_connid_t *connection, const char *root, uint32_t mode);

/* Reads one item. A number is a uint32_t in the machine's order; a text has its terminator; a tuple is as tuple_unpack
 * takes it. *value is allocated, the caller's, released with vnos_named_free; size may be null. Returns 0 or
 * OCBGP_SYSDB_NO_DATA (*value null). */
cerrno sysdb_item_get(sysdb_connid_t connection, const char *path, void **value, size_t *size);

/* Lists the names directly below a path, each once, with a trailing "/" when it has items below ("0x0/"). An empty
 * filter takes all. A path without any gives 0 and an empty list. */
cerrno sysdb_list(sysdb_connid_t connection, const char *path, const char *filter, sysdb_list_t **list);
/* The next name (borrowed), or null at the end. */
const char *sysdb_list_next(sysdb_list_t *list);
void sysdb_list_free(sysdb_list_t *list); /* null is ignored */

/* Finds the items whose path matches the pattern. An empty match takes any value; mode is the platform's (4). Returns 0
 * and the list, or OCBGP_SYSDB_NO_DATA when nothing matches. */
cerrno sysdb_find_data(sysdb_connid_t connection, const char *pattern, const char *match, uint32_t mode,
                       sysdb_datalist_t **list);
/* Goes back to before the first path. */
cerrno sysdb_datalist_start(sysdb_datalist_t *list);
/* The next path (borrowed). Returns 0, or OCBGP_SYSDB_NO_DATA and null after the last. */
cerrno sysdb_datalist_next(sysdb_datalist_t *list, const char **path);
void sysdb_datalist_free(sysdb_datalist_t *list); /* null is ignored */

/* Decodes the integers of a tuple: one "%d" in the format and one int32_t pointer for each. Returns their number, or -1
 * (all ones) when the text is not a tuple of that many integers. */
uint32_t tuple_unpack(const char *encoded, const char *format, ...);

#ifdef __cplusplus
}
#endif

#endif
