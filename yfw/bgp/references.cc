#include "bgp/references.h"

#include "model/trees.h"

#include <map>
#include <set>
#include <string>

namespace yfw {

namespace {

constexpr std::string_view instance_path_text = "/bgp/instance/instance-as/four-byte-as";
constexpr std::string_view groups_path =
    "/bgp/instance/instance-as/four-byte-as/default-vrf/bgp-entity/neighbor-groups";
constexpr std::string_view neighbor_path =
    "/bgp/instance/instance-as/four-byte-as/default-vrf/bgp-entity/neighbors/neighbor/neighbor-group";
constexpr std::string_view vrf_neighbor_path =
    "/bgp/instance/instance-as/four-byte-as/vrfs/vrf/vrf-neighbors/vrf-neighbor/neighbor-group";

class References {
  public:
    References(const Schema &schema, const Transaction &transaction)
        : schema_(schema),
          transaction_(transaction),
          instance_(schema.find(instance_path_text)),
          groups_(schema.find(groups_path)),
          neighbor_(schema.find(neighbor_path)),
          vrf_neighbor_(schema.find(vrf_neighbor_path)) {}

    void check(const Node *edit) {
        if (instance_ != nullptr && groups_ != nullptr && neighbor_ != nullptr && vrf_neighbor_ != nullptr) {
            visit(edit);
        }
    }

  private:
    void visit(const Node *node) {
        for (const Node *below = node->first(); below != nullptr; below = below->next()) {
            const SchemaNode &schema = below->schema();
            if (&schema == instance_ && !below->is_delete()) {
                used_.clear();
                made_.clear();
                gone_ = nullptr;
                look(below);
                check_used(below);
                check_gone(below);
            } else if (schema.is_inner() && schema.depth < instance_->depth && !below->is_delete()) {
                visit(below);
            }
        }
    }

    // Finds what the edit refers to, and whether a group may have gone.
    void look(const Node *instance) {
        const Node *vrf = child(instance, "default-vrf");
        note_gone(vrf);
        const Node *entity = vrf == nullptr ? nullptr : child(vrf, "bgp-entity");
        note_gone(entity);
        const Node *groups = entity == nullptr ? nullptr : child(entity, *groups_);
        note_gone(groups);
        for (const Node *group : entries_of(groups, *groups_->child("neighbor-group"))) {
            note_gone(group);
            if (!group->is_delete()) {
                made_.insert(key_value(group, 0));
            }
        }
        look_at(entity == nullptr ? nullptr : child(entity, *neighbor_->parent->parent), *neighbor_);
        const Node *vrfs = child(instance, "vrfs");
        for (const Node *other : entries_of(vrfs, *vrf_neighbor_->parent->parent->parent)) {
            look_at(child(other, *vrf_neighbor_->parent->parent), *vrf_neighbor_);
        }
    }

    void look_at(const Node *neighbors, const SchemaNode &leaf) {
        for (const Node *neighbor : entries_of(neighbors, *leaf.parent)) {
            const Node *group = neighbor->is_delete() ? nullptr : child(neighbor, leaf);
            if (group != nullptr && !group->is_delete() && group->value != nullptr) {
                used_.try_emplace(group->value, group);
            }
        }
    }

    void note_gone(const Node *node) {
        if (node != nullptr && node->op_is_set() && node->operation != YFW_OP_NONE) {
            gone_ = node;
        }
    }

    // What is stored of an instance's node, by its path in the schema, with one key for its list or none.
    const Node *fetch(Arena &arena, const Node *instance, const SchemaNode &wanted) const {
        Node *paths = new_root(arena, schema_);
        ensure_descendant(arena, ensure_counterpart(arena, paths, instance), wanted);
        Node *found = new_root(arena, schema_);
        transaction_.fetch(arena, paths, found);
        return counterpart(found, instance);
    }

    [[nodiscard]] std::set<std::string, std::less<>> group_names(const Node *instance) const {
        Arena arena;
        const SchemaNode &list = *groups_->child("neighbor-group");
        const Node *found = fetch(arena, instance, *list.child("create"));
        std::set<std::string, std::less<>> names;
        collect(found, list.keys[0], names);
        return names;
    }

    static void collect(const Node *node, const SchemaNode *leaf, std::set<std::string, std::less<>> &values) {
        for (const Node *below = node == nullptr ? nullptr : node->first(); below != nullptr; below = below->next()) {
            if (&below->schema() == leaf && below->value != nullptr) {
                values.insert(below->value);
            } else if (below->schema().is_inner()) {
                collect(below, leaf, values);
            }
        }
    }

    void check_used(const Node *instance) const {
        if (used_.empty()) {
            return;
        }
        const auto names = group_names(instance);
        for (const auto &[name, leaf] : used_) {
            if (!made_.contains(name) && !names.contains(name)) { // a dry run stores no groups
                throw refusal(Reason::constraint, leaf, "names the peer group " + name + ", which is not there");
            }
        }
    }

    void check_gone(const Node *instance) const {
        if (gone_ == nullptr) {
            return;
        }
        const auto names = group_names(instance);
        std::string members;
        for (const SchemaNode *leaf : {neighbor_, vrf_neighbor_}) {
            Arena arena;
            collect_members(fetch(arena, instance, *leaf), leaf, names, members);
        }
        if (!members.empty()) {
            throw refusal(Reason::constraint, gone_, "is taken away, and has members: " + members);
        }
    }

    static void collect_members(const Node *node, const SchemaNode *leaf,
                                const std::set<std::string, std::less<>> &names, std::string &members) {
        for (const Node *below = node == nullptr ? nullptr : node->first(); below != nullptr; below = below->next()) {
            if (&below->schema() == leaf && below->value != nullptr &&
                !names.contains(std::string_view(below->value))) {
                const char *address = key_value(below->up(), 0);
                members += (members.empty() ? "" : ", ") + std::string(address) + " (" + below->value + ')';
            } else if (below->schema().is_inner()) {
                collect_members(below, leaf, names, members);
            }
        }
    }

    const Schema &schema_;
    const Transaction &transaction_;
    const SchemaNode *instance_;
    const SchemaNode *groups_;
    const SchemaNode *neighbor_;
    const SchemaNode *vrf_neighbor_;
    std::map<std::string, const Node *, std::less<>> used_;
    std::set<std::string, std::less<>> made_; // groups that the edit sets
    const Node *gone_ = nullptr;
};

} // namespace

void check_references(const Schema &schema, const Transaction &transaction, const Node *edit) {
    References(schema, transaction).check(edit);
}

} // namespace yfw
