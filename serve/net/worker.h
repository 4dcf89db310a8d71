// A thread for what must not hold up the loop.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <queue>
#include <thread>

namespace yfw::serve {

// Runs functions one after the other, in the order in which they came. They must not throw: the process ends.
class Worker {
  public:
    Worker();
    ~Worker() { stop(); }
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    // Any thread, also its own. False, and not queued, after stop().
    bool post(std::function<void()> function);
    // Finishes what is queued. Not from its own thread.
    void stop();
    [[nodiscard]] std::size_t queued() const;

  private:
    void run();

    mutable std::mutex mutex_;
    std::condition_variable more_;
    std::queue<std::function<void()>> queue_;
    bool stopping_ = false;
    std::thread thread_; // last: it uses the others
};

} // namespace yfw::serve
