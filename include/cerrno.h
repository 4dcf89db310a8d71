/* The result codes that cross the boundary between the mapping framework and a mapping plug-in. */
#ifndef CERRNO_H
#define CERRNO_H

#include <stdint.h>

/* 0 is success. A plug-in's codes and the framework's statuses share this type; the plug-in hands a framework status on
 * unchanged where it has nothing better to say. */
typedef uint32_t cerrno;

enum {
    /* Codes of the BGP mapping. */
    OCBGP_ERR_GENERAL =
        0xaaf2a000U, /* invalid arguments, a malformed value, a contradiction with the system database */
    OCBGP_SKIP_SUBTREE = 0xaaf2f600U,    /* the subtree is handled whole, or refused: map nothing below the node */
    OCBGP_ERR_NO_RESOURCE = 0xaaf29e00U, /* a look-up or a resource failed */
    OCBGP_ERR_BAD_POLICY = 0xaaf2ee00U,  /* a default route policy that is neither accept nor reject */
    OCBGP_ERR_BAD_TUPLE = 0x40818800U,   /* a system-database item that does not unpack */

    /* Codes of the system database. */
    OCBGP_SYSDB_NO_DATA = 0x40818600U, /* no such item, no entry matches, or the end of a list */
    SYSDB_ERR_UNBOUND = 0x40818a00U,   /* the connection is not bound to a root that exists */
    SYSDB_ERR_STORE = 0x40818c00U,     /* the database could not be read */

    /* Statuses of the framework's operations. */
    YFW_ERR_INVALID = 0x79661000U,      /* an argument that must not be null is, or is out of range */
    YFW_ERR_UNKNOWN_PATH = 0x79661200U, /* no loaded model has the path in the namespace given */
    YFW_ERR_NO_ENTRY = 0x79661400U,     /* no current entry, or no entry with these keys */
    YFW_ERR_NO_MEMORY = 0x79661600U     /* an allocation failed */
};

#endif
