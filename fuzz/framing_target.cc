// A stream of framed messages, whole and in pieces.
#include "bytes.h"
#include "serve/net/framing.h"

#include <vector>

namespace {

using yfw::fuzz::Bytes;
using yfw::fuzz::require;
using namespace yfw::serve;

constexpr std::size_t most = 300; // small enough to be met

struct Heard {
    std::vector<std::string> messages;
    int fault = -1;
    bool operator==(const Heard &) const = default;
};

// In pieces of the lengths that the bytes choose, and whole when they have run out.
Heard hear(std::string_view stream, Framing framing, Bytes cuts) {
    Budget budget(std::size_t{1} << 20U);
    Heard heard;
    {
        Deframer deframer(budget, most);
        deframer.use(framing);
        try {
            while (!stream.empty()) {
                std::string_view piece = cuts.empty() ? stream : stream.substr(0, 1 + cuts.below(12));
                stream.remove_prefix(piece.size());
                while (!piece.empty()) {
                    const std::size_t taken = deframer.take(piece);
                    require(taken > 0 && taken <= piece.size(), "it gets on");
                    piece.remove_prefix(taken);
                    if (deframer.complete()) {
                        require(deframer.take(piece) == 0, "a message waits");
                        Secret message = deframer.release();
                        require(message.size() <= most, "no larger than it may be");
                        heard.messages.emplace_back(message.view());
                    }
                }
            }
        } catch (const FramingFault &fault) {
            heard.fault = static_cast<int>(fault.kind());
        }
    }
    require(budget.used() == 0, "memory is given back");
    return heard;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    Bytes bytes(data, size);
    const Framing framing = bytes.one_in(2) ? Framing::end_marker : Framing::chunked;
    const std::string_view cuts = bytes.text(60), stream = bytes.rest();
    const Heard whole = hear(stream, framing, Bytes(nullptr, 0));
    const Bytes cut(reinterpret_cast<const std::uint8_t *>(cuts.data()), cuts.size());
    require(hear(stream, framing, cut) == whole, "the same in pieces");
    std::string framed;
    for (const std::string &message : whole.messages) {
        frame(framed, message, framing);
    }
    const Heard again = hear(framed, framing, cut);
    require(again.fault == -1 && again.messages == whole.messages, "framed again, the same messages");
    return 0;
}
