// Shared by the network-instance mappings: the context of a table connection, which the owner of the table-connection
// list prepares for a request and hangs on its common-data slot.
#pragma once

#include "yfw_map.h"

#include <cstdio>
#include <cstdlib>

constexpr std::size_t OC_TABLE_CONN_AS_SIZE = 61;

struct oc_table_conn_ctx_t {
    char bgp_as[OC_TABLE_CONN_AS_SIZE];       // the upper half, as text
    char four_byte_as[OC_TABLE_CONN_AS_SIZE]; // the lower half
    cidl_yfw_datatree *instance;              // the native instance's node, set by the mapping that adds it
};

inline oc_table_conn_ctx_t *oc_table_conn_get_ctx(yfw_map_ctx ctx) {
    if (ctx->req_ctx->common_data_ptr == nullptr) [[unlikely]] {
        std::fputs("Assertion `ctx->req_ctx->common_data_ptr != NULL' failed.\n", stderr);
        std::abort();
    }
    return static_cast<oc_table_conn_ctx_t *>(ctx->req_ctx->common_data_ptr);
}
