// The word that was probably meant.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace yfw {

// The known word that is least edits away from the given one: letters added, left out, replaced, or swapped with the
// next; case is no matter. Empty when even that has more than a third of its letters wrong.
std::string nearest(std::string_view given, std::span<const std::string> known);

} // namespace yfw
