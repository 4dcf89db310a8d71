#include "describe/deviations.h"

#include <libyang/libyang.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <set>
#include <unordered_map>

namespace yfw {

namespace {

constexpr std::array<std::string_view, 2> roots{"/network-instances/network-instance/protocols/protocol/bgp",
                                                "/network-instances/network-instance/table-connections"};
constexpr std::string_view own_name = "yfw-openconfig-deviations";
constexpr std::string_view own_prefix = "yfw-dev";
constexpr std::size_t line_length = 110;

// The nodes that must stay for the served ones to stand.
class Kept {
  public:
    explicit Kept(const Mapping &mapping);

    [[nodiscard]] bool contains(const SchemaNode &node) const { return kept_[node.id]; }
    void keep(const SchemaNode &node);
    // Adds what the kept nodes name, until nothing more comes.
    void close();

  private:
    void keep_with_list(const SchemaNode &list);
    void keep_named_by(const SchemaNode &node);
    void keep_atoms(const lysc_node *context, const SchemaNode &node, const lyxp_expr *expression,
                    const lysc_prefix *prefixes);
    void keep_targets(const SchemaNode &node, const lysc_type *type);
    void keep_compiled(const lysc_node *node);

    std::unordered_map<const lysc_node *, const SchemaNode *> by_compiled_;
    std::vector<bool> kept_;
    std::vector<const SchemaNode *> unread_; // kept, and what they name not yet looked at
};

bool lies_in_roots(const SchemaNode &node) {
    return std::any_of(roots.begin(), roots.end(), [&](std::string_view root) {
        return node.path.starts_with(root) && (node.path.size() == root.size() || node.path[root.size()] == '/');
    });
}

Kept::Kept(const Mapping &mapping) : kept_(mapping.schema().size(), false) {
    const Schema &schema = mapping.schema();
    for (std::uint32_t id = 1; id < schema.size(); ++id) {
        by_compiled_.emplace(schema.node(id).compiled, &schema.node(id));
    }
    for (std::uint32_t id = 1; id < schema.size(); ++id) {
        const SchemaNode &node = schema.node(id);
        const Binding *binding = mapping.find(node);
        const bool is_served = binding != nullptr && !binding->entry->maps_nothing;
        if (is_served || mapping.when(node) != nullptr || !lies_in_roots(node)) {
            keep(node);
        }
        if (binding != nullptr && binding->target != nullptr) {
            keep(*binding->target);
        }
    }
    close();
}

void Kept::keep(const SchemaNode &node) {
    for (const SchemaNode *above = &node; above->depth > 0 && !kept_[above->id]; above = above->parent) {
        kept_[above->id] = true;
        unread_.push_back(above);
        if (above->kind == NodeKind::list) {
            keep_with_list(*above);
        }
    }
}

// The keys, and their copies in config and state, which every read of an entry shows.
void Kept::keep_with_list(const SchemaNode &list) {
    for (const SchemaNode *key : list.keys) {
        keep(*key);
        for (const std::string_view holder : {"config", "state"}) {
            const SchemaNode *container = list.child(holder);
            const SchemaNode *repeated = container == nullptr ? nullptr : container->child(key->name);
            if (repeated != nullptr) {
                keep(*repeated);
            }
        }
    }
}

void Kept::close() {
    while (!unread_.empty()) {
        const SchemaNode *node = unread_.back();
        unread_.pop_back();
        keep_named_by(*node);
    }
}

void Kept::keep_named_by(const SchemaNode &node) {
    const lysc_node *compiled = node.compiled;
    LY_ARRAY_COUNT_TYPE i = 0;
    lysc_when **whens = lysc_node_when(compiled);
    LY_ARRAY_FOR(whens, i) {
        keep_atoms(whens[i]->context, node, whens[i]->cond, whens[i]->prefixes);
    }
    const lysc_must *musts = lysc_node_musts(compiled);
    LY_ARRAY_FOR(musts, i) {
        keep_atoms(compiled, node, musts[i].cond, musts[i].prefixes);
    }
    if (compiled->nodetype == LYS_LEAF) {
        keep_targets(node, reinterpret_cast<const lysc_node_leaf *>(compiled)->type);
    } else if (compiled->nodetype == LYS_LEAFLIST) {
        keep_targets(node, reinterpret_cast<const lysc_node_leaflist *>(compiled)->type);
    } else if (compiled->nodetype == LYS_LIST) {
        lysc_node_leaf ***uniques = reinterpret_cast<const lysc_node_list *>(compiled)->uniques;
        LY_ARRAY_FOR(uniques, i) {
            LY_ARRAY_COUNT_TYPE leaf = 0;
            LY_ARRAY_FOR(uniques[i], leaf) {
                keep_compiled(&uniques[i][leaf]->node);
            }
        }
    }
}

void Kept::keep_targets(const SchemaNode &node, const lysc_type *type) {
    if (type->basetype == LY_TYPE_UNION) {
        const auto *members = reinterpret_cast<const lysc_type_union *>(type)->types;
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(members, i) {
            keep_targets(node, members[i]);
        }
    } else if (type->basetype == LY_TYPE_LEAFREF) {
        const auto *reference = reinterpret_cast<const lysc_type_leafref *>(type);
        keep_atoms(node.compiled, node, reference->path, reference->prefixes);
    }
}

void Kept::keep_atoms(const lysc_node *context, const SchemaNode &node, const lyxp_expr *expression,
                      const lysc_prefix *prefixes) {
    ly_set *found = nullptr;
    if (lys_find_expr_atoms(context, node.compiled->module, expression, prefixes, LYS_FIND_XP_SCHEMA, &found) !=
        LY_SUCCESS) {
        return; // names nothing that is there
    }
    for (std::uint32_t i = 0; i < found->count; ++i) {
        keep_compiled(found->snodes[i]);
    }
    ly_set_free(found, nullptr);
}

void Kept::keep_compiled(const lysc_node *node) {
    const auto known = by_compiled_.find(node);
    if (known != by_compiled_.end()) {
        keep(*known->second);
    }
}

std::string without_prefixes(std::string_view path) {
    std::string bare;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('/', 1), path.size());
        const std::size_t colon = path.find(':');
        bare += '/';
        bare += path.substr(colon < end ? colon + 1 : 1, end - (colon < end ? colon + 1 : 1));
        path.remove_prefix(end);
    }
    return bare;
}

