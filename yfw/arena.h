// Memory that lives as long as a request and is freed at once.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace yfw {

class Arena {
  public:
    Arena() = default;
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

    [[nodiscard]] std::size_t used() const { return used_; }
    // From now on there may be a clear-text password in it.
    void note_secret() { holds_secret_ = true; }
    // Overwrites everything handed out so far, if there may be a password in it.
    void wipe();

  private:
    void grow(std::size_t size);

    struct Chunk {
        std::unique_ptr<char, decltype(&std::free)> memory;
        std::size_t size;
    };
    std::vector<Chunk> chunks_;
    char *next_ = nullptr;
    char *end_ = nullptr;
    std::size_t used_ = 0;
    bool holds_secret_ = false;
};

} // namespace yfw
