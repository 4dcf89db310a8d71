// What edits of RFC 6241 make of a configuration, worked out on plain trees and without any of the framework's own edit
// path: what the framework does is held against it.
#pragma once

#include "documents/reader.h"
#include "scratch.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>

namespace yfw::test {

// none: what the default operation of that name means; it stands in no document.
enum class Operation { inherited, none, merge, create, replace, erase, remove };

// A node of a configuration, or of an edit.
struct Item {
    const SchemaNode *schema = nullptr;
    std::vector<std::string> keys{}; // of a list entry
    std::string value{};             // of a leaf or of one of a leaf-list; may be empty where one is deleted
    Operation operation = Operation::inherited;
    std::map<std::string, Item> children{}; // by their steps; keys are not among them, unless an edit marks them

    [[nodiscard]] const Item *child(const std::string &step) const {
        const auto found = children.find(step);
        return found == children.end() ? nullptr : &found->second;
    }
    [[nodiscard]] bool is_erased() const { return operation == Operation::erase || operation == Operation::remove; }
};

// "default" names the same network instance as "DEFAULT": trees have the latter, documents either.
inline constexpr std::string_view default_instance = "DEFAULT";

inline std::string canonical_key(const SchemaNode &list, const std::string &value) {
    return list.name == "network-instance" && value == "default" ? std::string(default_instance) : value;
}

// "leaf", "entry[key=value][other=value]", "leaf-list[.=value]".
inline std::string step_of(const Item &item) {
    std::string step = item.schema->name;
    for (std::size_t key = 0; key < item.keys.size(); ++key) {
        step += '[' + item.schema->keys[key]->name + '=' + item.keys[key] + ']';
    }
    return item.schema->kind == NodeKind::leaf_list ? step + "[.=" + item.value + ']' : step;
}

inline Item &add_item(Item &parent, Item item) {
    std::string step = step_of(item);
    return parent.children.try_emplace(std::move(step), std::move(item)).first->second;
}

// A leaf of "config" that repeats a key of the entry around it.
inline bool is_key_copy(const SchemaNode &leaf) {
    const SchemaNode *entry = leaf.is_inner() || leaf.is_key ? nullptr : leaf.parent->parent;
    const SchemaNode *key = entry == nullptr || leaf.parent->name != "config" ? nullptr : entry->child(leaf.name);
    return key != nullptr && key->is_key;
}

// The key of the entry that a leaf repeats.
inline std::string key_of(const Item &entry, const SchemaNode &leaf) {
    const auto &keys = entry.schema->keys;
    const auto key = std::find_if(keys.begin(), keys.end(), [&](const auto *one) { return one->name == leaf.name; });
    return key == keys.end() ? "" : entry.keys[static_cast<std::size_t>(key - keys.begin())];
}

// The configuration in what the framework has read; state is left out.
inline Item item_of(const Node *node) {
    Item item{.schema = &node->schema(), .value = node->value == nullptr ? "" : node->value};
    for (const SchemaNode *key : item.schema->keys) {
        const Node *leaf = child(node, *key);
        item.keys.push_back(leaf == nullptr ? "" : canonical_key(*item.schema, leaf->value));
    }
    for (const Node *below = node->schema().is_inner() || node->up() == nullptr ? node->first() : nullptr;
         below != nullptr; below = below->next()) {
        if (!below->schema().is_key && below->schema().config) {
            add_item(item, item_of(below));
        }
    }
    return item;
}

// Adds an edit's children to the framework's tree, from which it is printed.
inline void add_nodes(Arena &arena, Node *parent, const Item &item, const std::string &default_name) {
    constexpr std::array<std::uint32_t, 7> codes{YFW_OP_NONE,    YFW_OP_NONE,   YFW_OP_NONE,  YFW_OP_CREATE,
                                                 YFW_OP_REPLACE, YFW_OP_DELETE, YFW_OP_REMOVE};
    for (const auto &[step, below] : item.children) {
        const SchemaNode &schema = *below.schema;
        Node *node = nullptr;
        if (schema.kind == NodeKind::leaf_list) {
            node = ensure_value(arena, parent, schema, below.value);
        } else if (schema.kind == NodeKind::list) {
            node = open_entry(arena, parent, schema);
            for (std::size_t key = 0; key < below.keys.size(); ++key) {
                const bool is_default = schema.name == "network-instance" && below.keys[key] == default_instance;
                set_value(arena, add_child(arena, node, *schema.keys[key]),
                          is_default ? default_name : below.keys[key]);
            }
            node = complete_entry(arena, node);
        } else {
            node = ensure_child(arena, parent, schema);
            if (!schema.is_inner() && !schema.is_key && !(below.value.empty() && below.is_erased())) {
                const bool is_default =
                    schema.path == "/network-instances/network-instance/config/name" && below.value == default_instance;
                set_value(arena, node, is_default ? default_name : below.value);
            }
        }
        if (below.operation > Operation::none) {
            node->set_operation(codes.at(static_cast<std::size_t>(below.operation)));
        }
        add_nodes(arena, node, below, default_name);
    }
}

// The document of a tree, with its operations. default_name: what it calls the default network instance.
inline std::string print(const Schema &schema, const Item &root, Syntax syntax,
                         const std::string &default_name = std::string(default_instance)) {
    Arena arena;
    Node *nodes = new_root(arena, schema);
    add_nodes(arena, nodes, root, default_name);
    return document_of(schema, nodes, {.syntax = syntax, .explicit_merge = true});
}

using Steps = std::vector<std::string>;

inline std::string joined(const Steps &steps, const char *before = "/") {
    std::string path;
    for (const std::string &step : steps) {
        path += before + step;
    }
    return path;
}

struct ModelRefusal {
    Steps path;
    std::string reason;
};

// One edit of a configuration.
class EditModel {
  public:
    // Throws ModelRefusal.
    Item apply(const Item &stored, const Item &edit, DefaultOperation default_operation) {
        const Operation top = default_operation == DefaultOperation::replace ? Operation::replace
                              : default_operation == DefaultOperation::none  ? Operation::none
                                                                             : Operation::merge;
        std::optional<Item> result = edited(&stored, edit, top);
        return result ? std::move(*result) : Item{.schema = stored.schema};
    }
    // What may as well be refused as done: whether something exists is a matter of taste where there are only copies of
    // keys, or where a remove finds no entry to look in.
    [[nodiscard]] const std::string &unclear() const { return unclear_; }
    // Whether a replace left an AS number that it did not name. With nothing else left there, it may as well go.
    [[nodiscard]] bool kept_as() const { return kept_as_; }

