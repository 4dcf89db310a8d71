// The data tree: nodes in a request's arena, with every look-up independent of the number of siblings.
#pragma once

#include "base/arena.h"
#include "model/schema.h"
#include "yfw_map.h"

#include <array>
#include <iterator>
#include <span>
#include <string>
#include <string_view>

namespace yfw {

// Flags of the framework's own.
inline constexpr std::uint32_t state_only = 0x10000; // an entry of a read's result that only state is known of
inline constexpr std::uint32_t has_origin = 0x20000; // a node of a tree that keeps origins: room for it is in front
inline constexpr std::uint32_t whole = 0x40000;      // of what a read declares: all that lies in the node is wanted

// What the boundary shows of a node. A leaf is this and no more, since a request has hundreds of thousands.
struct Node : cidl_yfw_datatree {
    [[nodiscard]] const SchemaNode &schema() const { return *static_cast<const SchemaNode *>(framework); }
    [[nodiscard]] Node *up() const { return static_cast<Node *>(parent); }
    [[nodiscard]] Node *first() const { return static_cast<Node *>(first_child); }
    [[nodiscard]] Node *next() const { return static_cast<Node *>(next_sibling); }
    [[nodiscard]] bool op_is_set() const { return (flags & YFW_NODE_OP_SET) != 0; }
    [[nodiscard]] bool is_delete() const { return operation == YFW_OP_DELETE || operation == YFW_OP_REMOVE; }
    void set_operation(std::uint32_t op) {
        operation = op;
        flags |= YFW_NODE_OP_SET;
    }
    // The request's node whose operation it took; null for none, and in a tree that keeps no origins.
    [[nodiscard]] const Node *origin() const {
        return (flags & has_origin) == 0 ? nullptr
                                         : static_cast<const Node *const *>(static_cast<const void *>(this))[-1];
    }
    void set_origin(const Node *node) {
        if ((flags & has_origin) != 0) {
            static_cast<const Node **>(static_cast<void *>(this))[-1] = node;
        }
    }
};

// A place of an index. With the hash beside it, other entries need not be looked at.
struct IndexPlace {
    Node *entry; // null for an empty place
    std::uint64_t hash;
};

// The entries of one list (or the values of one leaf-list) below one parent.
struct Entries {
    Node *first;
    Node *last;
    Node *current;
    std::uint32_t count;
    std::uint32_t index_size; // a power of two, or 0: few entries are searched one by one
    IndexPlace *index;        // open addressing by key values; entries without complete keys are not in it
    enum class Keys : std::uint8_t { unknown, complete, incomplete } keys; // of all entries, as last looked at
};

// A value of a leaf-list.
struct ValueNode : Node {
    Node *next_entry; // null for the last
};

// A root or container, and the greater part of a list entry.
struct InnerNode : Node {
    Node *last_child;
    // One per schema child: a Node, or Entries for a list or leaf-list. Null while there are only a few children, and
    // no lists or leaf-lists: those are searched one by one.
    void **slots;
};

inline constexpr std::size_t few_children = 6;

// A list entry. That it knows what goes before it keeps taking it out independent of the number of siblings.
struct EntryNode : InnerNode {
    Node *next_entry; // null for the last
    Node *previous_entry;
    Node *previous_sibling;
};

// The next entry of the same list or leaf-list, or null.
inline Node *next_entry(const Node *node) {
    return node->schema().is_inner() ? static_cast<const EntryNode *>(node)->next_entry
                                     : static_cast<const ValueNode *>(node)->next_entry;
}

// A tree's root: the parent of the top-level nodes of all models. flags: has_origin, when the tree is to keep origins.
Node *new_root(Arena &arena, const Schema &schema, std::uint32_t flags = 0);

// The entries of a list or leaf-list, or null.
inline Entries *entries(const Node *parent, const SchemaNode &schema) {
    void *const *slots = static_cast<const InnerNode *>(parent)->slots;
    return slots == nullptr ? nullptr : static_cast<Entries *>(slots[schema.ordinal]);
}

// The entries of a list, or the values of a leaf-list, below a node, for a range-for loop; null has none. The one at
// hand may be taken out.
class EntryRange {
  public:
    class Iterator {
      public:
        explicit Iterator(Node *entry) : entry_(entry), next_(entry == nullptr ? nullptr : next_entry(entry)) {}
        Node *operator*() const { return entry_; }
        Iterator &operator++() { return *this = Iterator(next_); }
        bool operator==(std::default_sentinel_t) const { return entry_ == nullptr; }

