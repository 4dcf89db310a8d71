#include "boundary/system_database.h"

#include "base/error.h"

#include <algorithm>
#include <charconv>
#include <set>

namespace yfw {

namespace {

using Value = SystemDatabase::Value;
using Kind = SystemDatabase::Kind;

bool is_any(std::string_view component) {
    return component == ".*";
}

std::uint32_t truth(std::string_view text) {
    return text == "true" ? 1 : 0;
}

Value number_value(std::uint32_t number) {
    return {Kind::number, number, std::to_string(number)};
}

// A search for the items of one rule.
class Search {
  public:
    // Told of an item; returns the list level that the search is to go on with the next entry of: all_levels for the
    // innermost, or no_level to end it.
    using Visit = std::function<std::ptrdiff_t(const Search &, const Value &)>;
    static constexpr std::ptrdiff_t no_level = -1;
    static constexpr std::ptrdiff_t all_levels = PTRDIFF_MAX;

    Search(const Transaction &transaction, const ItemRule &rule) : transaction_(transaction), rule_(rule) {}

    // Whether the rule has paths with these first components, and the store has ever held what they show.
    static bool fits(const Transaction &transaction, const ItemRule &rule, const PathComponents &components) {
        return components.size() <= rule.path.size() && transaction.number(*rule.lists.front()) != 0 &&
               std::equal(components.begin(), components.end(), rule.path.begin(),
                          [](auto given, const auto &own) { return is_any(given) || own.is_key || own.text == given; });
    }

    // Binds the first components, which fit the rule and outlive the search; false when no entry has such a key.
    bool bind(const PathComponents &components) {
        return std::equal(components.begin(), components.end(), rule_.path.begin(),
                          [this](auto given, const auto &own) { return bind(own, given); });
    }

    // False when the search was ended.
    bool run(const Visit &visit) {
        visit_ = &visit;
        key_ = root_key;
        return search(0) != no_level;
    }

    // The current item's component.
    [[nodiscard]] std::string component(std::size_t i) const {
        const ItemRule::Component &component = rule_.path[i];
        if (!component.is_key) {
            return std::string(component.text);
        }
        const std::string_view value = values_[component.level];
        return component.numbered.empty() ? std::string(value) : component.number_of(value);
    }

    [[nodiscard]] std::string path() const {
        std::string path;
        for (std::size_t i = 0; i < rule_.path.size(); ++i) {
            path += (i == 0 ? "" : "/") + component(i);
        }
        return path;
    }

  private:
    bool bind(const ItemRule::Component &component, std::string_view given) {
        if (!component.is_key || is_any(given)) {
            return true;
        }
        if (!component.numbered.empty()) {
            given = component.name_of(given);
        }
        bound_[component.level] = given;
        return !given.empty();
    }

    std::ptrdiff_t search(std::size_t level);
    std::ptrdiff_t search_entry(std::size_t level, std::string_view key_value);
    [[nodiscard]] std::optional<Value> value() const;
    [[nodiscard]] std::optional<Value> tuple(std::string_view bytes) const;

