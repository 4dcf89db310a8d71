// One hash for names, paths and key values.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace yfw {

// Eight bytes a step; good enough for tables that stay half empty.
inline std::uint64_t hash_text(std::string_view text, std::uint64_t seed) {
    constexpr std::uint64_t factor = 0x9e3779b97f4a7c15U;
    std::uint64_t hash = (seed ^ text.size()) * factor;
    const char *next = text.data();
    std::size_t left = text.size();
    for (; left >= 8; left -= 8, next += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, next, 8);
        hash = (hash ^ word) * factor;
        hash ^= hash >> 29U;
    }
    std::uint64_t word = 0;
    if (left != 0) {
        std::memcpy(&word, next, left);
    }
    hash = (hash ^ word) * factor;
    return hash ^ (hash >> 32U);
}

} // namespace yfw
