#include "read/cut.h"

#include <cstring>
#include <vector>

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

bool same_key(const SchemaNode &list, std::size_t key, const char *a, const char *b) {
    if (std::strcmp(a, b) == 0) {
        return true;
    }
    // The default network instance goes by two names.
    const bool names = list.name == "network-instance" && list.keys[key]->name == "name";
    return names && ((std::strcmp(a, "DEFAULT") == 0 && std::strcmp(b, "default") == 0) ||
                     (std::strcmp(a, "default") == 0 && std::strcmp(b, "DEFAULT") == 0));
}

bool entry_matches(const Node *entry, const Node *filter) {
    const SchemaNode &list = entry->schema();
    for (std::size_t key = 0; key < list.keys.size(); ++key) {
        const char *wanted = key_value(filter, key);
        const char *value = key_value(entry, key);
        if (wanted != nullptr && (value == nullptr || !same_key(list, key, value, wanted))) {
            return false;
        }
    }
    return true;
}

// The filter's node that covers the data's, or null.
const Node *covering(const Node *node, const Node *filter) {
    const SchemaNode &schema = node->schema();
    if (!schema.repeats()) {
        return child(filter, schema);
    }
    const Entries *all = entries(filter, schema);
    for (const Node *entry = all == nullptr ? nullptr : all->first; entry != nullptr; entry = next_entry(entry)) {
        const bool matches = schema.kind == NodeKind::list
                                 ? entry_matches(node, entry)
                                 : entry->value == nullptr || std::strcmp(entry->value, node->value) == 0;
        if (matches) {
            return entry;
        }
    }
    return nullptr;
}

bool covers_all(const Node *filter) {
    for (const Node *below = filter->first(); below != nullptr; below = below->next()) {
        if (!below->schema().is_key) {
            return false;
        }
    }
    return true;
}

} // namespace

void repeat_keys(Request &request, const Mapping &mapping, Node *node, bool state) {
    if (node->schema().kind == NodeKind::list) {
        for (const SchemaNode *key : node->schema().keys) {
            repeat_key(request, mapping, node, *key, "config", false);
            if (state) {
                repeat_key(request, mapping, node, *key, "state", true);
            }
        }
    }
    for (Node *below = node->first(); below != nullptr; below = below->next()) {
        if (below->schema().is_inner()) {
            repeat_keys(request, mapping, below, state);
        }
    }
}

void cut(Node *data, const Node *filter) {
    if (covers_all(filter) && data->up() != nullptr) {
        return;
    }
    std::vector<Node *> surplus;
    for (Node *node = data->first(); node != nullptr; node = node->next()) {
        const Node *wanted = covering(node, filter);
        if (wanted == nullptr && !node->schema().is_key) {
            surplus.push_back(node);
        } else if (wanted != nullptr && node->schema().is_inner()) {
            cut(node, wanted);
            if (!covers_all(wanted) && covers_all(node)) {
                surplus.push_back(node); // only the way to what is not there
            }
        }
    }
    for (Node *node : surplus) {
        release_name_spaces(node);
        unlink(node);
    }
}

} // namespace yfw
