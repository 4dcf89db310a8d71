#include "arena.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

namespace yfw {

namespace {
constexpr std::size_t first_chunk = std::size_t{16} << 10;
constexpr std::size_t largest_chunk = std::size_t{4} << 20;
constexpr std::size_t page = std::size_t{4} << 10;
} // namespace

void Arena::adopt(std::string &&memory) {
    if (memory.capacity() > first_chunk) {
        adopted_.push_back(std::move(memory));
        adopted_.back().resize(adopted_.back().capacity());
    }
}

void Arena::grow(std::size_t size) {
    for (; adopted_used_ < adopted_.size(); ++adopted_used_) {
        std::string &memory = adopted_[adopted_used_];
        if (memory.size() > size + alignof(std::max_align_t)) {
            next_ = memory.data() + (-reinterpret_cast<std::uintptr_t>(memory.data()) & (alignof(void *) - 1));
            end_ = memory.data() + memory.size();
            ++adopted_used_;
            return;
        }
    }
    const std::size_t usual = chunks_.empty() ? first_chunk : std::min(chunks_.back().size * 2, largest_chunk);
    const std::size_t alignment = usual < largest_chunk ? alignof(std::max_align_t) : page;
    const std::size_t chunk_size = (std::max(usual, size + alignof(void *)) + alignment - 1) & ~(alignment - 1);
    chunks_.reserve(chunks_.size() + 1);
    auto *memory = static_cast<char *>(std::aligned_alloc(alignment, chunk_size));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    if (alignment == page) {
        // A wish. Page by page, on first touch, it takes twice the time. Huge pages are faster still while the machine
        // has some at hand, and much slower when it has to make them.
        madvise(memory, chunk_size, MADV_POPULATE_WRITE);
    }
    chunks_.push_back({{memory, &std::free}, chunk_size});
    next_ = chunks_.back().memory.get();
    end_ = next_ + chunk_size;
}

void Arena::wipe() {
    for (const std::span<char> secret : secrets_) {
        if (!secret.empty()) {
            explicit_bzero(secret.data(), secret.size());
        }
    }
    secrets_.clear();
}

} // namespace yfw
