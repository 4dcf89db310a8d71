// A name as a document writes it.
#pragma once

#include <cstdint>
#include <string_view>

namespace yfw {

// A member's or element's name. The qualifier is empty for a bare one.
struct QualifiedName {
    enum class Kind : std::uint8_t { module, name_space };

    std::string_view local;
    std::string_view qualifier;
    Kind kind = Kind::module;
};

} // namespace yfw
