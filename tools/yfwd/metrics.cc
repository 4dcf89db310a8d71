#include "metrics.h"

#include <algorithm>

namespace yfw::serve {

std::size_t MetricsSpeaker::take(std::string_view bytes) {
    constexpr std::size_t most = 8192;
    request_ += bytes.substr(0, most - std::min(most, request_.size()));
    const bool is_whole = request_.find("\r\n\r\n") != std::string::npos || request_.find("\n\n") != std::string::npos;
    if (!answered_ && (is_whole || request_.size() == most)) {
        answered_ = true;
        const bool is_known = request_.starts_with("GET /metrics ");
        const std::string body = is_known ? metrics_.text() : "There is /metrics.\n";
        connection_.send(std::string(is_known ? "HTTP/1.1 200 OK" : "HTTP/1.1 404 Not Found") +
                         "\r\nContent-Type: text/plain; version=0.0.4\r\nConnection: close\r\nContent-Length: " +
                         std::to_string(body.size()) + "\r\n\r\n" + body);
        connection_.close();
    }
    return bytes.size();
}

} // namespace yfw::serve
