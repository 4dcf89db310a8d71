// Where a writer's text goes, piece by piece.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace yfw {

// To a stream or a string, neither of them owned. What was put is there for certain after flush.
class Sink {
  public:
    explicit Sink(std::FILE *stream) : stream_(stream) {}
    explicit Sink(std::string &text) : text_(&text) {}

    void put(char character) {
        *reserve(1) = character;
        ++used_;
    }

    void put(std::string_view piece) {
        if (piece.size() > size) [[unlikely]] {
            put_long(piece);
            return;
        }
        std::memcpy(reserve(piece.size()), piece.data(), piece.size());
        used_ += piece.size();
    }

    // A new line, indented by two blanks a level.
    void put_line_break(std::size_t levels) {
        char *place = reserve(1 + 2 * levels);
        place[0] = '\n';
        std::memset(place + 1, ' ', 2 * levels);
        used_ += 1 + 2 * levels;
    }

    // Throws Unusable when the stream does not take it.
    void flush();

  private:
    static constexpr std::size_t size = std::size_t{64} << 10U;

    char *reserve(std::size_t count) {
        if (count > size - used_) [[unlikely]] {
            flush();
        }
        return buffer_.get() + used_;
    }
    void put_long(std::string_view piece);

    std::FILE *stream_ = nullptr;
    std::string *text_ = nullptr;
    std::unique_ptr<char[]> buffer_{new char[size]};
    std::size_t used_ = 0;
};

} // namespace yfw
