// The debug log and the trace buffer.
#pragma once

#include "yfw_map.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace yfw {

// Where a request's log lines go. Outlives the requests it is attached to.
class Log {
  public:
    enum class Level : int { off = -1, error = 0, trace = 3 };

    // The debug log's lines go to stream, or, when it is null, are kept (debug_lines).
    Log(Level level, bool trace_enabled, std::FILE *stream)
        : level_(level), trace_enabled_(trace_enabled), stream_(stream) {}

    void attach(yfw_map_context &context);
    void write_debug(std::string_view line);
    void write_trace(std::string_view line) { trace_.emplace_back(line); }

    [[nodiscard]] const std::vector<std::string> &trace() const { return trace_; }
    [[nodiscard]] const std::vector<std::string> &debug_lines() const { return debug_; }

  private:
    Level level_;
    bool trace_enabled_;
    std::FILE *stream_;
    std::vector<std::string> trace_;
    std::vector<std::string> debug_;
};

// Puts the sequence of the trace's numbers back when it goes.
class TraceNumbers {
  public:
    TraceNumbers();
    ~TraceNumbers();
    TraceNumbers(const TraceNumbers &) = delete;
    TraceNumbers &operator=(const TraceNumbers &) = delete;

  private:
    std::uint32_t kept_;
};

} // namespace yfw
