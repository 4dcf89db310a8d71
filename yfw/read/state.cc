#include "read/state.h"

#include "bgp/roots.h"
#include "model/trees.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace yfw {

namespace {

void narrow(Node *node) {
    take_children_if(node, [](Node *below) {
        narrow(below);
        const SchemaNode &schema = below->schema();
        return is_bare(below) && (schema.kind == NodeKind::list || schema.holds_list);
    });
}

void narrow_entries(Request &request, Node *node) {
    for (Node *below = node->first(); below != nullptr; below = below->next()) {
        const SchemaNode &schema = below->schema();
        const auto *signs = schema.kind != NodeKind::list || !is_bare(below)
                                ? entry_signs.end()
                                : std::find_if(entry_signs.begin(), entry_signs.end(),
                                               [&](const EntrySigns &row) { return row.list == schema.path; });
        if (signs != entry_signs.end()) {
            for (const std::string_view leaf : signs->leaves) {
                if (const SchemaNode *wanted = request.schema().find(leaf); !leaf.empty() && wanted != nullptr) {
                    ensure_descendant(request.arena(), below, *wanted);
                }
            }
        } else if (schema.holds_list) {
            narrow_entries(request, below);
        }
    }
}

void copy_below(Arena &arena, const Node *from, Node *into) {
    for (const Node *node = from->first(); node != nullptr; node = node->next()) {
        const SchemaNode &schema = node->schema();
        if (schema.is_key) {
            continue;
        }
        Node *copy =
            schema.kind == NodeKind::list ? open_entry(arena, into, schema) : ensure_child(arena, into, schema);
        for (std::size_t key = 0; schema.kind == NodeKind::list && key < schema.keys.size(); ++key) {
            if (const char *value = key_value(node, key); value != nullptr) {
                set_value(arena, ensure_child(arena, copy, *schema.keys[key]), value);
            }
        }
        if (schema.is_inner()) {
            copy_below(arena, node, copy);
        }
    }
}

void name_twice(Arena &arena, Node *instances, const SchemaNode &list) {
    std::vector<std::pair<const Node *, const char *>> missing;
    for (const Node *entry : entries_of(instances, list)) {
        const char *name = key_value(entry, 0);
        if (name != nullptr && std::strcmp(name, "default") == 0) {
            missing.emplace_back(entry, "DEFAULT");
        } else if (name != nullptr && std::strcmp(name, "DEFAULT") == 0) {
            missing.emplace_back(entry, "default");
        }
    }
    for (const auto &[entry, name] : missing) {
        Node *twin = open_entry(arena, instances, list);
        set_value(arena, ensure_child(arena, twin, *list.keys[0]), name);
        copy_below(arena, entry, complete_entry(arena, twin));
    }
}

} // namespace

bool reaches_state(const Mapping &mapping, const SchemaNode &schema) {
    return mapping.reaches(schema) &&
           (!schema.config || std::any_of(schema.children.begin(), schema.children.end(),
                                          [&](const SchemaNode *below) { return reaches_state(mapping, *below); }));
}

bool needs_configuration(const Mapping &mapping, const SchemaNode &schema) {
    const Binding *binding = mapping.find(schema);
    const bool shared = binding != nullptr && binding->target == nullptr && mapping.state_source(schema) != nullptr;
    return schema.config || shared ||
           std::any_of(schema.children.begin(), schema.children.end(),
                       [&](const SchemaNode *below) { return needs_configuration(mapping, *below); });
}

void narrow_configuration(Request &request) {
    narrow_entries(request, request.destination());
}

void narrow_operational(Request &request, std::span<const std::string_view> roots) {
    for (const std::string_view path : roots) {
        const SchemaNode *schema = request.schema().find(path);
        Node *root = schema == nullptr ? nullptr : child(request.destination(), *schema);
        if (root != nullptr) {
            narrow(root);
            if (root->first() == nullptr) {
                unlink(root);
            }
        }
    }
}

void name_default_twice(Request &request, std::span<const std::string_view> roots) {
    for (const std::string_view path : roots) {
        const SchemaNode *schema = request.schema().find(path);
        Node *root = schema == nullptr ? nullptr : child(request.destination(), *schema);
        Node *instances = root == nullptr ? nullptr : child(root, "network-instances");
        const SchemaNode *list = instances == nullptr ? nullptr : instances->schema().child("network-instance");
        if (list != nullptr) {
            name_twice(request.arena(), instances, *list);
        }
    }
}

} // namespace yfw