// The nodes that other modules deviate, with these modules' names. No node can have two deviations when one of them
// takes it away.
std::map<std::string, std::string> deviated_elsewhere(const Schema &schema) {
    std::map<std::string, std::string> found;
    std::uint32_t position = 0;
    while (const lys_module *module = ly_ctx_get_module_iter(schema.context(), &position)) {
        const lysp_deviation *deviations = module->parsed == nullptr ? nullptr : module->parsed->deviations;
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(deviations, i) {
            found.emplace(without_prefixes(deviations[i].nodeid), module->name);
        }
    }
    return found;
}

// The topmost nodes at and below this one that are not kept.
void collect_unserved(const SchemaNode &node, const Kept &kept, std::vector<const SchemaNode *> &into) {
    if (!kept.contains(node)) {
        into.push_back(&node);
        return;
    }
    for (const SchemaNode *below : node.children) {
        collect_unserved(*below, kept, into);
    }
}

std::vector<const SchemaNode *> unserved_nodes(const Schema &schema, const Kept &kept) {
    std::vector<const SchemaNode *> nodes;
    for (const std::string_view root : roots) {
        if (const SchemaNode *node = schema.find(root)) {
            collect_unserved(*node, kept, nodes);
        }
    }
    return nodes;
}

// The steps of a schema path, choices and cases included.
std::vector<const lysc_node *> steps_to(const lysc_node *node) {
    std::vector<const lysc_node *> steps;
    for (; node != nullptr; node = node->parent) {
        steps.insert(steps.begin(), node);
    }
    return steps;
}

