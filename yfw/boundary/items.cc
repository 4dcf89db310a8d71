#include "boundary/items.h"

#include "base/error.h"

#include <algorithm>
#include <charconv>

namespace yfw {

namespace {

constexpr std::string_view number_prefix = "0x";

ItemRule item_rule(const Schema &schema, const ItemRow &row, std::span<const std::string_view> names) {
    ItemRule rule{{}, {}, schema.find(row.native), {}, row.form};
    if (rule.node == nullptr) {
        throw Unusable("the models lack " + std::string(row.native) + ", which the system database shows");
    }
    for (const SchemaNode *node = rule.node; node != nullptr; node = node->parent) {
        if (node->kind == NodeKind::list) {
            rule.lists.insert(rule.lists.begin(), node);
        }
    }
    std::size_t level = 0;
    const PathComponents components(row.path);
    for (const std::string_view text : components) {
        const bool is_key = text.front() == '{';
        rule.path.push_back({text, level, is_key, text == numbered_key ? names : std::span<const std::string_view>()});
        level += is_key ? 1 : 0;
    }
    for (const std::string_view member : row.members) {
        if (!member.empty()) {
            rule.members.push_back(rule.node->child(member));
        }
    }
    if (level == 0 || level != rule.lists.size() || level > ItemRule::deepest ||
        std::count(rule.members.begin(), rule.members.end(), nullptr) != 0 ||
        std::any_of(rule.lists.begin(), rule.lists.end(), [](const auto *list) { return list->keys.size() != 1; })) {
        throw Unusable("the models have another " + std::string(row.native) + " than the system database shows");
    }
    return rule;
}

} // namespace

std::vector<ItemRule> item_rules(const Schema &schema, std::span<const ItemRow> rows,
                                 std::span<const std::string_view> names) {
    std::vector<ItemRule> rules;
    rules.reserve(rows.size());
    for (const ItemRow &row : rows) {
        rules.push_back(item_rule(schema, row, names));
    }
    return rules;
}

std::string ItemRule::Component::number_of(std::string_view name) const {
    const auto found = std::find(numbered.begin(), numbered.end(), name);
    if (found == numbered.end()) {
        return {};
    }
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), found - numbered.begin(), 16);
    return std::string(number_prefix) + std::string(digits.data(), end.ptr);
}

std::string_view ItemRule::Component::name_of(std::string_view number) const {
    if (!number.starts_with(number_prefix)) {
        return {};
    }
    const std::string_view digits = number.substr(number_prefix.size());
    std::size_t place = numbered.size();
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), place, 16);
    const bool is_own = error == std::errc() && end == digits.data() + digits.size() && place < numbered.size() &&
                        (digits.size() == 1 || digits.front() != '0');
    return is_own ? numbered[place] : std::string_view();
}

PathComponents::PathComponents(std::string_view path) {
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('/'), path.size());
        if (end != 0) {
            if (size_ < components_.size()) {
                components_.at(size_) = path.substr(0, end);
            }
            ++size_;
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
}

} // namespace yfw
