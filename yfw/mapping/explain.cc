#include "mapping/explain.h"

#include "base/error.h"

#include <algorithm>
#include <span>

namespace yfw {

namespace {

// The text of a trace line: what follows the context pointer and its comma.
std::string_view text_of(std::string_view line) {
    const auto context = line.find(" ctx=");
    const auto comma = context == std::string_view::npos ? context : line.find(',', context);
    return comma == std::string_view::npos ? line : line.substr(comma + 1);
}

std::string_view trim(std::string_view text) {
    while (!text.empty() && text.back() == ' ') {
        text.remove_suffix(1);
    }
    return text;
}

// Errors first; a line may be an error by its level or by how its text begins. Otherwise the last line.
std::string collect(std::span<const std::string> lines) {
    constexpr std::string_view mark = "ERR: ";
    std::string errors;
    std::string last;
    for (const std::string &line : lines) {
        std::string_view text = text_of(line);
        if (text == "Start" || text == "End") {
            continue;
        }
        const bool is_error = text.starts_with(mark) || line.find(": ERR: ") != std::string::npos;
        if (text.starts_with(mark)) {
            text.remove_prefix(mark.size());
        }
        last = trim(text);
        if (is_error && errors.find(last) == std::string::npos) {
            errors += (errors.empty() ? "" : "; ") + last;
        }
    }
    return errors.empty() ? last : errors;
}

const char *meaning(cerrno code) {
    switch (code) {
    case OCBGP_ERR_GENERAL:
        return "the mapping refuses the node";
    case OCBGP_ERR_NO_RESOURCE:
        return "the mapping lacks a resource or a node that it needs";
    case YFW_ERR_NO_MEMORY:
        return "memory is short";
    case YFW_ERR_UNKNOWN_PATH:
        return "the mapping wrote a path that the models in use lack";
    default:
        return "the mapping failed";
    }
}

} // namespace

std::string Explanation::message(const std::function<void()> &again) {
    Log *log = request_.log();
    if (request_.trace_enabled && log != nullptr) {
        return collect(std::span(log->trace()).subspan(traced_));
    }
    Log quiet(Log::Level::off, true, nullptr);
    void *const kept_buffer = request_.trace_buffer;
    const int kept_level = request_.debug_filter.level;
    const TraceNumbers kept_numbers; // what is said twice is numbered and logged once
    request_.debug_filter.level = static_cast<int>(Log::Level::off);
    request_.trace_buffer = &quiet;
    request_.trace_enabled = true;
    again();
    request_.trace_enabled = false;
    request_.trace_buffer = kept_buffer;
    request_.debug_filter.level = kept_level;
    return collect(quiet.trace());
}

std::string Explanation::reason(cerrno code, const std::function<void()> &again) {
    if (request_.fields().error_text != nullptr) {
        return request_.fields().error_text;
    }
    const std::string traced = message(again);
    return traced.empty() ? meaning(code) : traced;
}

} // namespace yfw
