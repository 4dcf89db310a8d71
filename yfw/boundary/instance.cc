#include "boundary/instance.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

namespace yfw {

namespace {

constexpr std::size_t most_keys = 8; // of a list; no model comes near

struct Step {
    const SchemaNode *schema = nullptr;
    std::array<std::pair<const SchemaNode *, std::string_view>, most_keys> given;
    std::size_t count = 0;

    [[nodiscard]] std::span<const std::pair<const SchemaNode *, std::string_view>> keys() const {
        return {given.data(), count};
    }
    // False for what is no key of the list, or one that was given before.
    bool add(std::string_view name, std::string_view value) {
        const SchemaNode *key = schema->is_inner() ? schema->child(name) : nullptr;
        if (key == nullptr || !key->is_key || count == most_keys ||
            std::any_of(given.begin(), given.begin() + count,
                        [key](const auto &known) { return known.first == key; })) {
            return false;
        }
        given.at(count++) = {key, value};
        return true;
    }
};

std::string_view without_prefix(std::string_view name) {
    const auto colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

// Reads a plug-in's expression. A bracket ends a value where what follows it can be read to the end.
class ExpressionParser {
  public:
    explicit ExpressionParser(const SchemaNode &base) : base_(base) {}

    bool read(std::string_view rest) {
        while (rest.starts_with('/')) {
            rest.remove_prefix(1);
        }
        if (rest.empty()) {
            return true;
        }
        const SchemaNode &parent = steps_.empty() ? base_ : *steps_.back().schema;
        const auto end = std::min(rest.find_first_of("/["), rest.size());
        const SchemaNode *schema = parent.is_inner() ? parent.child(without_prefix(rest.substr(0, end))) : nullptr;
        if (schema == nullptr) {
            return false;
        }
        const std::size_t depth = steps_.size();
        steps_.push_back({.schema = schema, .given = {}});
        if (!read_keys(rest.substr(end))) {
            steps_.resize(depth);
            return false;
        }
        return true;
    }

    [[nodiscard]] const std::vector<Step> &steps() const { return steps_; }

  private:
    // Of the last step.
    bool read_keys(std::string_view rest) {
        if (!rest.starts_with('[')) {
            return (rest.empty() || rest.starts_with('/')) && read(rest);
        }
        const auto equals = rest.find('=');
        if (equals == std::string_view::npos) {
            return false;
        }
        const std::string_view name = without_prefix(rest.substr(1, equals - 1));
        rest.remove_prefix(equals + 1);
        const std::size_t step = steps_.size() - 1;
        for (auto end = rest.find(']'); end != std::string_view::npos; end = rest.find(']', end + 1)) {
            if (!steps_[step].add(name, rest.substr(0, end))) {
                return false;
            }
            // An identity has no brackets: those belong to a value before it.
            const bool is_wrong = steps_[step].keys().back().first->type == BaseType::identityref &&
                                  rest.substr(0, end).find('[') != std::string_view::npos;
            if (!is_wrong && read_keys(rest.substr(end + 1))) {
                return true;
            }
            --steps_[step].count;
        }
        return false;
    }

    const SchemaNode &base_;
    std::vector<Step> steps_;
};

// The entry that the step's keys name, or null. Without keys the current entry.
Node *entry_of(const Node *parent, const Step &step) {
    const SchemaNode &schema = *step.schema;
    if (schema.kind != NodeKind::list || step.count == 0) {
        return child(parent, schema);
    }
    std::array<std::string_view, most_keys> values{};
    for (const auto &[key, value] : step.keys()) {
        if (key->ordinal >= most_keys) {
            return nullptr;
        }
        values.at(key->ordinal) = value;
    }
    if (step.count == schema.keys.size()) {
        return find_entry(parent, schema, {values.data(), step.count});
    }
    for (Node *entry : entries_of(parent, schema)) {
        const auto keys = step.keys();
        if (std::all_of(keys.begin(), keys.end(), [entry](const auto &key) {
                const char *present = key_value(entry, key.first->ordinal);
                return present != nullptr && key.second == present;
            })) {
            return entry;
        }
    }
    return nullptr;
}

// Of an expression without keys.
Node *find_current(Node *base, std::string_view expression) {
    Node *node = base;
    while (node != nullptr && !expression.empty()) {
        const auto end = std::min(expression.find('/'), expression.size());
        if (end > 0) {
            const SchemaNode *schema =
                node->schema().is_inner() ? node->schema().child(without_prefix(expression.substr(0, end))) : nullptr;
            node = schema == nullptr ? nullptr : child(node, *schema);
        }
        expression.remove_prefix(std::min(end + 1, expression.size()));
    }
    return node == base ? nullptr : node;
}

} // namespace

Node *find_instance(Node *base, std::string_view expression) {
    if (expression.find('[') == std::string_view::npos) {
        return find_current(base, expression);
    }
    ExpressionParser parser(base->schema());
    Node *node = parser.read(expression) && !parser.steps().empty() ? base : nullptr;
    for (const Step &step : parser.steps()) {
        node = node == nullptr ? nullptr : entry_of(node, step);
    }
    return node;
}

namespace {

Node *add_entry(Arena &arena, Node *parent, const Step &step) {
    Node *entry = open_entry(arena, parent, *step.schema);
    for (const auto &[key, value] : step.keys()) {
        set_value(arena, ensure_child(arena, entry, *key), value);
    }
    return has_all_keys(entry) ? complete_entry(arena, entry) : entry;
}

// Whether an entry of these keys may be joined into a tree: all are there, and what are to be identities are some.
bool may_join(const Schema &schema, const Step &step) {
    const auto keys = step.keys();
    return keys.size() == step.schema->keys.size() && std::all_of(keys.begin(), keys.end(), [&](const auto &key) {
               return key.first->type != BaseType::identityref ||
                      schema.identity_module(*key.first, key.second) != nullptr;
           });
}

// Follows an expression, adding what is missing; add is asked for an entry that is not there and may refuse with null.
template <typename Add>
Node *ensure_steps(Arena &arena, Node *base, std::string_view expression, Add add) {
    ExpressionParser parser(base->schema());
    Node *node = parser.read(expression) ? base : nullptr;
    for (const Step &step : parser.steps()) {
        Node *next = node == nullptr ? nullptr : entry_of(node, step);
        if (next == nullptr && node != nullptr) {
            next = step.schema->kind != NodeKind::list || step.count == 0 ? ensure_child(arena, node, *step.schema)
                                                                          : add(node, step);
        }
        if (next != nullptr && step.schema->kind == NodeKind::list) {
            make_current(next);
        }
        node = next;
    }
    return node;
}

} // namespace

Node *ensure_instance(Arena &arena, Node *base, std::string_view expression) {
    std::vector<Node *> added;
    Node *node = ensure_steps(arena, base, expression, [&](Node *parent, const Step &step) {
        return added.emplace_back(add_entry(arena, parent, step));
    });
    if (node != nullptr && !node->schema().config) {
        for (Node *entry : added) {
            entry->flags |= state_only;
        }
    }
    return node;
}

Node *join_instance(Arena &arena, const Schema &schema, Node *base, std::string_view expression) {
    return ensure_steps(arena, base, expression, [&](Node *parent, const Step &step) -> Node * {
        if (!may_join(schema, step)) {
            return nullptr;
        }
        Node *entry = add_entry(arena, parent, step);
        entry->flags |= state_only;
        return entry;
    });
}

} // namespace yfw
