// What an edit means: RFC 6241's operations worked out, as data, before anything is mapped.
#pragma once

#include "base/error.h"
#include "bgp/rules.h"
#include "documents/reader.h"
#include "mapping/mapping.h"
#include "model/tree.h"

#include <string>
#include <vector>

namespace yfw {

// The parts of the stored configuration that an edit's operations need to be held against, as a tree of their paths:
// what it deletes, replaces or creates, and what it lies in where nothing may be created. Null when there are none, as
// in a plain merge.
Node *concerned_parts(Arena &arena, const Schema &schema, const BgpRules &bgp, const Node *edit,
                      DefaultOperation default_operation);

struct Difference {
    Node *goes = nullptr; // a root: what is deleted or removed, with its subtree and the stored values
    Node *sets = nullptr; // a root: what is set, nodes without operation; the edit's own tree, less what does not set
    std::vector<std::string> not_mapped; // deletes of nodes that nothing serves
};

// stored: the concerned parts of the configuration, a root, or null when there are none. In `goes`, the topmost node of
// what the client deletes itself is marked YFW_NODE_PRESENT; what a replace takes away is not. Throws Refused: create
// of what is there, delete of what is not, an operation on a key, one that sets below one that deletes, nothing to go
// through under the default operation none.
Difference difference(Arena &arena, const Mapping &mapping, const BgpRules &bgp, Node *edit, const Node *stored,
                      DefaultOperation default_operation);

} // namespace yfw
