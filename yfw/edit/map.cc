#include "edit/map.h"

#include "mapping/call.h"
#include "mapping/explain.h"
#include "model/trees.h"
#include "vnos_platform.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace yfw {

namespace {

// Whether a path of names, ".." for a parent, leads from the node to one that is set: of a list to any entry.
bool reaches_node(const Mapping &mapping, const Node *node, std::string_view path) {
    if (path.empty()) {
        return !mapping.is_unset(node->schema(), node->value);
    }
    const std::string_view name = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(path.size(), name.size() + 1));
    if (name == "..") {
        return reaches_node(mapping, node->up(), path);
    }
    const SchemaNode *below = node->schema().child(name);
    const Node *next = below == nullptr ? nullptr : first_of(node, *below);
    while (next != nullptr && !reaches_node(mapping, next, path)) {
        next = below->repeats() ? next_entry(next) : nullptr;
    }
    return next != nullptr;
}

// State is no client's to set. A path selection is asked all the same: the plug-in itself says no.
bool refuses_state_edit(const Binding &binding) {
    const Service served = binding.entry->served;
    return served == Service::callback || served == Service::companion || served == Service::copy ||
           served == Service::convert || served == Service::convert_to;
}

// A callback's change of the delete expansion holds below its node only.
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

class Walker {
  public:
    Walker(Request &request, const MapGround &ground)
        : request_(request),
          mapping_(ground.mapping),
          bgp_(ground.bgp),
          database_(ground.database),
          caller_(request, ground.mapping, ground.stored) {}
    virtual ~Walker() = default;
    Walker(const Walker &) = delete;
    Walker &operator=(const Walker &) = delete;

    MapResult run() {
        visit_children(request_.source());
        return std::move(result_);
    }

  protected:
    virtual void visit(Node *node) = 0;
    void visit_children(Node *node) {
        for_each_in_order(node, [this](Node *below) { visit(below); });
    }
    // Calls what serves the node. Throws Refused for any code but 0 and OCBGP_SKIP_SUBTREE.
    cerrno call(Node *node, const Binding &binding);
    // What the plug-in traced in the call of the node made last, by way of a reason.
    std::string traced(Node *node, const Binding &binding);

    Request &request_;
    const Mapping &mapping_;
    const BgpRules &bgp_;
    SystemDatabase &database_;
    Caller caller_;
    MapResult result_;

  private:
    std::optional<Explanation> explanation_;
};

cerrno Walker::call(Node *node, const Binding &binding) {
    if (binding.entry->served == Service::protocol_list) {
        const Node *name = child(node, "name");
        database_.prefer(name == nullptr || name->value == nullptr ? "" : name->value);
    }
    request_.error_path.clear();
    vnos_named_free(std::exchange(request_.fields().error_text, nullptr));
    explanation_.emplace(request_);
    // A callback may take a decimal apart where it stands; what is compared later is the whole of it.
    const bool is_decimal = node->schema().type == BaseType::decimal64 && node->value != nullptr;
    const std::string decimal = is_decimal ? node->value : "";
    const cerrno code = caller_.call(node, binding);
    if (is_decimal) {
        std::copy(decimal.begin(), decimal.end(), node->value);
    }
    if (!request_.conflict.empty()) {
        throw Refused(Reason::invalid_value, request_.conflict,
                      "its native leaf takes one value, and the edit names two");
    }
    if (code != 0 && code != OCBGP_SKIP_SUBTREE) {
        const std::string path = request_.error_path.empty() ? instance_path(node) : request_.error_path;
        Fault fault(code, path, explanation_->reason(code, [&] { caller_.call(node, binding); }));
        fault.hint = mapping_.description().hint(fault.reason);
        throw Refused(std::move(fault));
    }
    return code;
}

std::string Walker::traced(Node *node, const Binding &binding) {
    return explanation_->message([&] { caller_.call(node, binding); });
}

class SetsWalker : public Walker {
    using Walker::Walker;

    void visit(Node *node) override;
    bool serve(Node *node, const Binding *binding);
    void leave_alone(Node *node, const Binding &binding, cerrno code);
    void report(Node *node, std::string why, bool served) {
        result_.left_alone.push_back({node, std::move(why), served});
    }
    void hold_condition(const Node *node, WhenHandler handler);
    void hold_conditions_below(const Node *node);
};

void SetsWalker::visit(Node *node) {
    const SchemaNode &schema = node->schema();
    if (schema.kind == NodeKind::container && !schema.presence && is_hollow(node)) {
        return;
    }
    if (const WhenHandler when = mapping_.when(schema); when != nullptr) {
        hold_condition(node, when);
    }
    // Where only state is served, there is nothing to edit.
    if (!mapping_.reaches(schema) || (schema.config && !mapping_.reaches_config(schema))) {
        // The key leaves of an entry are its own; whether anything serves them is asked of the entry.
        if (!schema.is_key) {
            report(node, {}, false);
            hold_conditions_below(node);
        }
        return;
    }
    const ExpansionScope scope(request_.fields());
    request_.enter(node);
    if (serve(node, mapping_.find(schema)) && schema.is_inner()) {
        visit_children(node);
    }
    request_.leave();
}

