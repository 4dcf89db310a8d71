#include "model/tree.h"

#include "base/hash.h"
#include "base/memory.h"
#include "model/path_text.h"
#include "vnos_platform.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace yfw {

namespace {

constexpr std::uint32_t linear_limit = 8; // entries searched one by one before an index pays

InnerNode *inner(Node *node) {
    return static_cast<InnerNode *>(node);
}

// Null unless the node is a list entry.
EntryNode *list_entry(Node *node) {
    return node->schema().kind == NodeKind::list ? static_cast<EntryNode *>(node) : nullptr;
}

void set_next_entry(Node *node, Node *next) {
    if (EntryNode *entry = list_entry(node); entry != nullptr) {
        entry->next_entry = next;
    } else {
        static_cast<ValueNode *>(node)->next_entry = next;
    }
}

// Gives a node its slots, with the children that it has so far.
void **ensure_slots(Arena &arena, InnerNode *owner) {
    if (owner->slots == nullptr) {
        const std::size_t size = owner->schema().children.size() * sizeof(void *);
        owner->slots = static_cast<void **>(arena.allocate(size));
        std::memset(owner->slots, 0, size);
        for (Node *node = owner->first(); node != nullptr; node = node->next()) {
            owner->slots[node->schema().ordinal] = node;
        }
    }
    return owner->slots;
}

bool has_room_without_slots(const Node *parent) {
    std::size_t count = 0;
    for (const Node *node = parent->first(); node != nullptr; node = node->next()) {
        ++count;
    }
    return count < few_children;
}

void append_child(Node *parent, Node *node) {
    InnerNode *owner = inner(parent);
    if (EntryNode *entry = list_entry(node); entry != nullptr) {
        entry->previous_sibling = owner->last_child;
    }
    if (owner->last_child != nullptr) {
        owner->last_child->next_sibling = node;
    } else {
        owner->first_child = node;
    }
    owner->last_child = node;
    node->parent = parent;
    node->next_sibling = nullptr;
}

template <typename Kind>
struct WithOrigin {
    const Node *origin;
    Kind node;
};

template <typename Kind>
Node *make_node(Arena &arena, std::uint32_t flags) {
    if ((flags & has_origin) == 0) {
        return new (arena.allocate(sizeof(Kind))) Kind{};
    }
    return &(new (arena.allocate(sizeof(WithOrigin<Kind>))) WithOrigin<Kind>{})->node;
}

// flags: has_origin or not, as all of the tree.
Node *new_node(Arena &arena, const SchemaNode &schema, std::uint32_t flags) {
    Node *node = nullptr;
    if (schema.kind == NodeKind::list) {
        node = make_node<EntryNode>(arena, flags);
    } else if (schema.is_inner()) {
        node = make_node<InnerNode>(arena, flags);
    } else if (schema.repeats()) {
        node = make_node<ValueNode>(arena, flags);
    } else {
        node = make_node<Node>(arena, flags);
    }
    node->flags = flags & has_origin;
    node->framework = &schema;
    node->name = schema.name.c_str();
    // Borrowed: a plug-in replaces the pointer, never the text.
    node->name_space = schema.module == nullptr ? nullptr : const_cast<char *>(schema.module->name_space.c_str());
    return node;
}

Entries &ensure_entries(Arena &arena, Node *parent, const SchemaNode &schema) {
    void *&place = ensure_slots(arena, inner(parent))[schema.ordinal];
    if (place == nullptr) {
        place = new (arena.allocate(sizeof(Entries))) Entries{};
    }
    return *static_cast<Entries *>(place);
}

void append_entry(Entries &entries, Node *entry) {
    entries.keys = Entries::Keys::unknown;
    if (EntryNode *own = list_entry(entry); own != nullptr) {
        own->previous_entry = entries.last;
    }
    if (entries.last != nullptr) {
        set_next_entry(entries.last, entry);
    } else {
        entries.first = entry;
    }
    entries.last = entry;
    set_next_entry(entry, nullptr);
    ++entries.count;
}

// What tells an entry from its siblings: the key values of a list's, the value of a leaf-list's.
std::uint64_t identity_hash(const Node *entry) {
    if (entry->schema().kind == NodeKind::leaf_list) {
        return entry->value == nullptr ? 0 : hash_text(entry->value, 0);
    }
    std::uint64_t hash = 0;
    for (std::size_t key = 0; key < entry->schema().keys.size(); ++key) {
        hash = hash_text(key_value(entry, key), hash);
    }
    return hash;
}

bool has_identity(const Node *entry) {
    return entry->schema().kind == NodeKind::leaf_list ? entry->value != nullptr : has_all_keys(entry);
}

void index_insert(Entries &entries, const IndexPlace &entered) {
    const std::uint32_t mask = entries.index_size - 1;
    auto place = static_cast<std::uint32_t>(entered.hash) & mask;
    while (entries.index[place].entry != nullptr) {
        place = (place + 1) & mask;
    }
    entries.index[place] = entered;
}

void make_index(Arena &arena, Entries &entries, std::uint32_t places) {
    const std::size_t size = places * sizeof(IndexPlace);
    entries.index = static_cast<IndexPlace *>(arena.allocate(size));
    entries.index_size = places;
    std::memset(entries.index, 0, size);
}

void enter_index(Arena &arena, Entries &entries, Node *entry, std::uint64_t hash) {
    if (entries.index_size != 0 && entries.count * 2 > entries.index_size) {
        const std::span<const IndexPlace> before(entries.index, entries.index_size);
        make_index(arena, entries, entries.index_size * 4);
        for (const IndexPlace &place : before) {
            if (place.entry != nullptr) {
                index_insert(entries, place);
            }
        }
    } else if (entries.index_size == 0) {
        if (entries.count <= linear_limit) {
            return;
        }
        make_index(arena, entries, 32);
        for (Node *other = entries.first; other != nullptr; other = next_entry(other)) {
            if (other != entry && has_identity(other)) {
                index_insert(entries, {other, identity_hash(other)});
            }
        }
    }
    index_insert(entries, {entry, hash});
}

// An emptied place would cut the probing chains that run over it: the entries behind it are entered anew.
void leave_index(Entries &entries, Node *entry) {
    if (entries.index_size == 0 || !has_identity(entry)) {
        return;
    }
    const std::uint32_t mask = entries.index_size - 1;
    auto place = static_cast<std::uint32_t>(identity_hash(entry)) & mask;
    while (entries.index[place].entry != entry) {
        if (entries.index[place].entry == nullptr) {
            return;
        }
        place = (place + 1) & mask;
    }
    entries.index[place].entry = nullptr;
    for (place = (place + 1) & mask; entries.index[place].entry != nullptr; place = (place + 1) & mask) {
        const IndexPlace moved = entries.index[place];
        entries.index[place].entry = nullptr;
        index_insert(entries, moved);
    }
}

template <typename Matches>
Node *search(const Entries &entries, std::uint64_t hash, Matches matches) {
    if (entries.index_size == 0) {
        for (Node *entry = entries.first; entry != nullptr; entry = next_entry(entry)) {
            if (matches(entry)) {
                return entry;
            }
        }
        return nullptr;
    }
    const std::uint32_t mask = entries.index_size - 1;
    for (auto place = static_cast<std::uint32_t>(hash) & mask; entries.index[place].entry != nullptr;
         place = (place + 1) & mask) {
        if (entries.index[place].hash == hash && matches(entries.index[place].entry)) {
            return entries.index[place].entry;
        }
    }
    return nullptr;
}

void fold_children(Arena &arena, Node *from, Node *into);

void fold_node(Arena &arena, Node *from, Node *into) {
    into->flags |= from->flags & whole;
    if (from->op_is_set() && (from->is_delete() || !into->is_delete())) { // nothing takes a delete back
        into->set_operation(from->operation);
    }
    if (from->origin() != nullptr) {
        into->set_origin(from->origin());
    }
    if (from->schema().is_inner()) {
        fold_children(arena, from, into);
    } else if (from->value != nullptr) {
        into->value = from->value;
    }
}

void fold_children(Arena &arena, Node *from, Node *into) {
    for (Node *node = from->first(); node != nullptr; node = node->next()) {
        const SchemaNode &schema = node->schema();
        Node *target = nullptr;
        if (schema.kind == NodeKind::leaf_list) {
            target = node->value == nullptr ? nullptr : ensure_value(arena, into, schema, node->value);
        } else if (schema.kind == NodeKind::list) {
            target = open_entry(arena, into, schema);
        } else {
            target = ensure_child(arena, into, schema);
        }
        if (target != nullptr) {
            fold_node(arena, node, target);
        }
        if (schema.kind == NodeKind::list && has_all_keys(target)) {
            complete_entry(arena, target);
        }
    }
}

// An entry that is opened again starts afresh: the lists in it have no current entry until one is opened.
void forget_current(Node *node) {
    for_each_member(node, [](Node *first) {
        if (first->schema().kind == NodeKind::list) {
            entries(first->up(), first->schema())->current = nullptr;
        } else if (first->schema().kind == NodeKind::container) {
            forget_current(first);
        }
    });
}

} // namespace

