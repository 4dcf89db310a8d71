#include "store/history.h"

#include "base/error.h"
#include "store/check.h"
#include "store/promise.h"
#include "store/store.h"

#include <algorithm>

namespace yfw {

namespace {

// A record of the history has this key and the commit's number. It holds, each a number of eight bytes, the time in
// microseconds and the bytes that all records so far were long together, this one included; whether there are images;
// who, by what and the comment, each with its length; the images.
constexpr std::string_view history_key = "h";

std::string key_of(std::uint64_t number) {
    std::string key(history_key);
    append_fixed(key, number);
    return key;
}

// An image is what its key shares with the one before, the rest of it, the change, and what was there.
void append_image(std::string &bytes, std::string_view previous, std::string_view key, RecordChange change,
                  std::string_view image) {
    const std::size_t end = std::min(previous.size(), key.size());
    std::size_t same = 0;
    while (same < end && previous[same] == key[same]) {
        ++same;
    }
    append_length(bytes, same);
    append_text(bytes, key.substr(same));
    bytes += static_cast<char>(change);
    if (change != RecordChange::added) {
        append_text(bytes, image);
    }
}

// Goes through a record of the history.
class HistoryReader {
  public:
    HistoryReader(const Transaction &transaction, std::string_view key, std::string_view bytes)
        : transaction_(transaction), left_(bytes) {
        std::uint64_t time = 0;
        std::uint64_t has_images = 0;
        key.remove_prefix(history_key.size());
        is_whole_ = take_fixed(key, number) && key.empty() && take_fixed(left_, time) && take_fixed(left_, end) &&
                    take_small(has_images) && take_text(left_, who) && take_text(left_, by) &&
                    take_text(left_, comment) && has_images <= 1;
        this->time = std::chrono::system_clock::time_point(
            std::chrono::duration_cast<std::chrono::system_clock::duration>(std::chrono::microseconds(time)));
        this->has_images = has_images == 1;
    }

    // The next image; false at the end.
    bool next() {
        std::size_t same = 0;
        std::string_view rest;
        std::uint64_t kind = 0;
        if (!is_whole_ || left_.empty()) {
            return false;
        }
        is_whole_ = take_length(left_, same) && same <= key.size() && take_text(left_, rest) && take_small(kind) &&
                    kind <= static_cast<unsigned>(RecordChange::removed);
        if (is_whole_) {
            change = static_cast<RecordChange>(kind);
            key.replace(same, std::string::npos, rest);
            bytes = {};
            is_whole_ = key.starts_with(root_key) && (change == RecordChange::added || take_text(left_, bytes));
        }
        return is_whole_;
    }

    [[nodiscard]] bool is_whole() const { return is_whole_; }
    // Throws Unusable.
    void check() const {
        if (!is_whole_) {
            throw_damaged(transaction_.directory());
        }
    }

    std::uint64_t number = 0;
    std::uint64_t end = 0;
    std::chrono::system_clock::time_point time;
    bool has_images = false;
    std::string_view who;
    std::string_view by;
    std::string_view comment;
    std::string key;
    RecordChange change = RecordChange::added;
    std::string_view bytes;

  private:
    bool take_small(std::uint64_t &number_of_one_byte) {
        if (left_.empty()) {
            return false;
        }
        number_of_one_byte = static_cast<unsigned char>(left_.front());
        left_.remove_prefix(1);
        return true;
    }

