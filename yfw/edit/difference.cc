#include "edit/difference.h"

#include "model/trees.h"
#include "model/when.h"

namespace yfw {

namespace {

enum class Operation { none, merge, create, replace, delete_, remove };

Operation operation_of(const Node *node, Operation around) {
    if (!node->op_is_set()) {
        return around;
    }
    switch (node->operation) {
    case YFW_OP_CREATE:
        return Operation::create;
    case YFW_OP_REPLACE:
        return Operation::replace;
    case YFW_OP_DELETE:
        return Operation::delete_;
    case YFW_OP_REMOVE:
        return Operation::remove;
    default:
        return Operation::merge;
    }
}

Operation operation_of(DefaultOperation operation) {
    return operation == DefaultOperation::none      ? Operation::none
           : operation == DefaultOperation::replace ? Operation::replace
                                                    : Operation::merge;
}

bool deletes(Operation operation) {
    return operation == Operation::delete_ || operation == Operation::remove;
}

// Whether anything below has an operation, as what lies in a node that is left alone needs.
bool any_operation_below(const Node *parent) {
    for (const Node *node = parent->first(); node != nullptr; node = node->next()) {
        if (node->op_is_set() || (node->schema().is_inner() && any_operation_below(node))) {
            return true;
        }
    }
    return false;
}

bool must_exist(const SchemaNode &schema) {
    return schema.kind == NodeKind::list || schema.presence;
}

// Adds the paths that the operations at and below a node need.
class Concerned {
  public:
    Concerned(Arena &arena, const Schema &schema, const BgpRules &bgp) : arena_(arena), schema_(schema), bgp_(bgp) {}

    void add(const Node *node, Operation around) {
        const Operation operation = operation_of(node, around);
        if (node->schema().is_key || (node->schema().kind == NodeKind::list && bgp_.is_foreign(*node))) {
            return;
        }
        if (operation != Operation::none && operation != Operation::merge) {
            ensure_counterpart(arena_, parts(), node);
            return;
        }
        if (operation == Operation::none && must_exist(node->schema()) && any_operation_below(node)) {
            bgp_.add_probe(arena_, parts(), node);
        }
        for (const Node *below = node->first(); node->schema().is_inner() && below != nullptr; below = below->next()) {
            add(below, operation);
        }
    }

    Node *parts() {
        if (parts_ == nullptr) {
            parts_ = new_root(arena_, schema_);
        }
        return parts_;
    }
    [[nodiscard]] Node *found() const { return parts_; }

  private:
    Arena &arena_;
    const Schema &schema_;
    const BgpRules &bgp_;
    Node *parts_ = nullptr;
};

class Working {
  public:
    Working(Arena &arena, const Mapping &mapping, const BgpRules &bgp) : arena_(arena), mapping_(mapping), bgp_(bgp) {}

    void top(Node *edit, const Node *stored, Operation operation) {
        if (operation == Operation::replace) {
            take_away_unnamed(edit, stored);
        }
        children(edit, stored, operation);
        difference_.sets = edit->first() == nullptr ? nullptr : edit;
    }
    Difference take() { return std::move(difference_); }

  private:
    void children(Node *edit, const Node *stored, Operation operation);
    bool keep(Node *edit, const Node *stored, Operation around);
    void refuse_key_operation(const Node *key) const;
    bool go(const Node *edit, const Node *stored, Operation operation);
    [[noreturn]] static void refuse_missing(const Node *edit);
    void refuse_sets_below(const Node *edit) const;
    void hold_conditions(const Node *edit) const;
    void take_away_unnamed(const Node *edit, const Node *stored);
    void add_going(const Node *stored, std::uint32_t operation, bool named);
    [[nodiscard]] bool is_served(const Node *node) const { return mapping_.reaches_config(node->schema()); }

