// Reads of entries that are not named. Callbacks declare what the names that they are given lead to, and without them
// the default network instance's.
#pragma once

#include "model/tree.h"

#include <string>
#include <vector>

namespace yfw {

// The other paths under which what a path asks for may be declared: without the keys that stand below a level without
// keys, since what is looked up by them is not found; and of a VRF, when no network instance is named. node: the
// path's, with its keys.
std::vector<std::string> other_forms(const Node *node);

// Adds to a tree of wanted nodes those that another one has and that are not known, with the keys of the latter but
// VRFs' names. known: such a tree, too.
void add_wanted(Arena &arena, const Schema &schema, Node *wanted, const Node *known, const Node *other);

} // namespace yfw
