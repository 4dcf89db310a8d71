#include "base/closest.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace yfw {

namespace {

// How many letters are to be put in, left out, changed or swapped with their neighbour.
std::size_t differences(std::string_view a, std::string_view b) {
    std::array<std::vector<std::size_t>, 3> rows; // of the table of beginnings: two before, one before, this one
    rows.fill(std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        const auto &[two_before, before, row] = rows;
        rows[2][0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            if (i == 0) {
                rows[2][j] = j;
                continue;
            }
            std::size_t least =
                std::min({before[j] + 1, row[j - 1] + 1, before[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                least = std::min(least, two_before[j - 2] + 1);
            }
            rows[2][j] = least;
        }
        std::rotate(rows.begin(), rows.begin() + 1, rows.end());
    }
    return rows[1][b.size()];
}

} // namespace

std::size_t closest(std::string_view given, std::span<const std::string_view> names) {
    constexpr std::size_t longest = 100;
    std::size_t best = names.size();
    std::size_t least = given.size() > longest ? 0 : std::max<std::size_t>(given.size() / 3, 1) + 1;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::size_t lengths = std::max(given.size(), names[i].size()) - std::min(given.size(), names[i].size());
        if (lengths >= least) {
            continue;
        }
        if (const std::size_t count = differences(given, names[i]); count < least) {
            least = count;
            best = i;
        }
    }
    return best;
}

} // namespace yfw