Node *new_root(Arena &arena, const Schema &schema, std::uint32_t flags) {
    return new_node(arena, schema.root(), flags);
}

Node *child(const Node *parent, std::string_view name) {
    if (!parent->schema().is_inner()) {
        return nullptr;
    }
    const SchemaNode *schema = parent->schema().child(name);
    return schema == nullptr ? nullptr : child(parent, *schema);
}

Node *add_child(Arena &arena, Node *parent, const SchemaNode &schema) {
    if (schema.repeats()) {
        return open_entry(arena, parent, schema);
    }
    Node *node = new_node(arena, schema, parent->flags);
    if (inner(parent)->slots != nullptr || !has_room_without_slots(parent)) {
        ensure_slots(arena, inner(parent))[schema.ordinal] = node;
    }
    append_child(parent, node);
    return node;
}

Node *open_entry(Arena &arena, Node *parent, const SchemaNode &list) {
    Entries &all = ensure_entries(arena, parent, list);
    Node *entry = new_node(arena, list, parent->flags);
    append_child(parent, entry);
    append_entry(all, entry);
    all.current = entry;
    return entry;
}

namespace {

Node *find_value(const Entries &all, std::string_view value, std::uint64_t hash) {
    return search(all, hash, [value](const Node *node) { return node->value != nullptr && value == node->value; });
}

} // namespace