    const Transaction &transaction_;
    std::string_view left_;
    bool is_whole_ = false;
};

const SchemaNode *list_of(const Transaction &transaction, std::string_view key) {
    const SchemaNode *list = nullptr;
    Number number = 0;
    std::string_view value;
    key.remove_prefix(root_key.size());
    while (take_number(key, number)) {
        list = transaction.find_node(number);
        for (std::size_t i = 0; list != nullptr && i < list->keys.size(); ++i) {
            take_key_value(key, value);
        }
    }
    return list;
}

// What models that are not loaded say is unknown: it is kept.
bool is_configuration(const Transaction &transaction, Number number) {
    const SchemaNode *node = transaction.find_node(number);
    return node == nullptr || node->config;
}

bool is_configuration(const Transaction &transaction, std::string_view key) {
    Number number = 0;
    key.remove_prefix(root_key.size());
    return !take_number(key, number) || is_configuration(transaction, number);
}

// The record of what lies in no list holds both sides. It is never missing.
std::string root_with(const Transaction &transaction, std::string_view configuration, std::string_view rest) {
    Record record;
    record.load(rest, transaction.directory());
    record.erase_if([&](const RecordItem &item) { return is_configuration(transaction, item.number); });
    ItemReader reader(configuration, transaction.directory());
    for (RecordItem item; reader.next(item);) {
        if (is_configuration(transaction, item.number)) {
            record.add(item.number, item.text);
        }
    }
    return std::string(record.encode());
}

// The configuration in a record.
std::optional<std::string> image_of(const Transaction &transaction, std::string_view key,
                                    std::optional<std::string_view> bytes) {
    if (key == root_key) {
        return root_with(transaction, bytes.value_or(std::string_view()), {});
    }
    return bytes ? std::optional<std::string>(*bytes) : std::nullopt;
}

// What all touched records were before; empty when they are so still. More than `most` bytes are not asked for.
std::string encode_images(const Transaction &transaction, const std::vector<std::string> &touched, std::size_t most) {
    const Transaction before = transaction.before();
    std::string bytes;
    std::string previous;
    for (const std::string &key : touched) {
        if (!is_configuration(transaction, key) || bytes.size() > most) {
            continue;
        }
        const auto was = image_of(transaction, key, before.record(key));
        const auto is = image_of(transaction, key, transaction.record(key));
        if (was != is) {
            append_image(bytes, previous, key,
                         !was  ? RecordChange::added
                         : !is ? RecordChange::removed
                               : RecordChange::changed,
                         was.value_or(""));
            previous = key;
        }
    }
    return bytes;
}

void drop_oldest(Transaction &transaction, std::uint64_t newest, std::uint64_t end) {
    const HistoryLimits &limits = transaction.history_limits();
    const std::optional<Promise> promise = read_promise(transaction);
    for (Cursor cursor(transaction); cursor.seek(history_key);) {
        const HistoryReader oldest(transaction, cursor.key(), cursor.bytes());
        oldest.check();
        const std::uint64_t bytes = end - oldest.end + cursor.bytes().size();
        if (oldest.number == newest || (promise && oldest.number > promise->base) ||
            (newest - oldest.number < limits.commits && bytes <= limits.bytes)) {
            break;
        }
        cursor.erase();
    }
}

} // namespace

std::vector<std::string> TouchedKeys::sorted() const {
    std::vector<std::string> keys;
    keys.reserve(ends_.size());
    std::size_t begin = 0;
    for (const std::size_t end : ends_) {
        const std::string_view key = std::string_view(bytes_).substr(begin, end - begin);
        if (keys.empty() || keys.back() != key) {
            keys.emplace_back(key);
        }
        begin = end;
    }
    if (!std::is_sorted(keys.begin(), keys.end())) {
        std::sort(keys.begin(), keys.end());
    }
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    return keys;
}

void add_to_history(Transaction &transaction, const CommitNote &note) {
    const std::vector<std::string> touched = transaction.touched();
    const std::size_t most = transaction.history_limits().bytes;
    std::string images = touched.empty() ? std::string() : encode_images(transaction, touched, most);
    if (images.empty()) {
        return;
    }
    std::uint64_t number = 1;
    std::uint64_t end = 0;
    if (Cursor last(transaction); last.seek_last(history_key)) {
        const HistoryReader newest(transaction, last.key(), last.bytes());
        newest.check();
        number = newest.number + 1;
        end = newest.end;
    }
    std::string texts;
    for (const std::string &text : {note.who, note.by, note.comment}) {
        append_text(texts, text);
    }
    const bool has_images = images.size() <= most;
    if (!has_images && note.is_to_be_undone) {
        throw Refused(Reason::too_big, "",
                      "what was before would be more than is kept: the commit could not be undone");
    }
    if (!has_images) {
        images.clear();
    }
    end += 2 * fixed_size + 1 + texts.size() + images.size();
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    std::string bytes;
    append_fixed(bytes, static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count()));
    append_fixed(bytes, end);
    bytes += static_cast<char>(has_images);
    bytes += texts;
    bytes += images;
    transaction.put(key_of(number), bytes);
    drop_oldest(transaction, number, end);
}

std::uint64_t newest_commit(const Transaction &transaction) {
    Cursor cursor(transaction);
    if (!cursor.seek_last(history_key)) {
        return 0;
    }
    const HistoryReader newest(transaction, cursor.key(), cursor.bytes());
    newest.check();
    return newest.number;
}

std::vector<HistoryEntry> read_history(const Transaction &transaction, std::size_t most) {
    std::vector<HistoryEntry> entries;
    Cursor cursor(transaction);
    for (bool more = cursor.seek_last(history_key); more && entries.size() < most;
         more = cursor.previous(history_key)) {
        HistoryReader reader(transaction, cursor.key(), cursor.bytes());
        HistoryEntry entry{reader.number,
                           reader.time,
                           {std::string(reader.who), std::string(reader.by), std::string(reader.comment)},
                           reader.has_images,
                           {}};
        while (reader.next()) {
            const SchemaNode *list = list_of(transaction, reader.key);
            auto count = std::find_if(entry.counts.begin(), entry.counts.end(),
                                      [list](const auto &known) { return known.list == list; });
            if (count == entry.counts.end()) {
                count = entry.counts.insert(count, {.list = list});
            }
            ++(reader.change == RecordChange::added     ? count->added
               : reader.change == RecordChange::removed ? count->removed
                                                        : count->changed);
        }
        reader.check();
        entries.push_back(std::move(entry));
    }
    return entries;
}

