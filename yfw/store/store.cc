#include "store/store.h"

#include "base/error.h"
#include "store/pages.h"

#include <fcntl.h>
#include <lmdb.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace yfw {

namespace {

namespace fs = std::filesystem;

// Beside the data: what the store is, and its table of numbers.
constexpr std::string_view format_key = "f";
constexpr std::string_view numbers_key = "n";
constexpr std::string_view format = "yfw store 2";
constexpr std::string_view format_without_history = "yfw store 1"; // else the same: taken over by the first commit
constexpr std::string_view format_name = "yfw store ";

[[noreturn]] void fail(int code, const fs::path &directory, Access access) {
    const std::string store = "the store in " + directory.string();
    switch (code) {
    case MDB_MAP_FULL:
        throw Unusable(store + " is full: remove from it what is not needed");
    case ENOSPC:
    case EDQUOT:
        throw Unusable("the disk of " + store + " is full: free some space and try again");
    case EIO: // what LMDB makes of a write cut short
        throw Unusable("the disk of " + store + " is full or fails: see to it and try again");
    case EACCES:
    case EPERM:
    case EROFS:
        throw Unusable(store + (access == Access::read ? " may not be read" : " may not be written") +
                       " by this user: see to its owner and permissions, or name another directory");
    case ENOTDIR:
    case MDB_INVALID:
        throw Unusable(directory.string() + " holds something that is no store: name another directory");
    case MDB_VERSION_MISMATCH:
        throw Unusable(store + " was written by another version: use that version, or name another directory");
    case ENOMEM:
        throw Unusable(store + " cannot be opened: there is no address space for it (ulimit -v)");
    case MDB_CORRUPTED:
    case MDB_CURSOR_FULL:
    case MDB_INCOMPATIBLE:
    case MDB_PAGE_FULL:
    case MDB_PAGE_NOTFOUND:
    case MDB_PANIC:
        throw_damaged(directory);
    case MDB_READERS_FULL:
    case EAGAIN:
    case EBUSY:
        throw Unusable(store + " is in use by another process: try again when that has ended");
    default:
        throw Unusable(store + " cannot be used: " + mdb_strerror(code));
    }
}

void check(int code, const fs::path &directory, Access access) {
    if (code != MDB_SUCCESS) [[unlikely]] {
        fail(code, directory, access);
    }
}

MDB_val to_value(std::string_view text) {
    return {text.size(), const_cast<char *>(text.data())};
}

std::string_view to_text(const MDB_val &value) {
    return {static_cast<const char *>(value.mv_data), value.mv_size};
}

void make_directory(const fs::path &directory) {
    std::error_code error;
    if (directory.has_parent_path()) {
        fs::create_directories(directory.parent_path(), error);
    }
    if (!error && ::mkdir(directory.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        error.assign(errno, std::generic_category());
    }
    if (error) {
        fail(error.value(), directory, Access::write);
    }
}

// Asked before LMDB is, which would leave a lock file.
bool is_missing(const fs::path &directory) {
    std::error_code error;
    if (fs::exists(directory, error) && !fs::is_directory(directory, error)) {
        return false;
    }
    return !fs::exists(directory / "data.mdb", error) && !error;
}

// Whether the file was cut off: reading a page beyond its end would end the process. LMDB itself leaves out a page or
// two at the end when they are free.
bool is_cut_off(MDB_env *env, const fs::path &directory) {
    constexpr std::uintmax_t most_left_out = 8;
    MDB_envinfo info{};
    MDB_stat stat{};
    std::error_code error;
    mdb_env_info(env, &info);
    mdb_env_stat(env, &stat);
    const std::uintmax_t size = fs::file_size(directory / "data.mdb", error);
    return !error && size / stat.ms_psize + most_left_out < info.me_last_pgno + 1;
}

} // namespace

FileHandle::~FileHandle() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

void Numbers::add(const SchemaNode *node) {
    if (node != nullptr) {
        numbers_[node->id] = static_cast<Number>(nodes_.size());
    }
    nodes_.push_back(node);
}

void Store::EnvDeleter::operator()(MDB_env *env) const {
    mdb_env_close(env);
}

Store::Store(fs::path directory, const Schema &schema, Access access, StoreLimits limits)
    : directory_(std::move(directory)), schema_(schema), access_(access), limits_(limits) {
    if (!directory_.has_filename()) {
        directory_ = directory_.parent_path(); // "dir/"
    }
    if (access == Access::write) {
        make_directory(directory_);
        check(open(0), directory_, access);
        return;
    }
    if (is_missing(directory_)) {
        return;
    }
    int code = open(MDB_RDONLY);
    if (code == EACCES || code == EROFS) {
        // This reader cannot be noted in the lock file, and a writer would use the pages that it reads: it keeps
        // writers out while it reads.
        notes_readers_ = false;
        code = open(MDB_RDONLY | MDB_NOLOCK);
    }
    if (code == ENOENT) {
        env_.reset();
    } else {
        check(code, directory_, access);
    }
}

int Store::open(unsigned flags) {
    MDB_env *env = nullptr;
    int code = mdb_env_create(&env);
    if (code == MDB_SUCCESS) {
        env_.reset(env);
        code = mdb_env_set_mapsize(env, limits_.map_size);
    }
    if (code == MDB_SUCCESS) {
        if (!meta_pages_are_sound(FileView(directory_ / "data.mdb").bytes())) {
            throw_damaged(directory_);
        }
        code = mdb_env_open(env, directory_.c_str(), MDB_NOTLS | flags, S_IRUSR | S_IWUSR);
    }
    if (code == MDB_SUCCESS) {
        if (is_cut_off(env, directory_)) {
            throw_damaged(directory_);
        }
        int dead = 0; // a killed reader's slot is not freed otherwise
        code = mdb_reader_check(env, &dead);
    }
    return code == MDB_SUCCESS ? check_pages() : code;
}

int Store::check_pages() const {
    const FileHandle held = notes_readers_ ? FileHandle() : lock(LOCK_SH);
    MDB_txn *begun = nullptr;
    const int code = mdb_txn_begin(env_.get(), nullptr, MDB_RDONLY, &begun);
    if (code == MDB_SUCCESS) {
        const std::unique_ptr<MDB_txn, decltype(&mdb_txn_abort)> txn(begun, &mdb_txn_abort);
        if (!pages_are_sound(FileView(directory_ / "data.mdb").bytes(), mdb_txn_id(begun))) {
            throw_damaged(directory_);
        }
    }
    return code;
}

FileHandle Store::lock(int kind) const {
    FileHandle handle(::open(directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (handle.get() < 0) {
        fail(errno, directory_, access_);
    }
    const auto deadline = std::chrono::steady_clock::now() + limits_.lock_wait;
    while (::flock(handle.get(), kind | LOCK_NB) != 0) {
        if (errno != EINTR && (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= deadline)) {
            fail(errno, directory_, access_);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return handle;
}

Transaction Store::begin(Access access) const {
    Transaction transaction(directory_, Numbers(schema_), limits_.history);
    if (access == Access::write && access_ == Access::read) {
        throw std::logic_error("a store opened for reading is to be written");
    }
    if (env_ == nullptr) {
        return transaction;
    }
    if (access == Access::write) {
        // LMDB would wait for another writer for ever.
        transaction.lock_ = lock(LOCK_EX);
    } else if (!notes_readers_) {
        transaction.lock_ = lock(LOCK_SH);
    }
    MDB_txn *txn = nullptr;
    check(mdb_txn_begin(env_.get(), nullptr, access == Access::read ? MDB_RDONLY : 0, &txn), directory_, access);
    transaction.txn_.reset(txn);
    check(mdb_dbi_open(txn, nullptr, 0, &transaction.dbi_), directory_, access);
    transaction.check_format(access);
    transaction.load_numbers(schema_);
    return transaction;
}

void Transaction::TxnDeleter::operator()(MDB_txn *txn) const {
    mdb_txn_abort(txn);
}

void Transaction::check_format(Access access) {
    MDB_stat stat{};
    check(mdb_stat(txn_.get(), dbi_, &stat), *directory_, access);
    if (stat.ms_entries == 0) {
        if (access == Access::write) {
            put(format_key, format);
        }
        return;
    }
    const auto found = record(format_key);
    if (!found || !found->starts_with(format_name)) {
        fail(MDB_INVALID, *directory_, access);
    }
    if (*found == format_without_history) {
        if (access == Access::write) {
            put(format_key, format);
        }
    } else if (*found != format) {
        fail(MDB_VERSION_MISMATCH, *directory_, access);
    }
}

void Transaction::load_numbers(const Schema &schema) {
    Cursor cursor(*this);
    for (bool more = cursor.seek(numbers_key); more && cursor.key().starts_with(numbers_key); more = cursor.next()) {
        std::string_view key = cursor.key().substr(numbers_key.size());
        Number number = 0;
        if (!take_number(key, number) || number != numbers_.next()) {
            throw_damaged(*directory_);
        }
        numbers_.add(schema.find(cursor.bytes()));
    }
}

void Transaction::commit(const CommitNote &note) {
    if (txn_ != nullptr) {
        if (adds_to_history_) {
            add_to_history(*this, note);
        }
        const int code = mdb_txn_commit(txn_.release());
        lock_ = FileHandle();
        check(code, *directory_, Access::write);
    }
}

Transaction Transaction::before() const {
    Transaction before(*directory_, numbers_, history_limits_);
    MDB_txn *txn = nullptr;
    check(mdb_txn_begin(mdb_txn_env(txn_.get()), nullptr, MDB_RDONLY, &txn), *directory_, Access::read);
    before.txn_.reset(txn);
    check(mdb_dbi_open(txn, nullptr, 0, &before.dbi_), *directory_, Access::read);
    return before;
}

std::optional<std::string_view> Transaction::record(std::string_view key) const {
    if (txn_ == nullptr || key.size() > longest_key) {
        return std::nullopt;
    }
    if (past_ != nullptr) {
        if (const auto seen = past_->find(key); seen != past_->end()) {
            return seen->second;
        }
    }
    MDB_val wanted = to_value(key);
    MDB_val found{};
    const int code = mdb_get(txn_.get(), dbi_, &wanted, &found);
    if (code == MDB_NOTFOUND) {
        return std::nullopt;
    }
    check(code, *directory_, Access::read);
    return to_text(found);
}

void Transaction::put(std::string_view key, std::string_view bytes) {
    touch(key);
    MDB_val where = to_value(key);
    MDB_val what = to_value(bytes);
    check(mdb_put(txn_.get(), dbi_, &where, &what, 0), *directory_, Access::write);
}

void Transaction::erase(std::string_view key) {
    touch(key);
    MDB_val where = to_value(key);
    const int code = mdb_del(txn_.get(), dbi_, &where, nullptr);
    if (code != MDB_NOTFOUND) {
        check(code, *directory_, Access::write);
    }
}

void Transaction::erase_all(std::string_view prefix) {
    Cursor cursor(*this);
    for (bool more = cursor.seek(prefix); more && cursor.key().starts_with(prefix); more = cursor.next()) {
        touch(cursor.key());
        cursor.erase();
    }
}

bool Transaction::has_any(std::string_view prefix) const {
    Cursor cursor(*this);
    return cursor.seek(prefix) && cursor.key().starts_with(prefix);
}

Number Transaction::ensure_number(const SchemaNode &node) {
    if (const Number known = numbers_.number(node); known != 0) {
        return known;
    }
    if (numbers_.next() > UINT16_MAX) {
        throw Unusable("the store in " + directory_->string() + " has seen too many models: start a new one");
    }
    std::string key(numbers_key);
    append_number(key, static_cast<Number>(numbers_.next()));
    put(key, node.path);
    numbers_.add(&node);
    return numbers_.number(node);
}

const SchemaNode &Transaction::node(Number number) const {
    const SchemaNode *found = numbers_.node(number);
    if (found == nullptr) {
        throw Unusable("the store in " + directory_->string() +
                       " holds data of models that are not loaded: load the models that it was written with");
    }
    return *found;
}

void Cursor::CursorDeleter::operator()(MDB_cursor *cursor) const {
    mdb_cursor_close(cursor);
}

Cursor::Cursor(const Transaction &transaction) : transaction_(transaction) {
    if (transaction.txn_ != nullptr) {
        MDB_cursor *cursor = nullptr;
        check(mdb_cursor_open(transaction.txn_.get(), transaction.dbi_, &cursor), transaction.directory(),
              Access::read);
        cursor_.reset(cursor);
    }
}

bool Cursor::move(int operation, std::string_view from) {
    if (cursor_ == nullptr) {
        return false;
    }
    MDB_val key = to_value(from);
    MDB_val bytes{};
    const int code = mdb_cursor_get(cursor_.get(), &key, &bytes, static_cast<MDB_cursor_op>(operation));
    if (code == MDB_NOTFOUND) {
        return false;
    }
    check(code, transaction_.directory(), Access::read);
    key_ = to_text(key);
    bytes_ = to_text(bytes);
    return true;
}

bool Cursor::seek(std::string_view key) {
    const bool there = move(MDB_SET_RANGE, key);
    if (transaction_.past_ == nullptr) [[likely]] {
        return there;
    }
    stored_ = {there, key_, bytes_};
    seen_ = transaction_.past_->lower_bound(key);
    return choose();
}

bool Cursor::next() {
    if (transaction_.past_ == nullptr) [[likely]] {
        return move(MDB_NEXT, {});
    }
    if (is_seen_) {
        ++seen_;
    } else {
        stored_.there = move(MDB_NEXT, {});
        stored_ = {stored_.there, key_, bytes_};
    }
    return choose();
}

// The lesser key of the two; where both have it, the past's record, or none when there was none.
bool Cursor::choose() {
    for (const auto end = transaction_.past_->end(); seen_ != end; ++seen_) {
        if (stored_.there && stored_.key < seen_->first) {
            break;
        }
        if (stored_.there && stored_.key == seen_->first) {
            const bool there = move(MDB_NEXT, {});
            stored_ = {there, key_, bytes_};
        }
        if (seen_->second) {
            key_ = seen_->first;
            bytes_ = *seen_->second;
            is_seen_ = true;
            return true;
        }
    }
    is_seen_ = false;
    key_ = stored_.key;
    bytes_ = stored_.bytes;
    return stored_.there;
}

bool Cursor::seek_last(std::string_view prefix) {
    std::string behind(prefix);
    ++behind.back();
    const bool found = move(MDB_SET_RANGE, behind) ? move(MDB_PREV, {}) : move(MDB_LAST, {});
    return found && key_.starts_with(prefix);
}

bool Cursor::previous(std::string_view prefix) {
    return move(MDB_PREV, {}) && key_.starts_with(prefix);
}

void Cursor::erase() {
    check(mdb_cursor_del(cursor_.get(), 0), transaction_.directory(), Access::write);
}

bool EntryCursor::next() {
    bool more = false;
    if (!started_) {
        started_ = true;
        more = cursor_.seek(prefix_);
    } else {
        more = cursor_.next();
        if (more && cursor_.key().starts_with(key_)) {
            key_.back() = '\1'; // a key ends with 0: this one follows on all that lies in the entry
            more = cursor_.seek(key_);
        }
    }
    if (!more || !cursor_.key().starts_with(prefix_)) {
        return false;
    }
    key_ = cursor_.key();
    return true;
}

} // namespace yfw
