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
constexpr std::size_t step = std::size_t{256} << 10; // populated at once: what the kernel clears is still in the cache

std::size_t rounded_up(std::size_t size, std::size_t unit) {
    return (size + unit - 1) & ~(unit - 1);
}

} // namespace

// Opens more of the last chunk, which has room for it.
void Arena::open(std::size_t size) {
    // A wish. Page by page, on first touch, it takes twice the time. Huge pages are faster still while the machine has
    // some at hand, and much slower when it has to make them.
    const std::size_t opened = std::min(rounded_up(size, step), static_cast<std::size_t>(chunk_end_ - end_));
    madvise(end_, opened, MADV_POPULATE_WRITE);
    end_ += opened;
}

void Arena::adopt(std::string &&memory) {
    if (memory.capacity() > first_chunk) {
        adopted_.push_back(std::move(memory));
        adopted_.back().resize(adopted_.back().capacity());
    }
}

void Arena::grow(std::size_t size) {
    if (size <= static_cast<std::size_t>(chunk_end_ - next_)) {
        open(size - static_cast<std::size_t>(end_ - next_));
        return;
    }
    for (; adopted_used_ < adopted_.size(); ++adopted_used_) {
        std::string &memory = adopted_[adopted_used_];
        if (memory.size() > size + alignof(std::max_align_t)) {
            next_ = memory.data() + (-reinterpret_cast<std::uintptr_t>(memory.data()) & (alignof(void *) - 1));
            end_ = chunk_end_ = memory.data() + memory.size();
            ++adopted_used_;
            return;
        }
    }
    const std::size_t usual = chunks_.empty() ? first_chunk : std::min(chunks_.back().size * 2, largest_chunk);
    const bool opens = usual == largest_chunk; // step by step
    const std::size_t chunk_size =
        rounded_up(std::max(usual, size + alignof(void *)), opens ? page : alignof(std::max_align_t));
    chunks_.reserve(chunks_.size() + 1);
    auto *memory = static_cast<char *>(std::aligned_alloc(opens ? page : alignof(std::max_align_t), chunk_size));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    chunks_.push_back({{memory, &std::free}, chunk_size});
    next_ = chunks_.back().memory.get();
    chunk_end_ = next_ + chunk_size;
    end_ = opens ? next_ : chunk_end_;
    if (opens) {
        open(size);
    }
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
