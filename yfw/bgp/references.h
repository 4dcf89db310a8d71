// References within the native configuration.
#pragma once

#include "store/store.h"

namespace yfw {

// Holds an applied native edit to them: a neighbour that it puts into a peer group finds it, and no neighbour is left
// in a group that it takes away. Throws Refused with the names.
void check_references(const Schema &schema, const Transaction &transaction, const Node *edit);

} // namespace yfw
