#include "base/nearest.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace yfw {

namespace {

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter == '_' ? '-' : letter;
}

std::size_t edits(std::string_view a, std::string_view b) {
    std::vector<std::size_t> before, last(b.size() + 1), now(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) {
        last[j] = j;
    }
    before = last;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        now[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = lower(a[i - 1]) == lower(b[j - 1]);
            now[j] = std::min({last[j] + 1, now[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) && lower(a[i - 2]) == lower(b[j - 1])) {
                now[j] = std::min(now[j], before[j - 2] + 1);
            }
        }
        std::swap(before, last);
        std::swap(last, now);
    }
    return last[b.size()];
}

} // namespace

std::string nearest(std::string_view given, std::span<const std::string> known) {
    constexpr std::size_t longest = 64; // the work grows with the product of the lengths
    std::string best;
    std::size_t fewest = std::min(given.size(), longest) / 3 + 1;
    for (const std::string &word : known) {
        if (given.size() > longest || word.size() > longest) {
            continue;
        }
        if (const std::size_t count = edits(given, word); count < fewest) {
            fewest = count;
            best = word;
        }
    }
    return best;
}

} // namespace yfw
