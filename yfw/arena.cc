#include "arena.h"

#include <algorithm>
#include <new>

namespace yfw {

namespace {
constexpr std::size_t first_chunk = std::size_t{16} << 10;
constexpr std::size_t largest_chunk = std::size_t{4} << 20;
} // namespace

void Arena::grow(std::size_t size) {
    const std::size_t usual = chunks_.empty() ? first_chunk : std::min(chunks_.back().size * 2, largest_chunk);
    const std::size_t chunk_size = std::max(usual, (size + 64) & ~std::size_t{63});
    chunks_.reserve(chunks_.size() + 1);
    chunks_.push_back({std::unique_ptr<char[]>(new char[chunk_size]), chunk_size});
    next_ = chunks_.back().memory.get();
    end_ = next_ + chunk_size;
    used_ += chunk_size;
}

void Arena::wipe() {
    for (Chunk &chunk : chunks_) {
        explicit_bzero(chunk.memory.get(), chunk.size);
    }
}

} // namespace yfw
