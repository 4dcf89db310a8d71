// The walk of a read: parents first, keys first and then in schema order, calling what serves each node.
#pragma once

#include "base/error.h"
#include "boundary/request.h"
#include "mapping/mapping.h"

#include <utility>
#include <vector>

namespace yfw {

// Nodes whose callback refused: a read goes on without them.
using Unanswered = std::vector<std::pair<const Node *, Refused>>;

// Declares in the request's destination the native paths that answer its source, a tree of OpenConfig nodes; list
// entries without keys stand for all. covers: what lies below the innermost nodes is wanted too. A callback that
// declares something for a container or entry has declared all of it, in a read of configuration; elsewhere, and in a
// read of state, the source is completed downwards with every node that is served.
Unanswered declare_walk(Request &request, const Mapping &mapping, const StoredNative &stored, bool covers, bool state);

// Renders what was fetched, the request's source, configuration first.
Unanswered render_walk(Request &request, const Mapping &mapping);

} // namespace yfw