    Arena &arena_;
    const Mapping &mapping_;
    const BgpRules &bgp_;
    Difference difference_;
};

void Working::add_going(const Node *stored, std::uint32_t operation, bool named) {
    if (difference_.goes == nullptr) {
        difference_.goes = new_root(arena_, mapping_.schema());
    }
    Node *going = copy_to(arena_, difference_.goes, stored, operation);
    if (!named) {
        going->flags &= ~std::uint32_t{YFW_NODE_PRESENT};
    }
}

void Working::refuse_key_operation(const Node *key) const {
    throw Refused(Reason::unknown_operation, instance_path(key),
                  "a key takes no operation: it comes and goes with its list entry");
}

void Working::refuse_missing(const Node *edit) {
    throw Refused(Reason::data_missing, instance_path(edit), "it is not there, and is not to be made");
}

void Working::refuse_sets_below(const Node *edit) const {
    for (const Node *below = edit->first(); edit->schema().is_inner() && below != nullptr; below = below->next()) {
        if (below->op_is_set() && !deletes(operation_of(below, Operation::merge))) {
            throw Refused(Reason::unknown_operation, instance_path(below),
                          "the node lies in one that is deleted, and cannot be set");
        }
        refuse_sets_below(below);
    }
}

// What goes is not mapped as the client names it, and is held to its when-conditions here.
void Working::hold_conditions(const Node *edit) const {
    const SchemaNode &schema = edit->schema();
    if (mapping_.when(schema) != nullptr && !when_holds(*schema.when, edit, false)) {
        throw Refused(Reason::unknown_element, instance_path(edit),
                      "the when condition \"" + schema.when->text + "\" is not satisfied");
    }
    for (const Node *below = edit->first(); schema.is_inner() && below != nullptr; below = below->next()) {
        hold_conditions(below);
    }
}

// A delete or remove. Always false: nothing of the node is set.
bool Working::go(const Node *edit, const Node *stored, Operation operation) {
    hold_conditions(edit);
    refuse_sets_below(edit);
    if (stored != nullptr && (!stored->schema().is_inner() || must_exist(stored->schema()) || !is_bare(stored))) {
        if (edit->schema().kind == NodeKind::leaf_list && edit->value == nullptr) {
            for (const Node *value = stored; value != nullptr; value = next_entry(value)) {
                add_going(value, edit->operation, true);
            }
        } else {
            add_going(stored, operation == Operation::delete_ ? YFW_OP_DELETE : YFW_OP_REMOVE, true);
            bgp_.take_given_as(arena_, difference_.goes, edit);
        }
    } else if (!is_served(edit)) {
        difference_.not_mapped.push_back(instance_path(edit));
    } else if (operation == Operation::delete_) {
        throw Refused(Reason::data_missing, instance_path(edit), "there is nothing to delete");
    }
    return false;
}

// What a replace does not name goes: of a list or leaf-list the other entries.
void Working::take_away_unnamed(const Node *edit, const Node *stored) {
    for (const Node *there = stored == nullptr ? nullptr : stored->first(); there != nullptr; there = there->next()) {
        if (!there->schema().is_key && !mapping_.repeats_key(there->schema()) &&
            counterpart_below(const_cast<Node *>(edit), there) == nullptr) {
            add_going(there, YFW_OP_DELETE, false);
        }
    }
}

// Whether anything of the node stays among what is set.
bool Working::keep(Node *edit, const Node *stored, Operation around) {
    const SchemaNode &schema = edit->schema();
    if (schema.is_key) {
        if (edit->op_is_set()) {
            refuse_key_operation(edit);
        }
        return true;
    }
    const Operation operation = operation_of(edit, around);
    const bool is_set = edit->op_is_set();
    if (schema.kind == NodeKind::list && bgp_.is_foreign(*edit)) {
        if (operation == Operation::none && any_operation_below(edit)) {
            refuse_missing(edit);
        }
        if (deletes(operation)) {
            difference_.not_mapped.push_back(instance_path(edit));
        }
        return !deletes(operation) && operation != Operation::none;
    }
    if (mapping_.repeats_key(schema) && deletes(operation)) {
        refuse_key_operation(edit);
    }
    if (deletes(operation)) {
        return go(edit, stored, operation);
    }
    if (operation == Operation::create && is_set && stored != nullptr &&
        (!schema.is_inner() || must_exist(schema) || !is_bare(stored))) {
        throw Refused(Reason::data_exists, instance_path(edit), "it is there already");
    }
    edit->operation = YFW_OP_NONE;
    edit->flags &= ~std::uint32_t{YFW_NODE_OP_SET};
    if (!schema.is_inner()) {
        return operation != Operation::none;
    }
    if (operation == Operation::none && must_exist(schema) && stored == nullptr && !bgp_.is_always_there(*edit) &&
        any_operation_below(edit)) {
        refuse_missing(edit);
    }
    if (operation == Operation::replace) {
        take_away_unnamed(edit, stored);
    }
    const bool was_bare = is_hollow(edit);
    children(edit, stored, operation);
    const bool says_something = operation != Operation::none && must_exist(schema) && (is_set || was_bare);
    return says_something || !is_bare(edit);
}

void Working::children(Node *edit, const Node *stored, Operation operation) {
    Node *next = nullptr;
    for (Node *below = edit->first(); below != nullptr; below = next) {
        next = below->next();
        const Node *there = stored == nullptr ? nullptr : counterpart_below(const_cast<Node *>(stored), below);
        if (!keep(below, there, operation)) {
            unlink(below);
        }
    }
}

} // namespace

Node *concerned_parts(Arena &arena, const Schema &schema, const BgpRules &bgp, const Node *edit,
                      DefaultOperation default_operation) {
    Concerned concerned(arena, schema, bgp);
    if (default_operation == DefaultOperation::replace) {
        bgp.add_everything(arena, concerned.parts());
        return concerned.found();
    }
    for (const Node *top = edit->first(); top != nullptr; top = top->next()) {
        concerned.add(top, operation_of(default_operation));
    }
    return concerned.found();
}

Difference difference(Arena &arena, const Mapping &mapping, const BgpRules &bgp, Node *edit, const Node *stored,
                      DefaultOperation default_operation) {
    Working working(arena, mapping, bgp);
    working.top(edit, stored, operation_of(default_operation));
    return working.take();
}

} // namespace yfw
