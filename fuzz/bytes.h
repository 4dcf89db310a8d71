// The fuzzer's bytes as choices. When they have run out, every choice is the first one.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace yfw::fuzz {

class Bytes {
  public:
    Bytes(const std::uint8_t *data, std::size_t size) : left_(reinterpret_cast<const char *>(data), size) {}

    [[nodiscard]] bool empty() const { return left_.empty(); }
    // A number below count; two bytes where one does not reach.
    std::size_t below(std::size_t count) {
        const std::size_t high = count > 256 ? next() : 0;
        return count == 0 ? 0 : (high << 8U | next()) % count;
    }
    // True in one case of so many, never when the bytes have run out.
    bool one_in(std::size_t count) { return below(count) == count - 1; }
    // At most that many characters.
    std::string_view text(std::size_t longest) {
        const std::string_view taken = left_.substr(0, std::min(below(longest + 1), left_.size()));
        left_.remove_prefix(taken.size());
        return taken;
    }
    std::string_view rest() const { return left_; }
    // The second half, which is then no longer in these.
    Bytes split() {
        const std::string_view behind = left_.substr(left_.size() / 2);
        left_ = left_.substr(0, left_.size() / 2);
        return {reinterpret_cast<const std::uint8_t *>(behind.data()), behind.size()};
    }

  private:
    std::uint8_t next() {
        const auto byte = left_.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(left_.front());
        left_.remove_prefix(left_.empty() ? 0 : 1);
        return byte;
    }

    std::string_view left_;
};

// Ends the process when something that must hold does not.
inline void require(bool holds, const char *what, std::string_view detail = {}) {
    if (!holds) {
        std::fprintf(stderr, "violated: %s\n%s\n", what, std::string(detail).c_str());
        std::abort();
    }
}

} // namespace yfw::fuzz
