// Memory that lives as long as a request and is freed at once.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <vector>

namespace yfw {

// A piece of memory, of which the kernel has given as much as was used of it so far.
struct Chunk {
    std::unique_ptr<char, decltype(&std::free)> memory{nullptr, &std::free};
    std::size_t size = 0;
    std::size_t opened = 0;
};

// Keeps the large chunks of ended requests for the next ones: to ask the kernel for memory anew, which it clears, is a
// tenth of a large request. A chunk that is not used for a while is freed when the next request ends. What is
// kept holds no passwords: these are wiped before. Threads may share it.
class ChunkPool {
  public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t chunk_size = std::size_t{4} << 20;
    static constexpr std::chrono::seconds longest{10}; // without use

    // A chunk that was kept, or one without memory.
    Chunk take();
    void give_back(std::vector<Chunk> &&chunks, Clock::time_point now = Clock::now()) noexcept;

  private:
    struct Kept {
        Chunk chunk;
        Clock::time_point since;
    };
    std::mutex mutex_;
    std::vector<Kept> kept_; // the last one given back is the first to be taken
};

class Arena {
  public:
    // pool: where large chunks come from and go to; null for the allocator alone. It must outlive the arena.
    explicit Arena(ChunkPool *pool = nullptr) : pool_(pool) {}
    ~Arena();
    Arena(const Arena &) = delete;
    Arena &operator=(const Arena &) = delete;

    // Memory aligned for any pointer; throws std::bad_alloc.
    void *allocate(std::size_t size) {
        size = (size + alignof(void *) - 1) & ~(alignof(void *) - 1);
        if (size > static_cast<std::size_t>(end_ - next_)) [[unlikely]] {
            grow(size);
        }
        char *memory = next_;
        next_ += size;
        return memory;
    }

    // A copy with a terminator.
    char *copy(std::string_view text) {
        if (text.size() >= static_cast<std::size_t>(end_ - next_)) [[unlikely]] {
            grow(text.size() + 1);
        }
        char *memory = next_;
        if (!text.empty()) {
            std::memcpy(memory, text.data(), text.size());
        }
        memory[text.size()] = '\0';
        next_ += (text.size() + alignof(void *)) & ~(alignof(void *) - 1);
        if (next_ > end_) {
            next_ = end_;
        }
        return memory;
    }

    // A clear-text password that is to be wiped.
    void note_secret(char *text, std::size_t size) { secrets_.emplace_back(text, size); }
    char *copy_secret(std::string_view text) {
        secrets_.emplace_back(); // before there is anything to be wiped
        char *secret = copy(text);
        secrets_.back() = {secret, text.size()};
        return secret;
    }
    // Overwrites the passwords noted so far.
    void wipe();

  private:
    void grow(std::size_t size);
    void open(std::size_t size);

    ChunkPool *pool_;
    std::vector<Chunk> chunks_;
    char *next_ = nullptr;
    char *end_ = nullptr;       // of what can be handed out
    char *chunk_end_ = nullptr; // of the last chunk
    std::vector<std::span<char>> secrets_;
};

} // namespace yfw
