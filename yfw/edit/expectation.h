// What a part of the configuration should be after an edit, and what the edit may touch beside what it names.
#pragma once

#include "base/note.h"
#include "edit/compare.h"
#include "edit/map.h"
#include "store/store.h"

#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

namespace yfw {

// The parts that an edit of some parts touches: the list entries that they lie in, as far as one callback serves them
// whole, or the containers, and what their coming and going affects beside them.
Node *touched_parts(Arena &arena, const Mapping &mapping, const Node *parts);

// Takes out of a tree what another one of deletes has.
void subtract(Node *from, const Node *goes);

// Puts what is set, as far as it lies in the parts, into what is expected. Of a leaf-list that natively has one value
// the others go, with a note.
void overlay(Arena &arena, const Mapping &mapping, Node *expected, const Node *parts, const Node *sets,
             std::vector<Note> &notes);

// OpenConfig list entries of which a native edit has something in native entries that are stored already.
struct ExistingOrigins {
    std::unordered_set<const Node *> entries; // that such an entry came from
    std::unordered_set<const Node *> writers; // that wrote something into one
};
ExistingOrigins existing_origins(const Transaction &transaction, const Node *native);

// The parts that nodes of an edit may change beside themselves, in entries that are stored already: a root. existing
// tells which are; it is asked only when it matters.
Node *affected_parts(Arena &arena, const Mapping &mapping, const MapResult &mapped,
                     const std::function<ExistingOrigins()> &existing);

// Adds the path of the leaf that writes this one along with itself, if there is such a leaf.
void add_partner(Arena &arena, const Mapping &mapping, Node *paths, const Node *leaf);
// The leaves that are needed to set what is missing, or to take away what is there instead: a tree of their paths.
Node *partners_of(Arena &arena, const Mapping &mapping, const Comparison &comparison);

// Copies a tree with the operations of its nodes.
void copy_with_operations(Arena &arena, Node *into, const Node *from);

// Visits the topmost nodes of a tree of differences that a person is to be told of: list entries that are not there at
// all, and leaves. known finds a node's counterpart in what is there. The tree may be null.
void for_each_difference(const Node *tree, const std::function<const Node *(const Node *)> &known,
                         const std::function<void(const Node *, const Node *there)> &visit);

// The nodes that a tree of sets touches: entries that are served whole, and leaves outside them.
void add_touched(const Mapping &mapping, const Node *sets, std::vector<const Node *> &touched);

} // namespace yfw
