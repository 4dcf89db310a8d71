#include "store/record.h"

#include "base/error.h"
#include "model/schema.h"

#include <algorithm>

namespace yfw {

void append_number(std::string &key, Number number) {
    key += static_cast<char>(number >> 8U);
    key += static_cast<char>(number & 0xffU);
}

void append_key_value(std::string &key, std::string_view value) {
    key += value;
    key += '\0';
}

bool take_number(std::string_view &key, Number &number) {
    if (key.size() < 2) {
        return false;
    }
    number = static_cast<Number>(static_cast<unsigned char>(key[0]) << 8U | static_cast<unsigned char>(key[1]));
    key.remove_prefix(2);
    return true;
}

bool take_key_value(std::string_view &key, std::string_view &value) {
    const std::size_t end = key.find('\0');
    if (end == std::string_view::npos) {
        return false;
    }
    value = key.substr(0, end);
    key.remove_prefix(end + 1);
    return true;
}

bool lies_in(const SchemaNode &node, const SchemaNode &container) {
    for (const SchemaNode *at = &node; at != nullptr; at = at->parent) {
        if (at == &container) {
            return true;
        }
        if (at->kind == NodeKind::list) {
            return false;
        }
    }
    return false;
}

void collect_lists(const SchemaNode &holder, std::vector<const SchemaNode *> &lists) {
    for (const SchemaNode *child : holder.children) {
        if (child->kind == NodeKind::list) {
            lists.push_back(child);
        } else if (child->kind == NodeKind::container) {
            collect_lists(*child, lists);
        }
    }
}

void throw_damaged(const std::filesystem::path &directory) {
    throw Unusable("the store in " + directory.string() + " is damaged: put a copy of it back, or start a new one");
}

void append_length(std::string &bytes, std::size_t length) {
    for (; length >= 0x80; length >>= 7U) {
        bytes += static_cast<char>(0x80U | (length & 0x7fU));
    }
    bytes += static_cast<char>(length);
}

bool take_length(std::string_view &bytes, std::size_t &length) {
    length = 0;
    for (unsigned shift = 0; !bytes.empty() && shift < 35; shift += 7) {
        const auto byte = static_cast<unsigned char>(bytes.front());
        bytes.remove_prefix(1);
        length |= static_cast<std::size_t>(byte & 0x7fU) << shift;
        if (byte < 0x80) {
            return true;
        }
    }
    return false;
}

void append_fixed(std::string &bytes, std::uint64_t number) {
    for (std::size_t byte = fixed_size; byte-- > 0;) {
        bytes += static_cast<char>(number >> (8 * byte) & 0xffU);
    }
}

bool take_fixed(std::string_view &bytes, std::uint64_t &number) {
    if (bytes.size() < fixed_size) {
        return false;
    }
    number = 0;
    for (std::size_t byte = 0; byte < fixed_size; ++byte) {
        number = number << 8U | static_cast<unsigned char>(bytes[byte]);
    }
    bytes.remove_prefix(fixed_size);
    return true;
}

void append_text(std::string &bytes, std::string_view text) {
    append_length(bytes, text.size());
    bytes += text;
}

bool take_text(std::string_view &bytes, std::string_view &text) {
    std::size_t length = 0;
    if (!take_length(bytes, length) || length > bytes.size()) {
        return false;
    }
    text = bytes.substr(0, length);
    bytes.remove_prefix(length);
    return true;
}

namespace {

bool before(const RecordItem &item, Number number) {
    return item.number < number;
}

} // namespace

bool ItemReader::next(RecordItem &item) {
    if (left_.empty()) {
        return false;
    }
    std::size_t length = 0;
    if (!take_number(left_, item.number) || !take_length(left_, length) || length > left_.size()) {
        throw_damaged(directory_);
    }
    item.text = left_.substr(0, length);
    left_.remove_prefix(length);
    return true;
}

void Record::load(std::string_view bytes, const std::filesystem::path &directory) {
    bytes_ = bytes;
    items_.clear();
    ItemReader reader(bytes_, directory);
    for (RecordItem item; reader.next(item);) {
        items_.push_back(item);
    }
}

bool Record::has(Number number) const {
    const auto place = std::lower_bound(items_.begin(), items_.end(), number, before);
    return place != items_.end() && place->number == number;
}

bool Record::has(Number number, std::string_view text) const {
    return std::any_of(items_.begin(), items_.end(),
                       [=](const RecordItem &item) { return item.number == number && item.text == text; });
}

bool Record::set(Number number, std::string_view text) {
    const auto place = std::lower_bound(items_.begin(), items_.end(), number, before);
    if (place == items_.end() || place->number != number) {
        items_.insert(place, {number, text});
        return true;
    }
    const bool other = place->text != text;
    place->text = text;
    return other;
}

bool Record::add(Number number, std::string_view text) {
    if (has(number, text)) {
        return false;
    }
    const auto place = std::upper_bound(items_.begin(), items_.end(), number,
                                        [](Number wanted, const RecordItem &item) { return wanted < item.number; });
    items_.insert(place, {number, text});
    return true;
}

bool Record::erase(Number number) {
    return erase_if([number](const RecordItem &item) { return item.number == number; });
}

bool Record::erase(Number number, std::string_view text) {
    return erase_if([=](const RecordItem &item) { return item.number == number && item.text == text; });
}

std::string_view Record::encode() {
    encoded_.clear();
    for (const RecordItem &item : items_) {
        append_number(encoded_, item.number);
        append_length(encoded_, item.text.size());
        encoded_ += item.text;
    }
    return encoded_;
}

} // namespace yfw