    const Transaction &transaction_;
    const ItemRule &rule_;
    std::array<std::string_view, ItemRule::deepest> bound_; // key values asked for; empty for any
    std::array<std::string_view, ItemRule::deepest> values_;
    std::string key_;
    const Visit *visit_ = nullptr;
};

// Goes through the entries of one list; returns as a visit does.
std::ptrdiff_t Search::search(std::size_t level) {
    if (level == rule_.lists.size()) {
        const auto found = value();
        return found ? (*visit_)(*this, *found) : all_levels;
    }
    const Number number = transaction_.number(*rule_.lists[level]);
    if (number == 0) {
        return all_levels;
    }
    const std::size_t size = key_.size();
    append_number(key_, number);
    std::ptrdiff_t next = all_levels;
    const auto own = static_cast<std::ptrdiff_t>(level);
    if (!bound_[level].empty()) {
        append_key_value(key_, bound_[level]);
        next = search_entry(level, bound_[level]);
    } else {
        for (EntryCursor entry(transaction_, key_); next >= own && entry.next();) {
            std::string_view values = entry.values();
            std::string_view key_value;
            take_key_value(values, key_value);
            key_ = entry.key();
            next = search_entry(level, key_value);
        }
    }
    key_.resize(size);
    return next >= own ? all_levels : next;
}

std::ptrdiff_t Search::search_entry(std::size_t level, std::string_view key_value) {
    values_.at(level) = key_value;
    return search(level + 1);
}

std::optional<Value> Search::value() const {
    const auto bytes = transaction_.record(key_);
    if (!bytes) {
        return std::nullopt;
    }
    if (rule_.form == ItemForm::marker && rule_.node == rule_.lists.back()) {
        return number_value(1);
    }
    if (rule_.form == ItemForm::truth_tuple) {
        return tuple(*bytes);
    }
    ItemReader reader(*bytes, transaction_.directory());
    for (RecordItem item; reader.next(item);) {
        const SchemaNode *node = transaction_.find_node(item.number);
        if (node == nullptr || !lies_in(*node, *rule_.node)) {
            continue;
        }
        if (rule_.form == ItemForm::marker) {
            return number_value(1);
        }
        if (rule_.form == ItemForm::truth) {
            return number_value(truth(item.text));
        }
        if (rule_.form == ItemForm::text) {
            return Value{Kind::text, 0, std::string(item.text)};
        }
        std::uint32_t number = 0;
        std::from_chars(item.text.data(), item.text.data() + item.text.size(), number);
        return number_value(number);
    }
    return std::nullopt;
}

std::optional<Value> Search::tuple(std::string_view bytes) const {
    std::vector<std::uint32_t> members(rule_.members.size());
    bool any = false;
    ItemReader reader(bytes, transaction_.directory());
    for (RecordItem item; reader.next(item);) {
        const SchemaNode *node = transaction_.find_node(item.number);
        const auto place = std::find(rule_.members.begin(), rule_.members.end(), node);
        if (place != rule_.members.end()) {
            members[static_cast<std::size_t>(place - rule_.members.begin())] = truth(item.text);
            any = true;
        }
    }
    if (!any) {
        return std::nullopt;
    }
    Value value{Kind::tuple, 0, {}};
    for (const std::uint32_t member : members) {
        value.text += (value.text.empty() ? "" : ",") + std::to_string(member);
    }
    return value;
}

} // namespace

SystemDatabase::SystemDatabase(const Transaction &transaction, std::vector<ItemRule> &&rules)
    : transaction_(transaction), own_rules_(std::move(rules)), rules_(own_rules_) {}

std::optional<Value> SystemDatabase::get(std::string_view path) const {
    std::optional<Value> value;
    find(path, [&value](const Item &item) {
        value = item.value;
        return false;
    });
    return value;
}

void SystemDatabase::find(std::string_view pattern, const std::function<bool(const Item &)> &visit) const {
    if (preferred_.empty() || !pattern.starts_with(".*/")) {
        find_all(pattern, visit);
        return;
    }
    const std::string own = preferred_ + '/';
    if (find_all(own + std::string(pattern.substr(3)), visit)) {
        find_all(pattern, [&](const Item &item) { return item.path.starts_with(own) || visit(item); });
    }
}

// False when visit ended it.
bool SystemDatabase::find_all(std::string_view pattern, const std::function<bool(const Item &)> &visit) const {
    const PathComponents components(pattern);
    for (const ItemRule &rule : rules_) {
        if (components.size() != rule.path.size() || !Search::fits(transaction_, rule, components)) {
            continue;
        }
        Search search(transaction_, rule);
        if (!search.bind(components)) {
            continue;
        }
        const bool goes_on = search.run([&visit](const Search &at, const Value &value) {
            return visit({at.path(), value}) ? Search::all_levels : Search::no_level;
        });
        if (!goes_on) {
            return false;
        }
    }
    return true;
}

std::vector<std::string> SystemDatabase::list(std::string_view path) const {
    const PathComponents components(path);
    std::set<std::string> names;
    for (const ItemRule &rule : rules_) {
        if (components.size() >= rule.path.size() || !Search::fits(transaction_, rule, components)) {
            continue;
        }
        Search search(transaction_, rule);
        if (!search.bind(components)) {
            continue;
        }
        // One item below a name will do.
        const ItemRule::Component &named = rule.path[components.size()];
        const bool is_last = components.size() + 1 == rule.path.size();
        search.run([&](const Search &at, const Value &) {
            names.insert(at.component(components.size()) + (is_last ? "" : "/"));
            return named.is_key ? static_cast<std::ptrdiff_t>(named.level) : Search::no_level;
        });
    }
    return {names.begin(), names.end()};
}

std::vector<SystemDatabase::Item> SystemDatabase::items(std::string_view pattern) const {
    const PathComponents components(pattern);
    std::vector<Item> found;
    for (const ItemRule &rule : rules_) {
        Search search(transaction_, rule);
        if (Search::fits(transaction_, rule, components) && search.bind(components)) {
            search.run([&found](const Search &at, const Value &value) {
                found.push_back({at.path(), value});
                return Search::all_levels;
            });
        }
    }
    std::sort(found.begin(), found.end(), [](const Item &a, const Item &b) { return a.path < b.path; });
    return found;
}

} // namespace yfw
