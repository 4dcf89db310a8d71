#pragma once

#include "documents/builder.h"

#include <string>

namespace yfw {

// Feeds a JSON document to the builder. The text is given room behind its end. Throws Refused.
void read_json(Builder &builder, std::string &text);

} // namespace yfw
