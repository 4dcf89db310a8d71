#include "describe/samples.h"

#include "base/error.h"
#include "model/instance_path.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace yfw {

namespace {

constexpr std::string_view instances = "/network-instances/network-instance";
constexpr std::string_view protocols = "/network-instances/network-instance/protocols/protocol";
constexpr std::string_view bgp_keys = "[identifier=BGP][name=core]";

constexpr const char *configured_as = "65000"; // no other is taken
constexpr const char *instance_name = "core";

// Of all kinds; each leaf takes those of its type. None is the same as a text that callbacks write by themselves.
constexpr std::array sample_values{"192.0.2.1",  "2001:db8::1",  "eth7",        "a-name", "65000:100",
                                   "10.1.1.1:5", "4200000000:7", "90",          "25",     "3",
                                   "5.25",       "0.75",         configured_as, "65010",  "4200000000"};
constexpr std::size_t most_candidates = 512; // entries to try for one list

std::string name_of(Sampler::Place place) {
    return place == Sampler::Place::vrf ? "red" : "DEFAULT";
}

bool is_removed(const Node *node) {
    return node->op_is_set() && node->is_delete();
}

// The leaves of a native tree, keys included, and whole nodes that are removed or hold nothing.
void collect(const Node *parent, const SchemaNode *of, std::set<Effect> &all, std::set<Effect> &own) {
    for (const Node *node = parent->first(); node != nullptr; node = node->next()) {
        const SchemaNode &schema = node->schema();
        if (schema.is_inner() && !is_removed(node) && node->first() != nullptr) {
            collect(node, of, all, own);
            continue;
        }
        Effect effect{.path = schema.path, .value = std::nullopt, .removed = is_removed(node)};
        if (!schema.is_inner() && !effect.removed && node->value != nullptr && schema.type != BaseType::empty) {
            effect.value = schema.secret ? "(enciphered)" : node->value;
        }
        if (node->origin() != nullptr && &node->origin()->schema() == of) {
            own.insert(effect);
        }
        all.insert(std::move(effect));
    }
}

// The leaves of declared native paths, and the containers that stand for all that they hold.
void collect_declared(const Node *node, std::set<std::string> &into) {
    for (const Node *below = node->first(); below != nullptr; below = below->next()) {
        const SchemaNode &schema = below->schema();
        if (schema.is_key && !schema.config) {
            continue; // of an operational model, on the way
        }
        if (!schema.is_inner() || (schema.kind == NodeKind::container && below->first() == nullptr)) {
            into.insert(schema.path);
        } else {
            collect_declared(below, into);
        }
    }
}

std::set<std::string> fetched_in(const Engine &engine, const SchemaNode &leaf, const Transaction &transaction,
                                 std::string_view network_instance) {
    const auto named = [&](std::string path) {
        return path.starts_with(instances) ? path.insert(instances.size(), network_instance) : path;
    };
    std::set<std::string> found;
    using Below = Engine::Below;
    collect_declared(
        engine.declare_as_given(named(leaf.path), !leaf.config, transaction, Below::covered)->destination(), found);
    const SchemaNode *parent = leaf.parent;
    while (parent->depth > 0 && engine.mapping().find(*parent) == nullptr) {
        parent = parent->parent;
    }
    std::set<std::string> above;
    if (parent->depth > 0) {
        const auto asked = engine.declare_as_given(named(parent->path), !leaf.config, transaction, Below::left_out);
        collect_declared(asked->destination(), above);
    }
    for (const std::string &path : above) {
        found.erase(path);
    }
    return found;
}

const SchemaNode *list_around(const SchemaNode &node) {
    const SchemaNode *list = &node;
    while (list->depth > 0 && list->kind != NodeKind::list) {
        list = list->parent;
    }
    return list->depth == 0 ? nullptr : list;
}

// The node at a path such as "../config/enabled"; null when there is none.
const SchemaNode *node_from(const SchemaNode &start, std::string_view path) {
    const SchemaNode *node = &start;
    while (node != nullptr && !path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(path.size(), name.size() + 1));
        node = name == ".." ? node->parent : node->child(name);
    }
    return node;
}

} // namespace

std::set<std::string> Sampler::fetched(const Engine &engine, const SchemaNode &leaf, const Transaction &transaction) {
    // Without a name the network instance is the default one, which not every node is there for.
    for (const char *network_instance : {"", "[name=VRF]"}) {
        try {
            if (auto found = fetched_in(engine, leaf, transaction, network_instance); !found.empty()) {
                return found;
            }
        } catch (const Refused &) {
            continue;
        }
    }
    return {};
}

