// Random edits: of a few operations each, at every level of what the mapping serves, most of them likely to succeed on
// the configuration that they are made for; and documents of anything in the models.
#pragma once

#include "edit_compare.h"
#include "fuzz/bytes.h"
#include "mapping/mapping.h"
#include "sample_values.h"

namespace yfw::test {

struct RandomEdit {
    Item document;
    DefaultOperation default_operation = DefaultOperation::merge;
    Syntax syntax = Syntax::json;
    std::string default_name{default_instance}; // what the document calls the default network instance
};

class EditGenerator {
  public:
    std::string instance = "default"; // the name of most protocol entries

    EditGenerator(const Schema &schema, const MappingDescription &mapping) : schema_(schema) {
        std::map<std::string, std::vector<const SchemaNode *>> rows;
        for (const MappingEntry &entry : mapping.entries) {
            const SchemaNode *leaf = schema.find(entry.path);
            if (leaf->config && !leaf->is_inner() && entry.path.starts_with("/network-instances/") &&
                (entry.served != Service::key || leaf->name != "identifier")) {
                const std::string last = entry.path.substr(entry.path.rfind('/', entry.path.rfind("/config/") - 1));
                const bool in_family = !family_of(*leaf).empty();
                rows[in_family ? entry.path.substr(0, entry.path.find("/afi-safi/")) + last : entry.path].push_back(
                    leaf);
            }
        }
        for (auto &[name, row] : rows) {
            leaves_.push_back(std::move(row));
        }
    }

    // Values for what is not there yet, in the BGP instance of that name: without operations.
    RandomEdit settings(fuzz::Bytes &bytes, const Item &stored, std::size_t most) {
        RandomEdit edit{.document = root_of(stored)};
        for (std::size_t left = 1 + bytes.below(most); left > 0; --left) {
            set(bytes, edit.document, stored, Operation::inherited);
        }
        add_what_is_needed(bytes, edit.document, stored);
        finish(bytes, edit);
        return edit;
    }

    // One to six operations.
    RandomEdit edit(fuzz::Bytes &bytes, const Item &stored) {
        RandomEdit edit{.document = root_of(stored)};
        edit.default_operation = bytes.one_in(8)   ? DefaultOperation::none
                                 : bytes.one_in(8) ? DefaultOperation::replace
                                                   : DefaultOperation::merge;
        if (edit.default_operation == DefaultOperation::replace) {
            add_subset(bytes, stored, edit.document, 6 + bytes.below(24));
        }
        for (std::size_t left = 1 + bytes.below(6); left > 0; --left) {
            const std::size_t kind = bytes.below(8);
            const bool explicit_merge = edit.default_operation == DefaultOperation::none || bytes.one_in(8);
            if (kind < 3) {
                mark(bytes, edit.document, stored);
            } else if (kind < 7) {
                set(bytes, edit.document, stored, explicit_merge ? Operation::merge : Operation::inherited);
            } else { // of anything, there or not
                set(bytes, edit.document, stored,
                    std::array{Operation::remove, Operation::replace, Operation::remove, Operation::create,
                               Operation::replace, Operation::erase}[bytes.below(6)]);
            }
        }
        if (edit.default_operation != DefaultOperation::none) {
            add_what_is_needed(bytes, edit.document, stored);
        }
        finish(bytes, edit);
        return edit;
    }

    // The replace of a container or entry by some of what it holds.
    RandomEdit replace_by_subset(fuzz::Bytes &bytes, const Item &stored) {
        RandomEdit edit{.document = root_of(stored)};
        if (const std::optional<Way> way = some_way(bytes, stored, true)) {
            Item *item = open(edit.document, *way);
            item->operation = Operation::replace;
            add_subset(bytes, *way->back(), *item, 2 + bytes.below(4));
        }
        finish(bytes, edit);
        return edit;
    }

