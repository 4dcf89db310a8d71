// The history on its way from one store to another: commits in the words of the models, since each store has numbers of
// its own for their nodes.
#pragma once

#include "store/history.h"

#include <functional>
#include <unordered_map>

namespace yfw {

// What a commit found in a record.
struct CopiedImage {
    struct Level {
        const SchemaNode *list = nullptr;
        std::vector<std::string> keys;
    };
    std::vector<Level> entry; // from the outside in; empty for what lies in no list
    RecordChange change = RecordChange::added;
    std::vector<std::pair<const SchemaNode *, std::string>> items; // leaves, and containers with presence
};

struct CopiedCommit {
    std::uint64_t number = 0;
    std::chrono::system_clock::time_point time;
    CommitNote note;
    bool has_images = true;
    std::vector<CopiedImage> images;
};

// Calls visit for the commits that are kept, the oldest first. Throws Refused for one that has nodes which the models
// in use lack.
void copy_history(const Transaction &transaction, const std::function<void(CopiedCommit &)> &visit);

// Puts commits, the oldest first, into a store that has no history, behind the configuration that they led to. The
// commit of the transaction is none of its own then.
class HistoryTaker {
  public:
    HistoryTaker(Transaction &transaction, const Schema &schema) : transaction_(transaction), schema_(schema) {}
    // Throws Refused for what cannot be a commit of the history of these models.
    void take(const CopiedCommit &commit);
    // Throws Refused when the commits do not lead to the configuration.
    void finish();

  private:
    [[nodiscard]] std::string key_of(const CopiedImage &image);
    [[nodiscard]] std::string bytes_of(const CopiedImage &image);

    Transaction &transaction_;
    const Schema &schema_;
    std::uint64_t number_ = 0; // of the last one
    std::uint64_t end_ = 0;
    std::unordered_map<std::string, bool> is_there_; // the records after the last one, by their keys
};

} // namespace yfw
