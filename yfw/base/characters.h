// The characters that a YANG string may hold.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace yfw {

// The first character of a text in valid UTF-8 that a YANG string excludes: a control other than tab, line feed and
// carriage return, or a noncharacter such as U+FFFF.
std::optional<std::uint32_t> excluded_character(std::string_view text);

} // namespace yfw