  private:
    enum class Presence { absent, copies, present };

    static Presence presence(const Item *item) {
        if (item == nullptr) {
            return Presence::absent;
        }
        if (!item->schema->is_inner()) {
            return is_key_copy(*item->schema) ? Presence::copies : Presence::present;
        }
        // An entry of these without content has nothing that stands for it.
        const bool bare_is_nothing = item->schema->name == "protocol" ||
                                     (item->schema->name == "network-instance" && item->keys[0] == default_instance);
        Presence most = item->schema->kind != NodeKind::list ? Presence::absent
                        : bare_is_nothing                    ? Presence::copies
                                                             : Presence::present;
        for (const auto &[step, below] : item->children) {
            most = std::max(most, presence(&below));
        }
        return most;
    }

    void check_marks(const Item &edit) const {
        const bool refused = edit.schema->is_key ? edit.operation != Operation::inherited
                                                 : is_key_copy(*edit.schema) && edit.is_erased();
        if (refused) {
            throw ModelRefusal{path_, "an operation on a key"};
        }
    }
    // What goes cannot be given anything.
    void check_erased(const Item &edit) {
        for (const auto &[step, below] : edit.children) {
            path_.push_back(step);
            if (below.operation != Operation::inherited && !below.is_erased()) {
                throw ModelRefusal{path_, "an operation below a delete"};
            }
            if (below.operation != Operation::inherited) {
                unclear_ = "a delete below a delete";
            }
            check_erased(below);
            path_.pop_back();
        }
    }
    void check_presence(const Item *old, Operation operation) {
        const Presence found = presence(old);
        if (operation == Operation::create && found == Presence::present) {
            throw ModelRefusal{path_, "create of what exists"};
        }
        if (operation == Operation::erase && found == Presence::absent) {
            throw ModelRefusal{path_, "delete of what does not exist"};
        }
        if (found == Presence::copies) {
            unclear_ = "there are only copies of keys";
        }
    }

