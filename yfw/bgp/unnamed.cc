#include "bgp/unnamed.h"

#include "model/instance_path.h"
#include "model/path_text.h"
#include "model/trees.h"

#include <algorithm>
#include <unordered_set>

namespace yfw {

namespace {

constexpr std::string_view network_instances = "/network-instances",
                           network_instance = "/network-instances/network-instance";
constexpr std::string_view any_vrf = "-"; // the name says no more than that it is not the default one's

std::vector<const Node *> way_to(const Node *node) {
    std::vector<const Node *> way;
    for (; node->up() != nullptr; node = node->up()) {
        way.push_back(node);
    }
    std::reverse(way.begin(), way.end());
    return way;
}

// The path with its keys down to the first list without them; of the network instance with that name, if there is one.
std::string form_of(const std::vector<const Node *> &way, std::string_view vrf) {
    std::string path;
    bool is_named = true;
    for (const Node *node : way) {
        const SchemaNode &schema = node->schema();
        path.append("/").append(schema.name);
        if (!vrf.empty() && schema.path == network_instance) {
            append_predicate(path, schema.keys[0]->name, vrf);
            is_named = false;
        }
        is_named = is_named && (schema.kind != NodeKind::list || has_all_keys(node));
        for (std::size_t key = 0; is_named && schema.kind == NodeKind::list && key < schema.keys.size(); ++key) {
            append_predicate(path, schema.keys[key]->name, key_value(node, key));
        }
    }
    return path;
}

using Known = std::unordered_set<const SchemaNode *>;

std::string without_vrfs(const Node *node) {
    std::string path;
    for (const Node *level : way_to(node)) {
        const SchemaNode &schema = level->schema();
        path.append("/").append(schema.name);
        for (std::size_t key = 0; schema.kind == NodeKind::list && key < schema.keys.size(); ++key) {
            const char *value = key_value(level, key);
            if (value != nullptr && value != any_vrf) {
                append_predicate(path, schema.keys[key]->name, value);
            }
        }
    }
    return path;
}

} // namespace

std::vector<std::string> other_forms(const Node *node) {
    const std::vector<const Node *> way = way_to(node);
    std::vector<std::string> forms;
    const auto unnamed = std::find_if(way.begin(), way.end(), [](const Node *level) {
        return level->schema().kind == NodeKind::list && !has_all_keys(level);
    });
    if (std::any_of(unnamed, way.end(),
                    [](const Node *level) { return level->schema().kind == NodeKind::list && has_all_keys(level); })) {
        forms.push_back(form_of(way, {}));
    }
    if (node->schema().path == network_instances) {
        std::string &form = forms.emplace_back(network_instance);
        append_predicate(form, "name", any_vrf);
    } else if (unnamed != way.end() && (*unnamed)->schema().path == network_instance) {
        forms.push_back(form_of(way, any_vrf));
    }
    return forms;
}

void add_wanted(Arena &arena, const Schema &schema, Node *wanted, const Node *known, const Node *other) {
    Known nodes;
    for_each_innermost(known, [&nodes](const Node *node) { nodes.insert(&node->schema()); });
    for_each_innermost(other, [&](const Node *node) {
        if (!nodes.contains(&node->schema())) {
            add_instance_path(arena, schema, wanted, without_vrfs(node));
        }
    });
}

} // namespace yfw
