#include "key_search.h"

#include "store/record.h"

#include <algorithm>

namespace yfw::tool {

const std::string *value_of(const Given &given, const SchemaNode *key) {
    const auto found = std::find_if(given.begin(), given.end(), [key](const auto &one) { return one.first == key; });
    return found == given.end() ? nullptr : &found->second;
}

void KeySearch::run(const SchemaNode &list, const SchemaNode &wanted) {
    lists_.clear();
    for (const SchemaNode *at = &list; at != nullptr; at = at->parent) {
        if (at->kind == NodeKind::list) {
            lists_.insert(lists_.begin(), at);
        }
    }
    wanted_ = &wanted;
    search(0, std::string(root_key), "");
}

const std::string *KeySearch::known(const SchemaNode *key) const {
    const std::string *value = value_of(given_, key);
    return value == nullptr || value->empty() ? nullptr : value;
}

// As much of an entry's key as is known beforehand, so that the others need not be looked at.
std::string KeySearch::known_begin(const SchemaNode &list) const {
    std::string start;
    for (const SchemaNode *key : list.keys) {
        const std::string *value = known(key);
        if (value == nullptr) {
            return key == wanted_ ? start.append(begin_) : start;
        }
        append_key_value(start, *value);
    }
    return start;
}

bool KeySearch::read_keys(const SchemaNode &list, std::string_view keys, std::string &value) const {
    std::string_view text;
    for (const SchemaNode *key : list.keys) {
        const std::string *given = known(key);
        if (!take_key_value(keys, text) || (given != nullptr && *given != text) ||
            (key == wanted_ && !text.starts_with(begin_))) {
            return false;
        }
        if (key == wanted_) {
            value = text;
        }
    }
    return true;
}

bool KeySearch::search(std::size_t level, const std::string &above, const std::string &value) {
    const SchemaNode &list = *lists_[level];
    const Number number = transaction_.number(list);
    if (number == 0) {
        return false;
    }
    std::string start = above;
    append_number(start, number);
    EntryCursor entries(transaction_, start + known_begin(list));
    const bool is_decided = wanted_->depth <= list.parent->depth; // one entry will do
    bool any = false;
    while (left_ > 0 && values_.size() < most_ && !(any && is_decided) && entries.next()) {
        --left_;
        std::string found = value;
        if (!read_keys(list, std::string_view(entries.key()).substr(start.size()), found)) {
            continue;
        }
        if (level + 1 < lists_.size()) {
            any = search(level + 1, entries.key(), found) || any;
        } else {
            values_.insert(found);
            any = true;
        }
    }
    return any;
}

} // namespace yfw::tool