    enum class Acts { no, removes, sets };
    static Acts acts(const Item &edit) {
        Acts most = edit.operation == Operation::inherited ? Acts::no
                    : edit.operation == Operation::remove  ? Acts::removes
                                                           : Acts::sets;
        for (const auto &[step, below] : edit.children) {
            most = std::max(most, acts(below));
        }
        return most;
    }

    std::optional<Item> edited(const Item *old, const Item &edit, Operation inherited) {
        check_marks(edit);
        const Operation operation = edit.operation == Operation::inherited ? inherited : edit.operation;
        if (edit.operation == Operation::create || edit.is_erased()) {
            check_presence(old, operation);
        }
        if (edit.is_erased()) {
            check_erased(edit);
            return std::nullopt;
        }
        if (!edit.schema->is_inner() && edit.schema->depth > 0) {
            if (operation == Operation::none) {
                return old == nullptr ? std::nullopt : std::optional(*old);
            }
            return Item{.schema = edit.schema, .value = edit.value};
        }
        return edited_inner(old, edit, operation);
    }

    std::optional<Item> edited_inner(const Item *old, const Item &edit, Operation operation) {
        const bool keeps = operation == Operation::merge || operation == Operation::none;
        const bool is_entry = edit.schema->kind == NodeKind::list;
        if (operation == Operation::none && is_entry && presence(old) != Presence::present && acts(edit) != Acts::no) {
            if (acts(edit) == Acts::sets && old == nullptr) {
                throw ModelRefusal{path_, "an entry on the way does not exist"};
            }
            unclear_ = "an entry on the way to a remove does not exist";
        }
        Item result = old != nullptr && keeps ? *old : Item{.schema = edit.schema, .keys = edit.keys};
        for (const auto &[step, below] : edit.children) {
            path_.push_back(step);
            std::optional<Item> made = edited(old == nullptr ? nullptr : old->child(step), below, operation);
            path_.pop_back();
            if (below.schema->is_key) {
                continue;
            }
            result.children.erase(step);
            if (made) {
                result.children.emplace(step, std::move(*made));
            }
        }
        if (operation == Operation::replace && old != nullptr) {
            keep_as(*old, edit, result);
        }
        // An entry is not brought into being by what is removed from it.
        const bool names_nothing =
            operation == Operation::none || (edit.operation == Operation::inherited && acts(edit) == Acts::removes);
        if (old == nullptr && result.children.empty() && (!is_entry || names_nothing)) {
            return std::nullopt;
        }
        return result;
    }

    // All of BGP stands on the AS number: a replace that does not name it keeps it.
    void keep_as(const Item &old, const Item &edit, Item &result) {
        static constexpr std::array way{"protocol", "bgp", "global", "config", "as"};
        const auto level = std::find(way.begin(), way.end(), old.schema->name);
        if (level + 1 >= way.end()) {
            return;
        }
        const Item *kept = old.child(*(level + 1));
        const Item *named = edit.child(*(level + 1));
        if (kept != nullptr && named == nullptr) {
            kept_as_ = true;
            Item &into = add_item(result, Item{.schema = kept->schema, .value = kept->value});
            keep_as(*kept, Item{}, into);
        }
    }

    Steps path_;
    std::string unclear_;
    bool kept_as_ = false;
};

} // namespace yfw::test
