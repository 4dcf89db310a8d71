#include "edit/expectation.h"

#include "model/trees.h"

#include <algorithm>
#include <optional>

namespace yfw {

namespace {

// The nodes of a tree that a path names: of a list without all its keys, or a leaf-list without a value, all entries.
template <typename Visit>
void for_each_named(const Node *tree, const Node *path, Visit visit) {
    const SchemaNode &schema = path->schema();
    const bool one = schema.kind == NodeKind::list ? has_all_keys(path) : !schema.repeats() || path->value != nullptr;
    if (one) {
        if (const Node *found = counterpart_below(const_cast<Node *>(tree), path); found != nullptr) {
            visit(found);
        }
        return;
    }
    for (const Node *entry : entries_of(tree, schema)) {
        visit(entry);
    }
}

class Overlay {
  public:
    Overlay(Arena &arena, const Mapping &mapping, std::vector<Note> &notes)
        : arena_(arena), mapping_(mapping), notes_(notes) {}

    void below(Node *expected, const Node *parts, const Node *sets) {
        for_each_below(parts, [&](const Node *part) {
            for_each_named(sets, part, [&](const Node *set) {
                Node *into = place(expected, set);
                if (!set->schema().is_inner() || is_bare(part)) {
                    copy(into, set);
                } else {
                    below(into, part, set);
                }
            });
        });
    }

  private:
    void copy(Node *into, const Node *set) {
        into->flags |= YFW_NODE_PRESENT;
        if (!set->schema().is_inner()) {
            if (set->value != nullptr) {
                set_value(arena_, into, set->value);
            }
            return;
        }
        for_each_below(set, [&](const Node *below) { copy(place(into, below), below); });
    }

    Node *place(Node *expected, const Node *set) {
        const Binding *binding = mapping_.find(set->schema());
        if (binding != nullptr && binding->entry->one_value) {
            drop_other_values(expected, set);
        }
        return ensure_counterpart_below(arena_, expected, set);
    }

    void drop_other_values(Node *expected, const Node *set) {
        for (Node *value : entries_of(expected, set->schema())) {
            if (find_value(set->up(), set->schema(), value->value) == nullptr) {
                notes_.push_back(
                    {instance_path(value), "it goes: natively there is one value, and the new one takes its place"});
                unlink(value);
            }
        }
    }

    Arena &arena_;
    const Mapping &mapping_;
    std::vector<Note> &notes_;
};

class Existing {
  public:
    Existing(const Transaction &transaction, ExistingOrigins &found)
        : transaction_(transaction), key_(root_key), found_(found) {}

    void below(const Node *parent) {
        for_each_below(parent, [this](const Node *node) {
            if (node->schema().kind == NodeKind::list) {
                entry(node);
            } else if (node->schema().kind == NodeKind::container && node->schema().holds_list) {
                below(node);
            }
        });
    }

  private:
    void entry(const Node *node) {
        const std::size_t size = key_.size();
        const Number number = transaction_.number(node->schema());
        append_number(key_, number);
        for (std::size_t key = 0; key < node->schema().keys.size(); ++key) {
            const char *value = key_value(node, key);
            append_key_value(key_, value == nullptr ? "" : value);
        }
        if (number != 0 && transaction_.record(key_)) {
            const Node *origin = node->origin();
            if (origin != nullptr && origin->schema().kind == NodeKind::list) {
                found_.entries.insert(origin);
            }
            add_around(node);
            below(node);
        }
        key_.resize(size);
    }

    // Several entries may have written into it, and it came from one of them.
    void add_around(const Node *node) {
        const Node *last = nullptr;
        for_each_below(node, [&](const Node *below) {
            const Node *origin = below->origin();
            if (origin != nullptr && origin->up() != last) {
                last = origin->up();
                found_.writers.insert(entry_around(origin));
            }
            if (below->schema().kind == NodeKind::container) {
                add_around(below);
            }
        });
    }

