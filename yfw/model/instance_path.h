// Instance paths as a person writes them:
// "/network-instances/network-instance[name=DEFAULT]/protocols/protocol[identifier=BGP][name='core']/bgp".
#pragma once

#include "base/arena.h"
#include "model/schema.h"
#include "model/tree.h"

#include <string_view>

namespace yfw {

// Adds the path's nodes to the tree and returns the last. Names may have a module's name or prefix; values are as a
// PathParser takes them, and are kept in canonical form. A list level without all its keys adds an entry that has those
// given, unless there is one like it already; a leaf-list without a value adds one without. Throws Refused, naming what
// is unknown.
Node *add_instance_path(Arena &arena, const Schema &schema, Node *root, std::string_view path);

} // namespace yfw
