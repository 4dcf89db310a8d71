// The comparison of a configuration with what it should be.
#pragma once

#include "bgp/rules.h"
#include "mapping/mapping.h"
#include "model/tree.h"

namespace yfw {

struct Comparison {
    // A root: what should be there, or have that value; null when nothing is missing. List entries that are missing
    // themselves are marked YFW_NODE_PRESENT.
    Node *missing = nullptr;
    Node *surplus = nullptr; // a root: what should not be there; as a tree of removes
};

// Compares two trees of OpenConfig configuration as far as the parts go; copies of keys say nothing, and a value that
// is the same as none is none. only_missing: what is found beyond what is expected is all right.
Comparison compare(Arena &arena, const Mapping &mapping, const BgpRules &bgp, const Node *parts, const Node *expected,
                   const Node *found, bool only_missing);

} // namespace yfw
