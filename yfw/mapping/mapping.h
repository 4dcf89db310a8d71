// The mapping description bound to the schema and to the plug-in.
#pragma once

#include "mapping/description.h"
#include "mapping/plugin.h"
#include "model/schema.h"
#include "yfw_map.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace yfw {

class Arena;
class Request;
struct Node;

using Callback = cerrno (*)(yfw_map_ctx, const cidl_yfw_datatree *, cidl_yfw_datatree *);
using ToplevelCallback = cerrno (*)(yfw_map_ctx, const cidl_yfw_datatree *, unsigned int, cidl_yfw_datatree *);
using ProtocolCallback = cerrno (*)(yfw_map_ctx, const cidl_yfw_datatree *, cidl_yfw_datatree *, char *, char *);
using SelectCallback = cerrno (*)(yfw_map_ctx, int, xpath_list_type_t *);
using Converter = const char *(*)(yfw_map_ctx, const cidl_yfw_datatree *);
using ConverterTo = const char *(*)(yfw_map_ctx, const cidl_yfw_datatree *, cidl_yfw_datatree *);
using WhenHandler = cerrno (*)(yfw_map_ctx, const cidl_yfw_datatree *);

// Adds to a tree what the store holds of the native nodes that another tree names.
using StoredNative = std::function<void(Arena &, const Node *wanted, Node *into)>;

// What a service of the companion is called with, and what it says beside its code.
struct CompanionCall {
    Request &request;
    Node &node;
    void *function; // of the plug-in, which the service hands the node on to; null when the description names none
    const StoredNative &stored;
    std::string note;     // why the node is left alone
    bool handled = false; // nothing was written, and nothing of the request is lost by that
};
using CompanionService = cerrno (*)(CompanionCall &);

// What the framework itself does for a mapping, as a neighbouring one would on a router.
struct Companion {
    CompanionService (*find)(std::string_view name); // null for an unknown name
    // Calls the plug-in's function for an entry of the list of protocols, or what lies in it.
    cerrno (*call_protocol)(Request &request, Node *node, ProtocolCallback function);
    // Whether the request is at a network instance other than the default one.
    bool (*in_vrf)(Request &request);
    // Whether a native path is the default network instance's alone.
    bool (*is_of_default)(std::string_view native_path);
};

// How one node is served.
struct Binding {
    const MappingEntry *entry = nullptr;
    void *function = nullptr;             // of the plug-in; null where none is called
    CompanionService companion = nullptr; // set for Service::companion
    std::vector<xpath_list_type_t> candidates;
    const SchemaNode *target = nullptr; // of the copying services
    std::vector<const SchemaNode *> fetches;
};

class Mapping {
  public:
    // Binds every entry. Throws Unusable with all the names that the plug-in lacks, the exported functions that nothing
    // names, or the paths that the models lack. All but the description must outlive the mapping.
    Mapping(MappingDescription description, const Schema &schema, const Plugin &plugin, const Companion &companion);

    [[nodiscard]] const Binding *find(const SchemaNode &node) const { return by_node_[node.id]; }
    // The handler of the node's when-condition, or null.
    [[nodiscard]] WhenHandler when(const SchemaNode &node) const { return when_[node.id]; }
    // Whether one lies below.
    [[nodiscard]] bool has_when_below(const SchemaNode &node) const { return when_below_[node.id]; }
    // Whether the node or any below it is served.
    [[nodiscard]] bool reaches(const SchemaNode &node) const { return reaches_[node.id]; }
    // The same of configuration alone.
    [[nodiscard]] bool reaches_config(const SchemaNode &node) const { return reaches_config_[node.id]; }
    // The node of an operational model that a state node takes its value from; null when there is none.
    [[nodiscard]] const SchemaNode *state_source(const SchemaNode &node) const { return state_sources_[node.id]; }
    // Leaves that an edit of the node may change although it does not name them; null for none.
    [[nodiscard]] const std::vector<const SchemaNode *> *affects(const SchemaNode &node) const {
        return affects_[node.id].empty() ? nullptr : &affects_[node.id];
    }
    // Whether a leaf repeats a key of its entry.
    [[nodiscard]] bool repeats_key(const SchemaNode &node) const {
        const Binding *binding = by_node_[node.id];
        return binding != nullptr && binding->entry->served == Service::key;
    }
    // Whether the value is the same as none.
    [[nodiscard]] bool is_unset(const SchemaNode &leaf, const char *value) const {
        const Binding *binding = by_node_[leaf.id];
        return binding != nullptr && binding->entry->unset_value && value != nullptr &&
               *binding->entry->unset_value == value;
    }
    // The entries whose nodes the models in use lack, as the description says that they may.
    [[nodiscard]] const std::vector<const MappingEntry *> &absent() const { return absent_; }
    [[nodiscard]] const MappingDescription &description() const { return description_; }
    [[nodiscard]] const Schema &schema() const { return schema_; }
    [[nodiscard]] const Companion &companion() const { return companion_; }

  private:
    void bind(const MappingEntry &entry, const Plugin &plugin, std::vector<std::string> &problems);
    void bind_affected(const MappingEntry &entry, const std::string &by, std::vector<std::string> &problems);
    void bind(const MappingWhen &when, const Plugin &plugin, std::vector<std::string> &problems);

    MappingDescription description_;
    const Schema &schema_;
    const Companion &companion_;
    std::vector<std::unique_ptr<Binding>> bindings_;
    std::vector<const MappingEntry *> absent_;
    std::vector<const Binding *> by_node_;
    std::vector<WhenHandler> when_;
    std::vector<bool> when_below_;
    std::vector<bool> reaches_;
    std::vector<bool> reaches_config_;
    std::vector<const SchemaNode *> state_sources_;
    std::vector<std::vector<const SchemaNode *>> affects_;
};

} // namespace yfw
