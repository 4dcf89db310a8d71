#include "base/error.h"

#include <algorithm>
#include <array>
#include <utility>

namespace yfw {

const char *code_name(cerrno code) {
    static constexpr auto names = std::to_array<std::pair<cerrno, const char *>>({
        {0, "success"},
        {OCBGP_ERR_GENERAL, "OCBGP_ERR_GENERAL"},
        {OCBGP_SKIP_SUBTREE, "OCBGP_SKIP_SUBTREE"},
        {OCBGP_ERR_NO_RESOURCE, "OCBGP_ERR_NO_RESOURCE"},
        {OCBGP_ERR_BAD_POLICY, "OCBGP_ERR_BAD_POLICY"},
        {OCBGP_ERR_BAD_TUPLE, "OCBGP_ERR_BAD_TUPLE"},
        {OCBGP_SYSDB_NO_DATA, "OCBGP_SYSDB_NO_DATA"},
        {SYSDB_ERR_UNBOUND, "SYSDB_ERR_UNBOUND"},
        {SYSDB_ERR_STORE, "SYSDB_ERR_STORE"},
        {YFW_ERR_INVALID, "YFW_ERR_INVALID"},
        {YFW_ERR_UNKNOWN_PATH, "YFW_ERR_UNKNOWN_PATH"},
        {YFW_ERR_NO_ENTRY, "YFW_ERR_NO_ENTRY"},
        {YFW_ERR_NO_MEMORY, "YFW_ERR_NO_MEMORY"},
        {static_cast<cerrno>(Reason::malformed_document), "malformed-message"},
        {static_cast<cerrno>(Reason::unknown_element), "unknown-element"},
        {static_cast<cerrno>(Reason::invalid_value), "invalid-value"},
        {static_cast<cerrno>(Reason::missing_key), "missing-element"},
        {static_cast<cerrno>(Reason::duplicate), "bad-element"},
        {static_cast<cerrno>(Reason::unknown_operation), "unknown-attribute"},
        {static_cast<cerrno>(Reason::too_big), "too-big"},
        {static_cast<cerrno>(Reason::data_exists), "data-exists"},
        {static_cast<cerrno>(Reason::data_missing), "data-missing"},
        {static_cast<cerrno>(Reason::constraint), "operation-failed"},
        {static_cast<cerrno>(Reason::not_mapped), "operation-not-supported"},
        {static_cast<cerrno>(Reason::not_served), "operation-not-supported"},
    });
    const auto *found = std::find_if(names.begin(), names.end(), [code](const auto &row) { return row.first == code; });
    return found == names.end() ? "unnamed" : found->second;
}

} // namespace yfw
