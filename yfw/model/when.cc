#include "model/when.h"

namespace yfw {

namespace {

// The value that a term compares, or null.
const Node *operand(const When::Term &term, const Node *node) {
    for (std::size_t level = 0; level < term.levels_up && node != nullptr; ++level) {
        node = node->up();
    }
    for (const std::string &name : term.path) {
        node = node == nullptr || !node->schema().is_inner() ? nullptr : child(node, name);
    }
    return node == nullptr || node->value == nullptr ? nullptr : node;
}

bool equals(const Node &leaf, std::string_view text) {
    // The tree's identities come without a prefix, the models' with one.
    const auto colon = leaf.schema().type == BaseType::identityref ? text.find(':') : std::string_view::npos;
    return leaf.value == (colon == std::string_view::npos ? text : text.substr(colon + 1));
}

} // namespace

bool when_holds(const When &when, const Node *node, bool unknown_holds) {
    for (const When::Term &term : when.terms) {
        const Node *leaf = operand(term, node);
        if (leaf == nullptr ? unknown_holds : equals(*leaf, term.value)) {
            return true;
        }
    }
    return false;
}

} // namespace yfw
