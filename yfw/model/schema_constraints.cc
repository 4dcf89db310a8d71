// What a model asks of its data beyond types, as far as the framework does not see to it.
#include "model/schema.h"

#include <libyang/libyang.h>

namespace yfw {

namespace {

bool refers_to_an_instance(const lysc_type *type) {
    if (type->basetype == LY_TYPE_UNION) {
        const auto *all = reinterpret_cast<const lysc_type_union *>(type);
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(all->types, i) {
            if (refers_to_an_instance(all->types[i])) {
                return true;
            }
        }
    }
    return (type->basetype == LY_TYPE_LEAFREF &&
            reinterpret_cast<const lysc_type_leafref *>(type)->require_instance != 0) ||
           (type->basetype == LY_TYPE_INST &&
            reinterpret_cast<const lysc_type_instanceid *>(type)->require_instance != 0);
}

} // namespace

std::string Schema::unchecked_constraint(const SchemaNode &node) {
    const lysc_node *compiled = node.compiled;
    if (compiled == nullptr) {
        return {};
    }
    for (const lysc_node *at = compiled->parent; at != nullptr && (at->nodetype & (LYS_CHOICE | LYS_CASE)) != 0;
         at = at->parent) {
        if (LY_ARRAY_COUNT(lysc_node_when(at)) != 0) {
            return std::string("when \"") + lyxp_get_expr(lysc_node_when(at)[0]->cond) + '"';
        }
        if ((at->flags & LYS_MAND_TRUE) != 0) {
            return "mandatory";
        }
    }
    if (node.when == nullptr && LY_ARRAY_COUNT(lysc_node_when(compiled)) != 0) {
        return std::string("when \"") + lyxp_get_expr(lysc_node_when(compiled)[0]->cond) + '"';
    }
    if (LY_ARRAY_COUNT(lysc_node_musts(compiled)) != 0) {
        return std::string("must \"") + lyxp_get_expr(lysc_node_musts(compiled)[0].cond) + '"';
    }
    if ((compiled->flags & LYS_MAND_TRUE) != 0 && compiled->nodetype == LYS_LEAF && !node.is_key) {
        return "mandatory";
    }
    if (compiled->nodetype == LYS_LIST) {
        const auto *list = reinterpret_cast<const lysc_node_list *>(compiled);
        return list->min != 0 ? "min-elements" : list->uniques != nullptr ? "unique" : "";
    }
    if (compiled->nodetype == LYS_LEAFLIST) {
        const auto *leaf_list = reinterpret_cast<const lysc_node_leaflist *>(compiled);
        return leaf_list->min != 0 ? "min-elements" : refers_to_an_instance(leaf_list->type) ? "require-instance" : "";
    }
    const bool refers = compiled->nodetype == LYS_LEAF &&
                        refers_to_an_instance(reinterpret_cast<const lysc_node_leaf *>(compiled)->type);
    return refers ? "require-instance" : "";
}

} // namespace yfw
