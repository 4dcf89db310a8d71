// The comparison of a configuration with what it should be.
#pragma once

#include "bgp/rules.h"
#include "mapping/mapping.h"
#include "model/tree.h"

#include <span>

namespace yfw {

struct Comparison {
    // A root: what should be there, or have that value; null when nothing is missing. List entries that are missing
    // themselves are marked YFW_NODE_PRESENT.
    Node *missing = nullptr;
    Node *surplus = nullptr; // a root: what should not be there; as a tree of removes
};

// Compares two trees of OpenConfig configuration as far as the parts go; copies of keys say nothing, and a value that
// is the same as none is none.
Comparison compare(Arena &arena, const Mapping &mapping, const BgpRules &bgp, const Node *parts, const Node *expected,
                   const Node *found);

// What of some nodes a tree has not, or otherwise; what it has beside is all right. All in `missing`.
Comparison compare_nodes(Arena &arena, const Mapping &mapping, const BgpRules &bgp,
                         std::span<const Node *const> expected, const Node *found);

} // namespace yfw
