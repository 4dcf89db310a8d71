// The name that was probably meant.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace yfw {

// The one of the names that differs least from what was given, the first of several: by at most a third of the letters,
// two letters that changed places being one difference. names.size() when none is so near.
std::size_t closest(std::string_view given, std::span<const std::string_view> names);

} // namespace yfw
