// Two configurations compared: what means the same is made alike, and what an edit has told of is excused.
#pragma once

#include "edit_model.h"

#include <iterator>
#include <set>

namespace yfw::test {

// Ends of paths of flags that natively are there or not there: false is the same as unset.
inline constexpr std::array presence_leaves{"/always-compare-med",
                                            "/ignore-as-path-length",
                                            "/afi-safi/config/enabled",
                                            "/external-compare-router-id",
                                            "/ebgp-multihop/config/enabled",
                                            "/global/graceful-restart/config/enabled",
                                            "/use-multiple-paths/config/enabled",
                                            "/disable-metric-propagation"};

// Descends by the names of containers; null where there is nothing.
inline Item *below(Item *item, std::initializer_list<const char *> names) {
    for (const char *name : names) {
        const auto found = item->children.find(name);
        if (found == item->children.end()) {
            return nullptr;
        }
        item = &found->second;
    }
    return item;
}

inline Item &ensure_item(Item &item, std::initializer_list<const char *> names) {
    Item *at = &item;
    for (const char *name : names) {
        at = &add_item(*at, Item{.schema = at->schema->child(name)});
    }
    return *at;
}

inline std::map<std::string, Item> children_of(Item *item) {
    return item == nullptr ? std::map<std::string, Item>() : item->children;
}

inline Item &ensure_entry(Item &item, const char *list, std::vector<std::string> keys) {
    return add_item(item, Item{.schema = item.schema->child(list), .keys = std::move(keys)});
}

// The protocol entry of the default network instance.
inline Item &ensure_own(Item &root, const std::vector<std::string> &keys) {
    Item &instance =
        ensure_entry(ensure_item(root, {"network-instances"}), "network-instance", {std::string(default_instance)});
    return ensure_entry(ensure_item(instance, {"protocols"}), "protocol", keys);
}

inline Steps path_of(const Item &instance, const Item &protocol) {
    return {"network-instances", step_of(instance), "protocols", step_of(protocol)};
}

inline std::string *as_of(Item &protocol) {
    Item *as = below(&protocol, {"bgp", "global", "config", "as"});
    return as == nullptr ? nullptr : &as->value;
}

inline void ensure_as(Item &protocol, const std::string &as) {
    if (as_of(protocol) == nullptr) {
        ensure_item(protocol, {"bgp", "global", "config", "as"}).value = as;
    }
}

// Calls visit(network instance, protocol entry) for all there are.
template <typename Visit>
void for_each_protocol(Item &root, Visit visit) {
    Item *instances = below(&root, {"network-instances"});
    if (instances == nullptr) {
        return;
    }
    for (auto &[step, instance] : instances->children) {
        if (Item *protocols = below(&instance, {"protocols"}); protocols != nullptr) {
            for (auto &[name, protocol] : protocols->children) {
                visit(instance, protocol);
            }
        }
    }
}

// Takes out what means nothing. True when the item means nothing itself.
inline bool normalise(Item &item) {
    const SchemaNode &schema = *item.schema;
    if (!schema.is_inner() && schema.depth > 0) {
        if (schema.type == BaseType::decimal64) {
            item.value = std::to_string(std::strtod(item.value.c_str(), nullptr));
        }
        const auto ends = [&schema](const char *end) { return schema.path.ends_with(end); };
        return is_key_copy(schema) ||
               (item.value == "false" && std::any_of(presence_leaves.begin(), presence_leaves.end(), ends));
    }
    if (Item *multihop = below(&item, {"config", "multihop-ttl"}); multihop != nullptr) {
        const Item *enabled = below(&item, {"config", "enabled"});
        if (enabled != nullptr && (enabled->value == "false" || multihop->value == "1")) {
            below(&item, {"config"})->children.erase("multihop-ttl");
        }
    }
    for (auto child = item.children.begin(); child != item.children.end();) {
        child = normalise(child->second) ? item.children.erase(child) : std::next(child);
    }
    const bool stands_alone = schema.kind == NodeKind::list && schema.name != "protocol" &&
                              (schema.name != "network-instance" || item.keys[0] != default_instance);
    return item.children.empty() && !stands_alone;
}

// A protocol entry of BGP has an AS number while there is anything in it, and natively it is one for the entries of
// that name in all network instances. before: what there was, or null.
inline void complete_as(Item &root, Item *before) {
    std::map<std::vector<std::string>, std::string> known; // by the protocol's keys
    const auto learn = [&known](Item &, Item &protocol) {
        if (const std::string *as = as_of(protocol); as != nullptr) {
            known.try_emplace(protocol.keys, *as);
        }
    };
    for_each_protocol(root, learn);
    if (before != nullptr) {
        for_each_protocol(*before, learn);
    }
    std::set<std::vector<std::string>> used;
    for_each_protocol(root, [&](Item &, Item &protocol) {
        if (known.contains(protocol.keys)) {
            ensure_as(protocol, known.at(protocol.keys));
            used.insert(protocol.keys);
        }
    });
    for (const std::vector<std::string> &keys : used) {
        ensure_as(ensure_own(root, keys), known.at(keys));
    }
}

inline bool has_as_alone(Item &protocol) {
    Item *bgp = below(&protocol, {"bgp"});
    Item *config = below(&protocol, {"bgp", "global", "config"});
    return as_of(protocol) != nullptr && bgp->children.size() == 1 && config->children.size() == 1 &&
           below(bgp, {"global"})->children.size() == 1;
}

inline const Item *item_at(const Item &root, const Steps &path) {
    const Item *at = &root;
    for (const std::string &step : path) {
        at = at == nullptr ? nullptr : at->child(step);
    }
    return at;
}

// Takes out protocol entries with an AS number and nothing else that the other tree does not have.
inline void drop_bare_as(Item &root, const Item &other) {
    for_each_protocol(root, [&other](Item &instance, Item &protocol) {
        if (has_as_alone(protocol) && item_at(other, path_of(instance, protocol)) == nullptr) {
            protocol.children.clear();
        }
    });
    normalise(root);
}

inline bool sets_value(const Item &item) {
    return !item.is_erased() &&
           (!item.value.empty() || std::any_of(item.children.begin(), item.children.end(),
                                               [](const auto &child) { return sets_value(child.second); }));
}

// A flag that an edit switches off is nothing natively, but the VRF's entry that it is set in comes into being, with
// its AS number. Takes those out of what is found.
inline void drop_made_for_unset(Item &found, const Item &wanted, const Item &edit) {
    for_each_protocol(found, [&](Item &instance, Item &protocol) {
        const Steps path = path_of(instance, protocol);
        const Item *edited = item_at(edit, path);
        if (instance.keys[0] != default_instance && has_as_alone(protocol) && item_at(wanted, path) == nullptr &&
            edited != nullptr && sets_value(*edited)) {
            protocol.children.clear();
        }
    });
    normalise(found);
}

inline Item comparable(Item root, Item *before = nullptr) {
    normalise(root);
    complete_as(root, before);
    return root;
}

// A table connection lies in an address family of the instance "default", natively, and has it switched on. Both trees
// get the instance and the families of the connections that they share.
inline void imply_families(Item &one, Item &other) {
    const auto instance_of = [](Item &root) {
        Item *all = below(&root, {"network-instances"});
        return all == nullptr ? nullptr : below(all, {"network-instance[name=DEFAULT]"});
    };
    const std::array instances{instance_of(one), instance_of(other)};
    if (instances[0] == nullptr || instances[1] == nullptr) {
        return;
    }
    Item *others = below(instances[1], {"table-connections"});
    for (const auto &[step, connection] : children_of(below(instances[0], {"table-connections"}))) {
        if (others == nullptr || others->child(step) == nullptr) {
            continue;
        }
        std::array<Item *, 2> protocols{};
        for (std::size_t tree = 0; tree < 2; ++tree) {
            Item &list = ensure_item(*instances.at(tree), {"protocols"});
            protocols.at(tree) = &ensure_entry(list, "protocol", {"BGP", "default"});
            Item &families = ensure_item(*protocols.at(tree), {"bgp", "global", "afi-safis"});
            Item &family = ensure_entry(families, "afi-safi", {connection.keys.back() + "_UNICAST"});
            ensure_item(family, {"config", "enabled"}).value = "true";
        }
        if (const std::string *as = as_of(*protocols[as_of(*protocols[0]) == nullptr ? 1 : 0]); as != nullptr) {
            ensure_as(*protocols[0], *as);
            ensure_as(*protocols[1], *as);
        }
    }
}

struct Difference {
    Steps path;
    std::string wanted; // empty: it should not be there
    std::string found;
};

inline void compare(const Item *wanted, const Item *found, Steps &path, std::vector<Difference> &into) {
    const Item &any = wanted != nullptr ? *wanted : *found;
    const auto shown = [&any](const Item *item) {
        return item == nullptr ? "" : any.schema->is_inner() ? "an entry" : '"' + item->value + '"';
    };
    const bool is_container = any.schema->depth == 0 || any.schema->kind == NodeKind::container;
    const bool is_always_there = !any.keys.empty() && any.schema->name == "network-instance" &&
                                 any.keys[0] == default_instance; // its contents are compared for themselves
    if (!is_container && !is_always_there && shown(wanted) != shown(found)) {
        into.push_back({path, shown(wanted), shown(found)});
    }
    std::set<std::string> steps;
    for (const Item *item : {wanted, found}) {
        if (item != nullptr) {
            std::transform(item->children.begin(), item->children.end(), std::inserter(steps, steps.end()),
                           [](const auto &child) { return child.first; });
        }
    }
    for (const std::string &step : steps) {
        path.push_back(step);
        compare(wanted == nullptr ? nullptr : wanted->child(step), found == nullptr ? nullptr : found->child(step),
                path, into);
        path.pop_back();
    }
}

inline std::vector<Difference> compare(const Item &wanted, const Item &found) {
    Steps path;
    std::vector<Difference> differences;
    compare(&wanted, &found, path, differences);
    return differences;
}

// The steps of a path as the framework prints it, or of the path that a text begins with; values in quotes or not.
inline Steps parse_path(std::string_view text) {
    Steps steps;
    std::size_t at = 0;
    while (at < text.size() && text[at] == '/') {
        const std::size_t start = ++at;
        at = std::min(text.find_first_of("/[: \n", at), text.size());
        std::string step(text.substr(start, at - start));
        const bool is_instance = step == "network-instance";
        while (at < text.size() && text[at] == '[') {
            const std::size_t equals = std::min(text.find('=', at), text.size() - 1);
            const char quote = text.substr(equals + 1).starts_with('"')    ? '"'
                               : text.substr(equals + 1).starts_with('\'') ? '\''
                                                                           : '\0';
            const std::size_t value = equals + (quote == '\0' ? 1 : 2);
            const std::size_t end = std::min(text.find(quote == '\0' ? ']' : quote, value), text.size());
            const std::string_view key = text.substr(value, end - value);
            step += std::string(text.substr(at, equals + 1 - at));
            step += is_instance && key == "default" ? default_instance : key;
            step += ']';
            at = end + (quote == '\0' ? 1 : 2);
        }
        steps.push_back(std::move(step));
    }
    return steps;
}

// Whether two steps may be the same node: one without keys stands for every entry, and the values of a leaf-list are
// told of together.
inline bool same_step(const std::string &one, const std::string &other) {
    const std::size_t keys = one.find('[');
    const std::size_t other_keys = other.find('[');
    const bool by_keys = keys != one.npos && other_keys != one.npos && one.compare(keys, 3, "[.=") != 0;
    return by_keys ? one == other : one.substr(0, keys) == other.substr(0, other_keys);
}

inline bool is_at_or_below(const Steps &path, const Steps &above) {
    return path.size() >= above.size() && std::equal(above.begin(), above.end(), path.begin(), same_step);
}

// Leaves what lies at or below a path, and the way there.
inline bool cut(Item &item, const Steps &path, std::size_t level = 0) {
    if (level < path.size()) {
        for (auto child = item.children.begin(); child != item.children.end();) {
            const bool stays = same_step(child->first, path[level]) && cut(child->second, path, level + 1);
            child = stays ? std::next(child) : item.children.erase(child);
        }
    }
    return level == path.size() || !item.children.empty();
}

// Paths that an edit has told of.
struct Reports {
    static constexpr std::size_t fewest_steps = 3; // of what is said of everything nobody learns anything
    std::vector<Steps> paths;

