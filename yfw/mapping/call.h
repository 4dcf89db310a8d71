// The call of what serves a node, whichever way it is served.
#pragma once

#include "boundary/request.h"
#include "mapping/mapping.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace yfw {

class Caller {
  public:
    // All must outlive it; stored may be empty where nothing may look at what is stored.
    Caller(Request &request, const Mapping &mapping, const StoredNative &stored)
        : request_(request), mapping_(mapping), stored_(stored) {}

    // The code of what serves the node. What failed meanwhile below the boundary is thrown, whatever the code says.
    cerrno call(Node *node, const Binding &binding);
    // Why the companion's service called last left the node alone, and whether nothing is lost by that.
    [[nodiscard]] const std::string &note() const { return note_; }
    [[nodiscard]] bool handled() const { return handled_; }

    // Whether the request is at a network instance other than the default one.
    [[nodiscard]] bool in_vrf() { return mapping_.companion().in_vrf(request_); }

  private:
    cerrno dispatch(Node *node, const Binding &binding);
    cerrno call_companion(Node *node, const Binding &binding);
    cerrno call_select(Node *node, const Binding &binding);
    cerrno call_copy(const Node *node, const SchemaNode &target, const char *value);
    cerrno call_convert(const Node *node, const Binding &binding);

    Request &request_;
    const Mapping &mapping_;
    const StoredNative &stored_;
    std::unordered_map<const Binding *, std::vector<xpath_list_type_t>> candidates_;
    std::string note_;
    bool handled_ = false;
};

// Calls the handler of a node's when-condition; false when the node may not be there.
bool condition_holds(Request &request, const Node *node, WhenHandler handler);

} // namespace yfw
