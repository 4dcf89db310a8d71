#include "read/cut.h"

#include "model/instance_path.h"
#include "model/trees.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>

namespace yfw {

namespace {

void repeat_key(Request &request, const Mapping &mapping, Node *entry, const SchemaNode &key, const char *container,
                bool always) {
    const SchemaNode *holder = entry->schema().child(container);
    const SchemaNode *repeated = holder == nullptr || !holder->is_inner() ? nullptr : holder->child(key.name);
    if (repeated == nullptr) {
        return;
    }
    const Binding *binding = mapping.find(*repeated);
    const char *value = key_value(entry, key.ordinal);
    if (value == nullptr || (!always && (binding == nullptr || binding->entry->served != Service::key))) {
        return;
    }
    Node *leaf = ensure_child(request.arena(), ensure_child(request.arena(), entry, *holder), *repeated);
    if (leaf->value == nullptr) {
        set_value(request.arena(), leaf, value);
    }
}

bool entry_matches(const Node *entry, const Node *filter) {
    const SchemaNode &list = entry->schema();
    for (std::size_t key = 0; key < list.keys.size(); ++key) {
        const char *wanted = key_value(filter, key);
        const char *value = key_value(entry, key);
        if (wanted != nullptr && (value == nullptr || std::strcmp(value, wanted) != 0)) {
            return false;
        }
    }
    return true;
}

} // namespace

void add_covering(const Node *node, const Node *filter, Filters &covering) {
    const SchemaNode &schema = node->schema();
    if (!schema.repeats()) {
        if (const Node *same = child(filter, schema); same != nullptr) {
            covering.push_back(same);
        }
        return;
    }
    Entries *all = entries(filter, schema);
    if (all != nullptr && all_complete(*all)) {
        if (const Node *same = counterpart_below(const_cast<Node *>(filter), node); same != nullptr) {
            covering.push_back(same);
        }
        return;
    }
    for (const Node *entry : entries_of(filter, schema)) {
        const bool matches = schema.kind == NodeKind::list
                                 ? entry_matches(node, entry)
                                 : entry->value == nullptr || std::strcmp(entry->value, node->value) == 0;
        if (matches) {
            covering.push_back(entry);
        }
    }
}

bool any_covers_all(const Filters &filters) {
    return std::any_of(filters.begin(), filters.end(), is_bare);
}

namespace {

void cut_below(Node *data, const Filters &filters) {
    Filters covering;
    take_children_if(data, [&](Node *node) {
        covering.clear();
        for (const Node *filter : filters) {
            add_covering(node, filter, covering);
        }
        if (covering.empty() || !node->schema().is_inner() || any_covers_all(covering)) {
            return covering.empty();
        }
        cut_below(node, covering);
        return is_bare(node); // only the way to what is not there
    });
}

} // namespace

void repeat_keys(Request &request, const Mapping &mapping, Node *node, bool state) {
    if (node->schema().kind == NodeKind::list) {
        for (const SchemaNode *key : node->schema().keys) {
            if ((node->flags & state_only) == 0) {
                repeat_key(request, mapping, node, *key, "config", false);
            }
            if (state) {
                repeat_key(request, mapping, node, *key, "state", true);
            }
        }
    }
    for (const SchemaNode *schema : node->schema().children) { // other children's memory is not touched
        if (schema->kind == NodeKind::list) {
            for (Node *entry : entries_of(node, *schema)) {
                repeat_keys(request, mapping, entry, state);
            }
        } else if (Node *below = schema->holds_list ? child(node, *schema) : nullptr; below != nullptr) {
            repeat_keys(request, mapping, below, state);
        }
    }
}

void cut(Node *data, const Node *filter) {
    cut_below(data, {filter});
}

namespace {

void limit(Node *node, std::size_t levels) {
    if (levels == 0) {
        for (Node *below = node->first(); below != nullptr; below = below->next()) {
            if (!below->schema().is_key) {
                release_name_spaces(below);
            }
        }
        take_children(node);
        return;
    }
    for (Node *below = node->first(); below != nullptr; below = below->next()) {
        if (below->schema().is_inner()) {
            limit(below, levels - 1);
        }
    }
}

void limit_below(Node *data, const Filters &filters, std::size_t levels) {
    for (Node *node = data->first(); node != nullptr; node = node->next()) {
        Filters covering;
        for (const Node *filter : filters) {
            add_covering(node, filter, covering);
        }
        if (node->schema().is_inner() && any_covers_all(covering)) {
            limit(node, levels);
        } else if (node->schema().is_inner()) {
            limit_below(node, covering, levels);
        }
    }
}

} // namespace

void limit_depth(Node *data, const Node *filter, std::size_t levels) {
    if (filter == nullptr) {
        limit(data, levels);
    } else {
        limit_below(data, {filter}, levels);
    }
}

std::vector<std::string> outermost(const Schema &schema, const std::vector<std::string> &paths) {
    Arena arena;
    Node *root = new_root(arena, schema);
    std::vector<Node *> named;
    std::unordered_set<const Node *> told;
    std::vector<std::string> outer;
    for (const std::string &path : paths) {
        named.push_back(add_instance_path(arena, schema, root, path));
        named.back()->flags |= whole;
    }
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const Node *above = named[i]->up();
        while (above != nullptr && (above->flags & whole) == 0) {
            above = above->up();
        }
        if (above == nullptr && told.insert(named[i]).second) {
            outer.push_back(paths[i]);
        }
    }
    return outer;
}

} // namespace yfw
