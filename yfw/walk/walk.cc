#include "walk/walk.h"

#include "mapping/companion.h"
#include "platform/failure.h"
#include "platform/log.h"
#include "vnos_platform.h"
#include "walk/explain.h"
#include "when.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <utility>

namespace yfw {

namespace {

// Deletes are expanded with the mode that an outer node's callback left; a callback's change holds below its node only.
class ExpansionScope {
  public:
    explicit ExpansionScope(yfw_req_ctx &fields) : fields_(fields), mode_(fields.del_expansion_mode) {}
    ~ExpansionScope() { fields_.del_expansion_mode = mode_; }
    ExpansionScope(const ExpansionScope &) = delete;
    ExpansionScope &operator=(const ExpansionScope &) = delete;

  private:
    yfw_req_ctx &fields_;
    std::uint32_t mode_;
};

// What a node's service did.
enum class Outcome {
    unserved,  // nothing serves the node itself
    structure, // served, but what lies below is mapped on its own
    written,   // served; a delete is in the destination whole
    skipped    // nothing is to be mapped below
};

Node *next_of(const Node *node) {
    return node->schema().repeats() ? next_entry(node) : nullptr;
}

// Whether a path of names, ".." for a parent, leads from the node to one that is not to be deleted: of a list any
// entry.
bool reaches_node(const Node *node, std::string_view path) {
    if (path.empty()) {
        return !node->is_delete();
    }
    const std::string_view name = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(path.size(), name.size() + 1));
    if (name == "..") {
        return reaches_node(node->up(), path);
    }
    const SchemaNode *below = node->schema().child(name);
    const Node *next = below == nullptr ? nullptr : first_of(node, *below);
    while (next != nullptr && !reaches_node(next, path)) {
        next = next_of(next);
    }
    return next != nullptr;
}

class Walker {
  public:
    Walker(Request &request, const Mapping &mapping, const ExistingEntries &existing, const StoredNative &stored)
        : request_(request), mapping_(mapping), existing_(existing), stored_(stored) {}

    void visit_children(Node *node) {
        for_each_member(node, [this](Node *first) {
            for (Node *next = first; next != nullptr; next = next_of(next)) {
                visit(next);
            }
        });
    }

    // Configuration comes before state: what state there is of an entry joins the one that is configured.
    void visit_top(Node *root) {
        for (const bool config : {true, false}) {
            for (const SchemaNode *top : root->schema().children) {
                Node *node = top->config == config ? first_of(root, *top) : nullptr;
                if (node != nullptr) {
                    visit(node);
                }
            }
        }
    }

    WalkResult take_result() { return std::move(result_); }

  private:
    void visit(Node *node);
    // A node that an outer delete or replace added to the request.
    bool is_expanded(const Node *node) const { return !request_.is_read() && (node->flags & YFW_NODE_PRESENT) == 0; }
    void report(const Node *node, const std::string &note);
    Outcome serve(Node *node);
    Outcome outcome_of(const Node *node, const Binding &binding, cerrno code, const Request::Counts &before);
    bool left_alone(const Node *node, const Binding &binding, Outcome outcome, const Request::Counts &before);
    void ask_for_state(const Node &node, const Binding &binding);
    cerrno call(Node *node, const Binding &binding);
    cerrno dispatch(Node *node, const Binding &binding);
    bool in_vrf();
    bool condition_holds(const Node *node, WhenHandler handler);
    void hold_conditions_below(const Node *node);
    cerrno call_toplevel(Node *node, const Binding &binding);
    cerrno call_companion(Node *node, const Binding &binding);
    cerrno call_select(Node *node, const Binding &binding);
    cerrno call_copy(const Node *node, const SchemaNode &target, const char *value);
    cerrno call_convert(const Node *node, const Binding &binding);
    bool exists(const Node *entry);
    void expand_edit(Node *node, std::uint32_t operation);
    [[nodiscard]] bool is_expandable(const Node *node, const SchemaNode &below, bool deletes) const;
    void expand_list(Node *node, const SchemaNode &list, std::uint32_t operation);

