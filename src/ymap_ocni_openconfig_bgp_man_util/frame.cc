// The callback frame: traces, error lines, refusals.
#include "ymap_ocni_openconfig_bgp_man_util.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

// Which lines of the trace buffer are kept for how long is the platform's business; it knows this word.
constexpr uint64_t trace_flags = 0x10101000000;
constexpr std::size_t trace_line_size = 250;

} // namespace

void ymap_assert_failed(const char *text, const char *function, int line) {
    std::fprintf(stderr, "%s:%d: Assertion `%s' failed.\n", function, line, text);
    std::abort();
}

void ymap_trace_line(yfw_map_ctx ctx, const char *format, ...) {
    char line[trace_line_size];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    _lstrace(ctx->trace_buffer, trace_flags, line);
}

void ymap_frame_start(const ymap_frame &frame, int32_t *start_cell) {
    void *ctx = frame.ctx;
    if (frame.log_traces) {
        _vnos_dt_log_filter_adv(frame.ctx->trace_log, 0, 0, 0, 0, 0, start_cell, "TRC: YFW: ctx=%p,Start", ctx);
    }
    if (frame.buffer) {
        ymap_trace_line(frame.ctx, "#%u: TRC: %s:%d ctx=%p,Start", ret_nc_yfw_trace_index_incr(), frame.name,
                        frame.line, ctx);
    }
}

void ymap_frame_end(const ymap_frame &frame) {
    void *ctx = frame.ctx;
    if (frame.log_traces) {
        _vnos_dt_log_filter_adv(frame.ctx->trace_log, 0, 0, 0, 0, 0, frame.end_cell, "TRC: YFW: ctx=%p,End", ctx);
    }
    if (frame.buffer) {
        ymap_trace_line(frame.ctx, "#%u: TRC: %s:%d ctx=%p,End", ret_nc_yfw_trace_index_incr(), frame.name, frame.line,
                        ctx);
    }
}

cerrno ymap_refuse(const ymap_frame &frame, cerrno code, const char *client_text) {
    if (client_text != nullptr) {
        vnos_named_free(frame.ctx->req_ctx->error_text);
        frame.ctx->req_ctx->error_text = yfw_strdup(client_text, "YFW MAP");
    }
    yfw_oc_error_path(frame.ctx);
    return code;
}

cerrno ymap_refuse_arguments(const ymap_frame &frame) {
    YMAP_ERROR(frame, "Invalid arguments passed!");
    return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
}

cerrno ymap_when(const ymap_frame &frame, const cidl_yfw_datatree *node) {
    if (node == nullptr) {
        YMAP_TRACE(frame, "No valid input to validate when statement ");
        return 1;
    }
    return 0;
}
