// A strict JSON syntax check that says where a text is wrong and how deep it is nested. For what the reader itself does
// not look into: texts that are refused, and members that are skipped.
#pragma once

#include "base/error.h"

#include <cstddef>
#include <string_view>

namespace yfw {

struct JsonCheck {
    const char *fault = nullptr; // null when the text is one JSON value
    std::size_t offset = 0;      // of the fault
    std::size_t depth = 0;       // nested objects and arrays, up to the fault
};

JsonCheck check_json(std::string_view text);

// The length of the number that the text begins with, 0 when it begins with none.
std::size_t json_number_length(std::string_view text);

// Of the character at that offset.
Place place_of(std::string_view text, std::size_t offset);

} // namespace yfw
