// The judging of when-conditions.
#pragma once

#include "model/tree.h"

namespace yfw {

// Whether a condition holds for a node that has it. What the tree does not tell, as an entry without keys of a read
// does not, is taken to be so when unknown_holds is set.
bool when_holds(const When &when, const Node *node, bool unknown_holds);

} // namespace yfw
