// A commit that is undone unless it is confirmed in time. It is noted in the store with that commit: a crash does not
// forget it.
#pragma once

#include "store/store.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace yfw {

struct Promise {
    std::uint64_t base = 0; // what is gone back to: the commit before
    std::chrono::system_clock::time_point due;
    std::string persist; // who knows it may confirm; empty: only the session that committed
    std::string who;     // that user's name
};

inline constexpr std::string_view promise_key = "p";

// None when there is none. Throws Unusable when it is damaged.
std::optional<Promise> read_promise(const Transaction &transaction);
void keep_promise(Transaction &transaction, const Promise &promise);
void drop_promise(Transaction &transaction);

} // namespace yfw
