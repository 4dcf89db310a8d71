#include "documents/sink.h"

#include "base/error.h"

#include <algorithm>
#include <cerrno>

namespace yfw {

void Sink::flush() {
    const std::string_view pending(buffer_.get(), used_);
    used_ = 0;
    if (text_ != nullptr) {
        text_->append(pending);
    } else if (std::fwrite(pending.data(), 1, pending.size(), stream_) != pending.size() || std::fflush(stream_) != 0) {
        throw Unusable(std::string("cannot write the output: ") + std::strerror(errno));
    }
}

void Sink::put_long(std::string_view piece) {
    while (!piece.empty()) {
        put(piece.substr(0, size));
        piece.remove_prefix(std::min(size, piece.size()));
    }
}

} // namespace yfw
