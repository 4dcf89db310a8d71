// What differs between two states of a configuration.
#pragma once

#include "model/tree.h"

#include <vector>

namespace yfw {

// A leaf, or a value of a leaf-list, that is there in one state only or has another value; a list entry, or a container
// that means something by being there, that is there in one state only. What lies in that one follows it.
struct Change {
    const Node *before; // null: was not there
    const Node *after;  // null: is no longer there
    bool within;        // of an entry or container that came or went as a whole

    [[nodiscard]] const Node *node() const { return after == nullptr ? before : after; }
    [[nodiscard]] const SchemaNode &schema() const { return node()->schema(); }
};

// The changes from one tree to another of the same schema, in the schema's order; of a list first the entries of the
// one, then those that only the other has. Their nodes are the trees'.
std::vector<Change> changes(const Node *before, const Node *after);

} // namespace yfw
