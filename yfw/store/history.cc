#include "store/history.h"

#include "base/error.h"
#include "store/check.h"
#include "store/history_record.h"
#include "store/promise.h"
#include "store/store.h"

#include <algorithm>

namespace yfw {

namespace {

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
    const bool has_images = images.size() <= most;
    if (!has_images && note.is_to_be_undone) {
        throw Refused(Reason::too_big, "",
                      "what was before would be more than is kept: the commit could not be undone");
    }
    if (!has_images) {
        images.clear();
    }
    const std::string bytes = encode_commit(end, std::chrono::system_clock::now(), note, has_images, images);
    end += bytes.size();
    transaction.put(history_key_of(number), bytes);
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
