#include "base/failure.h"

#include <new>
#include <utility>

namespace yfw::failure {

namespace {
// One for the process, as there is one request at a time: tagged memory is asked for without a context.
std::exception_ptr kept;
} // namespace

void note(std::exception_ptr what) noexcept {
    if (kept == nullptr) {
        kept = std::move(what);
    }
}

void note_short_memory() noexcept {
    note(std::make_exception_ptr(std::bad_alloc()));
}

void clear() noexcept {
    kept = nullptr;
}

void rethrow() {
    if (kept != nullptr) {
        std::rethrow_exception(std::exchange(kept, nullptr));
    }
}

} // namespace yfw::failure
