#include "read/parts.h"

#include "boundary/system_database.h"
#include "model/trees.h"
#include "read/cut.h"
#include "read/walk.h"

namespace yfw {

namespace {

// Lists without all their keys stay apart from the entries that have them.
void copy_paths(Arena &arena, Node *into, const Node *from) {
    for_each_below(from, [&arena, into](const Node *node) {
        Node *copy = ensure_counterpart_below(arena, into, node);
        if (!node->schema().is_inner()) {
            copy->value = node->value;
        } else {
            copy_paths(arena, copy, node);
        }
    });
}

} // namespace

StoredNative stored_in(const Transaction &transaction) {
    return [&transaction](Arena &arena, const Node *wanted, Node *into) { transaction.fetch(arena, wanted, into); };
}

std::unique_ptr<Request> read_parts(const Ground &ground, const Node *parts, const Transaction &transaction) {
    const auto declared = ground.request(YFW_KIND_READ);
    copy_paths(declared->arena(), declared->source(), parts);
    const SystemDatabase database(transaction, ground.items);
    const BoundSystemDatabase bound(database);
    declare_walk(*declared, ground.mapping, stored_in(transaction), true, false);
    auto result = ground.request(YFW_KIND_READ);
    result->renders = true;
    transaction.fetch(result->arena(), declared->destination(), result->source());
    render_walk(*result, ground.mapping);
    cut(result->destination(), parts);
    return result;
}

} // namespace yfw
