// Several rounds of native edits as one.
#pragma once

#include "model/tree.h"

namespace yfw {

// Takes out of a round of deletes what is only written around them.
void keep_deletes(Node *round);

// Adds a round to those before it, so that one edit does what they do in turn: what was deleted and is set now is
// replaced. The round's nodes are copied into the arena.
void combine(Arena &arena, Node *before, const Node *round);

} // namespace yfw
