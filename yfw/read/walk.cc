#include "read/walk.h"

#include "bgp/companion.h"
#include "mapping/call.h"
#include "mapping/explain.h"
#include "model/trees.h"
#include "vnos_platform.h"

#include <utility>

namespace yfw {

namespace {

class Walker {
  public:
    Walker(Request &request, const Mapping &mapping, const StoredNative &stored, bool completes)
        : request_(request), mapping_(mapping), caller_(request, mapping, stored), completes_(completes) {}

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

    Unanswered take_unanswered() { return std::move(unanswered_); }

  private:
    void visit(Node *node);
    bool serve(Node *node, const Binding *binding);
    void ask_for_state(const Node &node, const Binding &binding);
    void add_served(Node *node);
    void want_whole(std::size_t first);

    Request &request_;
    const Mapping &mapping_;
    Caller caller_;
    bool completes_; // what lies below innermost nodes is wanted
    Unanswered unanswered_;
};

void Walker::visit(Node *node) {
    const SchemaNode &schema = node->schema();
    if (const WhenHandler when = mapping_.when(schema);
        (when != nullptr && !condition_holds(request_, node, when)) || !mapping_.reaches(schema)) {
        return;
    }
    request_.enter(node);
    const std::size_t added = request_.added.size();
    const Binding *binding = mapping_.find(schema);
    if (serve(node, binding) && schema.is_inner()) {
        if (completes_ && is_bare(node)) {
            const bool by_plugin = binding != nullptr && (binding->entry->served == Service::callback ||
                                                          binding->entry->served == Service::toplevel);
            if (!by_plugin || request_.added.size() == added) {
                add_served(node);
            } else {
                want_whole(added);
            }
        }
        for_each_in_order(node, [this](Node *below) { visit(below); });
    }
    request_.leave();
}

// What a callback has declared for a container or entry is all of it, whatever is declared in it beside.
void Walker::want_whole(std::size_t first) {
    for (std::size_t i = first; i < request_.added.size(); ++i) {
        const auto &[parent, schema] = request_.added[i];
        if (Node *node = child(parent, *schema); node != nullptr) { // of a list the entry that is current
            node->flags |= whole;
        }
    }
}

// One level of what is served of configuration.
void Walker::add_served(Node *node) {
    for (const SchemaNode *below : node->schema().children) {
        if (below->config && mapping_.reaches_config(*below)) {
            ensure_child(request_.arena(), node, *below);
        }
    }
}

// Of state that is served as the configuration is, the operational models are asked, too.
void Walker::ask_for_state(const Node &node, const Binding &binding) {
    const SchemaNode *source = binding.target == nullptr ? mapping_.state_source(node.schema()) : nullptr;
    if (source != nullptr) {
        yfw_map_datatree_add_path_flagged(&request_, request_.destination(), source->path.c_str(), nullptr, nullptr,
                                          nullptr, nullptr, 0, 0);
    }
}

// Whether the walk is to go on below.
bool Walker::serve(Node *node, const Binding *binding) {
    if (binding == nullptr || binding->entry->served == Service::key) {
        return true;
    }
    if (binding->entry->served == Service::protocol_list && !is_bgp_entry(*node)) {
        return false;
    }
    if (request_.fields().kind->kind == YFW_KIND_READ_STATE) {
        ask_for_state(*node, *binding);
    }
    request_.error_path.clear();
    vnos_named_free(std::exchange(request_.fields().error_text, nullptr));
    Explanation explanation(request_);
    const cerrno code = caller_.call(node, *binding);
    for (const SchemaNode *more : binding->fetches) {
        yfw_map_datatree_add_path_flagged(&request_, request_.destination(), more->path.c_str(), nullptr, nullptr,
                                          nullptr, nullptr, 0, 0);
    }
    if (code != 0 && code != OCBGP_SKIP_SUBTREE) {
        const std::string path = request_.error_path.empty() ? instance_path(node) : request_.error_path;
        Fault fault(code, path, explanation.reason(code, [&] { caller_.call(node, *binding); }));
        fault.hint = mapping_.description().hint(fault.reason);
        unanswered_.emplace_back(node, Refused(std::move(fault)));
    }
    return code == 0;
}

// Adds the served nodes below.
void complete(Request &request, const Mapping &mapping, Node *node, bool state) {
    for (const SchemaNode *below : node->schema().children) {
        if (state ? mapping.reaches(*below) : below->config && mapping.reaches_config(*below)) {
            Node *added = ensure_child(request.arena(), node, *below);
            if (below->is_inner()) {
                complete(request, mapping, added, state);
            }
        }
    }
}

void complete_innermost(Request &request, const Mapping &mapping, Node *node, bool state) {
    if (node->schema().is_inner() && is_bare(node)) {
        complete(request, mapping, node, state);
        return;
    }
    for_each_below(node, [&](Node *below) { complete_innermost(request, mapping, below, state); });
}

} // namespace

Unanswered declare_walk(Request &request, const Mapping &mapping, const StoredNative &stored, bool covers, bool state) {
    const bool all_at_once = request.fields().kind->kind == YFW_KIND_READ_STATE;
    if (covers && all_at_once) {
        complete_innermost(request, mapping, request.source(), state);
    }
    request.keeps_added = covers && !all_at_once;
    Walker walker(request, mapping, stored, request.keeps_added);
    walker.visit_top(request.source());
    return walker.take_unanswered();
}

Unanswered render_walk(Request &request, const Mapping &mapping) {
    const StoredNative none;
    Walker walker(request, mapping, none, false);
    walker.visit_top(request.source());
    return walker.take_unanswered();
}

} // namespace yfw