    // The path of one of the nodes that are stored; a list on the way has its keys or none.
    static std::string some_path(fuzz::Bytes &bytes, const Item &stored) {
        std::string path;
        if (const std::optional<Way> way = some_way(bytes, stored, bytes.one_in(2))) {
            for (const Item *item : *way) {
                const bool whole = item->schema->kind == NodeKind::list && !bytes.one_in(6);
                path += '/' + (whole ? step_of(*item) : item->schema->name);
            }
        }
        return path;
    }

    // Any of some nodes, with values of their types or none, and operations anywhere.
    RandomEdit anything(fuzz::Bytes &bytes, const std::vector<const SchemaNode *> &nodes, std::size_t most,
                        bool marked) {
        constexpr std::array operations{Operation::merge, Operation::create, Operation::replace, Operation::erase,
                                        Operation::remove};
        RandomEdit edit{.document = {.schema = &schema_.root()}};
        for (std::size_t left = 1 + bytes.below(most); left > 0; --left) {
            const SchemaNode &node = *nodes[bytes.below(nodes.size())];
            // Mostly of the node itself, else of one further up.
            const std::size_t up = bytes.one_in(4) ? bytes.below(8) : 0;
            const bool acts = marked && bytes.one_in(4);
            Item *at = &edit.document;
            const Item *entry = nullptr;
            for (const SchemaNode *schema : way_to(node)) {
                Item next{.schema = schema};
                for (const SchemaNode *key : schema->keys) {
                    const bool is_instance = key->path == "/network-instances/network-instance/name";
                    next.keys.push_back(is_instance ? one_of<4>(bytes, {"DEFAULT", "blue", "default", "red"})
                                                    : any_value(bytes, *key, 4));
                }
                if (!schema->is_inner()) {
                    const bool copied = entry != nullptr && is_key_copy(*schema) && !bytes.one_in(16);
                    next.value = copied ? key_of(*entry, *schema) : any_value(bytes, *schema, 1);
                }
                at = &add_item(*at, std::move(next));
                entry = schema->kind == NodeKind::list ? at : entry;
                if (acts && schema->depth + up == node.depth) {
                    at->operation = operations.at(bytes.below(operations.size()));
                }
            }
        }
        finish(bytes, edit);
        return edit;
    }

  private:
    using Way = std::vector<const Item *>; // from the top-level node down

    static Item root_of(const Item &stored) { return {.schema = stored.schema}; }

    template <std::size_t Size>
    static std::string one_of(fuzz::Bytes &bytes, const std::array<const char *, Size> &values) {
        return values.at(bytes.below(Size));
    }

    // The families with a container of their own are called like it.
    static std::string family_of(const SchemaNode &leaf) {
        for (const SchemaNode *node = &leaf; node->depth > 0; node = node->parent) {
            if (node->parent->name == "afi-safi" && node->name.find_first_of("0123456789") != std::string::npos) {
                std::string family = node->name;
                std::transform(family.begin(), family.end(), family.begin(), [](char c) {
                    return c == '-' ? '_' : static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
                });
                return family;
            }
        }
        return "";
    }

    // Values by the leaf's name; a leaf takes those that its type does.
    static const std::map<std::string, std::vector<std::string>> &values_by_name() {
        static const std::map<std::string, std::vector<std::string>> values{
            {"as", {"65000"}},
            {"router-id", {"192.0.2.7", "192.0.2.8"}},
            {"route-distinguisher", {"65000:100", "10.1.1.1:5", "4200000000:7"}},
            {"route-reflector-cluster-id", {"192.0.2.7", "5", "4000000000"}},
            {"local-address", {"192.0.2.7", "2001:db8::9", "192.0.2.9"}},
            {"description", {"a text", "pass \" <word> \xc3\xa9", "x"}},
            {"auth-password", {"secret", "another one"}},
            {"import-policy", {"in-a", "in-b"}},
            {"export-policy", {"out-a", "out-b"}},
            {"hold-time", {"90", "180", "9"}},
            {"keepalive-interval", {"30", "60", "3"}},
            {"minimum-advertisement-interval", {"5.250", "0.500", "10.125"}},
            {"multihop-ttl", {"1", "2", "255"}},
            {"warning-threshold-pct", {"50", "75"}},
        };
        return values;
    }

