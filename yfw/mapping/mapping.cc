#include "mapping/mapping.h"

#include "base/error.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace yfw {

namespace {

xpath_list_type_t make_candidate(const SchemaNode &target) {
    xpath_list_type_t candidate{};
    std::strncpy(candidate.xpath, target.path.c_str(), sizeof(candidate.xpath) - 1);
    std::strncpy(candidate.name_space, target.module->name_space.c_str(), sizeof(candidate.name_space) - 1);
    std::strncpy(candidate.default_text, "NULL", sizeof(candidate.default_text) - 1);
    return candidate;
}

bool calls_plugin(Service served) {
    return served != Service::key && served != Service::copy && served != Service::companion;
}

bool takes_target(Service served) {
    return served == Service::copy || served == Service::convert || served == Service::convert_to;
}

// On one line, the first of them: a message is one.
std::string join(const std::vector<std::string> &problems) {
    constexpr std::size_t most = 20;
    std::string text;
    for (std::size_t i = 0; i < std::min(problems.size(), most); ++i) {
        text += (i == 0 ? "" : "; ") + problems[i];
    }
    return problems.size() <= most ? text : text + "; and " + std::to_string(problems.size() - most) + " more";
}

} // namespace

void Mapping::bind(const MappingEntry &entry, const Plugin &plugin, std::vector<std::string> &problems) {
    const SchemaNode *node = schema_.find(entry.path);
    if (node == nullptr) {
        entry.may_be_absent || entry.maps_nothing ? absent_.push_back(&entry)
                                                  : problems.push_back("no model has the node " + entry.path);
        return;
    }
    auto binding = std::make_unique<Binding>();
    binding->entry = &entry;
    if (entry.served == Service::companion) {
        binding->companion = companion_.find(entry.name);
        binding->function = entry.hands_on_to.empty() ? nullptr : plugin.find(entry.hands_on_to);
        if (binding->function == nullptr && !entry.hands_on_to.empty()) {
            problems.push_back("the plug-in lacks " + entry.hands_on_to);
        }
    } else if (calls_plugin(entry.served)) {
        binding->function = plugin.find(entry.name);
    }
    if (takes_target(entry.served)) {
        binding->target = schema_.find(entry.target);
        if (binding->target == nullptr) {
            problems.push_back("no model has the target " + entry.target + " of " + entry.path);
        }
    }
    const bool is_companion = entry.served == Service::companion;
    if (is_companion ? binding->companion == nullptr : calls_plugin(entry.served) && binding->function == nullptr) {
        problems.push_back((is_companion ? "the companion lacks " : "the plug-in lacks ") +
                           (entry.name.empty() ? "a name for " + entry.path : entry.name));
    }
    for (const std::string &path : entry.candidates) {
        const SchemaNode *target = schema_.find(path);
        if (target == nullptr || path.size() >= sizeof(xpath_list_type_t::xpath)) {
            problems.push_back("no model has the candidate " + path + " of " + entry.path);
        } else {
            binding->candidates.push_back(make_candidate(*target));
        }
    }
    for (const std::string &path : entry.fetches) {
        binding->fetches.push_back(schema_.find(path));
        if (binding->fetches.back() == nullptr) {
            problems.push_back("no model has " + path + ", which " + entry.path + " fetches");
        }
    }
    if (entry.served == Service::select && entry.candidates.empty()) {
        problems.push_back("nothing to select from for " + entry.path);
    }
    by_node_[node->id] = binding.get();
    for (const SchemaNode *above = node; above != nullptr && !reaches_[above->id]; above = above->parent) {
        reaches_[above->id] = true;
    }
    for (const SchemaNode *above = node; node->config && above != nullptr && !reaches_config_[above->id];
         above = above->parent) {
        reaches_config_[above->id] = true;
    }
    if (!node->config && binding->target != nullptr && !binding->target->config) {
        state_sources_[binding->target->id] = node;
    }
    bindings_.push_back(std::move(binding));
}

// An edit of the node at that path, from the entry's parent, may change the entry's node.
void Mapping::bind_affected(const MappingEntry &entry, const std::string &by, std::vector<std::string> &problems) {
    const SchemaNode *node = schema_.find(entry.path);
    const SchemaNode *other = node == nullptr ? nullptr : node->parent;
    std::string_view rest = by;
    while (other != nullptr && !rest.empty()) {
        const std::string_view name = rest.substr(0, rest.find('/'));
        rest.remove_prefix(std::min(rest.size(), name.size() + 1));
        other = name == ".." ? other->parent : other->child(name);
    }
    if (node != nullptr && other == nullptr) {
        problems.push_back("no model has " + by + " beside " + entry.path);
    } else if (node != nullptr &&
               std::find(affects_[other->id].begin(), affects_[other->id].end(), node) == affects_[other->id].end()) {
        affects_[other->id].push_back(node);
    }
}

void Mapping::bind(const MappingWhen &when, const Plugin &plugin, std::vector<std::string> &problems) {
    const SchemaNode *node = schema_.find(when.path);
    if (node == nullptr || node->when == nullptr) {
        problems.push_back((node == nullptr ? "no model has the node " : "no condition to be judged is on ") +
                           when.path);
        return;
    }
    when_[node->id] = reinterpret_cast<WhenHandler>(plugin.find(when.name));
    if (when_[node->id] == nullptr) {
        problems.push_back("the plug-in lacks " + when.name);
    }
    for (const SchemaNode *above = node->parent; above != nullptr; above = above->parent) {
        when_below_[above->id] = true;
    }
}

Mapping::Mapping(MappingDescription description, const Schema &schema, const Plugin &plugin, const Companion &companion)
    : description_(std::move(description)),
      schema_(schema),
      companion_(companion),
      by_node_(schema.size(), nullptr),
      when_(schema.size(), nullptr),
      when_below_(schema.size(), false),
      reaches_(schema.size(), false),
      reaches_config_(schema.size(), false),
      state_sources_(schema.size(), nullptr),
      affects_(schema.size()) {
    std::vector<std::string> problems;
    std::set<std::string, std::less<>> named;
    for (const MappingEntry &entry : description_.entries) {
        bind(entry, plugin, problems);
        for (const std::string &by : {entry.taken_with, entry.kept_in}) {
            if (!by.empty()) {
                bind_affected(entry, by, problems);
            }
        }
        if (entry.one_value) {
            bind_affected(entry, entry.path.substr(entry.path.rfind('/') + 1), problems);
        }
        named.insert(entry.name);
        named.insert(entry.hands_on_to);
    }
    for (const MappingWhen &when : description_.conditions) {
        bind(when, plugin, problems);
        named.insert(when.name);
    }
    for (const MappingHelper &helper : description_.helpers) {
        if (plugin.find(helper.name) == nullptr) {
            problems.push_back("the plug-in lacks the helper " + helper.name);
        }
        named.insert(helper.name);
    }
    for (const std::string &name : plugin.exports()) {
        if (!named.contains(name)) {
            problems.push_back("nothing names the exported function " + name);
        }
    }
    if (!problems.empty()) {
        throw Unusable("the plug-in " + plugin.file().string() +
                       " and the mapping description do not fit: " + join(problems));
    }
}

} // namespace yfw