      private:
        Node *entry_;
        Node *next_;
    };
    explicit EntryRange(Node *first) : first_(first) {}
    [[nodiscard]] Iterator begin() const { return Iterator(first_); }
    [[nodiscard]] static std::default_sentinel_t end() { return {}; }

  private:
    Node *first_;
};
inline EntryRange entries_of(const Node *parent, const SchemaNode &schema) {
    const Entries *all = parent == nullptr ? nullptr : entries(parent, schema);
    return EntryRange(all == nullptr ? nullptr : all->first);
}

// The child of a leaf or container; of a list or leaf-list the current entry; null when there is none.
inline Node *child(const Node *parent, const SchemaNode &schema) {
    if (schema.repeats()) {
        const Entries *found = entries(parent, schema);
        return found == nullptr ? nullptr : found->current;
    }
    if (void *const *slots = static_cast<const InnerNode *>(parent)->slots; slots != nullptr) {
        return static_cast<Node *>(slots[schema.ordinal]);
    }
    Node *found = parent->first();
    while (found != nullptr && found->framework != static_cast<const void *>(&schema)) {
        found = found->next();
    }
    return found;
}
// By name, among the schema's children.
Node *child(const Node *parent, std::string_view name);

// The child of a leaf or container, or the first entry; null when there is none.
inline Node *first_of(const Node *parent, const SchemaNode &schema) {
    if (schema.repeats()) {
        const Entries *found = entries(parent, schema);
        return found == nullptr ? nullptr : found->first;
    }
    return child(parent, schema);
}

// Calls visit(child) for the children in the schema's order; of a list or leaf-list for the first entry only.
template <typename Visit>
void for_each_member(const Node *parent, Visit visit) {
    if (static_cast<const InnerNode *>(parent)->slots != nullptr) {
        for (const SchemaNode *schema : parent->schema().children) {
            if (Node *first = first_of(parent, *schema); first != nullptr) {
                visit(first);
            }
        }
        return;
    }
    std::array<Node *, few_children> members;
    std::size_t count = 0;
    for (Node *node = parent->first(); node != nullptr; node = node->next()) {
        std::size_t place = count++;
        for (; place > 0 && members[place - 1]->schema().ordinal > node->schema().ordinal; --place) {
            members[place] = members[place - 1];
        }
        members[place] = node;
    }
    for (std::size_t i = 0; i < count; ++i) {
        visit(members[i]);
    }
}

// Adds the child that is missing: of a list an entry without keys, current from now on.
Node *add_child(Arena &arena, Node *parent, const SchemaNode &schema);
// The child of a leaf or container, added when it is missing; of a list the current entry, opened when there is none.
inline Node *ensure_child(Arena &arena, Node *parent, const SchemaNode &schema) {
    Node *present = child(parent, schema);
    return present != nullptr ? present : add_child(arena, parent, schema);
}
// A new entry without keys, current from now on.
Node *open_entry(Arena &arena, Node *parent, const SchemaNode &list);
// The leaf-list's entry of that value, or null.
Node *find_value(const Node *parent, const SchemaNode &leaf_list, std::string_view value);
// The leaf-list's entry of that value, added when it is missing.
Node *ensure_value(Arena &arena, Node *parent, const SchemaNode &leaf_list, std::string_view value);

void set_value(Arena &arena, Node *leaf, std::string_view value);

// The value of a key leaf of an entry (ordinal below keys.size()), or null.
const char *key_value(const Node *entry, std::size_t key);
bool has_all_keys(const Node *entry);
// The entry of a list with all these keys, in the schema's order of keys; null when there is none.
Node *find_entry(const Node *parent, const SchemaNode &list, std::span<const std::string_view> keys);
// To be called when a key leaf was set: once all are there, enters the entry into the index, or, when a sibling has the
// same keys, moves what it holds to that one and takes it out. Returns the entry that stands. With fold false a sibling
// is left as it is and null is returned.
Node *complete_entry(Arena &arena, Node *entry, bool fold = true);

// Whether every entry has all its keys, or its value; looked at once for an unchanged list.
bool all_complete(Entries &all);

// Makes the entry and all those it lies in current.
void make_current(Node *entry);

// Releases the namespaces that a plug-in gave the node or nodes below it. They are heap copies, which the arena does
// not know: to be called before a node is given up.
void release_name_spaces(Node *node);

// Takes a node out of its parent. Its memory stays the arena's.
void unlink(Node *node);

// The instance path, for a person and for a PathParser:
// "/network-instances/network-instance[name=DEFAULT]/config/name".
std::string instance_path(const Node *node);

} // namespace yfw
