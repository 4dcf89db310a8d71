#include "instance_path.h"

#include "../error.h"
#include "values.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace yfw {

namespace {

struct Predicate {
    std::string_view name; // "." for a leaf-list's value
    std::string_view value;
};

struct Step {
    std::string_view name;
    std::vector<Predicate> predicates;
};

std::string_view trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(' ');
    return begin == std::string_view::npos ? std::string_view("")
                                           : text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

class PathParser {
  public:
    explicit PathParser(std::string_view path) : path_(path), rest_(path) {
        if (rest_.starts_with('/')) {
            rest_.remove_prefix(1);
        }
    }

    [[nodiscard]] bool at_end() const { return rest_.empty(); }

    Step next() {
        Step step{.name = trimmed(take_until("/[")), .predicates = {}};
        if (step.name.empty()) {
            wrong("a node's name is expected");
        }
        while (rest_.starts_with('[')) {
            rest_.remove_prefix(1);
            step.predicates.push_back(predicate());
        }
        if (rest_.starts_with('/')) {
            rest_.remove_prefix(1);
        } else if (!rest_.empty()) {
            wrong("a '/' or '[' is expected");
        }
        return step;
    }

  private:
    [[noreturn]] void wrong(const std::string &reason) const {
        throw Refused(Reason::invalid_value, std::string(path_),
                      reason + " at character " + std::to_string(path_.size() - rest_.size() + 1) + " of the path");
    }

    std::string_view take_until(std::string_view stops) {
        const auto end = std::min(rest_.find_first_of(stops), rest_.size());
        const std::string_view taken = rest_.substr(0, end);
        rest_.remove_prefix(end);
        return taken;
    }

    void skip_blanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size())); }

    void expect(char character) {
        if (!rest_.starts_with(character)) {
            wrong(std::string("a '") + character + "' is expected");
        }
        rest_.remove_prefix(1);
    }

    Predicate predicate() {
        Predicate result;
        result.name = trimmed(take_until("=]/"));
        expect('=');
        skip_blanks();
        if (rest_.starts_with('\'') || rest_.starts_with('"')) {
            const char quote[] = {rest_.front(), '\0'};
            rest_.remove_prefix(1);
            result.value = take_until(quote);
            expect(quote[0]);
            skip_blanks();
        } else {
            result.value = trimmed(take_until("]"));
        }
        expect(']');
        return result;
    }

    std::string_view path_;
    std::string_view rest_;
};

class PathAdder {
  public:
    PathAdder(Arena &arena, const Schema &schema, Node *root) : arena_(arena), schema_(schema), node_(root) {}

    void add(const Step &step) {
        if (!node_->schema().is_inner()) {
            refuse(Reason::unknown_element, step.name, "the node above is a leaf and has nothing below it");
        }
        const SchemaNode *schema = find(node_->schema(), step.name);
        if (schema == nullptr) {
            refuse(Reason::unknown_element, step.name, "the models have no such node");
        }
        if (schema->kind == NodeKind::list) {
            add_entry(*schema, step);
        } else if (schema->kind == NodeKind::leaf_list) {
            add_value(*schema, step);
        } else if (!step.predicates.empty()) {
            refuse(Reason::invalid_value, step.name, "only a list has keys");
        } else {
            node_ = ensure_child(arena_, node_, *schema);
        }
    }

    [[nodiscard]] Node *node() const { return node_; }

  private:
    [[noreturn]] void refuse(Reason code, std::string_view name, const std::string &reason) const {
        std::string path = node_->up() == nullptr ? std::string() : instance_path(node_);
        throw Refused(code, path.append("/").append(name), reason);
    }

    static const SchemaNode *find(const SchemaNode &parent, std::string_view name) {
        const auto colon = name.find(':');
        if (colon == std::string_view::npos) {
            return parent.child(name);
        }
        const std::string_view qualifier = name.substr(0, colon);
        const std::string_view local = name.substr(colon + 1);
        const auto found = std::find_if(parent.children.begin(), parent.children.end(), [&](const SchemaNode *child) {
            return child->name == local && (child->module->name == qualifier || child->module->prefix == qualifier);
        });
        return found == parent.children.end() ? nullptr : *found;
    }

