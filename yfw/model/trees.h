// What reads and edits do with trees beyond their nodes.
#pragma once

#include "base/error.h"
#include "model/tree.h"

#include <cstdint>
#include <string>

namespace yfw {

// Calls visit(child) for the children in the schema's order, the entries of a list one after the other.
template <typename Visit>
void for_each_in_order(const Node *parent, Visit visit) {
    for_each_member(parent, [&visit](Node *first) {
        for (Node *node = first; node != nullptr; node = node->schema().repeats() ? next_entry(node) : nullptr) {
            visit(node);
        }
    });
}

// Calls visit(child) for the children but keys; the one at hand may be taken out.
template <typename Visit>
void for_each_below(const Node *parent, Visit visit) {
    Node *next = nullptr;
    for (Node *node = parent->first(); node != nullptr; node = next) {
        next = node->next();
        if (!node->schema().is_key) {
            visit(node);
        }
    }
}

// Whether a node holds nothing but its keys. A leaf does.
bool is_bare(const Node *node);

// Calls visit(node) for the bare nodes of a tree.
template <typename Visit>
void for_each_innermost(const Node *root, const Visit &visit) {
    for_each_below(root, [&visit](Node *node) {
        if (is_bare(node)) {
            visit(node);
        } else {
            for_each_innermost(node, visit);
        }
    });
}

// Calls visit(leaf) for the passwords of configuration in a tree; the one at hand may be taken out.
template <typename Visit>
void for_each_password(const Node *root, const Visit &visit) {
    for_each_below(root, [&visit](Node *node) {
        if (node->schema().is_inner()) {
            for_each_password(node, visit);
        } else if (node->schema().secret && node->schema().config && node->value != nullptr) {
            visit(node);
        }
    });
}

// The list entry that a node lies in, or is; the root when there is none.
const Node *entry_around(const Node *node);

// The node of a schema node at or below another node, by current entries; null when a level is missing.
Node *descendant(const Node *above, const SchemaNode &schema);
// The same with the missing levels added.
Node *ensure_descendant(Arena &arena, Node *above, const SchemaNode &schema);

// The same with containers that say nothing in it: without presence, operation, or anything but such containers below.
bool is_hollow(const Node *node);

// The counterpart of a node in another tree, found by names and keys; null when it is not there.
Node *counterpart(Node *root, const Node *node);
const Node *counterpart(const Node *root, const Node *node);
// The child of the parent that corresponds to the node, which is no key; likewise.
Node *counterpart_below(Node *parent, const Node *node);

// The same with what is missing on the way added.
Node *ensure_counterpart(Arena &arena, Node *root, const Node *node);
Node *ensure_counterpart_below(Arena &arena, Node *parent, const Node *node);

// Copies a node's value, and all that lies below it, into its counterpart. operation: of every copy but the keys, and
// of the counterpart; none leaves them without.
void copy_into(Arena &arena, Node *into, const Node *from, std::uint32_t operation);
// The copy of a node under its counterpart's place in another tree.
Node *copy_to(Arena &arena, Node *root, const Node *from, std::uint32_t operation);

// Takes out all that lies in a node but its keys, or those children that goes(child) says it of.
void take_children(Node *node);
template <typename Goes>
void take_children_if(Node *node, Goes goes) {
    for_each_below(node, [&goes](Node *below) {
        if (goes(below)) {
            release_name_spaces(below);
            unlink(below);
        }
    });
}

// Takes a node out, and what it lies in as far as that holds nothing else then and has no operation.
void take_out(Node *node);

// A refusal that names the node in words, and as its path the request's node that it came from, where there is one.
[[nodiscard]] Refused refusal(Reason reason, const Node *node, const std::string &why);

} // namespace yfw
