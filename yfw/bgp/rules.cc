#include "bgp/rules.h"

#include "base/error.h"
#include "bgp/companion.h"
#include "bgp/table_connections.h"
#include "model/trees.h"

namespace yfw {

namespace {

constexpr std::string_view default_name = "DEFAULT";
constexpr std::string_view connections_instance = "default"; // whose redistributions table connections are

bool is_default(const Node *network_instance) {
    const char *name = key_value(network_instance, 0);
    return name != nullptr && is_default_network_instance(name);
}

const Node *topmost_delete(const Node *node) {
    while (node->up() != nullptr && node->up()->is_delete()) {
        node = node->up();
    }
    return node;
}

// The names of what is directly in a node, for a person.
std::string contents(const Node *node) {
    std::string names;
    const Node *last = nullptr;
    for (const Node *below = node->first(); below != nullptr; below = below->next()) {
        if (!below->schema().is_key && (last == nullptr || &last->schema() != &below->schema())) {
            names += (names.empty() ? "" : ", ") + below->schema().name;
            last = below;
        }
    }
    return names;
}

// Adds an entry below a node.
Node *add_entry(Arena &arena, Node *parent, const SchemaNode &list, std::initializer_list<std::string_view> keys) {
    Node *entry = open_entry(arena, ensure_descendant(arena, parent, *list.parent), list);
    auto key = list.keys.begin();
    for (const std::string_view value : keys) {
        set_value(arena, ensure_child(arena, entry, **key++), value);
    }
    return complete_entry(arena, entry);
}

} // namespace

BgpRules::BgpRules(const Schema &schema) {
    const SchemaNode *bgp = schema.find("/network-instances/network-instance/protocols/protocol/bgp");
    const SchemaNode *as = schema.find("/network-instances/network-instance/protocols/protocol/bgp/global/config/as");
    const SchemaNode *family =
        schema.find("/network-instances/network-instance/protocols/protocol/bgp/global/afi-safis/afi-safi");
    const SchemaNode *connection =
        schema.find("/network-instances/network-instance/table-connections/table-connection");
    if (as == nullptr || family == nullptr || connection == nullptr) {
        return;
    }
    bgp_ = bgp;
    protocol_ = bgp->parent;
    network_instance_ = protocol_->parent->parent;
    instances_ = network_instance_->parent;
    as_ = as;
    family_ = family;
    connection_ = connection;
}

bool BgpRules::is_foreign(const Node &entry) const {
    if (&entry.schema() == protocol_) {
        return !is_bgp_entry(entry);
    }
    return &entry.schema() == connection_ && family_of_connection(entry).empty();
}

bool BgpRules::is_always_there(const Node &entry) const {
    return &entry.schema() == network_instance_ && is_default(&entry);
}

bool BgpRules::is_as_alone(const Node &node) const {
    if (&node.schema() == as_) {
        return true;
    }
    const bool holds_it = as_ != nullptr && node.schema().depth >= bgp_->depth && node.schema().holds(*as_);
    const Node *below = holds_it ? node.first() : nullptr;
    return below != nullptr && below->next() == nullptr && is_as_alone(*below);
}

void BgpRules::add_probe(Arena &arena, Node *parts, const Node *entry) const {
    Node *node = ensure_counterpart(arena, parts, entry);
    if (&entry->schema() == protocol_) {
        ensure_descendant(arena, node, *as_);
    } else if (&entry->schema() == network_instance_) {
        ensure_descendant(arena, node, *network_instance_->child("config")->child("name"));
    }
}

void BgpRules::add_everything(Arena &arena, Node *parts) const {
    if (instances_ != nullptr) {
        ensure_child(arena, parts, *instances_);
    }
}

Node *BgpRules::protocols(const Node *network_instance) const {
    return child(network_instance, *protocol_->parent);
}

// Whether a part of a protocol entry holds the AS number.
bool BgpRules::covers_as(const Node *protocol) const {
    const SchemaNode *level = as_;
    while (descendant(protocol, *level) == nullptr) {
        level = level->parent;
    }
    return is_bare(descendant(protocol, *level));
}

void BgpRules::widen_protocol(Arena &arena, Node *parts, Node *protocol) const {
    Node *network_instance = protocol->up()->up();
    const auto take_connections = [&] { take_children(ensure_child(arena, network_instance, *connection_->parent)); };
    if (!covers_as(protocol)) {
        const Node *all = descendant(protocol, *family_->parent);
        const Node *global = descendant(protocol, *family_->parent->parent);
        bool any = (all != nullptr && is_bare(all)) || (global != nullptr && is_bare(global));
        for (const Node *family : entries_of(all, *family_)) {
            any = any || is_bare(family);
        }
        if (any && is_default(network_instance)) {
            take_connections();
        }
        return;
    }
    take_children(protocol);
    if (is_default(network_instance)) {
        take_connections();
        Node *any = open_entry(arena, ensure_child(arena, parts, *instances_), *network_instance_);
        copy_into(arena, ensure_counterpart_below(arena, ensure_child(arena, any, *protocol_->parent), protocol),
                  protocol, YFW_OP_NONE);
    }
}

void BgpRules::widen(Arena &arena, Node *parts) const {
    Node *instances = instances_ == nullptr ? nullptr : child(parts, *instances_);
    if (instances == nullptr || is_bare(instances)) {
        return;
    }
    bool all = false;
    for (const Node *network_instance : entries_of(instances, *network_instance_)) {
        const Node *of_instance = protocols(network_instance);
        all = all || (is_default(network_instance) &&
                      (is_bare(network_instance) || (of_instance != nullptr && is_bare(of_instance))));
        for (Node *protocol : entries_of(of_instance, *protocol_)) {
            widen_protocol(arena, parts, protocol);
        }
    }
    if (all) {
        take_children(instances);
    }
}

void BgpRules::take_given_as(Arena &arena, Node *goes, const Node *edit) const {
    if (&edit->schema() == as_) {
        Node *going = counterpart(goes, edit);
        if (going != nullptr && edit->value != nullptr) {
            set_value(arena, going, edit->value);
        }
        return;
    }
    const bool may_hold = as_ != nullptr && edit->schema().is_inner() && edit->schema().depth < as_->depth;
    for (const Node *below = edit->first(); may_hold && below != nullptr; below = below->next()) {
        take_given_as(arena, goes, below);
    }
}

void BgpRules::keep_as(Arena &arena, Node *goes, Node *expected, const Node *sets, std::vector<Note> &notes) const {
    if (instances_ == nullptr) {
        return;
    }
    for (const Node *network_instance : entries_of(child(goes, *instances_), *network_instance_)) {
        for (const Node *protocol : entries_of(protocols(network_instance), *protocol_)) {
            Node *as = descendant(protocol, *as_);
            if (as == nullptr || !as->is_delete() || (topmost_delete(as)->flags & YFW_NODE_PRESENT) != 0) {
                continue;
            }
            const Node *rest = counterpart(expected, protocol->first() == nullptr ? protocol : child(protocol, *bgp_));
            const Node *set = sets == nullptr ? nullptr : counterpart(sets, child(protocol, *bgp_));
            if ((rest == nullptr || is_bare(rest)) && (set == nullptr || is_bare(set))) {
                continue;
            }
            copy_to(arena, expected, as, YFW_OP_NONE);
            notes.push_back({instance_path(as), "it stays: what is configured beside it needs it"});
            // What it lies in is deleted leaf by leaf.
            take_out(as);
        }
    }
}

void BgpRules::take_connections_along(const Node *family, Node *expected, const Node *sets,
                                      std::vector<Note> &notes) const {
    const Node *network_instance = family->up();
    while (&network_instance->schema() != network_instance_) {
        network_instance = network_instance->up();
    }
    Node *left = counterpart(expected, network_instance);
    Node *connections = left == nullptr ? nullptr : child(left, *connection_->parent);
    const bool whole = &family->schema() != family_;
    for (Node *connection : entries_of(connections, *connection_)) {
        if (whole || family_of_connection(*connection) == identity(*family, "afi-safi-name")) {
            if (sets == nullptr || counterpart(sets, connection) == nullptr) {
                notes.push_back({instance_path(connection), "it goes along with " + instance_path(family)});
            }
            unlink(connection);
        }
    }
}

// All of a native instance: the protocol entry, and those of VRFs when it is the default network instance's.
void BgpRules::take_instance_along(const Node *protocol, Node *expected, const Node *sets,
                                   std::vector<Note> &notes) const {
    const std::string name(text_of(child(protocol, "name")));
    const bool by_default = is_default(protocol->up()->up());
    if (by_default && name == connections_instance) {
        take_connections_along(protocol, expected, sets, notes);
    }
    if (Node *rest = counterpart(expected, protocol); rest != nullptr) {
        const Node *bgp = child(rest, *bgp_);
        const std::string what = bgp == nullptr ? std::string() : contents(bgp);
        if (!what.empty()) {
            notes.push_back({instance_path(bgp), "all of it goes with its AS number: " + what});
        }
        unlink(rest);
    }
    const Node *instances = by_default ? child(expected, *instances_) : nullptr;
    for (const Node *network_instance : entries_of(instances, *network_instance_)) {
        for (Node *other : entries_of(protocols(network_instance), *protocol_)) {
            if (text_of(child(other, "name")) == name) {
                notes.push_back({instance_path(other) + "/bgp",
                                 "it goes along with the BGP instance, which is that of " + instance_path(protocol)});
                unlink(other);
            }
        }
    }
}

// What is set in an entry whose AS number goes needs another one.
void BgpRules::refuse_orphans(const Node *protocol, const Node *sets) const {
    const Node *bgp = sets == nullptr ? nullptr : counterpart(sets, protocol);
    bgp = bgp == nullptr ? nullptr : child(bgp, *bgp_);
    if (bgp != nullptr && !is_bare(bgp) && descendant(bgp, *as_) == nullptr) {
        throw Refused(Reason::constraint, instance_path(bgp),
                      "it cannot be set without an AS number, which this edit takes away");
    }
}

void BgpRules::take_along(const Node *goes, Node *expected, const Node *sets, std::vector<Note> &notes) const {
    if (instances_ == nullptr) {
        return;
    }
    for (const Node *network_instance : entries_of(child(goes, *instances_), *network_instance_)) {
        for (const Node *protocol : entries_of(protocols(network_instance), *protocol_)) {
            const Node *as = descendant(protocol, *as_);
            if (as != nullptr && as->is_delete()) {
                refuse_orphans(protocol, sets);
                take_instance_along(protocol, expected, sets, notes);
                continue;
            }
            const bool redistributes =
                is_default(network_instance) && text_of(child(protocol, "name")) == connections_instance;
            const Node *all = redistributes ? descendant(protocol, *family_->parent) : nullptr;
            for (const Node *family : entries_of(all, *family_)) {
                if (family->is_delete()) {
                    take_connections_along(family, expected, sets, notes);
                }
            }
        }
    }
}

Node *BgpRules::implied(Arena &arena, const Schema &schema, const Node *set, std::string &why) const {
    const bool by_as = &set->schema() == as_;
    const Node *network_instance = set->up();
    const Node *protocol = nullptr;
    while (&network_instance->schema() != network_instance_) {
        protocol = &network_instance->schema() == protocol_ ? network_instance : protocol;
        network_instance = network_instance->up();
    }
    if (by_as == is_default(network_instance)) {
        return nullptr;
    }
    const std::string_view family = by_as ? std::string_view() : family_of_connection(*set);
    if (!by_as && family.empty()) {
        return nullptr;
    }
    Node *node = new_root(arena, schema);
    node = add_entry(arena, node, *network_instance_, {default_name});
    node = add_entry(arena, node, *protocol_, {"BGP", by_as ? text_of(child(protocol, "name")) : connections_instance});
    if (by_as) {
        node = ensure_descendant(arena, node, *as_);
        set_value(arena, node, text_of(set));
        why = "it comes with the BGP of " + instance_path(network_instance) + ", whose native instance is the same";
        return node;
    }
    node = add_entry(arena, node, *family_, {family});
    node = ensure_descendant(arena, node, *family_->child("config")->child("enabled"));
    set_value(arena, node, "true");
    why = "it comes with " + instance_path(set);
    return node;
}

} // namespace yfw
