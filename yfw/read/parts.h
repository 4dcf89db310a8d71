// A read of parts of the configuration, for the framework's own use.
#pragma once

#include "read/ground.h"
#include "store/store.h"

#include <memory>

namespace yfw {

// The look at what is stored, in a transaction that outlives it.
StoredNative stored_in(const Transaction &transaction);

// The OpenConfig configuration that lies at and below the innermost nodes of a tree of paths, as the destination of the
// request returned; list entries without keys stand for all. What cannot be rendered is left out.
std::unique_ptr<Request> read_parts(const Ground &ground, const Node *parts, const Transaction &transaction);

} // namespace yfw
