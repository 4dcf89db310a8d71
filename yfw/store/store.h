// The store: one LMDB environment with the native configuration and the operational data, a record a list entry.
#pragma once

#include "base/arena.h"
#include "model/schema.h"
#include "model/tree.h"
#include "store/history.h"
#include "store/record.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct MDB_env;
struct MDB_txn;
struct MDB_cursor;

namespace yfw {

enum class Access { read, write };

struct StoreLimits {
    std::size_t map_size = std::size_t{16} << 30U; // bytes; address space, not memory
    std::chrono::milliseconds lock_wait{5000};     // for another process's edit to end
    HistoryLimits history{};
};

// An open file, closed when it goes; closing releases its lock.
class FileHandle {
  public:
    explicit FileHandle(int descriptor = -1) : descriptor_(descriptor) {}
    FileHandle(FileHandle &&other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileHandle &operator=(FileHandle &&other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~FileHandle();
    [[nodiscard]] int get() const { return descriptor_; }

  private:
    int descriptor_;
};

// The store's table of numbers, as one transaction sees it.
class Numbers {
  public:
    explicit Numbers(const Schema &schema) : numbers_(schema.size()) {}

    [[nodiscard]] Number number(const SchemaNode &node) const { return numbers_[node.id]; }
    // Null when the loaded models lack the node, or the number was never given.
    [[nodiscard]] const SchemaNode *node(Number number) const {
        return number < nodes_.size() ? nodes_[number] : nullptr;
    }
    [[nodiscard]] std::size_t next() const { return nodes_.size(); }
    void add(const SchemaNode *node);

  private:
    std::vector<Number> numbers_;                    // by schema node
    std::vector<const SchemaNode *> nodes_{nullptr}; // by number
};

// What is read, and in a write transaction changed, as a whole. Changes that are not committed never were.
class Transaction {
  public:
    Transaction(Transaction &&) noexcept = default;
    Transaction &operator=(Transaction &&) = delete;
    ~Transaction() = default;

    // Adds to `into`, a root, what is stored of the nodes of `wanted`: a leaf's value; all that lies in a container or
    // entry that has no children but keys, or in what its children name; the entry with the keys given, or the entries
    // that have those given. A root without children wants nothing. Fetched nodes are marked as present.
    void fetch(Arena &arena, const Node *wanted, Node *into) const;

    // Adds the records of these keys, in their order, with those of the entries that they lie in; not what lies in
    // them. One that is not there is passed over.
    void fetch_records(Arena &arena, const std::vector<std::string> &keys, Node *into) const;

    // Makes the changes last: on return they are on the disk, and in the history what was before. Throws Unusable, and
    // then nothing was changed.
    void commit(const CommitNote &note = {});

    // The keys of data that were written or erased so far, in their order; the records need not be others now.
    [[nodiscard]] std::vector<std::string> touched() const { return touched_.sorted(); }
    // A read of the state that this one, which writes, began with.
    [[nodiscard]] Transaction before() const;
    // From now on a transaction that reads sees these records in place of the ones stored.
    void see(std::shared_ptr<const Images> past) { past_ = std::move(past); }
    void see(Images past) { see(std::make_shared<const Images>(std::move(past))); }
    [[nodiscard]] const HistoryLimits &history_limits() const { return history_limits_; }

    // The record of a key, valid until the next change.
    [[nodiscard]] std::optional<std::string_view> record(std::string_view key) const;
    void put(std::string_view key, std::string_view bytes);
    // The commit adds nothing to the history: that of another store was put there.
    void keep_history_as_it_is() { adds_to_history_ = false; }
    // From now on records need not be put, not even for the rest of the transaction: for the last edit of a dry run.
    void keep_nothing() { keeps_ = false; }
    void keep_again() { keeps_ = true; }
    [[nodiscard]] bool keeps() const { return keeps_; }
    void erase(std::string_view key);
    // Erases every record whose key begins so.
    void erase_all(std::string_view prefix);
    // Whether there is a record whose key begins so.
    [[nodiscard]] bool has_any(std::string_view prefix) const;

    // The number of a node, 0 when the store has none; ensure_number gives it one.
    [[nodiscard]] Number number(const SchemaNode &node) const { return numbers_.number(node); }
    Number ensure_number(const SchemaNode &node);
    // Null when the loaded models lack it.
    [[nodiscard]] const SchemaNode *find_node(Number number) const { return numbers_.node(number); }
    // Throws Unusable when they lack it.
    [[nodiscard]] const SchemaNode &node(Number number) const;

    [[nodiscard]] const std::filesystem::path &directory() const { return *directory_; }

    static constexpr std::size_t longest_key = 511; // LMDB's

  private:
    friend class Store;
    friend class Cursor;
    struct TxnDeleter {
        void operator()(MDB_txn *txn) const;
    };

    Transaction(const std::filesystem::path &directory, Numbers numbers, const HistoryLimits &limits)
        : directory_(&directory), numbers_(std::move(numbers)), history_limits_(limits) {}
    void check_format(Access access);
    void load_numbers(const Schema &schema);
    void touch(std::string_view key) {
        if (key.starts_with(root_key)) {
            touched_.add(key);
        }
    }

    const std::filesystem::path *directory_;
    Numbers numbers_;
    HistoryLimits history_limits_;
    TouchedKeys touched_;
    std::shared_ptr<const Images> past_;       // null: what is stored is seen
    FileHandle lock_;                          // outlives the transaction below
    std::unique_ptr<MDB_txn, TxnDeleter> txn_; // null for a store that is not there yet
    unsigned dbi_ = 0;
    bool keeps_ = true;
    bool adds_to_history_ = true;
};

// Walks over the records of a transaction in the order of their keys.
class Cursor {
  public:
    explicit Cursor(const Transaction &transaction);
    // The first record at or after the key; false when there is none.
    bool seek(std::string_view key);
    bool next();
    // The last record whose key begins so; what a transaction sees of the past is not looked at.
    bool seek_last(std::string_view prefix);
    // The record before, if its key begins so.
    bool previous(std::string_view prefix);
    void erase();
    [[nodiscard]] std::string_view key() const { return key_; }
    [[nodiscard]] std::string_view bytes() const { return bytes_; }

  private:
    struct CursorDeleter {
        void operator()(MDB_cursor *cursor) const;
    };
    bool move(int operation, std::string_view from);
    bool choose();

    const Transaction &transaction_;
    std::unique_ptr<MDB_cursor, CursorDeleter> cursor_;
    std::string_view key_; // both in the store's memory: valid until the next change
    std::string_view bytes_;

    // The two that are gone through together when the past is seen.
    struct Stored {
        bool there = false;
        std::string_view key;
        std::string_view bytes;
    };
    Stored stored_;
    Images::const_iterator seen_;
    bool is_seen_ = false; // the record at work comes from there
};

// Goes from entry to entry of the list with that key prefix (its parent's key and its number); what lies inside the
// entries is stepped over, whatever its size.
class EntryCursor {
  public:
    EntryCursor(const Transaction &transaction, std::string prefix)
        : cursor_(transaction), prefix_(std::move(prefix)) {}
    // False when there are no more entries.
    bool next();
    [[nodiscard]] const std::string &key() const { return key_; }
    // The entry's key values.
    [[nodiscard]] std::string_view values() const { return std::string_view(key_).substr(prefix_.size()); }

  private:
    Cursor cursor_;
    std::string prefix_;
    std::string key_;
    bool started_ = false;
};

// A store directory. At most one of a directory in a process: a limit of LMDB.
class Store {
  public:
    // For writing, the directory is made when it is not there; for reading, a store that is not there is an empty one.
    // Throws Unusable. The schema must outlive the store, and the store its transactions.
    Store(std::filesystem::path directory, const Schema &schema, Access access, StoreLimits limits = {});

    // Throws Unusable; for writing, also when another process does not end its edit in time.
    [[nodiscard]] Transaction begin(Access access) const;

    [[nodiscard]] const std::filesystem::path &directory() const { return directory_; }

  private:
    struct EnvDeleter {
        void operator()(MDB_env *env) const;
    };
    [[nodiscard]] int open(unsigned flags);
    [[nodiscard]] FileHandle lock(int kind) const;
    [[nodiscard]] int check_pages() const;

    std::filesystem::path directory_;
    const Schema &schema_;
    Access access_;
    StoreLimits limits_;
    bool notes_readers_ = true;                // in the lock file, where one may be written
    std::unique_ptr<MDB_env, EnvDeleter> env_; // null for a store that is not there yet
};

} // namespace yfw