Sampler::Sampler(const Engine &engine)
    : engine_(engine),
      store_(directory_.path() / "db", engine.schema(), Access::write),
      key_(directory_.path() / "key", true) {
    for (const Place place : {Place::default_vrf, Place::vrf}) {
        const SchemaNode *as = engine_.schema().find(std::string(protocols) + "/bgp/global/config/as");
        if (as != nullptr) {
            edit(*as, {{instance(*as, place, nullptr, nullptr), configured_as}}, true);
        }
        add_entries(place);
    }
}

// One entry of each served list: the first one that the mapping takes.
void Sampler::add_entries(Place place) {
    const Schema &schema = engine_.schema();
    for (std::uint32_t id = 1; id < schema.size(); ++id) {
        const SchemaNode &list = schema.node(id);
        if (list.kind != NodeKind::list || !list.config || !list.path.starts_with(instances) ||
            list.path == instances || list.path == protocols || !engine_.mapping().reaches(list)) {
            continue;
        }
        for (const Entry &entry : candidates(list)) {
            entries_.try_emplace({place, &list}, entry);
            try {
                if (!edit(list, {{instance(list, place, &list, &entry), ""}}, true).all.empty()) {
                    entries_[{place, &list}] = entry;
                    break;
                }
            } catch (const Refused &) {
                continue; // another one may do
            }
        }
    }
}

std::vector<Sampler::Entry> Sampler::candidates(const SchemaNode &list) const {
    std::vector<Entry> found{{}};
    for (const SchemaNode *key : list.keys) {
        std::vector<std::string> values = Schema::named_values(*key);
        if (values.empty()) {
            std::copy_if(sample_values.begin(), sample_values.end(), std::back_inserter(values),
                         [&](const char *value) { return engine_.schema().accepts(*key, value, nullptr); });
            values.resize(std::min<std::size_t>(values.size(), 1));
        }
        std::vector<Entry> longer;
        for (const Entry &entry : found) {
            for (const std::string &value : values) {
                longer.push_back(entry);
                longer.back().push_back(value);
            }
        }
        found = std::move(longer);
    }
    found.resize(std::min(found.size(), most_candidates));
    return found;
}

// The node's path with the keys of the entries that are there, but for those of `list`.
std::string Sampler::instance(const SchemaNode &node, Place place, const SchemaNode *list, const Entry *entry) const {
    if (node.depth == 0) {
        return "";
    }
    std::string path = instance(*node.parent, place, list, entry) + '/' + node.name;
    if (node.path == instances) {
        path += "[name=" + name_of(place) + ']';
    } else if (node.path == protocols) {
        path += bgp_keys;
    } else if (node.kind == NodeKind::list) {
        const auto there = entries_.find({place, &node});
        const Entry *keys = &node == list ? entry : there == entries_.end() ? nullptr : &there->second;
        for (std::size_t key = 0; keys != nullptr && key < keys->size(); ++key) {
            path += '[' + node.keys[key]->name + "='" + (*keys)[key] + "']";
        }
    }
    return path;
}

// Translates an edit that sets these paths to these values. Throws Refused.
Sampler::Lines Sampler::edit(const SchemaNode &node, const Values &values, bool keep) {
    Arena arena;
    Node *root = new_root(arena, engine_.schema());
    for (const auto &[path, value] : values) {
        Node *added = add_instance_path(arena, engine_.schema(), root, path);
        if (!added->schema().is_inner()) {
            set_value(arena, added, value);
        }
    }
    std::string text;
    Sink sink(text);
    write_document(sink, engine_.schema(), root, {});
    Transaction transaction = store_.begin(Access::write);
    const EditResult result = engine_.edit(text, Syntax::json, {}, transaction);
    Lines lines;
    collect(result.native(), &node, lines.all, lines.own);
    if (keep) {
        transaction.commit();
    }
    return lines;
}

// What the edit around a node writes without it; none when it is refused.
std::optional<Sampler::Lines> Sampler::baseline(const std::string &path, const Values &more) {
    Values values = more;
    values.emplace_back(path, "");
    try {
        return edit(engine_.schema().root(), values, false);
    } catch (const Refused &) {
        return std::nullopt;
    }
}

