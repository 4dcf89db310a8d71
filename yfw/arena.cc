#include "arena.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <new>

namespace yfw {

namespace {
constexpr std::size_t first_chunk = std::size_t{16} << 10;
constexpr std::size_t largest_chunk = std::size_t{4} << 20;
constexpr std::size_t huge_page = std::size_t{2} << 20;
} // namespace

void Arena::grow(std::size_t size) {
    const std::size_t usual = chunks_.empty() ? first_chunk : std::min(chunks_.back().size * 2, largest_chunk);
    const std::size_t alignment = usual < largest_chunk ? alignof(std::max_align_t) : huge_page;
    const std::size_t chunk_size = (std::max(usual, size + alignof(void *)) + alignment - 1) & ~(alignment - 1);
    chunks_.reserve(chunks_.size() + 1);
    auto *memory = static_cast<char *>(std::aligned_alloc(alignment, chunk_size));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    if (alignment == huge_page) {
        madvise(memory, chunk_size, MADV_HUGEPAGE); // a wish: half the time of a large request goes into small pages
    }
    chunks_.push_back({{memory, &std::free}, chunk_size});
    next_ = chunks_.back().memory.get();
    end_ = next_ + chunk_size;
    used_ += chunk_size;
}

void Arena::wipe() {
    if (!holds_secret_) {
        return;
    }
    for (Chunk &chunk : chunks_) {
        explicit_bzero(chunk.memory.get(), chunk.size);
    }
}

} // namespace yfw
