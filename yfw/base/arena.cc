#include "base/arena.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

namespace yfw {

namespace {
constexpr std::size_t first_chunk = std::size_t{16} << 10;
constexpr std::size_t page = std::size_t{4} << 10;
constexpr std::size_t step = std::size_t{256} << 10; // populated at once: what the kernel clears is still in the cache

std::size_t rounded_up(std::size_t size, std::size_t unit) {
    return (size + unit - 1) & ~(unit - 1);
}

} // namespace

Chunk ChunkPool::take() {
    const std::lock_guard lock(mutex_);
    if (kept_.empty()) {
        return {};
    }
    Chunk chunk = std::move(kept_.back().chunk);
    kept_.pop_back();
    return chunk;
}

void ChunkPool::give_back(std::vector<Chunk> &&chunks, Clock::time_point now) noexcept {
    const std::lock_guard lock(mutex_);
    const auto fresh =
        std::find_if(kept_.begin(), kept_.end(), [now](const Kept &kept) { return now - kept.since <= longest; });
    kept_.erase(kept_.begin(), fresh);
    try {
        kept_.reserve(kept_.size() + chunks.size());
    } catch (const std::bad_alloc &) {
        return; // and free them
    }
    for (Chunk &chunk : chunks) {
        if (chunk.size == chunk_size) {
            kept_.push_back({std::move(chunk), now});
        }
    }
}

Arena::~Arena() {
    if (pool_ != nullptr) {
        pool_->give_back(std::move(chunks_));
    }
}

// Opens more of the last chunk, which has room for it.
void Arena::open(std::size_t size) {
    // A wish. Page by page, on first touch, it takes twice the time. Huge pages are faster still while the machine has
    // some at hand, and much slower when it has to make them.
    const std::size_t opened = std::min(rounded_up(size, step), static_cast<std::size_t>(chunk_end_ - end_));
    madvise(end_, opened, MADV_POPULATE_WRITE);
    end_ += opened;
    chunks_.back().opened += opened;
}

void Arena::grow(std::size_t size) {
    if (size <= static_cast<std::size_t>(chunk_end_ - next_)) {
        open(size - static_cast<std::size_t>(end_ - next_));
        return;
    }
    const std::size_t usual = chunks_.empty() ? first_chunk : std::min(chunks_.back().size * 16, ChunkPool::chunk_size);
    const bool opens = usual == ChunkPool::chunk_size; // step by step
    const std::size_t unit = opens ? page : alignof(std::max_align_t);
    chunks_.reserve(chunks_.size() + 1);
    Chunk chunk;
    if (pool_ != nullptr && opens && size <= usual) {
        chunk = pool_->take();
    }
    if (chunk.memory == nullptr) {
        chunk.size = rounded_up(std::max(usual, size), unit);
        chunk.memory.reset(static_cast<char *>(std::aligned_alloc(unit, chunk.size)));
        chunk.opened = opens ? 0 : chunk.size;
    }
    if (chunk.memory == nullptr) {
        throw std::bad_alloc();
    }
    next_ = chunk.memory.get();
    chunk_end_ = next_ + chunk.size;
    end_ = next_ + chunk.opened;
    chunks_.push_back(std::move(chunk));
    if (size > static_cast<std::size_t>(end_ - next_)) {
        open(size - static_cast<std::size_t>(end_ - next_));
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
