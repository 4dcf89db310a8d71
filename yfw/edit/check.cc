#include "edit/check.h"

#include "model/trees.h"
#include "model/values.h"
#include "model/when.h"

namespace yfw {

namespace {

void check_leaf(const Schema &schema, const Node *leaf) {
    const SchemaNode &type = leaf->schema();
    if (leaf->value == nullptr && type.type != BaseType::empty) {
        throw refusal(Reason::invalid_value, leaf, "has no value");
    }
    const std::string_view value = leaf->value == nullptr ? std::string_view() : leaf->value;
    std::string why;
    if (!schema.accepts(type, value, &why)) {
        throw refusal(Reason::invalid_value, leaf,
                      type.secret ? "does not take the value" : "does not take \"" + shortened(value) + "\": " + why);
    }
}

void check_children(const Schema &schema, const Node *parent) {
    for (const Node *node = parent->first(); node != nullptr; node = node->next()) {
        const NodeKind kind = node->schema().kind;
        const When *when = node->schema().when.get();
        if (when != nullptr && !node->is_delete() && !when_holds(*when, node, true)) {
            throw refusal(Reason::unknown_element, node, "may not be there: " + when->text + " does not hold");
        }
        if (kind == NodeKind::list && node->schema().keys.empty()) {
            throw refusal(Reason::constraint, node, "is a list without keys, which cannot be stored");
        }
        if (node->is_delete()) {
            // The keys still say what is deleted.
            for (const SchemaNode *key : node->schema().keys) {
                const Node *leaf = child(node, *key);
                if (leaf != nullptr && leaf->value != nullptr) {
                    check_leaf(schema, leaf);
                }
            }
        } else if (kind == NodeKind::leaf || kind == NodeKind::leaf_list) {
            if (!node->schema().is_key || node->value != nullptr) {
                check_leaf(schema, node);
            }
        } else {
            check_children(schema, node);
        }
    }
}

} // namespace

void check_native(const Schema &schema, const Node *edit) {
    check_children(schema, edit);
}

} // namespace yfw
