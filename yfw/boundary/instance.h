// Nodes by path, relative to a node. The paths are expressions as plug-ins make them,
// "/bgp/instance[instance-name=core]/": a value has no quotes and may hold any character. Where it ends is known from
// the names that may follow it.
#pragma once

#include "model/tree.h"

namespace yfw {

// The node, or null. A list level without keys means the current entry.
Node *find_instance(Node *base, std::string_view expression);

// The node, its missing levels and keys added; null when the models have no such path. Entries that are added on the
// way to a node of state are marked as state_only.
Node *ensure_instance(Arena &arena, Node *base, std::string_view expression);

// The same for an entry that state and configuration meet in. Null, too, when keys are missing or are identities that
// the models lack.
Node *join_instance(Arena &arena, const Schema &schema, Node *base, std::string_view expression);

} // namespace yfw
