// Native state values in OpenConfig's words. A value that is in no table has no OpenConfig form: null.
#include "state.h"

#include <cstddef>
#include <cstring>

namespace {

struct word {
    const char *native;
    const char *openconfig;
};

constexpr word session_states[] = {
    {"idle", "IDLE"},         {"connect", "CONNECT"},         {"active", "ACTIVE"},
    {"opensent", "OPENSENT"}, {"openconfirm", "OPENCONFIRM"}, {"established", "ESTABLISHED"}};
constexpr word peer_types[] = {{"internal", "INTERNAL"}, {"external", "EXTERNAL"}};
constexpr word communities[] = {{"standard", "STANDARD"}, {"extended", "EXTENDED"}, {"both", "BOTH"}, {"none", "NONE"}};
constexpr word default_policies[] = {{"accept-route", "ACCEPT_ROUTE"}, {"reject-route", "REJECT_ROUTE"}};

template <std::size_t Count>
const char *convert(const word (&table)[Count], const cidl_yfw_datatree *node) {
    if (node == nullptr || node->value == nullptr) {
        return nullptr;
    }
    for (const word &row : table) {
        if (std::strcmp(row.native, node->value) == 0) {
            return row.openconfig;
        }
    }
    return nullptr;
}

} // namespace

YMAP_EXPORT const char *ocni_vn_bgp_session_state_convert(yfw_map_ctx, const cidl_yfw_datatree *node) {
    return convert(session_states, node);
}

YMAP_EXPORT const char *ocni_vn_bgp_peer_type_convert(yfw_map_ctx, const cidl_yfw_datatree *node) {
    return convert(peer_types, node);
}

YMAP_EXPORT const char *ocni_vn_bgp_send_community_convert(yfw_map_ctx, const cidl_yfw_datatree *node) {
    return convert(communities, node);
}

YMAP_EXPORT const char *ocni_vn_bgp_default_policy_convert(yfw_map_ctx, const cidl_yfw_datatree *node) {
    return convert(default_policies, node);
}
