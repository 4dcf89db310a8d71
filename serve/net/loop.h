// One thread that waits for descriptors, timers, signals and what other threads hand to it.
#pragma once

#include "serve/net/descriptor.h"

#include <chrono>
#include <csignal>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

namespace yfw::serve {

// All of it is for the thread that runs it, but for stop() and post(). A function that throws ends run() with what it
// threw. It outlives what watches with it.
class Loop {
  public:
    using Clock = std::chrono::steady_clock;
    using Timer = std::uint64_t; // never 0
    using Function = std::function<void()>;

    Loop();
    ~Loop();
    Loop(const Loop &) = delete;
    Loop &operator=(const Loop &) = delete;

    // Until stop(), also one that came before.
    void run();
    // Any thread.
    void stop();
    // Any thread. In the order of the calls; those that were not run when the loop goes are dropped.
    void post(Function function);

    Timer after(Clock::duration duration, Function function);
    // Of one that has run, or of 0: nothing.
    void cancel(Timer timer);

    // Calls with those of the events (EPOLLIN, EPOLLOUT; EPOLLHUP and EPOLLERR come unasked) that there are, as long as
    // they last.
    void watch(int descriptor, std::uint32_t events, std::function<void(std::uint32_t events)> function);
    void watch(int descriptor, std::uint32_t events); // one that is watched, for other events
    void unwatch(int descriptor);                     // before it is closed; no call follows

    // SIGTERM and SIGINT from now on call this. Before any other thread is there: the signals are blocked for those
    // that are started later, too. A program that it starts has to unblock them.
    void on_stop(Function function);

  private:
    struct Watch {
        std::uint32_t generation = 0;
        std::function<void(std::uint32_t)> function;
    };

    void control(int operation, int descriptor, std::uint32_t events, std::uint32_t generation);
    int wait_time() const;
    void wait();
    void run_posted();
    void run_timers();

    Descriptor epoll_;
    Descriptor wake_;
    Descriptor signals_;
    sigset_t signals_before_{};
    std::unordered_map<int, std::shared_ptr<Watch>> watches_;
    std::uint32_t generation_ = 0;
    std::map<std::pair<Clock::time_point, Timer>, Function> timers_;
    std::unordered_map<Timer, Clock::time_point> due_;
    Timer last_timer_ = 0;
    std::mutex mutex_; // of the two below
    std::vector<Function> posted_;
    bool stopped_ = false;
};

} // namespace yfw::serve
