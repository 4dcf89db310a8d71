#include "serve/net/worker.h"

#include <utility>

namespace yfw::serve {

Worker::Worker() : thread_([this] { run(); }) {}

bool Worker::post(std::function<void()> function) {
    {
        const std::lock_guard lock(mutex_);
        if (stopping_) {
            return false;
        }
        queue_.push(std::move(function));
    }
    more_.notify_one();
    return true;
}

void Worker::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    more_.notify_one();
    if (thread_.joinable()) {
        thread_.join();
    }
}

std::size_t Worker::queued() const {
    const std::lock_guard lock(mutex_);
    return queue_.size();
}

void Worker::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        more_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
        if (queue_.empty()) {
            return;
        }
        std::function<void()> function = std::move(queue_.front());
        queue_.pop();
        lock.unlock();
        function();
        function = nullptr; // what it holds goes without the lock
        lock.lock();
    }
}

} // namespace yfw::serve