    std::vector<std::string> keys(fuzz::Bytes &bytes, const SchemaNode &list, const SchemaNode &leaf) const {
        if (list.name == "network-instance") {
            const bool only_default = leaf.path.find("/table-connections/") != std::string::npos ||
                                      leaf.path.find("/peer-groups/") != std::string::npos;
            const bool only_vrf = leaf.name == "route-distinguisher";
            return {only_default && !bytes.one_in(32) ? "DEFAULT"
                    : only_vrf && !bytes.one_in(32)   ? one_of<2>(bytes, {"red", "blue"})
                                                      : one_of<4>(bytes, {"DEFAULT", "red", "DEFAULT", "blue"})};
        }
        if (list.name == "protocol") {
            return {"BGP", bytes.one_in(12) ? one_of<2>(bytes, {"core", "default"}) : instance};
        }
        if (list.name == "table-connection") {
            return {one_of<4>(bytes, {"STATIC", "OSPF", "DIRECTLY_CONNECTED", "ISIS"}), "BGP",
                    one_of<2>(bytes, {"IPV4", "IPV6"})};
        }
        if (list.name == "neighbor") {
            return {one_of<3>(bytes, {"10.0.0.1", "10.0.0.2", "2001:db8::1"})};
        }
        if (list.name == "peer-group") {
            return {one_of<2>(bytes, {"edge", "inner"})};
        }
        const std::string family = family_of(leaf);
        return {!family.empty() ? family
                : bytes.one_in(12)
                    ? one_of<4>(bytes, {"IPV4_FLOWSPEC", "L3VPN_IPV4_UNICAST", "L2VPN_EVPN", "LINKSTATE"})
                    : one_of<2>(bytes, {"IPV4_UNICAST", "IPV6_UNICAST"})};
    }

    std::string value(fuzz::Bytes &bytes, const Item &entry, const SchemaNode &leaf) const {
        if (is_key_copy(leaf) && entry.schema != nullptr) {
            return key_of(entry, leaf);
        }
        std::vector<std::string> values = Schema::named_values(leaf);
        if (leaf.name == "peer-group") {
            values = {"edge", "inner"};
        } else if (const auto known = values_by_name().find(leaf.name); known != values_by_name().end()) {
            values = known->second;
        } else if (values.empty()) {
            values = {"2", "3", "10", "100"};
        }
        std::erase_if(values, [&](const std::string &value) { return !schema_.accepts(leaf, value, nullptr); });
        return values.empty() ? "1" : values[bytes.below(values.size())];
    }

    void set(fuzz::Bytes &bytes, Item &document, const Item &stored, Operation operation) {
        const std::vector<const SchemaNode *> &row = leaves_[bytes.below(leaves_.size())];
        const bool any_family = bytes.one_in(8);
        const SchemaNode &leaf = *row[bytes.below(any_family ? row.size() : std::min<std::size_t>(row.size(), 2))];
        Item *at = &document;
        const Item *entry = nullptr;
        const Item *there = &stored;
        for (const SchemaNode *node : way_to(leaf)) {
            Item next{.schema = node};
            if (node->kind == NodeKind::list) {
                next.keys = keys(bytes, *node, leaf);
            } else if (node == &leaf) {
                next.value = value(bytes, *entry, leaf);
                next.operation = operation;
            }
            at = &add_item(*at, std::move(next));
            if (at->is_erased() && !bytes.one_in(32)) {
                return; // what goes is given nothing
            }
            there = there == nullptr ? nullptr : there->child(step_of(*at));
            // What is new may be created.
            if (there == nullptr && at->schema != &leaf && operation != Operation::inherited && bytes.one_in(6)) {
                at->operation = at->operation == Operation::inherited ? operation : at->operation;
                operation = Operation::inherited;
            }
            entry = at->schema->kind == NodeKind::list ? at : entry;
        }
    }