Node *find_value(const Node *parent, const SchemaNode &leaf_list, std::string_view value) {
    const Entries *all = entries(parent, leaf_list);
    return all == nullptr ? nullptr : find_value(*all, value, hash_text(value, 0));
}

Node *ensure_value(Arena &arena, Node *parent, const SchemaNode &leaf_list, std::string_view value) {
    Entries &all = ensure_entries(arena, parent, leaf_list);
    const std::uint64_t hash = hash_text(value, 0);
    Node *entry = find_value(all, value, hash);
    if (entry == nullptr) {
        entry = open_entry(arena, parent, leaf_list);
        set_value(arena, entry, value);
        enter_index(arena, all, entry, hash);
    }
    all.current = entry;
    return entry;
}

void set_value(Arena &arena, Node *leaf, std::string_view value) {
    leaf->value = leaf->schema().secret ? arena.copy_secret(value) : arena.copy(value);
}

const char *key_value(const Node *entry, std::size_t key) {
    const Node *leaf = child(entry, *entry->schema().keys[key]);
    return leaf == nullptr ? nullptr : leaf->value;
}

bool has_all_keys(const Node *entry) {
    for (std::size_t key = 0; key < entry->schema().keys.size(); ++key) {
        if (key_value(entry, key) == nullptr) {
            return false;
        }
    }
    return !entry->schema().keys.empty();
}

Node *find_entry(const Node *parent, const SchemaNode &list, std::span<const std::string_view> keys) {
    const Entries *all = entries(parent, list);
    if (all == nullptr || keys.size() != list.keys.size()) {
        return nullptr;
    }
    std::uint64_t hash = 0;
    for (const std::string_view key : keys) {
        hash = hash_text(key, hash);
    }
    return search(*all, hash, [keys](const Node *entry) {
        for (std::size_t key = 0; key < keys.size(); ++key) {
            const char *value = key_value(entry, key);
            if (value == nullptr || keys[key] != value) {
                return false;
            }
        }
        return true;
    });
}

