#include "request/instance.h"

#include <array>
#include <optional>
#include <vector>

namespace yfw {

namespace {

struct Step {
    std::string_view name;
    std::vector<std::pair<std::string_view, std::string_view>> keys;
};

std::string_view without_prefix(std::string_view name) {
    const auto colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

// Takes "[name=value]" off the front; the value may be quoted.
bool take_key(std::string_view &rest, Step &step) {
    const auto equals = rest.find('=');
    if (equals == std::string_view::npos) {
        return false;
    }
    const std::string_view name = without_prefix(rest.substr(1, equals - 1));
    rest.remove_prefix(equals + 1);
    const bool quoted = !rest.empty() && (rest.front() == '\'' || rest.front() == '"');
    const auto end = quoted ? rest.find(rest.front(), 1) : rest.find(']');
    if (end == std::string_view::npos) {
        return false;
    }
    step.keys.emplace_back(name, quoted ? rest.substr(1, end - 1) : rest.substr(0, end));
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
    if (schema.kind != NodeKind::list || step.keys.empty()) {
        return child(parent, schema);
    }
    const Entries *all = entries(parent, schema);
    std::vector<std::string_view> values(schema.keys.size());
    std::size_t known = 0;
    for (const auto &[name, value] : step.keys) {
        const SchemaNode *key = schema.child(name);
        if (key == nullptr || !key->is_key) {
            return nullptr;
        }
        values[key->ordinal] = value;
        ++known;
    }
    if (known == values.size()) {
        return find_entry(parent, schema, values);
    }
    for (Node *entry = all == nullptr ? nullptr : all->first; entry != nullptr; entry = next_entry(entry)) {
        bool matches = true;
        for (const auto &[name, value] : step.keys) {
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

Node *ensure_instance(Arena &arena, Node *base, std::string_view expression) {
    Node *node = base;
    while (auto step = take_step(expression)) {
        const SchemaNode *schema = node->schema().is_inner() ? node->schema().child(step->name) : nullptr;
        if (schema == nullptr) {
            return nullptr;
        }
        Node *next = entry_of(node, *schema, *step);
        if (next == nullptr && (schema->kind != NodeKind::list || step->keys.empty())) {
            next = ensure_child(arena, node, *schema);
        } else if (next == nullptr) {
            next = open_entry(arena, node, *schema);
            for (const auto &[name, value] : step->keys) {
                const SchemaNode *key = schema->child(name);
                if (key == nullptr || !key->is_key) {
                    return nullptr;
                }
                set_value(arena, ensure_child(arena, next, *key), value);
            }
            if (has_all_keys(next)) {
                next = complete_entry(arena, next);
            }
        }
        if (schema->kind == NodeKind::list) {
            make_current(next);
        }
        node = next;
    }
    return expression.find_first_not_of('/') == std::string_view::npos ? node : nullptr;
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