    // Natively all stands on the AS number, and a neighbour may name only a group that is there.
    void add_what_is_needed(fuzz::Bytes &bytes, Item &document, const Item &stored) const {
        if (bytes.one_in(16)) {
            return;
        }
        Item known = stored;
        std::set<std::string> with_as;
        for_each_protocol(known, [&with_as](Item &instance, Item &protocol) {
            if (as_of(protocol) != nullptr) {
                with_as.insert(step_of(instance) + step_of(protocol));
            }
        });
        std::vector<std::pair<std::vector<std::string>, std::string>> groups; // protocol entry's keys, group
        for_each_protocol(document, [&](Item &instance, Item &protocol) {
            if (instance.is_erased() || protocol.is_erased()) {
                return;
            }
            for (auto &[step, neighbor] : children_of(below(&protocol, {"bgp", "neighbors"}))) {
                Item entry = neighbor;
                if (const Item *group = below(&entry, {"config", "peer-group"}); group != nullptr) {
                    groups.emplace_back(protocol.keys, group->value);
                }
            }
            const std::array<Item *, 3> around{below(&protocol, {"bgp"}), below(&protocol, {"bgp", "global"}),
                                               below(&protocol, {"bgp", "global", "config"})};
            const auto erased = [](const Item *item) { return item != nullptr && item->is_erased(); };
            if (std::none_of(around.begin(), around.end(), erased) &&
                !with_as.contains(step_of(instance) + step_of(protocol))) {
                ensure_as(protocol, "65000");
            }
        });
        for (const auto &[protocol, name] : groups) {
            Item &all = ensure_item(ensure_own(document, protocol), {"bgp", "peer-groups"});
            ensure_item(ensure_entry(all, "peer-group", {name}), {"config", "peer-group-name"}).value = name;
        }
    }

    static void collect(const Item &item, Way &way, std::vector<Way> &into) {
        for (const auto &[step, child] : item.children) {
            way.push_back(&child);
            into.push_back(way);
            collect(child, way, into);
            way.pop_back();
        }
    }

    // Any of the stored nodes, those far down as often as those further up.
    static std::optional<Way> some_way(fuzz::Bytes &bytes, const Item &stored, bool inner) {
        std::vector<Way> all;
        Way way;
        collect(stored, way, all);
        std::erase_if(all, [inner](const Way &one) {
            const SchemaNode &last = *one.back()->schema;
            return inner ? !last.is_inner() : is_key_copy(last) || last.path.ends_with("/global/config/as");
        });
        if (all.empty()) {
            return std::nullopt;
        }
        // Half of the time one of the longest ways or the shortest ones, which there are few of.
        if (bytes.one_in(3)) {
            const std::size_t depth = 2 + bytes.below(8);
            std::vector<Way> of_depth = all;
            std::erase_if(of_depth, [depth](const Way &one) { return one.size() != depth; });
            if (!of_depth.empty()) {
                return of_depth[bytes.below(of_depth.size())];
            }
        }
        return all[bytes.below(all.size())];
    }

    static Item *open(Item &document, const Way &way) {
        Item *at = &document;
        for (const Item *node : way) {
            at = &add_item(*at, Item{.schema = node->schema,
                                     .keys = node->keys,
                                     .value = node->schema->kind == NodeKind::leaf_list ? node->value : ""});
            if (at->is_erased()) {
                return nullptr;
            }
        }
        return at;
    }

