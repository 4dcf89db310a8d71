#include "base/memory.h"

#include "base/failure.h"
#include "vnos_platform.h"
#include "yfw_map.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

struct alignas(std::max_align_t) Header {
    std::uint64_t size;
};

std::int64_t blocks = 0;
std::uint64_t failing = 0;

// All of the text or nothing of it.
int copy_bounded(char *target, std::size_t size, const char *text, std::size_t length) {
    if (target == nullptr || size == 0) {
        return 1;
    }
    const bool fits = text != nullptr && length < size;
    if (fits) {
        std::memcpy(target, text, length);
    }
    target[fits ? length : 0] = '\0';
    return fits ? 0 : 1;
}

} // namespace

namespace yfw::memory {

std::int64_t outstanding() {
    return blocks;
}
void fail_after(std::uint64_t count) {
    failing = count;
}

} // namespace yfw::memory

extern "C" {

void *vnos_named_calloc_(uint64_t count, uint64_t size, const char *, int) {
    const bool fails = failing != 0 && --failing == 0;
    std::uint64_t total = 0;
    const bool too_big =
        __builtin_mul_overflow(count, size, &total) || total > std::numeric_limits<std::uint64_t>::max() / 2;
    auto *header = fails || too_big ? nullptr : static_cast<Header *>(std::calloc(1, sizeof(Header) + total));
    if (header == nullptr) {
        yfw::failure::note_short_memory();
        return nullptr;
    }
    header->size = total;
    ++blocks;
    return header + 1;
}

void vnos_named_free(void *memory) {
    if (memory == nullptr) {
        return;
    }
    Header *header = static_cast<Header *>(memory) - 1;
    // It may have held a password.
    explicit_bzero(memory, header->size);
    --blocks;
    std::free(header);
}

char *yfw_strdup(const char *text, const char *tag) {
    if (text == nullptr) {
        return nullptr;
    }
    const std::size_t size = std::strlen(text) + 1;
    auto *copy = static_cast<char *>(vnos_named_calloc_(1, size, tag, 0));
    if (copy != nullptr) {
        std::memcpy(copy, text, size);
    }
    return copy;
}

int yfw_strncpy_s(char *target, size_t size, const char *text, size_t count) {
    return copy_bounded(target, size, text, text == nullptr ? 0 : strnlen(text, count));
}

int yfw_strcpy_s(char *target, size_t size, const char *text, const char *) {
    return copy_bounded(target, size, text, text == nullptr ? 0 : std::strlen(text));
}

char *utoa(uint32_t value, char *buffer, int base) {
    if (base < 2 || base > 36) {
        buffer[0] = '\0';
        return buffer;
    }
    char *end = buffer;
    do {
        *end++ = "0123456789abcdefghijklmnopqrstuvwxyz"[value % static_cast<uint32_t>(base)];
        value /= static_cast<uint32_t>(base);
    } while (value != 0);
    *end = '\0';
    for (char *front = buffer, *back = end - 1; front < back; ++front, --back) {
        const char kept = *front;
        *front = *back;
        *back = kept;
    }
    return buffer;
}
}
