#include "store/history_copy.h"

#include "base/error.h"
#include "model/schema.h"
#include "store/history_record.h"

#include <algorithm>

namespace yfw {

namespace {

std::string name_of(std::uint64_t number) {
    return "commit " + std::to_string(number) + " of the history";
}

[[noreturn]] void refuse_unknown(std::uint64_t number) {
    throw Refused(Reason::unknown_element, "", name_of(number) + " has nodes that the models in use lack");
}

const SchemaNode &known(const Transaction &transaction, Number number, std::uint64_t commit) {
    const SchemaNode *node = transaction.find_node(number);
    if (node == nullptr) {
        refuse_unknown(commit);
    }
    return *node;
}

CopiedImage copy_of(const Transaction &transaction, const HistoryReader &reader) {
    CopiedImage image{.entry = {}, .change = reader.change, .items = {}};
    std::string_view key = reader.key;
    key.remove_prefix(root_key.size());
    for (Number number = 0; take_number(key, number);) {
        const SchemaNode &list = known(transaction, number, reader.number);
        image.entry.push_back({&list, {}});
        std::string_view value;
        while (image.entry.back().keys.size() < list.keys.size() && take_key_value(key, value)) {
            image.entry.back().keys.emplace_back(value);
        }
    }
    ItemReader items(reader.bytes, transaction.directory());
    for (RecordItem item; items.next(item);) {
        image.items.emplace_back(&known(transaction, item.number, reader.number), item.text);
    }
    return image;
}

} // namespace

void copy_history(const Transaction &transaction, const std::function<void(CopiedCommit &)> &visit) {
    Cursor cursor(transaction);
    for (bool more = cursor.seek(history_key); more && cursor.key().starts_with(history_key); more = cursor.next()) {
        HistoryReader reader(transaction, cursor.key(), cursor.bytes());
        reader.check();
        CopiedCommit commit{.number = reader.number,
                            .time = reader.time,
                            .note = {std::string(reader.who), std::string(reader.by), std::string(reader.comment)},
                            .has_images = reader.has_images,
                            .images = {}};
        while (reader.next()) {
            commit.images.push_back(copy_of(transaction, reader));
        }
        reader.check();
        visit(commit);
    }
}

std::string HistoryTaker::key_of(const CopiedImage &image) {
    std::string key(root_key);
    const SchemaNode *holder = &schema_.root();
    for (const auto &[list, keys] : image.entry) {
        if (list->kind != NodeKind::list || !list->config || !lies_in(*list->parent, *holder) ||
            keys.size() != list->keys.size()) {
            throw Refused(Reason::invalid_value, list->path, name_of(number_) + " has no list entry there");
        }
        append_number(key, transaction_.ensure_number(*list));
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if (!schema_.accepts(*list->keys[i], keys[i], nullptr)) {
                throw Refused(Reason::invalid_value, list->keys[i]->path,
                              name_of(number_) + " has a key that is not of its type");
            }
            append_key_value(key, keys[i]);
        }
        holder = list;
    }
    if (key.size() > Transaction::longest_key) {
        throw Refused(Reason::too_big, holder->path, name_of(number_) + " has an entry whose keys are too long");
    }
    return key;
}

std::string HistoryTaker::bytes_of(const CopiedImage &image) {
    const SchemaNode &holder = image.entry.empty() ? schema_.root() : *image.entry.back().list;
    Record record;
    for (const auto &[node, text] : image.items) {
        const bool fits = node != &holder && lies_in(*node, holder) && node->config && node->kind != NodeKind::list &&
                          !node->is_key &&
                          (node->kind == NodeKind::container ? text.empty() : schema_.accepts(*node, text, nullptr));
        const Number number = fits ? transaction_.ensure_number(*node) : Number{0};
        if (!fits || (node->kind != NodeKind::leaf_list && record.has(number)) || !record.add(number, text)) {
            throw Refused(Reason::invalid_value, node->path, name_of(number_) + " has a value there that cannot be");
        }
    }
    return std::string(record.encode());
}

void HistoryTaker::take(const CopiedCommit &commit) {
    if (commit.number == 0 || (number_ != 0 && commit.number != number_ + 1)) {
        throw Refused(Reason::invalid_value, "",
                      name_of(commit.number) + " follows " + (number_ == 0 ? "nothing" : name_of(number_)));
    }
    number_ = commit.number;
    std::map<std::string, const CopiedImage *> images; // in the order of this store's keys
    for (const CopiedImage &image : commit.images) {
        if (std::string key = key_of(image); !images.try_emplace(std::move(key), &image).second) {
            throw Refused(Reason::invalid_value, "", name_of(number_) + " has an entry twice");
        }
    }
    if (!commit.has_images) {
        is_there_.clear();
    }
    std::string bytes;
    std::string previous;
    for (const auto &[key, image] : images) {
        append_image(bytes, previous, key, image->change, bytes_of(*image));
        previous = key;
        const bool was = image->change != RecordChange::added;
        const auto before = is_there_.find(key);
        if (before != is_there_.end() && before->second != was) {
            throw Refused(Reason::invalid_value, image->entry.empty() ? "" : image->entry.back().list->path,
                          name_of(number_) + " does not follow from those before it");
        }
        is_there_[key] = image->change != RecordChange::removed;
    }
    const std::string record = encode_commit(end_, commit.time, commit.note, commit.has_images, bytes);
    end_ += record.size();
    transaction_.put(history_key_of(number_), record);
}

void HistoryTaker::finish() {
    for (const auto &[key, is_there] : is_there_) {
        if (key != root_key && transaction_.record(key).has_value() != is_there) {
            throw Refused(Reason::invalid_value, "", "the history does not lead to the configuration");
        }
    }
    transaction_.keep_history_as_it_is();
}

} // namespace yfw