    const Transaction &transaction_;
    std::string key_;
    ExistingOrigins &found_;
};

// The node that a schema node has beside another one, below what both lie in, added to a tree of paths.
Node *ensure_beside(Arena &arena, Node *paths, const Node *node, const SchemaNode &wanted) {
    const Node *above = node->up();
    while (!above->schema().holds(*wanted.parent)) {
        above = above->up();
    }
    return ensure_descendant(arena, ensure_counterpart(arena, paths, above), wanted);
}

// The list entry that a node and another schema node lie in.
const Node *common_entry(const Node *node, const SchemaNode &other) {
    const Node *entry = entry_around(node);
    while (entry->up() != nullptr && (!entry->schema().holds(other) || &entry->schema() == &other)) {
        entry = entry_around(entry->up());
    }
    return entry;
}

} // namespace

void subtract(Node *from, const Node *goes) {
    for_each_below(goes, [from](const Node *node) {
        Node *there = counterpart_below(from, node);
        if (there == nullptr) {
            return;
        }
        if (!node->is_delete()) {
            subtract(there, node);
        }
        const bool hollow = there->schema().kind == NodeKind::container && !there->schema().presence && is_bare(there);
        if (node->is_delete() || hollow) {
            unlink(there);
        }
    });
}

void overlay(Arena &arena, const Mapping &mapping, Node *expected, const Node *parts, const Node *sets,
             std::vector<Note> &notes) {
    Overlay(arena, mapping, notes).below(expected, parts, sets);
}

ExistingOrigins existing_origins(const Transaction &transaction, const Node *native) {
    ExistingOrigins found;
    Existing(transaction, found).below(native);
    return found;
}

Node *affected_parts(Arena &arena, const Mapping &mapping, const MapResult &mapped,
                     const std::function<ExistingOrigins()> &existing) {
    Node *parts = new_root(arena, mapping.schema());
    std::optional<ExistingOrigins> stored;
    const auto is_stored = [&](const Node *entry, bool writes_is_enough) {
        if (!stored) {
            stored = existing();
        }
        return stored->entries.contains(entry) || (writes_is_enough && stored->writers.contains(entry));
    };
    for (const Node *node : mapped.affecting) {
        for (const SchemaNode *leaf : *mapping.affects(node->schema())) {
            const bool is_named = mapping.find(*leaf)->entry->kept_in.empty() && leaf != &node->schema() &&
                                  leaf->parent == node->schema().parent && child(node->up(), *leaf) != nullptr;
            // An entry changes the setting that all share only by coming.
            const bool is_there = node->schema().kind == NodeKind::list && is_stored(node, false);
            if (is_named || is_there || !is_stored(common_entry(node, *leaf), true)) {
                continue;
            }
            if (leaf == &node->schema()) { // all values of the leaf-list
                ensure_child(arena, ensure_counterpart(arena, parts, node->up()), *leaf);
            } else {
                ensure_beside(arena, parts, node, *leaf);
            }
        }
    }
    for (const Node *node : mapped.unset) {
        if (is_stored(entry_around(node), true)) {
            ensure_counterpart(arena, parts, node);
        }
    }
    return parts;
}

void add_partner(Arena &arena, const Mapping &mapping, Node *paths, const Node *leaf) {
    const Binding *binding = mapping.find(leaf->schema());
    const SchemaNode *partner = binding == nullptr || binding->entry->taken_with.empty()
                                    ? nullptr
                                    : leaf->schema().parent->child(binding->entry->taken_with);
    if (partner != nullptr && !partner->is_inner() && child(leaf->up(), *partner) == nullptr) {
        ensure_beside(arena, paths, leaf, *partner);
    }
}

namespace {

void collect_partners(Arena &arena, const Mapping &mapping, Node *paths, const Node *node) {
    if (!node->schema().is_inner()) {
        add_partner(arena, mapping, paths, node);
        return;
    }
    for_each_below(node, [&](const Node *below) { collect_partners(arena, mapping, paths, below); });
}

} // namespace

Node *partners_of(Arena &arena, const Mapping &mapping, const Comparison &comparison) {
    Node *paths = new_root(arena, mapping.schema());
    for (const Node *tree : {comparison.missing, comparison.surplus}) {
        if (tree != nullptr) {
            collect_partners(arena, mapping, paths, tree);
        }
    }
    return paths;
}

void copy_with_operations(Arena &arena, Node *into, const Node *from) {
    for_each_below(from, [&](const Node *node) {
        Node *copy = ensure_counterpart_below(arena, into, node);
        copy->flags |= node->flags & YFW_NODE_PRESENT;
        if (node->is_delete()) {
            copy_into(arena, copy, node, node->operation);
        } else if (node->schema().is_inner()) {
            copy_with_operations(arena, copy, node);
        } else {
            copy_into(arena, copy, node, YFW_OP_NONE);
        }
    });
}

void for_each_difference(const Node *tree, const std::function<const Node *(const Node *)> &known,
                         const std::function<void(const Node *, const Node *there)> &visit) {
    if (tree == nullptr) {
        return;
    }
    for_each_below(tree, [&](const Node *node) {
        const bool is_entry = node->schema().kind == NodeKind::list && (node->flags & YFW_NODE_PRESENT) != 0;
        if (is_entry || !node->schema().is_inner()) {
            visit(node, known(node));
        } else {
            for_each_difference(node, known, visit);
        }
    });
}

namespace {

bool is_served_whole(const Mapping &mapping, const SchemaNode &schema) {
    const Binding *binding = mapping.find(schema);
    return schema.kind == NodeKind::list && binding != nullptr && binding->entry->served == Service::callback;
}

// What the coming and going of nodes of that kind, and of those below, affects outside them.
void add_affected(Arena &arena, const Mapping &mapping, Node *paths, const Node *part, const SchemaNode &schema) {
    if (const auto *affected = mapping.affects(schema); affected != nullptr) {
        for (const SchemaNode *leaf : *affected) {
            if (!part->schema().holds(*leaf)) {
                ensure_beside(arena, paths, part, *leaf);
            }
        }
    }
    for (const SchemaNode *below : schema.children) {
        if (below->kind == NodeKind::list || below->holds_list) {
            add_affected(arena, mapping, paths, part, *below);
        }
    }
}

void add_touched_part(Arena &arena, const Mapping &mapping, Node *touched, const Node *part) {
    const Node *entry = entry_around(part);
    const Node *wide = part;
    if (part != entry && entry->up() != nullptr && is_served_whole(mapping, entry->schema())) {
        wide = entry;
    } else if (!part->schema().is_inner() && part->up()->up() != nullptr) {
        wide = part->up()->up();
    }
    ensure_counterpart(arena, touched, wide)->set_operation(YFW_OP_NONE);
    add_affected(arena, mapping, touched, part, part->schema());
}

void collect_touched(Arena &arena, const Mapping &mapping, Node *touched, const Node *parts) {
    for_each_below(parts, [&](const Node *part) {
        if (!part->schema().is_inner() || is_bare(part)) {
            add_touched_part(arena, mapping, touched, part);
        } else {
            collect_touched(arena, mapping, touched, part);
        }
    });
}

// A part that lies in another one is not wanted on its own: a whole one, which is marked, has no children.
void empty_marked(Node *tree) {
    for_each_below(tree, [](Node *part) {
        if (part->op_is_set()) {
            take_children(part);
        } else if (part->schema().is_inner()) {
            empty_marked(part);
        }
    });
}

} // namespace

Node *touched_parts(Arena &arena, const Mapping &mapping, const Node *parts) {
    Node *touched = new_root(arena, mapping.schema());
    collect_touched(arena, mapping, touched, parts);
    empty_marked(touched);
    return touched;
}

void add_touched(const Mapping &mapping, const Node *sets, std::vector<const Node *> &touched) {
    for_each_below(sets, [&](const Node *node) {
        if (is_served_whole(mapping, node->schema())) {
            touched.push_back(node);
        } else if (!node->schema().is_inner()) {
            if (!mapping.repeats_key(node->schema())) { // it is what the entry's key is
                touched.push_back(node);
            }
        } else {
            add_touched(mapping, node, touched);
        }
    });
}

} // namespace yfw
