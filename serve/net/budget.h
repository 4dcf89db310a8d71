// The memory that connections may hold together.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <utility>

namespace yfw::serve {

// Counts bytes. What each connection holds in one direction is free up to 64 KiB, so that many small requests go on
// when a few large ones have used it up. give is for any thread. Outlives what holds some of it.
class Budget {
  public:
    static constexpr std::size_t free_of_each = std::size_t{64} << 10U;

    explicit Budget(std::size_t limit) : limit_(limit) {}
    Budget(const Budget &) = delete;
    Budget &operator=(const Budget &) = delete;

    // False, and nothing taken, when they would be more than the limit. An answer cannot be sent back to where it came
    // from: it has twice as much.
    bool take(std::size_t bytes, bool answer = false);
    void give(std::size_t bytes) { used_.fetch_sub(bytes, std::memory_order_relaxed); }
    [[nodiscard]] std::size_t used() const { return used_.load(std::memory_order_relaxed); }
    [[nodiscard]] std::size_t limit() const { return limit_; }

    // What can free some, by closing the connection that has stood still for longest: how long it has, zero if there is
    // none, and the closing. take asks for it until there is enough. So all that take is called on the loop's thread.
    struct Relief {
        std::function<std::chrono::nanoseconds()> longest;
        std::function<void()> close;
    };
    using Reliefs = std::list<Relief>;
    Reliefs::iterator add(Relief relief) { return reliefs_.insert(reliefs_.end(), std::move(relief)); }
    void remove(Reliefs::iterator relief) { reliefs_.erase(relief); }

  private:
    bool fits(std::size_t bytes, std::size_t limit);
    bool relieve();

    const std::size_t limit_;
    std::atomic<std::size_t> used_{0};
    Reliefs reliefs_;
};

// What one holder holds, given back when it goes. May go on any thread.
class Holding {
  public:
    // Without a budget it counts nothing.
    explicit Holding(Budget *budget = nullptr) : budget_(budget) {}
    ~Holding() { give_back(); }
    Holding(Holding &&other) noexcept : budget_(other.budget_), bytes_(std::exchange(other.bytes_, 0)) {}
    Holding &operator=(Holding &&other) noexcept;

    // So many bytes in all from now on. False, and nothing changed, when the budget does not have them.
    bool resize(std::size_t bytes, bool answer = false);
    [[nodiscard]] std::size_t bytes() const { return bytes_; }

  private:
    static std::size_t counted(std::size_t bytes) {
        return bytes > Budget::free_of_each ? bytes - Budget::free_of_each : 0;
    }
    void give_back();

    Budget *budget_;
    std::size_t bytes_ = 0;
};

} // namespace yfw::serve
