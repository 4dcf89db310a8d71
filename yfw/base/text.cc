#include "base/text.h"

#include <array>
#include <cstdint>
#include <cstdio>

namespace yfw {

namespace {

struct Character {
    std::uint32_t code;
    std::size_t length; // in bytes; 0 when they are no UTF-8
};

Character first_character(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
    if (lead < 0xc2 || lead > 0xf4 || text.size() < length) {
        return {lead, 0};
    }
    std::uint32_t code = lead & (0x7fU >> length);
    for (const char next : text.substr(1, length - 1)) {
        const auto byte = static_cast<unsigned char>(next);
        if ((byte & 0xc0U) != 0x80) {
            return {lead, 0};
        }
        code = code << 6U | (byte & 0x3fU);
    }
    const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    const bool none = overlong || code > 0x10ffff || (code >= 0xd800 && code < 0xe000);
    return {none ? lead : code, none ? 0 : length};
}

bool acts(std::uint32_t code) {
    const bool control = code < 0x20 || (code >= 0x7f && code < 0xa0);
    const bool direction = code == 0x61c || code == 0x200e || code == 0x200f || (code >= 0x202a && code <= 0x202e) ||
                           (code >= 0x2066 && code <= 0x2069);
    const bool separator = code == 0x2028 || code == 0x2029;
    return control || direction || separator;
}

} // namespace

std::string visible(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        const Character character = first_character(text);
        const std::size_t length = character.length == 0 ? 1 : character.length;
        if (character.length != 0 && !acts(character.code)) {
            shown += text.substr(0, length);
        } else {
            std::array<char, 16> escaped{};
            std::snprintf(escaped.data(), escaped.size(), character.code < 0x100 ? "\\x%02x" : "\\u%04x",
                          static_cast<unsigned>(character.code));
            shown += escaped.data();
        }
        text.remove_prefix(length);
    }
    return shown;
}

} // namespace yfw
