// The application of a native edit to the store.
#pragma once

#include "store/store.h"

namespace yfw {

// Carries out the operations of the edit's nodes. A node without one takes the default: merge or, with default_none,
// nothing, and then what it lies in must be there already. Below a node with an operation, the default is merge. Throws
// Refused; the transaction is then to be given up.
//
// One delete of a request may become several native ones, of which not all need find something: a request's delete is
// refused when none of them did. Deletes of nodes that have the same origin, or origins with a common origin of their
// own, count as one.
//
// An entry whose keys are missing stands for the only one that is stored, and gets its keys. Deletes alone do not bring
// the entry that they lie in into being.
void apply_edit(Transaction &transaction, Arena &arena, Node *edit, bool default_none);

} // namespace yfw
