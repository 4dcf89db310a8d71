#include "model/instance_path.h"

#include "base/error.h"
#include "model/path_text.h"
#include "model/values.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace yfw {

namespace {

class PathAdder {
  public:
    PathAdder(Arena &arena, const Schema &schema, Node *root) : arena_(arena), schema_(schema), node_(root) {}

    void add(const PathStep &step) {
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
    std::string value_of(const SchemaNode &leaf, const PathStep &step, std::string_view value) const {
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
        return std::string(taken->text());
    }

    void add_value(const SchemaNode &schema, const PathStep &step) {
        if (step.predicates.empty() || step.predicates.front().any) {
            node_ = open_entry(arena_, node_, schema);
            return;
        }
        if (step.predicates.size() != 1 || step.predicates.front().name != ".") {
            refuse(Reason::invalid_value, step.name, "a leaf-list has no keys, its value is given as [.=value]");
        }
        node_ = ensure_value(arena_, node_, schema, value_of(schema, step, step.predicates.front().value));
    }

    void add_entry(const SchemaNode &list, const PathStep &step) {
        std::vector<std::string> keys(list.keys.size());
        std::vector<bool> is_given(list.keys.size());
        for (const PathPredicate &predicate : step.predicates) {
            const SchemaNode *key = find(list, predicate.name);
            if (key == nullptr || !key->is_key) {
                refuse(Reason::unknown_element, std::string(step.name) + '/' + std::string(predicate.name),
                       "the list has no such key");
            }
            if (is_given[key->ordinal]) {
                refuse(Reason::duplicate, std::string(step.name) + '/' + key->name, "the path gives this key twice");
            }
            if (predicate.any) {
                continue;
            }
            is_given[key->ordinal] = true;
            keys[key->ordinal] = value_of(*key, step, predicate.value);
        }
        const bool is_complete = !keys.empty() && std::find(is_given.begin(), is_given.end(), false) == is_given.end();
        const std::vector<std::string_view> wanted(keys.begin(), keys.end());
        Node *entry = is_complete ? find_entry(node_, list, wanted) : find_pattern(list, wanted, is_given);
        if (entry == nullptr) {
            entry = open_entry(arena_, node_, list);
            set_keys(entry, wanted, is_given);
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
    for (PathStep step; !parser.at_end();) {
        if (!parser.next(step)) {
            throw Refused(Reason::invalid_value, std::string(path), parser.fault());
        }
        adder.add(step);
    }
    return adder.node();
}

} // namespace yfw
