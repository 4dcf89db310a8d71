#include "serve/net/budget.h"

#include <algorithm>

namespace yfw::serve {

bool Budget::fits(std::size_t bytes, std::size_t limit) {
    std::size_t used = used_.load(std::memory_order_relaxed);
    do {
        if (bytes > limit || used > limit - bytes) {
            return false;
        }
    } while (!used_.compare_exchange_weak(used, used + bytes, std::memory_order_relaxed));
    return true;
}

// Of those that can close a connection, the one whose has stood still for longest.
bool Budget::relieve() {
    auto found = reliefs_.end();
    std::chrono::nanoseconds longest{};
    for (auto relief = reliefs_.begin(); relief != reliefs_.end(); ++relief) {
        if (const std::chrono::nanoseconds time = relief->longest(); time > longest) {
            longest = time;
            found = relief;
        }
    }
    if (found == reliefs_.end()) {
        return false;
    }
    found->close();
    return true;
}

bool Budget::take(std::size_t bytes, bool answer) {
    if (fits(bytes, limit_)) {
        return true;
    }
    if (bytes <= limit_) {
        while (relieve()) {
            if (fits(bytes, limit_)) {
                return true;
            }
        }
    }
    return answer && fits(bytes, 2 * limit_);
}

Holding &Holding::operator=(Holding &&other) noexcept {
    if (this != &other) {
        give_back();
        budget_ = other.budget_;
        bytes_ = std::exchange(other.bytes_, 0);
    }
    return *this;
}

bool Holding::resize(std::size_t bytes, bool answer) {
    const std::size_t before = counted(bytes_), now = counted(bytes);
    if (budget_ != nullptr && now > before && !budget_->take(now - before, answer)) {
        return false;
    }
    if (budget_ != nullptr && now < before) {
        budget_->give(before - now);
    }
    bytes_ = bytes;
    return true;
}

void Holding::give_back() {
    if (budget_ != nullptr && bytes_ > 0) {
        budget_->give(counted(bytes_));
    }
    bytes_ = 0;
}

} // namespace yfw::serve
