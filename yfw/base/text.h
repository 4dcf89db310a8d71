// Text made safe for lines that a person reads.
#pragma once

#include <string>
#include <string_view>

namespace yfw {

// The text on one line, in which nothing acts upon a terminal or hides what stands there: control characters, marks of
// the direction of writing, line separators and bytes that are no UTF-8 as \x1b or \u202e. All else stays as it is.
std::string visible(std::string_view text);

} // namespace yfw
