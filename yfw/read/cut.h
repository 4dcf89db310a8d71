// What a read does to its result: repeats keys, and leaves out what was not asked for.
#pragma once

#include "mapping/mapping.h"
#include "request/request.h"

namespace yfw {

// Fills the leaves that the mapping serves as repeats of a key, in the entries of a result that are configured; with
// state their state copies, in all.
void repeat_keys(Request &request, const Mapping &mapping, Node *node, bool state);

// Takes out of the data what the filter does not cover. A filter node without children but keys covers all below it.
void cut(Node *data, const Node *filter);

} // namespace yfw
