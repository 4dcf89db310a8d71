#include "boundary/log.h"

#include "base/text.h"
#include "vnos_platform.h"

#include <array>
#include <cstdarg>
#include <exception>

namespace yfw {

void Log::attach(yfw_map_context &context) {
    context.debug_filter.level = static_cast<int>(level_);
    context.trace_enabled = trace_enabled_;
    context.error_log = this;
    context.trace_log = this;
    context.trace_buffer = this;
}

void Log::write_debug(std::string_view line) {
    if (stream_ == nullptr) {
        debug_.emplace_back(line);
        return;
    }
    std::fprintf(stream_, "%s\n", visible(line).c_str());
}

namespace {
// Numbers the trace buffer's lines; the contract has one sequence for the whole process.
std::uint32_t trace_index = 0;
constexpr std::size_t longest_line = 1024;
} // namespace

TraceNumbers::TraceNumbers() : kept_(trace_index) {}

TraceNumbers::~TraceNumbers() {
    trace_index = kept_;
}

} // namespace yfw

extern "C" {

uint32_t ret_nc_yfw_trace_index_incr(void) {
    return ++yfw::trace_index;
}

int yfw_debug_should_log(const struct yfw_debug_filter *filter, int level) {
    return level <= filter->level ? 1 : 0;
}

void _vnos_dt_log_filter_adv(void *log, int, int, int, int, int, int32_t *cell, const char *format, ...) {
    *cell = 1; // every statement passes the filter of this platform
    std::array<char, yfw::longest_line> line{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    try {
        static_cast<yfw::Log *>(log)->write_debug(line.data());
    } catch (const std::exception &) {
        // A line that memory is too short for is lost.
    }
}

void _lstrace(void *trace_buffer, uint64_t, const char *text) {
    try {
        static_cast<yfw::Log *>(trace_buffer)->write_trace(text);
    } catch (const std::exception &) {
        // As above.
    }
}
}
