// Text that may hold passwords.
#pragma once

#include "serve/net/budget.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace yfw::serve {

void wipe(std::string &text) noexcept; // all of its memory; it is empty then
// Room for so many bytes in all, without leaving the text in the memory that it had.
void reserve_wiped(std::string &text, std::size_t capacity);

// Wipes its memory when it goes, and whatever memory it leaves when it grows. A message that was counted stays so until
// then. May go on any thread.
class Secret {
  public:
    // Zeroed bytes behind the text that may be read: what parsers ask for.
    static constexpr std::size_t room = 64;

    Secret() = default;
    explicit Secret(Budget &budget) : holding_(&budget) {}
    ~Secret() { wipe(text_); }
    Secret(Secret &&other) noexcept;
    Secret &operator=(Secret &&other) noexcept;

    // For readers that work in place. It keeps its capacity: nobody else lets it grow.
    [[nodiscard]] std::string &text() { return text_; }
    [[nodiscard]] std::string_view view() const { return text_; }
    [[nodiscard]] std::size_t size() const { return text_.size(); }
    [[nodiscard]] std::size_t capacity() const { return text_.capacity(); }

    // Doubles, but makes no more room than for `most` bytes unless it has to. False when the budget does not have them;
    // the text is as it was then.
    bool append(std::string_view piece, std::size_t most);
    void cut(std::size_t size); // to the first so many bytes
    void pad();                 // zeroes the room behind the text

  private:
    std::string text_;
    Holding holding_;
};

} // namespace yfw::serve