    Request &request_;
    const Mapping &mapping_;
    const ExistingEntries &existing_;
    const StoredNative &stored_;
    WalkResult result_;
    std::unordered_map<const Binding *, std::vector<xpath_list_type_t>> candidates_;
    std::string note_;     // of the companion's service called last
    bool handled_ = false; // it says that nothing is lost
};

void Walker::visit(Node *node) {
    const SchemaNode &schema = node->schema();
    if (const WhenHandler when = mapping_.when(schema); when != nullptr && !condition_holds(node, when)) {
        return;
    }
    // Where only state is served, there is nothing to edit.
    if (!mapping_.reaches(schema) || (!request_.is_read() && schema.config && !mapping_.reaches_config(schema))) {
        // The key leaves of an entry are its own; whether anything serves them is asked of the entry. An empty
        // container says nothing.
        const bool hollow = schema.kind == NodeKind::container && !schema.presence && node->first() == nullptr;
        if (!schema.is_key && (!hollow || node->op_is_set())) {
            report(node, {});
            hold_conditions_below(node);
        }
        return;
    }
    const ExpansionScope scope(request_.fields());
    request_.enter(node);
    const std::uint32_t operation = node->operation; // callbacks change it
    const std::uint64_t deletes_before = request_.counts.deletes;
    const std::size_t reported_before = result_.not_mapped.size();
    const Outcome outcome = serve(node);
    const bool deletes = operation == YFW_OP_DELETE || operation == YFW_OP_REMOVE;
    if (outcome != Outcome::skipped && !(outcome == Outcome::written && deletes) && schema.is_inner()) {
        const bool carried = outcome == Outcome::written;
        if (!request_.is_read() && operation != YFW_OP_NONE && !carried) {
            expand_edit(node, operation);
        }
        visit_children(node);
    }
    const bool came_to_nothing = request_.counts.deletes == deletes_before &&
                                 result_.not_mapped.size() == reported_before && !request_.fields().entire_bgp_delete;
    if (operation == YFW_OP_DELETE && schema.is_inner() && !is_expanded(node) && came_to_nothing) {
        throw Refused(Reason::data_missing, instance_path(node), "there is nothing to delete");
    }
    request_.leave();
}

// Whether the node may be there. The client of an edit is refused one that may not; what an outer delete or replace
// added is none.
bool Walker::condition_holds(const Node *node, WhenHandler handler) {
    const bool holds = when_holds(*node->schema().when, node, request_.is_read());
    if (handler(&request_, holds ? node : nullptr) == 0) {
        return true;
    }
    if (!request_.is_read() && !is_expanded(node)) {
        throw Refused(Reason::unknown_element, instance_path(node),
                      "the when condition \"" + node->schema().when->text + "\" is not satisfied");
    }
    return false;
}

// What is not mapped is held to the conditions as well.
void Walker::hold_conditions_below(const Node *node) {
    if (!mapping_.has_when_below(node->schema())) {
        return;
    }
    for (const Node *below = node->first(); below != nullptr; below = below->next()) {
        const WhenHandler when = mapping_.when(below->schema());
        if (when == nullptr || condition_holds(below, when)) {
            hold_conditions_below(below);
        }
    }
}

// Tells the client of a node of an edit that came to nothing.
void Walker::report(const Node *node, const std::string &note) {
    if (request_.is_read() || is_expanded(node)) {
        return;
    }
    result_.not_mapped.push_back(instance_path(node));
    if (!note.empty()) {
        result_.notes.push_back(instance_path(node) + ": " + note);
    }
}

// State is no client's to set. A path selection is asked all the same: the plug-in itself says no.
bool refuses_state_edit(const Binding &binding) {
    const Service served = binding.entry->served;
    return served == Service::callback || served == Service::companion || served == Service::copy ||
           served == Service::convert || served == Service::convert_to;
}

// Of state that is served as the configuration is, the operational models are asked, too.
void Walker::ask_for_state(const Node &node, const Binding &binding) {
    const SchemaNode *source = binding.target == nullptr ? mapping_.state_source(node.schema()) : nullptr;
    if (source != nullptr) {
        yfw_map_datatree_add_path_flagged(&request_, request_.destination(), source->path.c_str(), nullptr, nullptr,
                                          nullptr, nullptr, 0, 0);
    }
}

Outcome Walker::serve(Node *node) {
    const Binding *binding = mapping_.find(node->schema());
    if (binding == nullptr) {
        return Outcome::unserved;
    }
    if (binding->entry->served == Service::key) {
        return Outcome::structure;
    }
    if (binding->entry->served == Service::protocol_list && !is_bgp_entry(*node)) {
        report(node, {});
        return Outcome::skipped;
    }
    if (!request_.is_read() && !node->schema().config && refuses_state_edit(*binding)) {
        if (node->schema().is_inner()) {
            return Outcome::structure; // what the client names in it is reported
        }
        report(node, "state cannot be edited");
        return Outcome::skipped;
    }
    if (request_.fields().kind->kind == YFW_KIND_READ_STATE) {
        ask_for_state(*node, *binding);
    }
    const Request::Counts before = request_.counts;
    request_.error_path.clear();
    vnos_named_free(std::exchange(request_.fields().error_text, nullptr));
    note_.clear();
    handled_ = false;
    Explanation explanation(request_);
    const cerrno code = call(node, *binding);
    if (!request_.conflict.empty()) {
        throw Refused(Reason::invalid_value, request_.conflict,
                      "its native leaf takes one value, and the edit names two");
    }
    if (code != 0 && code != OCBGP_SKIP_SUBTREE) {
        if (is_expanded(node)) {
            return Outcome::skipped; // the client has not asked for it, and there is nothing to delete
        }
        const std::string path = request_.error_path.empty() ? instance_path(node) : request_.error_path;
        const Refused refusal(code, path, explanation.reason(code, [&] { call(node, *binding); }));
        if (!request_.is_read()) {
            throw Refused(refusal);
        }
        result_.unanswered.emplace_back(node, refusal);
        return Outcome::skipped;
    }
    const Outcome outcome = outcome_of(node, *binding, code, before);
    if (!request_.is_read() && left_alone(node, *binding, outcome, before)) {
        const std::string &hint = note_.empty() && !node->is_delete() ? binding->entry->hint : note_;
        report(node, hint.empty() ? explanation.message([&] { call(node, *binding); }) : hint);
    }
    return outcome;
}

// Whether an edit of the node came to nothing that its client should know of.
bool Walker::left_alone(const Node *node, const Binding &binding, Outcome outcome, const Request::Counts &before) {
    const bool whole_delete = request_.fields().entire_bgp_delete; // marks nodes that are there already
    const std::string &other = binding.entry->taken_with;
    const bool taken = !other.empty() && reaches_node(node->up(), other);
    const bool expected = binding.entry->may_write_nothing && !in_vrf(); // what only the default VRF has it keeps
    if (request_.counts.adds != before.adds || expected || taken || whole_delete || handled_) {
        return false;
    }
    return outcome == Outcome::skipped || !node->schema().is_inner();
}

Outcome Walker::outcome_of(const Node *node, const Binding &binding, cerrno code, const Request::Counts &before) {
    if (code == OCBGP_SKIP_SUBTREE) {
        return Outcome::skipped;
    }
    const bool own_list = binding.entry->served == Service::companion ||
                          binding.entry->served == Service::protocol_list || binding.entry->served == Service::protocol;
    const bool acted =
        node->is_delete() ? request_.counts.deletes != before.deletes : request_.counts.adds != before.adds;
    return own_list || !acted ? Outcome::structure : Outcome::written;
}

// Throws what failed meanwhile below the boundary, whatever the callback made of it.
cerrno Walker::call(Node *node, const Binding &binding) {
    failure::clear();
    const cerrno code = dispatch(node, binding);
    failure::rethrow();
    return code;
}

cerrno Walker::dispatch(Node *node, const Binding &binding) {
    cidl_yfw_datatree *destination = request_.destination();
    switch (binding.entry->served) {
    case Service::callback:
        return reinterpret_cast<Callback>(binding.function)(&request_, node, destination);
    case Service::toplevel:
        return call_toplevel(node, binding);
    case Service::protocol_list:
    case Service::protocol: {
        char any[] = ""; // a read of every network instance is not one of the default one
        char *network_instance = nullptr;
        char *protocol = nullptr;
        yfw_map_get_node_info(&request_, "/network-instances/network-instance", "name", &network_instance);
        if (network_instance == nullptr && request_.is_read()) {
            network_instance = any;
        }
        yfw_map_get_node_info(&request_, "/network-instances/network-instance/protocols/protocol", "name", &protocol);
        return reinterpret_cast<ProtocolCallback>(binding.function)(&request_, node, destination, network_instance,
                                                                    protocol);
    }
    case Service::select:
        return call_select(node, binding);
    case Service::copy:
        return call_copy(node, *binding.target, node->value);
    case Service::convert:
    case Service::convert_to:
        return call_convert(node, binding);
    case Service::companion:
        return call_companion(node, binding);
    case Service::key:
        break;
    }
    return 0;
}

bool Walker::in_vrf() {
    char *name = nullptr;
    yfw_map_get_node_info(&request_, "/network-instances/network-instance", "name", &name);
    return name != nullptr && std::string_view(name) != "default" && std::string_view(name) != "DEFAULT";
}

// The native instance is shared by the default VRF and the others. Replacing one's protocol replaces what is below, and
// creating a VRF's creates the VRF.
cerrno Walker::call_toplevel(Node *node, const Binding &binding) {
    const std::uint32_t operation = node->operation;
    const bool creates = operation == YFW_OP_CREATE && in_vrf();
    if (creates && exists(node->up())) {
        throw Refused(Reason::data_exists, instance_path(node->up()), "the protocol entry exists already");
    }
    const bool shared = creates || operation == YFW_OP_REPLACE;
    if (shared) {
        node->set_operation(YFW_OP_NONE);
    }
    const cerrno code =
        reinterpret_cast<ToplevelCallback>(binding.function)(&request_, node, 0, request_.destination());
    if (shared) {
        node->set_operation(operation);
        if (code == 0 && operation == YFW_OP_REPLACE) {
            expand_edit(node, operation);
        }
    }
    return code;
}

// Whether the store holds a list entry.
bool Walker::exists(const Node *entry) {
    EntryKeys keys;
    for (std::size_t key = 0; key < entry->schema().keys.size(); ++key) {
        keys.emplace_back(key_value(entry, key) == nullptr ? "" : key_value(entry, key));
    }
    const std::vector<EntryKeys> existing = existing_(entry->up(), entry->schema());
    return std::find(existing.begin(), existing.end(), keys) != existing.end();
}

cerrno Walker::call_companion(Node *node, const Binding &binding) {
    CompanionCall call{request_, *node, binding.function, stored_, {}};
    const cerrno code = binding.companion(call);
    note_ = std::move(call.note);
    handled_ = call.handled;
    return code;
}

cerrno Walker::call_select(Node *node, const Binding &binding) {
    // The candidates are the mapping's; the marks are this call's, on a copy that is made once.
    std::vector<xpath_list_type_t> &candidates = candidates_[&binding];
    if (candidates.empty()) {
        candidates = binding.candidates;
    }
    for (xpath_list_type_t &candidate : candidates) {
        candidate.selected = 0;
    }
    const cerrno code = reinterpret_cast<SelectCallback>(binding.function)(
        &request_, static_cast<int>(candidates.size()), candidates.data());
    if (code != 0) {
        return code;
    }
    const bool is_read = request_.is_read();
    if (!is_read && node->schema().is_inner() && !node->op_is_set()) {
        return 0; // a container says nothing in an edit but by its operation
    }
    for (const xpath_list_type_t &candidate : candidates) {
        if (candidate.selected == 0 || (in_vrf() && std::strstr(candidate.xpath, "/default-vrf") != nullptr)) {
            continue; // what is the default VRF's is no business of another
        }
        const char *value = candidate.get_value != nullptr ? candidate.get_value(node) : node->value;
        const cerrno added = yfw_map_datatree_add_path_flagged(
            &request_, request_.destination(), candidate.xpath, candidate.name_space,
            is_read || node->is_delete() ? nullptr : value, is_read ? nullptr : node, nullptr, 0, 0);
        if (added != 0) {
            return added;
        }
    }
    return 0;
}

cerrno Walker::call_copy(const Node *node, const SchemaNode &target, const char *value) {
    const yfw_content_selection &selection = request_.fields().selection;
    const bool active = selection.count < 0 || (selection.groups[0] | selection.groups[1]) != 0;
    if (request_.is_read() && target.config && active && selection.mode == YFW_SELECT_STATE_ONLY) {
        return 0;
    }
    return yfw_map_datatree_add_path_flagged(&request_, request_.destination(), target.path.c_str(), nullptr,
                                             node->is_delete() ? nullptr : value, request_.is_read() ? nullptr : node,
                                             nullptr, 0, 0);
}

// A node without a value is one that a read asks for, or that goes.
cerrno Walker::call_convert(const Node *node, const Binding &binding) {
    if (node->value == nullptr || node->is_delete()) {
        return call_copy(node, *binding.target, nullptr);
    }
    const char *value = binding.entry->served == Service::convert
                            ? reinterpret_cast<Converter>(binding.function)(&request_, node)
                            : reinterpret_cast<ConverterTo>(binding.function)(&request_, node, request_.destination());
    return value == nullptr ? 0 : call_copy(node, *binding.target, value);
}

// Hands the operation of a node that has no native node of its own on to the served nodes below: a delete adds those
// that the request does not name, a replace removes them, and a create or replace becomes that of the ones it names.
void Walker::expand_edit(Node *node, std::uint32_t operation) {
    const bool deletes = operation == YFW_OP_DELETE || operation == YFW_OP_REMOVE;
    if (deletes && request_.fields().del_expansion_mode != YFW_EXPAND_ON) {
        return;
    }
    const std::uint32_t absent = deletes ? operation : std::uint32_t{YFW_OP_REMOVE};
    const bool adds = deletes || operation == YFW_OP_REPLACE;
    for (const SchemaNode *below : node->schema().children) {
        if (!mapping_.reaches_config(*below) || below->is_key || !below->config) {
            continue;
        }
        for (Node *present = first_of(node, *below); present != nullptr; present = next_of(present)) {
            if (deletes || !present->op_is_set()) {
                present->set_operation(operation);
            }
        }
        if (adds && below->kind == NodeKind::list) {
            expand_list(node, *below, absent);
        } else if (adds && first_of(node, *below) == nullptr && is_expandable(node, *below, deletes)) {
            ensure_child(request_.arena(), node, *below)->set_operation(absent);
        }
    }
}

// Not a leaf that a replace cannot do without, one that repeats a key, or one that goes with its deleted list entry.
bool Walker::is_expandable(const Node *node, const SchemaNode &below, bool deletes) const {
    const Binding *binding = mapping_.find(below);
    if ((below.mandatory && !deletes) || (binding != nullptr && binding->entry->served == Service::key)) {
        return false;
    }
    const Node *entry = node;
    while (entry->up() != nullptr && entry->schema().kind != NodeKind::list) {
        entry = entry->up();
    }
    return binding == nullptr || !binding->entry->covered || !entry->is_delete();
}

// The entries that exist and that the request does not name.
void Walker::expand_list(Node *node, const SchemaNode &list, std::uint32_t operation) {
    for (const EntryKeys &keys : existing_(node, list)) {
        const std::vector<std::string_view> values(keys.begin(), keys.end());
        if (find_entry(node, list, values) != nullptr) {
            continue;
        }
        Node *entry = open_entry(request_.arena(), node, list);
        for (std::size_t key = 0; key < keys.size(); ++key) {
            set_value(request_.arena(), ensure_child(request_.arena(), entry, *list.keys[key]), keys[key]);
        }
        complete_entry(request_.arena(), entry)->set_operation(operation);
    }
}

// Adds the served nodes below; true when there is any.
bool expand_below(Request &request, const Mapping &mapping, Node *node, bool state) {
    bool any = false;
    for (const SchemaNode *below : node->schema().children) {
        if (!(state ? mapping.reaches(*below) : below->config && mapping.reaches_config(*below))) {
            continue;
        }
        any = true;
        Node *added = ensure_child(request.arena(), node, *below);
        if (below->is_inner()) {
            expand_below(request, mapping, added, state);
        }
    }
    return any;
}

void expand_leaves(Request &request, const Mapping &mapping, Node *node, bool state) {
    bool has_child = false;
    for (Node *below = node->first(); below != nullptr; below = below->next()) {
        if (!below->schema().is_key) {
            has_child = true;
            expand_leaves(request, mapping, below, state);
        }
    }
    if (!has_child && node->schema().is_inner()) {
        expand_below(request, mapping, node, state);
    }
}

} // namespace

WalkResult walk(Request &request, const Mapping &mapping, const ExistingEntries &existing, const StoredNative &stored) {
    Walker walker(request, mapping, existing, stored);
    walker.visit_top(request.source());
    for (Node *entry : request.kept) {
        for (Node *node : {entry, entry->up()}) { // the list may be deleted whole
            if (node->is_delete()) {
                node->set_operation(YFW_OP_REPLACE);
            }
        }
    }
    return walker.take_result();
}

void expand_read(Request &request, const Mapping &mapping, bool state) {
    expand_leaves(request, mapping, request.source(), state);
}

} // namespace yfw
