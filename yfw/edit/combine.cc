#include "edit/combine.h"

#include "model/trees.h"

namespace yfw {

void keep_deletes(Node *round) {
    take_children_if(round, [](Node *node) {
        if (node->is_delete()) {
            take_children(node);
            return false;
        }
        keep_deletes(node);
        return is_bare(node);
    });
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
            take_children(present);
            if (node->schema().kind == NodeKind::leaf) {
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