namespace {

// Calls visit for the commits behind a state, the newest first.
template <typename Visit>
void for_each_since(const Transaction &transaction, std::uint64_t number, Visit visit) {
    Cursor cursor(transaction);
    for (bool more = cursor.seek_last(history_key); more; more = cursor.previous(history_key)) {
        HistoryReader reader(transaction, cursor.key(), cursor.bytes());
        reader.check();
        if (reader.number <= number) {
            break;
        }
        visit(reader);
        reader.check();
    }
}

std::uint64_t first_kept(const Transaction &transaction) {
    Cursor cursor(transaction);
    if (!cursor.seek(history_key) || !cursor.key().starts_with(history_key)) {
        throw Refused(Reason::data_missing, "", "no commit is kept: the history begins with the next one");
    }
    const HistoryReader oldest(transaction, cursor.key(), cursor.bytes());
    oldest.check();
    return oldest.number;
}

void check_is_known(const Transaction &transaction, std::uint64_t number) {
    const std::string commit = "commit " + std::to_string(number);
    const std::uint64_t first = first_kept(transaction);
    const std::uint64_t newest = newest_commit(transaction);
    if (number > newest) {
        throw Refused(Reason::data_missing, "",
                      "there is no " + commit + ": the last one is " + std::to_string(newest));
    }
    if (number != 0 && number + 1 < first) {
        throw Refused(Reason::data_missing, "",
                      commit + " is no longer kept: the first one that is kept is " + std::to_string(first));
    }
    for_each_since(transaction, number, [&](const HistoryReader &later) {
        if (!later.has_images) {
            throw Refused(Reason::data_missing, "",
                          "what was before commit " + std::to_string(later.number) +
                              " is not known: it changed more than is kept");
        }
    });
}

} // namespace

Images images_after(const Transaction &transaction, std::uint64_t number) {
    check_is_known(transaction, number);
    Images images;
    for_each_since(transaction, number, [&](HistoryReader &later) {
        while (later.next()) {
            images[later.key] =
                later.change == RecordChange::added ? std::nullopt : std::optional<std::string>(later.bytes);
        }
    });
    if (const auto root = images.find(root_key); root != images.end()) {
        root->second = root_with(transaction, root->second.value_or(""),
                                 transaction.record(root_key).value_or(std::string_view()));
    }
    return images;
}

std::vector<std::string> touched_between(const Transaction &transaction, std::uint64_t one, std::uint64_t other) {
    TouchedKeys keys;
    for_each_since(transaction, std::min(one, other), [&](HistoryReader &later) {
        while (later.number <= std::max(one, other) && later.next()) {
            keys.add(later.key);
        }
    });
    return keys.sorted();
}

void restore(Transaction &transaction, const Schema &schema, std::uint64_t number) {
    for (const auto &[key, image] : images_after(transaction, number)) {
        const auto stored = transaction.record(key);
        if (!image || (key == root_key && image->empty())) {
            transaction.erase(key);
        } else if (stored != *image) {
            transaction.put(key, *image);
        }
    }
    const std::vector<std::string> problems = check_entries(transaction, schema, transaction.touched());
    if (!problems.empty()) {
        throw Refused(Reason::invalid_value, "",
                      "what was stored after commit " + std::to_string(number) +
                          " is nothing that the models in use take: " + problems.front());
    }
}

std::string HistoryChecker::check(std::string_view key, std::string_view bytes) {
    HistoryReader reader(transaction_, key, bytes);
    const std::string commit = "commit " + std::to_string(reader.number) + " in the history";
    bool is_whole = reader.is_whole() && (number_ == 0 || reader.number == number_ + 1) &&
                    (number_ == 0 || reader.end == end_ + bytes.size());
    for (std::string previous; is_whole && reader.next(); previous = reader.key) {
        ItemReader items(reader.bytes, transaction_.directory());
        try {
            for (RecordItem item; items.next(item);) {}
        } catch (const Unusable &) {
            is_whole = false;
        }
        is_whole = is_whole && previous < reader.key;
    }
    number_ = reader.number;
    end_ = reader.end;
    return is_whole && reader.is_whole() ? "" : commit + " is damaged: what was before it cannot be told";
}

} // namespace yfw
