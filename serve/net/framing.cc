#include "serve/net/framing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <utility>

namespace yfw::serve {

namespace {

constexpr std::string_view marker = "]]>]]>";
// After so many matching bytes of the marker, and one that does not: how many of the last ones still may be its first.
constexpr std::array<std::size_t, marker.size()> shorter{0, 0, 1, 0, 1, 2};
constexpr std::uint64_t largest_chunk = 4294967295;

[[noreturn]] void malformed(const std::string &reason) {
    throw FramingFault(FramingFault::Kind::malformed, reason);
}

// Of what came instead. A name, since it may be any byte.
std::string named(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte > ' ' && byte < 0x7f ? "\"" + std::string(1, character) + "\"" : "byte " + std::to_string(byte);
}

std::size_t next_match(std::size_t matched, char character) {
    while (matched > 0 && marker[matched] != character) {
        matched = shorter.at(matched);
    }
    return marker[matched] == character ? matched + 1 : 0;
}

} // namespace

Deframer::Deframer(Budget &budget, std::size_t most) : budget_(budget), most_(most), text_(budget) {}

void Deframer::use(Framing framing) {
    if (begun_ || text_.size() > 0 || (state_ != State::marked && state_ != State::start)) {
        throw std::logic_error("the framing changes within a message");
    }
    framing_ = framing;
    state_ = framing == Framing::chunked ? State::start : State::marked;
}

std::size_t Deframer::take(std::string_view bytes) {
    std::size_t taken = 0;
    while (taken < bytes.size() && state_ != State::complete) {
        if (state_ == State::marked) {
            taken += take_marked(bytes.substr(taken));
        } else if (state_ == State::data) {
            taken += take_data(bytes.substr(taken));
        } else {
            take_header(bytes[taken++]);
        }
    }
    return taken;
}

std::size_t Deframer::take_marked(std::string_view bytes) {
    std::size_t taken = 0;
    while (taken < bytes.size() && matched_ < marker.size()) {
        if (matched_ == 0) {
            taken = std::min(bytes.find(marker.front(), taken), bytes.size());
        }
        if (taken < bytes.size()) {
            matched_ = next_match(matched_, bytes[taken++]);
        }
    }
    if (text_.size() + taken - matched_ > most_) {
        too_big();
    }
    keep(bytes.substr(0, taken));
    if (matched_ == marker.size()) {
        text_.cut(text_.size() - marker.size());
        state_ = State::complete;
    }
    return taken;
}

std::size_t Deframer::take_data(std::string_view bytes) {
    const auto taken = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), left_));
    keep(bytes.substr(0, taken));
    left_ -= taken;
    if (left_ == 0) {
        state_ = State::start;
    }
    return taken;
}

// One character between the data of two chunks: "\n#" size "\n", or "\n##\n".
void Deframer::take_header(char character) {
    if (state_ == State::start || state_ == State::end) {
        if (character != '\n') {
            malformed(named(character) + (state_ == State::start ? " where a chunk begins with a line feed"
                                                                 : " where the end of chunks ends with a line feed"));
        }
        state_ = state_ == State::start ? State::hash : State::complete;
    } else if (state_ == State::hash) {
        if (character != '#') {
            malformed(named(character) + " where a chunk has its #");
        }
        left_ = 0;
        state_ = State::size_first;
    } else if (state_ == State::size_first && character == '#') {
        if (!begun_) {
            malformed("an end of chunks without a chunk");
        }
        state_ = State::end;
    } else {
        take_digit(character);
    }
}

void Deframer::take_digit(char character) {
    if (state_ == State::size && character == '\n') {
        if (left_ > most_ - text_.size()) {
            too_big();
        }
        begun_ = true;
        state_ = State::data;
        return;
    }
    if (character < (state_ == State::size_first ? '1' : '0') || character > '9') {
        malformed(named(character) + " in the size of a chunk, which is from 1 to " + std::to_string(largest_chunk));
    }
    left_ = 10 * left_ + static_cast<std::uint64_t>(character - '0');
    if (left_ > largest_chunk) {
        malformed("a chunk of more than " + std::to_string(largest_chunk) + " bytes");
    }
    state_ = State::size;
}

void Deframer::too_big() const {
    throw FramingFault(FramingFault::Kind::too_big, "a message of more than " + std::to_string(most_) + " bytes");
}

void Deframer::keep(std::string_view bytes) {
    if (!text_.append(bytes, most_ + marker.size())) {
        throw FramingFault(FramingFault::Kind::no_memory, "the messages of all connections together are more than " +
                                                              std::to_string(budget_.limit()) + " bytes");
    }
}

Secret Deframer::release() {
    text_.pad();
    state_ = framing_ == Framing::chunked ? State::start : State::marked;
    matched_ = 0;
    begun_ = false;
    return std::exchange(text_, Secret(budget_));
}

void frame(std::string &out, std::string_view message, Framing framing) {
    constexpr std::size_t around = sizeof "\n#4294967295\n\n##\n";
    reserve_wiped(out, out.size() + message.size() + around * (1 + message.size() / largest_chunk));
    if (framing == Framing::end_marker) {
        out.append(message).append(marker);
        return;
    }
    while (!message.empty()) {
        const std::string_view chunk = message.substr(0, largest_chunk);
        out.append("\n#").append(std::to_string(chunk.size())).append("\n").append(chunk);
        message.remove_prefix(chunk.size());
    }
    out.append("\n##\n");
}

} // namespace yfw::serve
