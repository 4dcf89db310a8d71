// The framings of NETCONF messages, RFC 6242. No input or output.
#pragma once

#include "serve/net/budget.h"
#include "serve/net/secret.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace yfw::serve {

enum class Framing { end_marker, chunked };

// The stream cannot be read on: the session ends.
class FramingFault : public std::runtime_error {
  public:
    enum class Kind { malformed, too_big, no_memory };

    FramingFault(Kind kind, const std::string &reason) : std::runtime_error(reason), kind_(kind) {}
    [[nodiscard]] Kind kind() const { return kind_; }

  private:
    Kind kind_;
};

// Takes a stream apart, one message at a time. Its time is linear in the bytes, however they are cut. Never makes room
// for what is announced, only for what is there.
class Deframer {
  public:
    // Messages of at most so many bytes. It begins with end markers, as hello does.
    Deframer(Budget &budget, std::size_t most);

    // For what comes from now on; between two messages.
    void use(Framing framing);
    // Takes bytes until a message is complete or all are taken, and tells how many; 0 while a complete message waits.
    // Throws FramingFault; nothing more can be taken then.
    std::size_t take(std::string_view bytes);
    [[nodiscard]] bool complete() const { return state_ == State::complete; }
    // The message, which was complete. Ready for the next one.
    Secret release();
    // What a message that is not complete holds.
    [[nodiscard]] std::size_t held_bytes() const { return text_.capacity(); }

  private:
    enum class State { marked, start, hash, size_first, size, data, end, complete };

    std::size_t take_marked(std::string_view bytes);
    std::size_t take_data(std::string_view bytes);
    void take_header(char character);
    void take_digit(char character);
    void keep(std::string_view bytes);
    [[noreturn]] void too_big() const;

    Budget &budget_;
    std::size_t most_;
    Framing framing_ = Framing::end_marker;
    State state_ = State::marked;
    std::uint64_t left_ = 0;  // of the chunk, or its size so far
    std::size_t matched_ = 0; // bytes of the end marker, which are the last ones of the text
    bool begun_ = false;      // the message has a chunk
    Secret text_;
};

// Appends the message, framed; out's memory is wiped when it has to grow. Chunks cannot say an empty message. One that
// has the end marker in it cannot be sent with that: XML in which '>' is escaped has not.
void frame(std::string &out, std::string_view message, Framing framing);

} // namespace yfw::serve
