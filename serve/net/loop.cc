#include "serve/net/loop.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <system_error>

namespace yfw::serve {

namespace {

constexpr std::size_t events_of_a_turn = 256;

[[noreturn]] void fail(const char *what) {
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

Loop::Loop() : epoll_(::epoll_create1(EPOLL_CLOEXEC)), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!epoll_.valid() || !wake_.valid()) {
        fail("the event loop");
    }
    watch(wake_.get(), EPOLLIN, [this](std::uint32_t) {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t size = ::read(wake_.get(), &count, sizeof count);
    });
}

Loop::~Loop() {
    if (signals_.valid()) {
        pthread_sigmask(SIG_SETMASK, &signals_before_, nullptr);
    }
}

void Loop::run() {
    for (bool going = true; going;) {
        run_posted();
        run_timers();
        {
            const std::lock_guard lock(mutex_);
            going = !std::exchange(stopped_, false);
        }
        if (going) {
            wait();
        }
    }
}

void Loop::stop() {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    ::eventfd_write(wake_.get(), 1);
}

void Loop::post(Function function) {
    const std::lock_guard lock(mutex_);
    posted_.push_back(std::move(function));
    if (posted_.size() == 1) {
        ::eventfd_write(wake_.get(), 1);
    }
}

// What these post in turn runs in the next turn: descriptors have their time in between.
void Loop::run_posted() {
    std::vector<Function> posted;
    {
        const std::lock_guard lock(mutex_);
        posted.swap(posted_);
    }
    for (Function &function : posted) {
        std::exchange(function, nullptr)();
    }
}

Loop::Timer Loop::after(Clock::duration duration, Function function) {
    const Clock::time_point due = Clock::now() + duration;
    timers_.emplace(std::pair(due, ++last_timer_), std::move(function));
    due_.emplace(last_timer_, due);
    return last_timer_;
}

void Loop::cancel(Timer timer) {
    if (const auto found = due_.find(timer); found != due_.end()) {
        timers_.erase({found->second, timer});
        due_.erase(found);
    }
}

void Loop::run_timers() {
    const Clock::time_point now = Clock::now();
    const Timer last = last_timer_; // those that these start wait for the next turn
    while (!timers_.empty() && timers_.begin()->first.first <= now && timers_.begin()->first.second <= last) {
        const auto timer = timers_.extract(timers_.begin());
        due_.erase(timer.key().second);
        timer.mapped()();
    }
}

int Loop::wait_time() const {
    if (timers_.empty()) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(timers_.begin()->first.first - Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, std::numeric_limits<int>::max()));
}

void Loop::wait() {
    std::array<epoll_event, events_of_a_turn> events{};
    const int count = ::epoll_wait(epoll_.get(), events.data(), events.size(), wait_time());
    if (count < 0 && errno != EINTR) {
        fail("epoll_wait");
    }
    for (int i = 0; i < count; ++i) {
        const epoll_event &event = events.at(static_cast<std::size_t>(i));
        const auto found = watches_.find(static_cast<int>(event.data.u64 & 0xffffffffU));
        // One that was closed in this turn may have left its number to another.
        if (found != watches_.end() && found->second->generation == event.data.u64 >> 32U) {
            const std::shared_ptr<Watch> kept = found->second;
            kept->function(event.events);
        }
    }
}

void Loop::control(int operation, int descriptor, std::uint32_t events, std::uint32_t generation) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = static_cast<std::uint64_t>(generation) << 32U | static_cast<std::uint32_t>(descriptor);
    if (::epoll_ctl(epoll_.get(), operation, descriptor, &event) != 0) {
        fail("epoll_ctl");
    }
}

void Loop::watch(int descriptor, std::uint32_t events, std::function<void(std::uint32_t)> function) {
    auto watch = std::make_shared<Watch>(Watch{++generation_, std::move(function)});
    control(EPOLL_CTL_ADD, descriptor, events, watch->generation);
    watches_[descriptor] = std::move(watch);
}

void Loop::watch(int descriptor, std::uint32_t events) {
    control(EPOLL_CTL_MOD, descriptor, events, watches_.at(descriptor)->generation);
}

void Loop::unwatch(int descriptor) {
    if (watches_.erase(descriptor) != 0) {
        control(EPOLL_CTL_DEL, descriptor, 0, 0);
    }
}

void Loop::on_stop(Function function) {
    sigset_t set{};
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    pthread_sigmask(SIG_BLOCK, &set, &signals_before_);
    signals_ = Descriptor(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!signals_.valid()) {
        fail("signalfd");
    }
    watch(signals_.get(), EPOLLIN, [this, function = std::move(function)](std::uint32_t) {
        signalfd_siginfo info{};
        while (::read(signals_.get(), &info, sizeof info) == sizeof info) {
            function();
        }
    });
}

} // namespace yfw::serve