// Whether what lies below is to be mapped.
bool SetsWalker::serve(Node *node, const Binding *binding) {
    if (binding == nullptr || binding->entry->served == Service::key) {
        return true;
    }
    if (binding->entry->served == Service::protocol_list && bgp_.is_foreign(*node)) {
        report(node, {}, false);
        return false;
    }
    if (!node->schema().config && refuses_state_edit(*binding)) {
        if (node->schema().is_inner()) {
            return true; // what the client names in it is reported
        }
        report(node, "state cannot be edited", false);
        return false;
    }
    if (mapping_.affects(node->schema()) != nullptr) {
        result_.affecting.push_back(node);
    }
    if (bgp_.may_imply(node->schema())) {
        result_.implying.push_back(node);
    }
    if (binding->entry->unset_deletes && mapping_.is_unset(node->schema(), node->value)) {
        result_.unset.push_back(node);
        return true;
    }
    const std::uint64_t adds = request_.counts.adds;
    const cerrno code = call(node, *binding);
    if (request_.counts.adds == adds && (code == OCBGP_SKIP_SUBTREE || !node->schema().is_inner())) {
        leave_alone(node, *binding, code);
    }
    return code == 0;
}

// Nothing was written: the client is to know, unless that is no loss.
void SetsWalker::leave_alone(Node *node, const Binding &binding, cerrno code) {
    const MappingEntry &entry = *binding.entry;
    const bool taken = !entry.taken_with.empty() && reaches_node(mapping_, node->up(), entry.taken_with);
    const bool expected = entry.may_write_nothing && !caller_.in_vrf(); // what only the default VRF has it keeps
    const bool nothing = mapping_.is_unset(node->schema(), node->value) && code == 0;
    if (taken || expected || caller_.handled() || (nothing && entry.hint.empty())) {
        return;
    }
    const std::string &hint = caller_.note().empty() ? entry.hint : caller_.note();
    // A subtree that the plug-in refuses is refused for good, and a value in whose place another one is written.
    const bool may_come = !entry.one_value && (code == 0 || entry.served == Service::companion);
    report(node, hint.empty() ? traced(node, binding) : hint, may_come);
}

void SetsWalker::hold_condition(const Node *node, WhenHandler handler) {
    if (!condition_holds(request_, node, handler)) {
        throw Refused(Reason::unknown_element, instance_path(node),
                      "the when condition \"" + node->schema().when->text + "\" is not satisfied");
    }
}

// What is not mapped is held to the conditions as well.
void SetsWalker::hold_conditions_below(const Node *node) {
    if (!mapping_.has_when_below(node->schema())) {
        return;
    }
    for (const Node *below = node->first(); below != nullptr; below = below->next()) {
        if (const WhenHandler when = mapping_.when(below->schema()); when != nullptr) {
            hold_condition(below, when);
        }
        hold_conditions_below(below);
    }
}

class GoesWalker : public Walker {
    using Walker::Walker;

    void visit(Node *node) override;
    bool serve(Node *node, const Binding &binding);
    bool goes_with_entry(const Node *node, const Binding *binding) const;
};

void GoesWalker::visit(Node *node) {
    const Binding *binding = mapping_.find(node->schema());
    if (!mapping_.reaches_config(node->schema()) || node->schema().is_key || goes_with_entry(node, binding)) {
        return;
    }
    const ExpansionScope scope(request_.fields());
    request_.enter(node);
    if ((binding == nullptr || serve(node, *binding)) && node->schema().is_inner()) {
        visit_children(node);
    }
    request_.leave();
}

// Some nodes go with the list entry that they belong to.
bool GoesWalker::goes_with_entry(const Node *node, const Binding *binding) const {
    return binding != nullptr && (binding->entry->served == Service::key ||
                                  (binding->entry->covered && entry_around(node->up())->is_delete()));
}

// Whether what lies below is to be gone through.
bool GoesWalker::serve(Node *node, const Binding &binding) {
    const bool inherited = node->is_delete() && node->up()->is_delete();
    const bool deletes = node->is_delete();
    const std::uint64_t before = request_.counts.deletes;
    try {
        const cerrno code = call(node, binding);
        const bool own_list = binding.entry->served == Service::companion ||
                              binding.entry->served == Service::protocol_list ||
                              binding.entry->served == Service::protocol;
        const bool written = deletes && !own_list && request_.counts.deletes != before;
        return code == 0 && !written;
    } catch (const Refused &) {
        if (!inherited) {
            throw;
        }
        return false; // the client has not asked for it: what is left of it shows when it is read back
    }
}

} // namespace

MapResult map_goes(Request &request, const MapGround &ground) {
    return GoesWalker(request, ground).run();
}

MapResult map_sets(Request &request, const MapGround &ground) {
    return SetsWalker(request, ground).run();
}

} // namespace yfw
