#include "serve/net/secret.h"

#include <cstring>

#include <algorithm>
#include <utility>

namespace yfw::serve {

void wipe(std::string &text) noexcept {
    explicit_bzero(text.data(), text.capacity());
    text.clear();
}

void reserve_wiped(std::string &text, std::size_t capacity) {
    if (capacity > text.capacity()) {
        std::string larger;
        larger.reserve(capacity);
        larger.append(text);
        wipe(text);
        text.swap(larger);
    }
}

// Of a text of Secret's, which is never short, a move leaves nothing behind.
Secret::Secret(Secret &&other) noexcept : text_(std::move(other.text_)), holding_(std::move(other.holding_)) {}

Secret &Secret::operator=(Secret &&other) noexcept {
    if (this != &other) {
        wipe(text_);
        text_ = std::move(other.text_);
        holding_ = std::move(other.holding_);
    }
    return *this;
}

bool Secret::append(std::string_view piece, std::size_t most) {
    const std::size_t needed = text_.size() + piece.size();
    if (needed + room > text_.capacity()) {
        const std::size_t capacity = std::max(needed, std::min(2 * needed, most)) + room;
        if (!holding_.resize(capacity)) {
            return false;
        }
        reserve_wiped(text_, capacity);
    }
    text_.append(piece);
    return true;
}

void Secret::cut(std::size_t size) {
    explicit_bzero(text_.data() + size, text_.size() - size);
    text_.resize(size);
}

void Secret::pad() {
    const std::size_t size = text_.size();
    reserve_wiped(text_, size + room); // one that was never appended to
    text_.append(room, '\0');
    text_.resize(size);
}

} // namespace yfw::serve
