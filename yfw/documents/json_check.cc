#include "documents/json_check.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

namespace yfw {

namespace {

bool is_digit(char character) {
    return character >= '0' && character <= '9';
}

std::size_t digits_from(std::string_view text, std::size_t at) {
    while (at < text.size() && is_digit(text[at])) {
        ++at;
    }
    return at;
}

// The length of the character that begins there, 0 when the bytes are no UTF-8.
std::size_t utf8_length(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t i) -> unsigned {
        return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0U;
    };
    const unsigned lead = byte(0);
    if (lead < 0x80) {
        return 1;
    }
    const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
    if (lead < 0xc2 || lead > 0xf4) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xc0U) != 0x80) {
            return 0;
        }
    }
    const unsigned second = byte(1); // overlong forms, surrogates, and what lies beyond Unicode
    const bool wrong = (lead == 0xe0 && second < 0xa0) || (lead == 0xed && second > 0x9f) ||
                       (lead == 0xf0 && second < 0x90) || (lead == 0xf4 && second > 0x8f);
    return wrong ? 0 : length;
}

class Checker {
  public:
    explicit Checker(std::string_view text) : text_(text) {}

    JsonCheck run() {
        skip_blanks();
        if (at_ == text_.size()) {
            fail("the document is empty");
        }
        bool done = !value();
        while (!done && !open_.empty()) {
            done = !after_value();
        }
        skip_blanks();
        if (!done && at_ < text_.size()) {
            fail("there is more text behind the document's end");
        }
        return result_;
    }

  private:
    // Each returns false after a fault.
    bool fail(const char *reason) {
        if (result_.fault == nullptr) {
            result_.fault = reason;
            result_.offset = at_;
        }
        return false;
    }

    void skip_blanks() {
        while (at_ < text_.size() &&
               (text_[at_] == ' ' || text_[at_] == '\n' || text_[at_] == '\r' || text_[at_] == '\t')) {
            ++at_;
        }
    }

    bool take(char character) {
        skip_blanks();
        if (at_ == text_.size() || text_[at_] != character) {
            return false;
        }
        ++at_;
        return true;
    }

    // A scalar, or the beginning of an object or array up to its first scalar or its end.
    bool value() {
        for (;;) {
            skip_blanks();
            const char first = at_ < text_.size() ? text_[at_] : '\0';
            if (first != '{' && first != '[') {
                return scalar(first);
            }
            ++at_;
            open_ += first;
            result_.depth = std::max(result_.depth, open_.size());
            if (take(first == '{' ? '}' : ']')) {
                open_.pop_back();
                return true;
            }
            if (first == '{' && !name()) {
                return false;
            }
        }
    }

    bool after_value() {
        const bool object = open_.back() == '{';
        if (take(object ? '}' : ']')) {
            open_.pop_back();
            return true;
        }
        if (!take(',')) {
            return fail(at_ == text_.size() ? "the document ends too early"
                        : object            ? "a ',' or '}' is expected"
                                            : "a ',' or ']' is expected");
        }
        return (!object || name()) && value();
    }

    bool name() {
        skip_blanks();
        if (at_ == text_.size() || text_[at_] != '"') {
            return fail("a member's name is expected");
        }
        return string() && (take(':') || fail("a ':' is expected"));
    }

    bool scalar(char first) {
        if (first == '"') {
            return string();
        }
        const std::string_view rest = text_.substr(at_);
        for (const std::string_view word : {"true", "false", "null"}) {
            if (rest.starts_with(word)) {
                at_ += word.size();
                return true;
            }
        }
        const std::size_t number = json_number_length(rest);
        at_ += number;
        return number != 0 || fail("a value is expected");
    }

    bool string() {
        const std::size_t begin = at_++;
        while (at_ < text_.size() && text_[at_] != '"') {
            if (static_cast<unsigned char>(text_[at_]) < 0x20) {
                return fail("a string has a control character that is not escaped");
            }
            if (text_[at_] == '\\' ? !escape() : !character()) {
                return false;
            }
        }
        if (at_ == text_.size()) {
            at_ = begin;
            return fail("a string has no end");
        }
        ++at_;
        return true;
    }

    bool character() {
        const std::size_t length = utf8_length(text_, at_);
        at_ += length;
        return length != 0 || fail("the text is not valid UTF-8");
    }

    bool escape() {
        const char what = at_ + 1 < text_.size() ? text_[at_ + 1] : '\0';
        if (what == '\0' || std::string_view("\"\\/bfnrtu").find(what) == std::string_view::npos) {
            return fail("a string has an unknown escape sequence");
        }
        if (what != 'u') {
            at_ += 2;
            return true;
        }
        const std::uint32_t unit = code_unit(at_);
        const bool leads = unit >= 0xd800 && unit < 0xdc00;
        const std::uint32_t second = leads ? code_unit(at_ + 6) : 0;
        if (unit > 0xffff || (unit >= 0xdc00 && unit < 0xe000) || (leads && (second < 0xdc00 || second > 0xdfff))) {
            return fail("a string has an escape sequence that is no character");
        }
        at_ += leads ? 12 : 6;
        return true;
    }

    // Of a \uXXXX; more than 0xffff when there is none.
    [[nodiscard]] std::uint32_t code_unit(std::size_t at) const {
        constexpr std::uint32_t none = 0x10000;
        if (at + 6 > text_.size() || text_[at] != '\\' || text_[at + 1] != 'u') {
            return none;
        }
        std::uint32_t unit = 0;
        for (const char character : text_.substr(at + 2, 4)) {
            const auto digit = std::string_view("0123456789abcdef").find(static_cast<char>(character | 0x20));
            if (digit == std::string_view::npos || (!is_digit(character) && digit < 10)) {
                return none;
            }
            unit = unit * 16 + static_cast<std::uint32_t>(digit);
        }
        return unit;
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::string open_; // one bracket per open object or array
    JsonCheck result_;
};

} // namespace

JsonCheck check_json(std::string_view text) {
    return Checker(text).run();
}

std::size_t json_number_length(std::string_view text) {
    std::size_t at = text.starts_with('-') ? 1 : 0;
    std::size_t end = text.substr(at).starts_with('0') ? at + 1 : digits_from(text, at);
    if (end == at) {
        return 0;
    }
    if (end < text.size() && text[end] == '.') {
        at = end + 1;
        end = digits_from(text, at);
        if (end == at) {
            return 0;
        }
    }
    if (end < text.size() && (text[end] == 'e' || text[end] == 'E')) {
        at = end + 1;
        at += at < text.size() && (text[at] == '+' || text[at] == '-') ? 1 : 0;
        end = digits_from(text, at);
        if (end == at) {
            return 0;
        }
    }
    return end;
}

Place place_of(std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, offset);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::string_view of_line = before.substr(before.rfind('\n') + 1); // npos + 1 is 0
    const auto column = std::count_if(of_line.begin(), of_line.end(),
                                      [](char c) { return (static_cast<unsigned char>(c) & 0xc0U) != 0x80; });
    return {static_cast<std::size_t>(line), static_cast<std::size_t>(column) + 1};
}

} // namespace yfw
