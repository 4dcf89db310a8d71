#include "model/trees.h"

#include "yfw_map.h"

#include <array>
#include <span>
#include <string_view>

namespace yfw {

namespace {

constexpr std::size_t most_keys = 16;

struct Keys {
    std::array<std::string_view, most_keys> values;
    std::size_t count = 0;
    bool complete = true;

    explicit Keys(const Node *entry) {
        for (std::size_t key = 0; key < entry->schema().keys.size() && key < most_keys; ++key) {
            const char *value = key_value(entry, key);
            complete = complete && value != nullptr;
            values.at(count++) = value == nullptr ? std::string_view() : value;
        }
    }
    [[nodiscard]] std::span<const std::string_view> span() const { return {values.data(), count}; }
};

// What an identity's module is borrowed from the schema; a plug-in's own copy stays with its node.
void take_name_space(Node *into, const Node *from) {
    if ((from->flags & YFW_NODE_NS_SET) == 0 && (into->flags & YFW_NODE_NS_SET) == 0) {
        into->name_space = from->name_space;
    }
}

} // namespace

bool is_bare(const Node *node) {
    for (const Node *below = node->first(); below != nullptr; below = below->next()) {
        if (!below->schema().is_key) {
            return false;
        }
    }
    return true;
}

bool is_hollow(const Node *node) {
    for (const Node *below = node->first(); below != nullptr; below = below->next()) {
        const SchemaNode &schema = below->schema();
        const bool says_nothing = schema.kind == NodeKind::container && !schema.presence && !below->op_is_set();
        if (!schema.is_key && !(says_nothing && is_hollow(below))) {
            return false;
        }
    }
    return true;
}

const Node *entry_around(const Node *node) {
    while (node->up() != nullptr && node->schema().kind != NodeKind::list) {
        node = node->up();
    }
    return node;
}

Node *descendant(const Node *above, const SchemaNode &schema) {
    if (&above->schema() == &schema) {
        return const_cast<Node *>(above);
    }
    const Node *parent = schema.parent == nullptr ? nullptr : descendant(above, *schema.parent);
    return parent == nullptr ? nullptr : child(parent, schema);
}

Node *ensure_descendant(Arena &arena, Node *above, const SchemaNode &schema) {
    return &above->schema() == &schema ? above
                                       : ensure_child(arena, ensure_descendant(arena, above, *schema.parent), schema);
}

Node *counterpart_below(Node *parent, const Node *node) {
    const SchemaNode &schema = node->schema();
    if (schema.kind == NodeKind::list) {
        return find_entry(parent, schema, Keys(node).span());
    }
    if (schema.kind == NodeKind::leaf_list) {
        return node->value == nullptr ? first_of(parent, schema) : find_value(parent, schema, node->value);
    }
    return child(parent, schema);
}

Node *counterpart(Node *root, const Node *node) {
    if (node->up() == nullptr) {
        return root;
    }
    Node *parent = counterpart(root, node->up());
    return parent == nullptr ? nullptr : counterpart_below(parent, node);
}

const Node *counterpart(const Node *root, const Node *node) {
    return counterpart(const_cast<Node *>(root), node);
}

Node *ensure_counterpart_below(Arena &arena, Node *parent, const Node *node) {
    const SchemaNode &schema = node->schema();
    if (schema.kind == NodeKind::leaf_list) {
        return node->value == nullptr ? ensure_child(arena, parent, schema)
                                      : ensure_value(arena, parent, schema, node->value);
    }
    if (schema.kind != NodeKind::list) {
        return ensure_child(arena, parent, schema);
    }
    const Keys keys(node);
    if (Node *present = keys.complete ? find_entry(parent, schema, keys.span()) : nullptr; present != nullptr) {
        return present;
    }
    Node *entry = open_entry(arena, parent, schema);
    for (std::size_t key = 0; key < keys.count; ++key) {
        if (const Node *given = child(node, *schema.keys[key]); given != nullptr && given->value != nullptr) {
            Node *copy = ensure_child(arena, entry, *schema.keys[key]);
            set_value(arena, copy, given->value);
            take_name_space(copy, given);
            copy->flags |= YFW_NODE_PRESENT;
        }
    }
    return keys.complete ? complete_entry(arena, entry) : entry;
}

Node *ensure_counterpart(Arena &arena, Node *root, const Node *node) {
    return node->up() == nullptr ? root
                                 : ensure_counterpart_below(arena, ensure_counterpart(arena, root, node->up()), node);
}

void copy_into(Arena &arena, Node *into, const Node *from, std::uint32_t operation) {
    into->flags |= YFW_NODE_PRESENT;
    if (operation != YFW_OP_NONE) {
        into->set_operation(operation);
    }
    if (!from->schema().is_inner()) {
        if (from->value != nullptr && !(into->value != nullptr && std::string_view(into->value) == from->value)) {
            set_value(arena, into, from->value);
        }
        take_name_space(into, from);
        return;
    }
    for_each_below(from, [&](const Node *below) {
        copy_into(arena, ensure_counterpart_below(arena, into, below), below, operation);
    });
}

Node *copy_to(Arena &arena, Node *root, const Node *from, std::uint32_t operation) {
    Node *into = ensure_counterpart(arena, root, from);
    copy_into(arena, into, from, operation);
    return into;
}

void take_children(Node *node) {
    take_children_if(node, [](const Node *) { return true; });
}

void take_out(Node *node) {
    Node *parent = node->up();
    unlink(node);
    while (parent != nullptr && parent->up() != nullptr && is_bare(parent) && !parent->op_is_set()) {
        Node *above = parent->up();
        unlink(parent);
        parent = above;
    }
}

Refused refusal(Reason reason, const Node *node, const std::string &why) {
    const Node *origin = nullptr;
    for (const Node *at = node; at != nullptr && origin == nullptr; at = at->up()) {
        origin = at->origin();
    }
    const std::string native = instance_path(node);
    return {reason, origin == nullptr ? native : instance_path(origin), native + ' ' + why};
}

} // namespace yfw
