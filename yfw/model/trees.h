// What reads and edits do with trees beyond their nodes.
#pragma once

#include "base/error.h"
#include "model/tree.h"

#include <cstdint>
#include <string>

namespace yfw {

// Whether a node holds nothing but its keys.
bool is_bare(const Node *node);

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

// Takes out all that lies in a node but its keys.
void take_children(Node *node);

// Takes a node out, and what it lies in as far as that holds nothing else then and has no operation.
void take_out(Node *node);

// A refusal that names the node in words, and as its path the request's node that it came from, where there is one.
[[nodiscard]] Refused refusal(Reason reason, const Node *node, const std::string &why);

} // namespace yfw
