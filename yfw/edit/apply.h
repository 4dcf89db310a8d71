// The application of a native edit to the store.
#pragma once

#include "store/store.h"

#include <cstdint>

namespace yfw {

// What a native edit does: only its deletes, everything around them being the way there, or all of it.
enum class Round : std::uint8_t { deletes, sets };

// Carries out the operations of the edit's nodes; a node without one is merged. A delete of what is not there does
// nothing: whether the client may delete it is settled by then. Throws Refused; the transaction is then to be given up.
void apply_edit(Transaction &transaction, const Node *edit, Round round = Round::sets);

} // namespace yfw
