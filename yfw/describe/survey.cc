#include "describe/survey.h"

#include "bgp/table_connections.h"

#include <algorithm>

namespace yfw {

namespace {

constexpr std::size_t most_examples = 4;

// Whether the native node takes the value as it is, whatever that is.
bool is_copied(const std::string &path, const std::vector<Sample> &samples) {
    return std::all_of(samples.begin(), samples.end(), [&](const Sample &sample) {
        return std::all_of(sample.effects.begin(), sample.effects.end(), [&](const Effect &effect) {
            return effect.path != path || !effect.value || *effect.value == sample.value ||
                   sample.context.contains(*effect.value);
        });
    });
}

// What a sample becomes, told apart from others by more than the value that it carries over.
std::string shape_of(const Sample &sample) {
    std::string shape = sample.refused ? "refused" : "";
    for (const Effect &effect : sample.effects) {
        const bool copied = effect.value && *effect.value == sample.value;
        shape += effect.path + (effect.removed ? "-" : copied ? "" : '=' + effect.value.value_or("")) + ' ';
    }
    return shape;
}

std::vector<Effect> told(const Sample &sample, const std::vector<Sample> &samples) {
    std::vector<Effect> effects;
    if (!sample.refused) {
        effects.assign(sample.effects.begin(), sample.effects.end());
    }
    for (Effect &effect : effects) {
        if (effect.removed || (effect.value && is_copied(effect.path, samples))) {
            effect.value.reset();
        }
    }
    return effects;
}

bool is_same(const Effect &one, const Effect &other) {
    return !(one < other) && !(other < one);
}

} // namespace

std::vector<Outcome> outcomes(const SchemaNode &node, const std::vector<Sample> &samples) {
    const bool spelled_out = !node.is_inner() && !Schema::named_values(node).empty();
    std::vector<Outcome> found;
    std::set<std::string> shapes;
    for (const Sample &sample : samples) {
        if (!spelled_out && !shapes.insert(shape_of(sample)).second) {
            continue;
        }
        const std::vector<Effect> effects = told(sample, samples);
        auto place = std::find_if(found.begin(), found.end(), [&](const Outcome &known) {
            return known.refused == sample.refused &&
                   std::equal(known.effects.begin(), known.effects.end(), effects.begin(), effects.end(), is_same);
        });
        if (place == found.end()) {
            place = found.insert(place, {{}, !spelled_out, sample.refused, effects});
        }
        place->values.push_back(sample.value);
    }
    const auto has_value = [](const Effect &effect) { return effect.value.has_value(); };
    const bool is_entry_with_values = node.kind == NodeKind::list && !found.empty() &&
                                      std::any_of(found[0].effects.begin(), found[0].effects.end(), has_value);
    if (found.size() == 1 && !is_entry_with_values) {
        found.front().values.clear();
    }
    found.resize(spelled_out ? found.size() : std::min(found.size(), most_examples));
    return found;
}

void CommonPath::add(const std::string &path) {
    for (std::size_t end = path.rfind('/'); end != 0 && end != std::string::npos; end = path.rfind('/', end - 1)) {
        std::size_t &saved = saved_[path.substr(0, end)];
        saved += end;
        if (saved > saved_[text_] || (saved == saved_[text_] && end > text_.size())) {
            text_ = path.substr(0, end);
        }
    }
}

void CommonPath::add(const std::vector<Sample> &samples) {
    for (const Sample &sample : samples) {
        for (const Effect &effect : sample.effects) {
            add(effect.path);
        }
    }
}

std::string CommonPath::shorten(const std::string &path) const {
    return !text_.empty() && path.starts_with(text_ + '/') ? path.substr(text_.size() + 1) : path;
}

const SchemaNode &section_of(const SchemaNode &node) {
    const SchemaNode *list = &node;
    while (list->depth > 1 && list->kind != NodeKind::list) {
        list = list->parent;
    }
    return *list;
}

std::string type_text(const SchemaNode &node, const Binding *binding) {
    switch (node.kind) {
    case NodeKind::list:
        return "list";
    case NodeKind::leaf_list:
        return "leaf-list of " + Schema::type_name(node);
    case NodeKind::leaf:
        return binding != nullptr && binding->entry->served == Service::key ? "key" : Schema::type_name(node);
    default:
        return "container";
    }
}

std::vector<Section> Survey::sections(Side side) const {
    const bool native = side == Side::native;
    std::vector<Section> found;
    const Schema &schema = engine_.schema();
    for (std::uint32_t id = 1; id < schema.size(); ++id) {
        const SchemaNode &node = schema.node(id);
        const Binding *binding = engine_.mapping().find(node);
        const SchemaNode &list = section_of(node);
        if (binding == nullptr || list.kind != NodeKind::list ||
            native == node.module->name.starts_with("openconfig-") ||
            native == node.path.starts_with("/network-instances")) {
            continue;
        }
        auto place =
            std::find_if(found.begin(), found.end(), [&](const Section &section) { return section.list == &list; });
        if (place == found.end()) {
            place = found.insert(found.end(), Section{.list = &list, .rows = {}});
        }
        place->rows.push_back({.node = &node, .binding = binding, .edits = {}, .read = {}});
    }
    std::sort(found.begin(), found.end(), [](const Section &a, const Section &b) { return a.list->id < b.list->id; });
    return found;
}

// A key stands for its native entry as well.
void Survey::note_origin(const std::string &native, const SchemaNode &node) {
    const SchemaNode *schema = engine_.schema().find(native);
    if (node.kind == NodeKind::container || schema == nullptr) {
        return;
    }
    becomes_[native].insert(node.path);
    if (schema->is_key && node.repeats()) {
        becomes_[schema->parent->path].insert(node.path);
    }
}

void Survey::sample(Section &section, Reads reads) {
    for (Row &row : section.rows) {
        const SchemaNode &node = *row.node;
        const bool is_leaf = !node.is_inner() && row.binding->entry->served != Service::key;
        if (is_leaf && (!node.config || reads == Reads::all)) {
            row.read = sampler_.fetched(node);
        }
        if (is_leaf && !node.config) {
            for (const std::string &path : row.read) {
                note_origin(path, node);
            }
        } else if (is_leaf || node.is_inner()) {
            for (const auto place : {Sampler::Place::default_vrf, Sampler::Place::vrf}) {
                row.edits[place] = sampler_.edits(node, place);
                for (const Sample &edited : row.edits[place]) {
                    for (const Effect &effect : edited.effects) {
                        note_origin(effect.path, node);
                    }
                }
            }
        }
    }
}

std::set<std::string> Survey::origins_of(const SchemaNode &native) const {
    std::set<std::string> found;
    const std::string below = native.kind == NodeKind::container ? native.path + '/' : native.path;
    for (auto known = becomes_.lower_bound(native.path); known != becomes_.end(); ++known) {
        if (known->first == native.path || (known->first.starts_with(below) && below.ends_with('/'))) {
            found.insert(known->second.begin(), known->second.end());
        }
    }
    return found;
}

void Survey::add_described(const std::vector<Section> &openconfig, const std::vector<Section> &native) {
    for (const Section &section : openconfig) {
        for (const Row &row : section.rows) {
            for (const std::string &path : native_nodes_of_connection(*row.node)) {
                becomes_[path].insert(row.node->path);
            }
        }
    }
    for (const Section &section : native) {
        for (const Row &row : section.rows) {
            if (const std::string &target = row.binding->entry->target; !target.empty()) {
                becomes_[row.node->path].insert(target);
            }
        }
    }
}

} // namespace yfw