bool Sampler::is_key(const std::string &path) const {
    const SchemaNode *node = engine_.schema().find(path);
    return node != nullptr && node->is_key;
}

// The values to try: those that the type spells out, or a choice. An entry or a container has none of its own.
std::vector<std::string> Sampler::values_for(const SchemaNode &node, const Entry *entry) const {
    if (node.is_inner()) {
        std::string keys;
        for (std::size_t key = 0; entry != nullptr && node.kind == NodeKind::list && key < entry->size(); ++key) {
            keys += (key == 0 ? "" : " ") + (*entry)[key];
        }
        return {keys};
    }
    std::vector<std::string> values = Schema::named_values(node);
    if (values.empty()) {
        std::copy_if(sample_values.begin(), sample_values.end(), std::back_inserter(values),
                     [&](const char *value) { return engine_.schema().accepts(node, value, nullptr); });
    }
    return values;
}

std::vector<Sample> Sampler::edits(const SchemaNode &node, Place place, const SchemaNode *list, const Entry *entry) {
    const std::string path = instance(node, place, list, entry);
    Values with; // what the node cannot be mapped without
    const Binding *binding = engine_.mapping().find(node);
    if (binding != nullptr && !binding->entry->taken_with.empty()) {
        const SchemaNode *other = node_from(*node.parent, binding->entry->taken_with);
        if (other != nullptr && !other->is_inner()) { // entries are there already
            with.emplace_back(instance(*other, place, list, entry), values_for(*other, nullptr).front());
        }
    }
    // An entry is set alone, a container is not; what a protocol entry has around it comes with the AS number.
    Values base = with;
    const SchemaNode *as = engine_.schema().find(std::string(protocols) + "/bgp/global/config/as");
    if (as != nullptr && &node != as && node.path.starts_with(std::string(protocols) + '/')) {
        base.emplace_back(instance(*as, place, nullptr, nullptr), configured_as);
    }
    const SchemaNode *entry_around = list_around(*node.parent);
    const auto around =
        baseline(instance(entry_around == nullptr ? *node.parent : *entry_around, place, list, entry), base);
    std::set<std::string> context{instance_name, configured_as, name_of(place)};
    if (entry != nullptr) {
        context.insert(entry->begin(), entry->end());
    }
    std::vector<Sample> samples;
    for (const std::string &value : values_for(node, entry)) {
        Sample sample{.value = value, .context = context, .effects = {}, .refused = false};
        try {
            Values values = with;
            values.emplace_back(path, value);
            Lines lines = edit(node, values, false);
            sample.effects = lines.own;
            for (Effect effect : around ? lines.all : std::set<Effect>()) {
                if (lines.own.contains(effect) || around->all.contains(effect)) {
                    continue;
                }
                if (!node.repeats() && is_key(effect.path)) {
                    effect.value.reset(); // of an entry that the value is written into
                }
                sample.effects.insert(std::move(effect));
            }
        } catch (const Refused &) {
            sample.refused = true;
        }
        samples.push_back(std::move(sample));
    }
    return samples;
}

std::vector<Sample> Sampler::edits(const SchemaNode &node, Place place) {
    const auto has_effect = [](const std::vector<Sample> &samples) {
        return std::any_of(samples.begin(), samples.end(), [](const Sample &s) { return !s.effects.empty(); });
    };
    const SchemaNode *list = list_around(node);
    const auto there = entries_.find({place, list});
    std::vector<Sample> samples = edits(node, place, list, there == entries_.end() ? nullptr : &there->second);
    // Some nodes are there for certain entries only, such as those of one address family.
    if (!has_effect(samples) && there != entries_.end() && !node.is_inner()) {
        for (const Entry &entry : candidates(*list)) {
            std::vector<Sample> others = edits(node, place, list, &entry);
            if (has_effect(others)) {
                samples = std::move(others);
                break;
            }
        }
    }
    const bool spelled_out = !node.is_inner() && !Schema::named_values(node).empty();
    if (has_effect(samples) && !spelled_out) {
        std::erase_if(samples, [](const Sample &sample) { return sample.effects.empty(); });
    } else if (!has_effect(samples)) {
        std::erase_if(samples, [](const Sample &sample) { return !sample.refused; });
        samples.resize(std::min<std::size_t>(samples.size(), 1));
    }
    return samples;
}

} // namespace yfw
