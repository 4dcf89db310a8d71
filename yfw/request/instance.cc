#include "request/instance.h"

#include <array>
#include <optional>
#include <span>
#include <vector>

namespace yfw {

namespace {

constexpr std::size_t most_keys = 8; // of a list; no model comes near

struct Step {
    std::string_view name;
    std::array<std::pair<std::string_view, std::string_view>, most_keys> given;
    std::size_t count = 0;

    [[nodiscard]] std::span<const std::pair<std::string_view, std::string_view>> keys() const {
        return {given.data(), count};
    }
};

std::string_view without_prefix(std::string_view name) {
    const auto colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

// Where a bare value ends: at the bracket behind which the path goes on, for there may be brackets in the value.
std::size_t bare_end(std::string_view rest) {
    std::size_t end = rest.find(']');
    while (end != std::string_view::npos && end + 1 < rest.size() && rest[end + 1] != '[' && rest[end + 1] != '/') {
        end = rest.find(']', end + 1);
    }
    return end;
}

// Takes "[name=value]" off the front; the value may be quoted.
bool take_key(std::string_view &rest, Step &step) {
    const auto equals = rest.find('=');
    if (equals == std::string_view::npos || step.count == most_keys) {
        return false;
    }
    const std::string_view name = without_prefix(rest.substr(1, equals - 1));
    rest.remove_prefix(equals + 1);
    const bool quoted = !rest.empty() && (rest.front() == '\'' || rest.front() == '"');
    const auto end = quoted ? rest.find(rest.front(), 1) : bare_end(rest);
    if (end == std::string_view::npos) {
        return false;
    }
    step.given[step.count++] = {name, quoted ? rest.substr(1, end - 1) : rest.substr(0, end)};
    rest.remove_prefix(end + (quoted ? 1 : 0));
    if (rest.empty() || rest.front() != ']') {
        return false;
    }
    rest.remove_prefix(1);
    return true;
}

// Takes the next step off the front; nothing when the expression ends or cannot be read.
std::optional<Step> take_step(std::string_view &rest) {
    while (!rest.empty() && rest.front() == '/') {
        rest.remove_prefix(1);
    }
    if (rest.empty()) {
        return std::nullopt;
    }
    Step step;
    const auto end = rest.find_first_of("/[");
    step.name = without_prefix(rest.substr(0, end));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end);
    while (!rest.empty() && rest.front() == '[') {
        if (!take_key(rest, step)) {
            return std::nullopt;
        }
    }
    return step;
}

// The entry that the step's keys name, or null. Without keys the current entry.
Node *entry_of(const Node *parent, const SchemaNode &schema, const Step &step) {
    if (schema.kind != NodeKind::list || step.count == 0) {
        return child(parent, schema);
    }
    const Entries *all = entries(parent, schema);
    std::array<std::string_view, most_keys> values{};
    std::size_t known = 0;
    for (const auto &[name, value] : step.keys()) {
        const SchemaNode *key = schema.child(name);
        if (key == nullptr || !key->is_key || key->ordinal >= most_keys) {
            return nullptr;
        }
        values[key->ordinal] = value;
        ++known;
    }
    if (known == schema.keys.size()) {
        return find_entry(parent, schema, {values.data(), known});
    }
    for (Node *entry = all == nullptr ? nullptr : all->first; entry != nullptr; entry = next_entry(entry)) {
        bool matches = true;
        for (const auto &[name, value] : step.keys()) {
            const char *present = key_value(entry, schema.child(name)->ordinal);
            matches = matches && present != nullptr && value == present;
        }
        if (matches) {
            return entry;
        }
    }
    return nullptr;
}

} // namespace

Node *find_instance(Node *base, std::string_view expression) {
    Node *node = base;
    bool moved = false;
    while (auto step = take_step(expression)) {
        const SchemaNode *schema = node->schema().is_inner() ? node->schema().child(step->name) : nullptr;
        node = schema == nullptr ? nullptr : entry_of(node, *schema, *step);
        if (node == nullptr) {
            return nullptr;
        }
        moved = true;
    }
    const bool complete = expression.find_first_not_of('/') == std::string_view::npos;
    return moved && complete ? node : nullptr;
}

namespace {

// Adds an entry with the step's keys; null when they are none of the list's.
Node *add_entry(Arena &arena, Node *parent, const SchemaNode &list, const Step &step) {
    Node *entry = open_entry(arena, parent, list);
    for (const auto &[name, value] : step.keys()) {
        const SchemaNode *key = list.child(name);
        if (key == nullptr || !key->is_key) {
            return nullptr;
        }
        set_value(arena, ensure_child(arena, entry, *key), value);
    }
    return has_all_keys(entry) ? complete_entry(arena, entry) : entry;
}

// Whether an entry of these keys may be joined into a tree: all are there, and what are to be identities are some.
bool may_join(const Schema &schema, const SchemaNode &list, const Step &step) {
    if (step.count != list.keys.size()) {
        return false;
    }
    for (const auto &[name, value] : step.keys()) {
        const SchemaNode *key = list.child(name);
        if (key == nullptr || !key->is_key ||
            (key->type == BaseType::identityref && schema.identity_module(*key, value) == nullptr)) {
            return false;
        }
    }
    return true;
}

// Follows an expression, adding what is missing; add is asked for an entry that is not there and may refuse with null.
template <typename Add>
Node *ensure_steps(Arena &arena, Node *base, std::string_view expression, Add add) {
    Node *node = base;
    while (auto step = take_step(expression)) {
        const SchemaNode *schema = node->schema().is_inner() ? node->schema().child(step->name) : nullptr;
        if (schema == nullptr) {
            return nullptr;
        }
        Node *next = entry_of(node, *schema, *step);
        if (next == nullptr) {
            next = schema->kind != NodeKind::list || step->count == 0 ? ensure_child(arena, node, *schema)
                                                                      : add(node, *schema, *step);
        }
        if (next == nullptr) {
            return nullptr;
        }
        if (schema->kind == NodeKind::list) {
            make_current(next);
        }
        node = next;
    }
    return expression.find_first_not_of('/') == std::string_view::npos ? node : nullptr;
}

} // namespace

Node *ensure_instance(Arena &arena, Node *base, std::string_view expression) {
    std::vector<Node *> added;
    Node *node = ensure_steps(arena, base, expression, [&](Node *parent, const SchemaNode &list, const Step &step) {
        Node *entry = add_entry(arena, parent, list, step);
        if (entry != nullptr) {
            added.push_back(entry);
        }
        return entry;
    });
    if (node != nullptr && !node->schema().config) {
        for (Node *entry : added) {
            entry->flags |= state_only;
        }
    }
    return node;
}

Node *join_instance(Arena &arena, const Schema &schema, Node *base, std::string_view expression,
                    AddressBook &addresses) {
    return ensure_steps(arena, base, expression, [&](Node *parent, const SchemaNode &list, const Step &step) -> Node * {
        if (!may_join(schema, list, step)) {
            return nullptr;
        }
        Node *same = step.count == 1 ? addresses.find(parent, list, step.keys()[0].second) : nullptr;
        if (same != nullptr) {
            return same;
        }
        Node *entry = add_entry(arena, parent, list, step);
        entry->flags |= state_only;
        return entry;
    });
}

const Node *existing_node(const Node *base, const SchemaNode &wanted) {
    std::vector<const SchemaNode *> levels;
    for (const SchemaNode *schema = &wanted; schema != &base->schema(); schema = schema->parent) {
        if (schema == nullptr) {
            return nullptr;
        }
        levels.push_back(schema);
    }
    const Node *node = base;
    for (; node != nullptr && !levels.empty(); levels.pop_back()) {
        node = child(node, *levels.back());
    }
    return node;
}

} // namespace yfw