    // Leaves out one in so many children.
    static void add_subset(fuzz::Bytes &bytes, const Item &from, Item &into, std::size_t dropped_of) {
        for (const auto &[step, child] : from.children) {
            const bool holds_as = child.schema->path.ends_with("/bgp/global") ||
                                  child.schema->path.ends_with("/global/config") || child.schema->name == "as" ||
                                  child.schema->path.ends_with("/protocol/bgp");
            if (bytes.one_in(dropped_of) && !(holds_as && !bytes.one_in(32))) {
                continue;
            }
            Item &added = add_item(into, Item{.schema = child.schema, .keys = child.keys, .value = child.value});
            if (!added.schema->is_inner() && added.value.empty()) {
                added.value = child.value;
            }
            add_subset(bytes, child, added, dropped_of);
        }
    }

    // Gives something that is stored an operation.
    void mark(fuzz::Bytes &bytes, Item &document, const Item &stored) {
        const std::optional<Way> way = some_way(bytes, stored, false);
        Item *item = way ? open(document, *way) : nullptr;
        if (item == nullptr || item->operation != Operation::inherited ||
            (!item->children.empty() && !bytes.one_in(16))) {
            return;
        }
        const Item &there = *way->back();
        const bool is_leaf = !there.schema->is_inner();
        const std::size_t kind = bytes.below(16);
        item->operation = kind < 6    ? Operation::replace
                          : kind < 10 ? Operation::erase
                          : kind < 14 ? Operation::remove
                          : kind < 15 ? Operation::merge
                                      : Operation::create;
        // Near the top, a delete leaves little to go on with.
        if (way->size() < 6 && item->is_erased() && !bytes.one_in(4)) {
            item->operation = Operation::replace;
        }
        if (item->is_erased()) {
            item->value = is_leaf && bytes.one_in(2) ? there.value : item->value;
            return;
        }
        if (is_leaf && there.schema->kind == NodeKind::leaf) {
            item->value = value(bytes, Item{}, *there.schema);
        } else {
            add_subset(bytes, there, *item, 2 + bytes.below(6));
        }
    }

    static void finish(fuzz::Bytes &bytes, RandomEdit &edit) {
        edit.syntax = bytes.one_in(2) ? Syntax::xml : Syntax::json;
        edit.default_name = bytes.one_in(6) ? "default" : std::string(default_instance);
    }

    // The first of the leaf's values, or in one case of so many another; now and then what no type, or only a very
    // patient one, takes.
    std::string any_value(fuzz::Bytes &bytes, const SchemaNode &leaf, std::size_t other) {
        static const std::array<std::string, 12> odd{
            "",     "-1",  "0",     "65536",      "4294967296",           "18446744073709551616",
            "0x10", " 1 ", "1:2:3", "a/b[c='d']", "\xc3\xa9\xe2\x82\xac", std::string(700, 'x')};
        if (bytes.one_in(32)) {
            std::string text(bytes.one_in(odd.size()) ? bytes.text(40) : odd.at(bytes.below(odd.size())));
            const auto is_ascii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
            return std::all_of(text.begin(), text.end(), is_ascii) ? text : odd.at(10); // else no document at all
        }
        const auto [place, is_new] = accepted_.try_emplace(&leaf, Schema::named_values(leaf));
        std::vector<std::string> &values = place->second;
        if (is_new) {
            values.insert(values.end(), sample_values.begin(), sample_values.end());
            std::erase_if(values, [&](const std::string &value) { return !schema_.accepts(leaf, value, nullptr); });
        }
        return values.empty() || !bytes.one_in(other) ? sample_value(schema_, leaf)
                                                      : values[bytes.below(values.size())];
    }

    // From the top-level node down.
    static std::vector<const SchemaNode *> way_to(const SchemaNode &node) {
        std::vector<const SchemaNode *> way;
        for (const SchemaNode *at = &node; at->depth > 0; at = at->parent) {
            way.insert(way.begin(), at);
        }
        return way;
    }

    const Schema &schema_;
    std::map<const SchemaNode *, std::vector<std::string>> accepted_; // by leaf, found when first needed
    // The settings, those that differ in the family's container alone in one row.
    std::vector<std::vector<const SchemaNode *>> leaves_;
};

} // namespace yfw::test
