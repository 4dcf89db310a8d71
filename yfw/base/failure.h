// What failed below the boundary while a callback was running. The plug-in is told by a status or a null, and need not
// act upon it: an add whose status nobody looks at would be half an edit, an item that could not be read would be one
// that is not there. So the framework keeps it and gives the request up when the callback has returned.
#pragma once

#include "cerrno.h"

#include <exception>
#include <new>

namespace yfw::failure {

// Keeps the first one until it is thrown or cleared.
void note(std::exception_ptr what) noexcept;
// The same for memory that is short.
void note_short_memory() noexcept;

void clear() noexcept;

// Throws what was kept, if anything was.
void rethrow();

// Runs a body called from C: keeps what it throws, and yields the status that stands for it.
template <typename Body>
cerrno guarded(Body body, cerrno otherwise = YFW_ERR_INVALID) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc &) {
        note_short_memory();
        return YFW_ERR_NO_MEMORY;
    } catch (...) {
        note(std::current_exception());
        return otherwise;
    }
}

} // namespace yfw::failure
