#include "serve/service/metrics.h"

namespace yfw::serve {

void Metrics::count(const std::string &by, const std::string &operation, const std::string &result,
                    std::chrono::duration<double> took) {
    const std::lock_guard lock(mutex_);
    Sum &sum = requests_[{by, operation, result}];
    ++sum.count;
    sum.seconds += took.count();
}

void Metrics::set_sessions(std::size_t sessions) {
    const std::lock_guard lock(mutex_);
    sessions_ = sessions;
}

void Metrics::set_last_commit(std::uint64_t number) {
    const std::lock_guard lock(mutex_);
    last_commit_ = number;
}

std::string Metrics::text() const {
    const std::lock_guard lock(mutex_);
    const auto start = std::chrono::duration_cast<std::chrono::seconds>(start_.time_since_epoch()).count();
    std::string text = "# TYPE yfwd_start_time_seconds gauge\nyfwd_start_time_seconds " + std::to_string(start) +
                       "\n# TYPE yfwd_sessions gauge\nyfwd_sessions " + std::to_string(sessions_) +
                       "\n# TYPE yfwd_last_commit gauge\nyfwd_last_commit " + std::to_string(last_commit_) +
                       "\n# TYPE yfwd_requests_total counter\n";
    std::string seconds = "# TYPE yfwd_request_seconds_total counter\n";
    for (const auto &[labels, sum] : requests_) {
        const auto &[by, operation, result] = labels;
        std::string of = "{by=\"";
        of.append(by).append("\",operation=\"").append(operation).append("\",result=\"").append(result).append("\"} ");
        text += "yfwd_requests_total" + of + std::to_string(sum.count) + '\n';
        seconds += "yfwd_request_seconds_total" + of + std::to_string(sum.seconds) + '\n';
    }
    return text + seconds;
}

} // namespace yfw::serve
