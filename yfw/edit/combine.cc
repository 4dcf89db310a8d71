#include "edit/combine.h"

#include "model/trees.h"

#include <vector>

namespace yfw {

void keep_deletes(Node *round) {
    std::vector<Node *> surplus;
    for (Node *node = round->first(); node != nullptr; node = node->next()) {
        if (node->schema().is_key) {
            continue;
        }
        if (node->is_delete()) {
            if (node->schema().is_inner()) {
                take_children(node);
            }
            continue;
        }
        if (node->schema().is_inner()) {
            keep_deletes(node);
        }
        if (!node->schema().is_inner() || is_bare(node)) {
            surplus.push_back(node);
        }
    }
    for (Node *node : surplus) {
        release_name_spaces(node);
        unlink(node);
    }
}

void combine(Arena &arena, Node *before, const Node *round) {
    for (const Node *node = round->first(); node != nullptr; node = node->next()) {
        if (node->schema().is_key) {
            continue;
        }
        Node *present = counterpart_below(before, node);
        const bool was_deleted = present != nullptr && present->is_delete();
        if (present == nullptr) {
            present = ensure_counterpart_below(arena, before, node);
        }
        present->set_origin(node->origin());
        if (node->is_delete()) {
            if (node->schema().is_inner()) {
                take_children(present);
            } else if (node->schema().kind == NodeKind::leaf) {
                present->value = node->value;
            }
            present->set_operation(node->operation);
            continue;
        }
        if (!node->schema().is_inner()) {
            present->value = node->value;
        }
        if (was_deleted) {
            present->set_operation(node->schema().is_inner() ? YFW_OP_REPLACE : YFW_OP_NONE);
        } else if (node->op_is_set() && !present->op_is_set()) {
            present->set_operation(node->operation);
        }
        if (node->schema().is_inner()) {
            combine(arena, present, node);
        }
    }
}

} // namespace yfw
