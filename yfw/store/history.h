// The history of the configuration: a record a commit, with what the commit's records were before it. Data that the
// models call no configuration is not in it.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace yfw {

class Schema;
class Transaction;
struct SchemaNode;

// What is kept: the newest commits, and no more of them than this.
struct HistoryLimits {
    std::size_t commits = 1000;
    std::size_t bytes = std::size_t{64} << 20U;
};

// What a commit says of itself.
struct CommitNote {
    std::string who; // a user's name
    std::string by;  // what the user worked with: "command"
    std::string comment;
    bool is_to_be_undone = false; // one whose images are too many is refused then
};

// Keys in the order of their arrival, close together.
class TouchedKeys {
  public:
    void add(std::string_view key) {
        ends_.push_back(bytes_.size() + key.size());
        bytes_ += key;
    }
    [[nodiscard]] bool empty() const { return ends_.empty(); }
    // In their order, each once.
    [[nodiscard]] std::vector<std::string> sorted() const;

  private:
    std::string bytes_;
    std::vector<std::size_t> ends_;
};

// Records by their keys; none where there was no record.
using Images = std::map<std::string, std::optional<std::string>, std::less<>>;

// What a commit did to a record.
enum class RecordChange : std::uint8_t { added, changed, removed };

// A commit that is kept.
struct HistoryEntry {
    // Of how many records of one list, or of those that lie in none (null), each change was.
    struct Count {
        const SchemaNode *list = nullptr;
        std::size_t added = 0;
        std::size_t changed = 0;
        std::size_t removed = 0;
    };
    std::uint64_t number = 0;
    std::chrono::system_clock::time_point time;
    CommitNote note;
    bool has_images = true; // false: they were more than is kept
    std::vector<Count> counts;
};

// Writes what a transaction is about to commit into its history, and drops what is no longer kept. A transaction that
// changes no configuration leaves no trace there.
void add_to_history(Transaction &transaction, const CommitNote &note);

// The number of the newest commit; 0 for none.
std::uint64_t newest_commit(const Transaction &transaction);

// The newest commits, the newest first.
std::vector<HistoryEntry> read_history(const Transaction &transaction, std::size_t most);

// The records that have changed since a commit, as they were after it; 0 is the state before the first one kept. Throws
// Refused when that state is not known.
Images images_after(const Transaction &transaction, std::uint64_t number);
// The keys of the records that the commits between two states touched. Both must be known.
std::vector<std::string> touched_between(const Transaction &transaction, std::uint64_t one, std::uint64_t other);

// Makes the configuration what it was after a commit. Throws Refused, also when the models in use do not take it; then
// the transaction is to be given up.
void restore(Transaction &transaction, const Schema &schema, std::uint64_t number);

// Looks at the history's records, one after the other, and says what is wrong with them.
class HistoryChecker {
  public:
    explicit HistoryChecker(const Transaction &transaction) : transaction_(transaction) {}
    // Empty when nothing is.
    std::string check(std::string_view key, std::string_view bytes);

  private:
    const Transaction &transaction_;
    std::uint64_t number_ = 0; // of the record before; 0 for none
    std::uint64_t end_ = 0;
};

} // namespace yfw
