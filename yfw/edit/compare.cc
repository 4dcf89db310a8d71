#include "edit/compare.h"

#include "model/trees.h"
#include "read/cut.h"

#include <cstdlib>
#include <cstring>

namespace yfw {

namespace {

class Comparing {
  public:
    Comparing(Arena &arena, const Mapping &mapping, const BgpRules &bgp, bool only_missing)
        : arena_(arena), mapping_(mapping), bgp_(bgp), only_missing_(only_missing) {}

    // Either may be null. filters cover both; none when all below them counts.
    void children(const Node *expected, const Node *found, const Filters &filters) {
        for (const Node *node = first_of(expected); node != nullptr; node = node->next()) {
            if (says_something(node)) {
                const Node *other = found == nullptr ? nullptr : counterpart_below(const_cast<Node *>(found), node);
                compare(node, other, below(filters, node));
            }
        }
        for (const Node *node = only_missing_ ? nullptr : first_of(found); node != nullptr; node = node->next()) {
            const bool is_extra =
                expected == nullptr || counterpart_below(const_cast<Node *>(expected), node) == nullptr;
            const bool by_itself = expected != nullptr && bgp_.is_as_alone(*node);
            if (is_extra && !by_itself && says_something(node) && has_content(node)) {
                surplus(node, below(filters, node));
            }
        }
    }
    void node(const Node *expected, const Node *found) { compare(expected, found, {}); }
    [[nodiscard]] Comparison take() const { return comparison_; }

  private:
    static Filters below(const Filters &filters, const Node *node) {
        Filters covering;
        for (const Node *filter : filters) {
            add_covering(node, filter, covering);
        }
        return any_covers_all(covering) ? Filters() : covering;
    }

    // What is only on the way to the parts is not to go.
    void surplus(const Node *node, const Filters &filters) {
        if (filters.empty()) {
            copy_to(arena_, root(comparison_.surplus), node, YFW_OP_DELETE);
        } else {
            children(nullptr, node, filters);
        }
    }

    static const Node *first_of(const Node *node) { return node == nullptr ? nullptr : node->first(); }

    [[nodiscard]] bool says_something(const Node *node) const {
        return !node->schema().is_key && !mapping_.repeats_key(node->schema());
    }
    [[nodiscard]] bool is_set(const Node *leaf) const {
        return leaf != nullptr && !mapping_.is_unset(leaf->schema(), leaf->value);
    }
    // Whether a node means anything: containers by what they hold, entries by being there.
    [[nodiscard]] bool has_content(const Node *node) const {
        const SchemaNode &schema = node->schema();
        if (!schema.is_inner()) {
            return is_set(node);
        }
        if ((schema.kind == NodeKind::list && !bgp_.is_nothing_alone(*node)) || schema.presence) {
            return true;
        }
        for (const Node *below = node->first(); below != nullptr; below = below->next()) {
            if (says_something(below) && has_content(below)) {
                return true;
            }
        }
        return false;
    }

    void compare(const Node *expected, const Node *found, const Filters &filters) {
        const SchemaNode &schema = expected->schema();
        if (schema.is_inner()) {
            if (found == nullptr && filters.empty() && has_content(expected)) {
                add_missing(expected);
            } else if (found != nullptr || !filters.empty()) {
                children(expected, found, filters);
            }
            return;
        }
        const bool is_wrong = is_set(expected) && (!is_set(found) || !same_value(expected, found));
        const bool is_extra = !is_set(expected) && is_set(found);
        if (is_wrong || (is_extra && only_missing_)) {
            copy_to(arena_, root(comparison_.missing), expected, YFW_OP_NONE);
        } else if (is_extra) {
            copy_to(arena_, root(comparison_.surplus), found, YFW_OP_DELETE);
        }
    }

    // With what lies in it, less what is the same as none.
    void add_missing(const Node *node) {
        if (!node->schema().is_inner()) {
            if (is_set(node)) {
                copy_to(arena_, root(comparison_.missing), node, YFW_OP_NONE);
            }
            return;
        }
        if (node->schema().kind == NodeKind::list && !bgp_.is_nothing_alone(*node)) {
            ensure_counterpart(arena_, root(comparison_.missing), node)->flags |= YFW_NODE_PRESENT;
        }
        for (const Node *below = node->first(); below != nullptr; below = below->next()) {
            if (says_something(below)) {
                add_missing(below);
            }
        }
    }

    static bool same_value(const Node *a, const Node *b) {
        if (a->value == nullptr || b->value == nullptr) {
            return a->value == b->value;
        }
        if (std::strcmp(a->value, b->value) == 0) {
            return true;
        }
        const auto type = a->schema().type;
        return (type == BaseType::decimal64 || type == BaseType::union_) && same_number(a->value, b->value);
    }
    // 90 and 90.00
    static bool same_number(const char *a, const char *b) {
        char *end_of_a = nullptr;
        char *end_of_b = nullptr;
        const double number_a = std::strtod(a, &end_of_a);
        const double number_b = std::strtod(b, &end_of_b);
        return *end_of_a == '\0' && *end_of_b == '\0' && number_a == number_b;
    }

    Node *root(Node *&tree) {
        if (tree == nullptr) {
            tree = new_root(arena_, mapping_.schema());
        }
        return tree;
    }

    Arena &arena_;
    const Mapping &mapping_;
    const BgpRules &bgp_;
    bool only_missing_;
    Comparison comparison_;
};

} // namespace

Comparison compare(Arena &arena, const Mapping &mapping, const BgpRules &bgp, const Node *parts, const Node *expected,
                   const Node *found) {
    Comparing comparing(arena, mapping, bgp, false);
    comparing.children(expected, found, {parts});
    return comparing.take();
}

Comparison compare_nodes(Arena &arena, const Mapping &mapping, const BgpRules &bgp,
                         std::span<const Node *const> expected, const Node *found) {
    Comparing comparing(arena, mapping, bgp, true);
    for (const Node *node : expected) {
        comparing.node(node, counterpart(found, node));
    }
    return comparing.take();
}

} // namespace yfw
