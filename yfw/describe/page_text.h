// The text of the page, of page.html with page.css and page.js in their places. The mapping goes between the two parts.
#pragma once

#include <string_view>

namespace yfw {

extern const std::string_view page_before;
extern const std::string_view page_behind;

} // namespace yfw