// The prefixes under which the modules on the way to these nodes are imported: their own where no two are the same.
std::map<std::string, std::string> choose_prefixes(const std::vector<const SchemaNode *> &nodes) {
    std::map<std::string, std::string> prefixes; // by module
    std::set<std::string, std::less<>> taken{std::string(own_prefix)};
    for (const SchemaNode *node : nodes) {
        for (const lysc_node *step : steps_to(node->compiled)) {
            if (!prefixes.contains(step->module->name)) {
                const bool is_free = taken.insert(step->module->prefix).second;
                prefixes[step->module->name] = is_free ? step->module->prefix : step->module->name;
            }
        }
    }
    return prefixes;
}

void put_header(Sink &sink) {
    sink.put("module ");
    sink.put(own_name);
    sink.put(" {\n  yang-version 1.1;\n  namespace \"http://tarn-kel.example/ns/yang/");
    sink.put(own_name);
    sink.put("\";\n  prefix ");
    sink.put(own_prefix);
    sink.put(";\n");
}

void put_description(Sink &sink, const std::string &revision) {
    sink.put(
        "\n  organization\n    \"Tarn-KEL\";\n  contact\n    \"yfw maintainers\";\n  description\n"
        "    \"The OpenConfig BGP and table-connection nodes that the mapping does not serve. A node that is marked\n"
        "     as not supported takes all that lies below it along.\";\n");
    if (!revision.empty()) {
        sink.put("\n  revision ");
        sink.put(revision);
        sink.put(" {\n    description\n      \"Of the mapping description of that date.\";\n  }\n");
    }
}

void put_deviation(Sink &sink, const SchemaNode &node, const std::map<std::string, std::string> &prefixes) {
    sink.put("\n  deviation \"");
    std::size_t column = std::string_view("  deviation \"").size();
    for (const lysc_node *step : steps_to(node.compiled)) {
        const std::string text = '/' + prefixes.at(step->module->name) + ':' + step->name;
        if (column + text.size() > line_length) {
            sink.put("\"\n          + \"");
            column = std::string_view("          + \"").size();
        }
        sink.put(text);
        column += text.size();
    }
    sink.put("\" {\n    deviate not-supported;\n  }\n");
}

} // namespace

void write_deviations(Sink &sink, const Mapping &mapping) {
    const Schema &schema = mapping.schema();
    Kept kept(mapping);
    const auto elsewhere = deviated_elsewhere(schema);
    std::vector<const SchemaNode *> left; // not served, and there all the same
    std::vector<const SchemaNode *> nodes = unserved_nodes(schema, kept);
    for (bool again = true; again;) {
        again = false;
        for (const SchemaNode *node : nodes) {
            if (elsewhere.contains(node->path)) {
                left.push_back(node);
                kept.keep(*node);
                again = true;
            }
        }
        kept.close();
        nodes = unserved_nodes(schema, kept);
    }
    const auto prefixes = choose_prefixes(nodes);
    put_header(sink);
    for (const auto &[module, prefix] : prefixes) {
        sink.put("\n  import ");
        sink.put(module);
        sink.put(" {\n    prefix ");
        sink.put(prefix);
        sink.put(";\n  }");
    }
    sink.put(prefixes.empty() ? "" : "\n");
    put_description(sink, mapping.description().revision);
    for (const SchemaNode *node : left) {
        sink.put("\n  // Not served either, but ");
        sink.put(elsewhere.at(node->path));
        sink.put(" deviates it already:\n  // ");
        sink.put(node->path);
        sink.put("\n");
    }
    for (const SchemaNode *node : nodes) {
        put_deviation(sink, *node, prefixes);
    }
    sink.put("}\n");
    sink.flush();
}

} // namespace yfw
