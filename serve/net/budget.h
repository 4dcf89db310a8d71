// The memory that connections may hold together.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <utility>

namespace yfw::serve {

// Counts bytes. What each connection holds in one direction is free up to 64 KiB, so that many small requests go on
// when a few large ones have used it up. Thread safe, but for on_short. Outlives what holds some of it.
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

    // Set once, before anything is taken: it frees some, if it can, and is called by take until it cannot (false). So
    // all that take is called on a Listener's loop.
    void on_short(std::function<bool()> free_some) { free_some_ = std::move(free_some); }

  private:
    bool add(std::size_t bytes, std::size_t limit);

    const std::size_t limit_;
    std::atomic<std::size_t> used_{0};
    std::function<bool()> free_some_;
};

// What one holder holds, given back when it goes. May go on any thread.
class Holding {
  public:
    explicit Holding(Budget *budget = nullptr) : budget_(budget) {}
    ~Holding() { reset(0); }
    Holding(Holding &&other) noexcept : budget_(other.budget_), bytes_(std::exchange(other.bytes_, 0)) {}
    Holding &operator=(Holding &&other) noexcept;

    // So many bytes in all from now on. False, and nothing changed, when the budget does not have them.
    bool resize(std::size_t bytes, bool answer = false);
    [[nodiscard]] std::size_t bytes() const { return bytes_; }

  private:
    static std::size_t counted(std::size_t bytes) {
        return bytes > Budget::free_of_each ? bytes - Budget::free_of_each : 0;
    }
    void reset(std::size_t bytes);

    Budget *budget_;
    std::size_t bytes_ = 0;
};

} // namespace yfw::serve