    void add(std::string_view text) {
        Steps steps = parse_path(text);
        if (steps.size() >= fewest_steps) {
            paths.push_back(std::move(steps));
        }
    }
    // At, below or above a path that was told.
    [[nodiscard]] bool excuse(const Steps &path) const {
        return std::any_of(paths.begin(), paths.end(), [&path](const Steps &told) {
            return is_at_or_below(path, told) || (path.size() >= fewest_steps && is_at_or_below(told, path));
        });
    }
};

// What is told of an AS number that goes, or of an address family, holds for what natively goes with it as well: for
// the instance, with its part in all VRFs when it is the default one's, and for the table connections of the family.
inline Reports with_consequences(Reports reports, Item &before, Item &wanted) {
    std::set<std::string> left;
    for_each_protocol(wanted, [&left](Item &instance, Item &protocol) {
        if (as_of(protocol) != nullptr) {
            left.insert(step_of(instance) + step_of(protocol));
        }
    });
    std::vector<Steps> more;
    for_each_protocol(before, [&](Item &instance, Item &protocol) {
        const bool is_default = instance.keys[0] == default_instance;
        const std::string in = step_of(instance);
        Steps path = path_of(instance, protocol);
        path.insert(path.end(), {"bgp", "global", "config", "as"});
        if (as_of(protocol) != nullptr && !left.contains(in + step_of(protocol)) && reports.excuse(path)) {
            more.push_back({path[0], is_default ? "network-instance" : in, path[2], path[3]});
        }
    });
    // What a VRF, or a table connection, brings into the default network instance does not come without it.
    const auto implied = [&](const Steps &by, const std::string &protocol) {
        if (std::find(reports.paths.begin(), reports.paths.end(), by) != reports.paths.end()) {
            more.push_back({by[0], "network-instance", "protocols", protocol});
        }
    };
    for (Item *tree : {&before, &wanted}) {
        for_each_protocol(*tree, [&](Item &instance, Item &protocol) {
            Steps path = path_of(instance, protocol);
            path.emplace_back("bgp");
            implied(path, path[3]);
        });
    }
    for (const char *family : {"IPV4", "IPV6"}) {
        const Steps path = parse_path("/network-instances/network-instance[name=DEFAULT]/protocols/"
                                      "protocol[identifier=BGP][name=default]/bgp/global/afi-safis/"
                                      "afi-safi[afi-safi-name=" +
                                      std::string(family) + "_UNICAST]");
        for (const char *source : {"STATIC", "OSPF", "DIRECTLY_CONNECTED", "ISIS"}) {
            const Steps connection{path[0], path[1], "table-connections",
                                   "table-connection[src-protocol=" + std::string(source) +
                                       "][dst-protocol=BGP][address-family=" + family + ']'};
            implied(connection, path[3]);
            if (reports.excuse(path)) {
                more.push_back(connection);
            }
        }
    }
    reports.paths.insert(reports.paths.end(), more.begin(), more.end());
    return reports;
}

} // namespace yfw::test
