// The check of a native edit against the native model.
#pragma once

#include "base/error.h"
#include "model/tree.h"

#include <string>

namespace yfw {

// Throws Refused: a value that its type does not take, a leaf set without a value, an entry without any of its keys in
// a list where the store cannot tell which one is meant. What lies in a node that is deleted is not looked at.
void check_native(const Schema &schema, const Node *edit);

} // namespace yfw
