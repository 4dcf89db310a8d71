#include "base/characters.h"

#include <cstring>

namespace yfw {

namespace {

bool is_excluded(std::uint32_t character) {
    const bool is_control = character < 0x20 && character != '\t' && character != '\n' && character != '\r';
    return is_control || (character >= 0xfdd0 && character <= 0xfdef) || (character & 0xfffeU) == 0xfffe;
}

// Whether the next eight bytes are ASCII without controls, as nearly all are.
bool is_plain_word(const char *text) {
    constexpr std::uint64_t each = 0x0101010101010101U;
    std::uint64_t word = 0;
    std::memcpy(&word, text, sizeof(word));
    return (((word - 0x20 * each) | word) & (0x80 * each)) == 0;
}

} // namespace

std::optional<std::uint32_t> excluded_character(std::string_view text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        while (at + sizeof(std::uint64_t) <= text.size() && is_plain_word(text.data() + at)) {
            at += sizeof(std::uint64_t);
        }
        if (at == text.size()) {
            break;
        }
        const auto lead = static_cast<unsigned char>(text[at]);
        if (lead >= 0x20 && lead < 0xef) { // most text; none of them is below or behind these
            continue;
        }
        const std::size_t more = lead >= 0xf0 ? 3 : lead == 0xef ? 2 : 0;
        std::uint32_t character = more == 3 ? lead & 0x07U : more == 2 ? lead & 0x0fU : lead;
        for (std::size_t i = 1; i <= more && at + i < text.size(); ++i) {
            character = character << 6U | (static_cast<unsigned char>(text[at + i]) & 0x3fU);
        }
        if (is_excluded(character)) {
            return character;
        }
        at += more;
    }
    return std::nullopt;
}

} // namespace yfw