    // Of a predicate, as the tree keeps it. A prefix that is the document's own is not known in a path.
    std::string_view value_of(const SchemaNode &leaf, const Step &step, std::string_view value) const {
        std::optional<TakenValue> taken = take_value(schema_, leaf, value);
        if (!taken && leaf.type == BaseType::identityref && value.find(':') != std::string_view::npos) {
            const std::string_view bare = value.substr(value.find(':') + 1);
            taken = take_value(schema_, leaf, bare);
            if (taken && !value.starts_with(taken->identity->prefix + ':')) {
                taken.reset();
            }
        }
        if (!taken) {
            refuse(Reason::invalid_value, std::string(step.name) + '/' + leaf.name,
                   why_not_taken(schema_, leaf, value));
        }
        return taken->text;
    }

    void add_value(const SchemaNode &schema, const Step &step) {
        if (step.predicates.empty()) {
            node_ = open_entry(arena_, node_, schema);
            return;
        }
        if (step.predicates.size() != 1 || step.predicates.front().name != ".") {
            refuse(Reason::invalid_value, step.name, "a leaf-list has no keys, its value is given as [.=value]");
        }
        node_ = ensure_value(arena_, node_, schema, value_of(schema, step, step.predicates.front().value));
    }

    void add_entry(const SchemaNode &list, const Step &step) {
        std::vector<std::string_view> keys(list.keys.size());
        std::vector<bool> is_given(list.keys.size());
        for (const Predicate &predicate : step.predicates) {
            const SchemaNode *key = find(list, predicate.name);
            if (key == nullptr || !key->is_key) {
                refuse(Reason::unknown_element, std::string(step.name) + '/' + std::string(predicate.name),
                       "the list has no such key");
            }
            if (is_given[key->ordinal]) {
                refuse(Reason::duplicate, std::string(step.name) + '/' + key->name, "the path gives this key twice");
            }
            is_given[key->ordinal] = true;
            keys[key->ordinal] = value_of(*key, step, predicate.value);
        }
        const bool is_complete = !keys.empty() && std::find(is_given.begin(), is_given.end(), false) == is_given.end();
        Node *entry = is_complete ? find_entry(node_, list, keys) : find_pattern(list, keys, is_given);
        if (entry == nullptr) {
            entry = open_entry(arena_, node_, list);
            set_keys(entry, keys, is_given);
            if (is_complete) {
                complete_entry(arena_, entry);
            }
        }
        make_current(entry);
        node_ = entry;
    }

    void set_keys(Node *entry, const std::vector<std::string_view> &keys, const std::vector<bool> &is_given) {
        for (std::size_t key = 0; key < keys.size(); ++key) {
            if (is_given[key]) {
                const SchemaNode &schema = *entry->schema().keys[key];
                Node *leaf = ensure_child(arena_, entry, schema);
                set_value(arena_, leaf, keys[key]);
                if (const Module *identity = schema_.identity_module(schema, keys[key])) {
                    leaf->name_space = const_cast<char *>(identity->name_space.c_str()); // borrowed
                }
            }
        }
    }

    // An entry with just these keys. Patterns are few.
    Node *find_pattern(const SchemaNode &list, const std::vector<std::string_view> &keys,
                       const std::vector<bool> &is_given) const {
        const Entries *all = entries(node_, list);
        for (Node *entry = all == nullptr ? nullptr : all->first; entry != nullptr; entry = next_entry(entry)) {
            bool is_same = true;
            for (std::size_t key = 0; key < keys.size() && is_same; ++key) {
                const char *value = key_value(entry, key);
                is_same = is_given[key] ? value != nullptr && keys[key] == value : value == nullptr;
            }
            if (is_same) {
                return entry;
            }
        }
        return nullptr;
    }

    Arena &arena_;
    const Schema &schema_;
    Node *node_;
};

} // namespace

Node *add_instance_path(Arena &arena, const Schema &schema, Node *root, std::string_view path) {
    if (path.empty()) {
        throw Refused(Reason::invalid_value, "", "the path is empty");
    }
    PathParser parser(path);
    PathAdder adder(arena, schema, root);
    while (!parser.at_end()) {
        adder.add(parser.next());
    }
    return adder.node();
}

} // namespace yfw
