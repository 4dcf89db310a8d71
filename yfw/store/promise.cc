#include "store/promise.h"

namespace yfw {

std::optional<Promise> read_promise(const Transaction &transaction) {
    const auto record = transaction.record(promise_key);
    if (!record) {
        return std::nullopt;
    }
    std::string_view left = *record;
    Promise promise;
    std::uint64_t due = 0;
    std::string_view persist;
    std::string_view who;
    if (!take_fixed(left, promise.base) || !take_fixed(left, due) || !take_text(left, persist) ||
        !take_text(left, who) || !left.empty()) {
        throw_damaged(transaction.directory());
    }
    promise.due = std::chrono::system_clock::time_point(std::chrono::milliseconds(due));
    promise.persist = persist;
    promise.who = who;
    return promise;
}

void keep_promise(Transaction &transaction, const Promise &promise) {
    const auto due = std::chrono::duration_cast<std::chrono::milliseconds>(promise.due.time_since_epoch());
    std::string bytes;
    append_fixed(bytes, promise.base);
    append_fixed(bytes, static_cast<std::uint64_t>(due.count()));
    append_text(bytes, promise.persist);
    append_text(bytes, promise.who);
    transaction.put(promise_key, bytes);
}

void drop_promise(Transaction &transaction) {
    transaction.erase(promise_key);
}

} // namespace yfw