Node *complete_entry(Arena &arena, Node *entry, bool fold) {
    const SchemaNode &list = entry->schema();
    Entries &all = *entries(entry->up(), list);
    all.keys = Entries::Keys::unknown;
    const std::uint64_t hash = identity_hash(entry);
    Node *sibling = search(all, hash, [entry, &list](const Node *other) {
        if (other == entry) {
            return false;
        }
        for (std::size_t key = 0; key < list.keys.size(); ++key) {
            const char *value = key_value(other, key);
            if (value == nullptr || std::strcmp(value, key_value(entry, key)) != 0) {
                return false;
            }
        }
        return true;
    });
    if (sibling == nullptr) {
        enter_index(arena, all, entry, hash);
        return entry;
    }
    if (!fold) {
        return nullptr;
    }
    unlink(entry);
    all.current = sibling;
    forget_current(sibling);
    fold_node(arena, entry, sibling);
    release_name_spaces(entry);
    return sibling;
}

bool all_complete(Entries &all) {
    if (all.keys == Entries::Keys::unknown) {
        const Node *entry = all.first;
        while (entry != nullptr && has_identity(entry)) {
            entry = next_entry(entry);
        }
        all.keys = entry == nullptr ? Entries::Keys::complete : Entries::Keys::incomplete;
    }
    return all.keys == Entries::Keys::complete;
}

void make_current(Node *entry) {
    for (Node *node = entry; node->up() != nullptr; node = node->up()) {
        if (node->schema().repeats()) {
            entries(node->up(), node->schema())->current = node;
        }
    }
}

namespace {

void unlink_entry(Node *node) {
    Entries &all = *entries(node->up(), node->schema());
    all.keys = Entries::Keys::unknown;
    leave_index(all, node);
    Node *previous = nullptr;
    if (const EntryNode *own = list_entry(node); own != nullptr) {
        previous = own->previous_entry;
    } else {
        for (Node *other = all.first; other != node; other = next_entry(other)) {
            previous = other;
        }
    }
    Node *next = next_entry(node);
    if (previous == nullptr) {
        all.first = next;
    } else {
        set_next_entry(previous, next);
    }
    if (next == nullptr) {
        all.last = previous;
    } else if (EntryNode *behind = list_entry(next); behind != nullptr) {
        behind->previous_entry = previous;
    }
    --all.count;
    if (all.current == node) {
        all.current = nullptr;
    }
}

} // namespace

void release_name_spaces(Node *node) {
    if (memory::outstanding() == 0) { // copies of namespaces are tagged memory
        return;
    }
    if ((node->flags & YFW_NODE_NS_SET) != 0) {
        vnos_named_free(std::exchange(node->name_space, nullptr));
        node->flags &= ~static_cast<std::uint32_t>(YFW_NODE_NS_SET);
    }
    if (node->schema().is_inner()) {
        for (Node *below = node->first(); below != nullptr; below = below->next()) {
            release_name_spaces(below);
        }
    }
}

void unlink(Node *node) {
    InnerNode *parent = inner(node->up());
    if (node->schema().repeats()) {
        unlink_entry(node);
    } else if (parent->slots != nullptr) {
        parent->slots[node->schema().ordinal] = nullptr;
    }
    Node *previous = nullptr;
    if (const EntryNode *own = list_entry(node); own != nullptr) {
        previous = own->previous_sibling;
    } else {
        for (Node *other = parent->first(); other != node; other = other->next()) {
            previous = other;
        }
    }
    (previous == nullptr ? parent->first_child : previous->next_sibling) = node->next_sibling;
    if (node->next_sibling == nullptr) {
        parent->last_child = previous;
    } else if (EntryNode *behind = list_entry(node->next()); behind != nullptr) {
        behind->previous_sibling = previous;
    }
    node->parent = nullptr;
    node->next_sibling = nullptr;
}

std::string instance_path(const Node *node) {
    if (node == nullptr || node->up() == nullptr) {
        return "/";
    }
    std::string path = node->up()->up() == nullptr ? std::string() : instance_path(node->up());
    path += '/';
    path += node->name;
    const SchemaNode &schema = node->schema();
    for (std::size_t key = 0; schema.kind == NodeKind::list && key < schema.keys.size(); ++key) {
        if (const char *value = key_value(node, key); value != nullptr) {
            append_predicate(path, schema.keys[key]->name, value);
        }
    }
    if (schema.kind == NodeKind::leaf_list && node->value != nullptr && !schema.secret) {
        append_predicate(path, ".", node->value);
    }
    return path;
}

} // namespace yfw
