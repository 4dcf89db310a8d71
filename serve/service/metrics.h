// What the daemon counts, for Prometheus.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <tuple>

namespace yfw::serve {

// Any thread.
class Metrics {
  public:
    // A request, by what protocol, that ended so: "ok" or an error's tag.
    void count(const std::string &by, const std::string &operation, const std::string &result,
               std::chrono::duration<double> took);
    void set_sessions(std::size_t sessions);
    void set_last_commit(std::uint64_t number);
    // In Prometheus's text form.
    [[nodiscard]] std::string text() const;

  private:
    struct Sum {
        std::uint64_t count = 0;
        double seconds = 0;
    };
    mutable std::mutex mutex_;
    std::map<std::tuple<std::string, std::string, std::string>, Sum> requests_;
    std::size_t sessions_ = 0;
    std::uint64_t last_commit_ = 0;
    std::chrono::system_clock::time_point start_ = std::chrono::system_clock::now();
};

} // namespace yfw::serve
