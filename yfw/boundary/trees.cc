// The framework's operations on trees, as a plug-in calls them.
#include "model/trees.h"
#include "base/failure.h"
#include "boundary/instance.h"
#include "boundary/request.h"
#include "vnos_platform.h"

#include <array>
#include <cstring>

namespace yfw {

namespace {

Node *root_of(Node *node) {
    while (node->up() != nullptr) {
        node = node->up();
    }
    return node;
}

// The schema node of a path that starts at the root ("/a/b") or at a node ("b/c").
const SchemaNode *resolve(Request &request, const Node *base, const char *path) {
    if (path[0] == '/') {
        return request.find(path);
    }
    const SchemaNode *found = &base->schema();
    std::string_view rest = path;
    while (found != nullptr && !rest.empty()) {
        const auto slash = rest.find('/');
        found = found->is_inner() ? found->child(rest.substr(0, slash)) : nullptr;
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
    }
    return found;
}

bool in_name_space(const SchemaNode &target, const char *name_space) {
    return name_space == nullptr || target.module->name_space == name_space ||
           target.top().module->name_space == name_space;
}

// Where the descent to a schema node starts: the current list entry with its prefix in force, the base, or the root.
Node *start_of(Request &request, Node *base, const char *path) {
    if (path[0] != '/') {
        return base;
    }
    const char *prefix = request.fields().trim_path;
    Node *entry = request.current_list();
    if (prefix != nullptr && entry != nullptr && entry->schema().path == prefix) {
        const std::size_t length = entry->schema().path.size();
        if (std::strncmp(path, prefix, length) == 0 && path[length] == '/') {
            return entry;
        }
    }
    return root_of(base);
}

// The node of a schema node at or below the start, its missing levels added; null when it does not lie there.
Node *ensure_level(Request &request, Node *start, const SchemaNode &schema) {
    if (&schema == &start->schema()) {
        return start;
    }
    const bool is_list = schema.kind == NodeKind::list && start == request.destination();
    if (Node *entry = is_list ? request.noted_entry(schema) : nullptr; entry != nullptr) {
        return entry;
    }
    Node *parent = schema.parent == nullptr ? nullptr : ensure_level(request, start, *schema.parent);
    Node *node = parent == nullptr ? nullptr : ensure_child(request.arena(), parent, schema);
    if (is_list && node != nullptr) {
        request.note_entry(node);
    }
    return node;
}

Node *add_leaf(Request &request, Node *parent, const SchemaNode &target, const char *value) {
    Arena &arena = request.arena();
    if (target.kind == NodeKind::leaf_list) {
        return value == nullptr ? ensure_child(arena, parent, target) : ensure_value(arena, parent, target, value);
    }
    if (!target.is_key) {
        Node *leaf = ensure_child(arena, parent, target);
        if (value != nullptr) {
            set_value(arena, leaf, value);
        }
        return leaf;
    }
    const char *present = key_value(parent, target.ordinal);
    if (value == nullptr || (present != nullptr && std::strcmp(present, value) == 0)) {
        return ensure_child(arena, parent, target);
    }
    if (present != nullptr) {
        parent = open_entry(arena, parent->up(), parent->schema());
    }
    set_value(arena, ensure_child(arena, parent, target), value);
    if (has_all_keys(parent)) {
        parent = complete_entry(arena, parent);
    }
    return child(parent, target);
}

// Of several operations a delete counts: what is written on the way to something else takes none back.
void take_operation(Request &request, Node *node, const Node *source) {
    if (source->is_delete()) {
        ++request.counts.deletes;
    }
    if (!node->is_delete() || source->is_delete()) {
        node->operation = source->operation;
        node->flags = (node->flags & ~static_cast<std::uint32_t>(YFW_NODE_OP_SET)) | (source->flags & YFW_NODE_OP_SET);
        node->set_origin(source);
    }
}

// A source that is one value of a leaf-list where another one has written a leaf already.
bool is_another_value(const Node *leaf, const Node *source) {
    return leaf != nullptr && source != nullptr && leaf->schema().kind == NodeKind::leaf && leaf->origin() != nullptr &&
           leaf->origin() != source && source->schema().kind == NodeKind::leaf_list &&
           &leaf->origin()->schema() == &source->schema();
}

// Adds a leaf; null when a leaf cannot take all values of a leaf-list that the request gives, or takes from it.
Node *add_value(Request &request, Node *parent, const SchemaNode &target, const char *value, const Node *source) {
    Node *present = target.kind == NodeKind::leaf ? child(parent, target) : nullptr;
    if (is_another_value(present, source) && present->is_delete() == source->is_delete()) {
        request.conflict = instance_path(source);
        return nullptr;
    }
    if (is_another_value(present, source) && source->is_delete()) {
        return present; // a value that goes does not take along the one that comes
    }
    Node *node = add_leaf(request, parent, target, value);
    if (value == nullptr && source != nullptr && !target.is_key) {
        // Of a leaf-list one value goes: the leaf, if it holds that.
        node->value = source->schema().kind == NodeKind::leaf_list ? source->value : nullptr;
    }
    return node;
}

// Whether an empty text is a value, and not a sign for none.
bool is_empty_value(const Request &request, const SchemaNode &target) {
    return request.renders && !target.is_inner() && !target.is_key && request.schema().accepts(target, "", nullptr);
}

cerrno add(yfw_map_ctx ctx, cidl_yfw_datatree *tree, const char *path, const char *name_space, const char *value,
           const cidl_yfw_datatree *source, cidl_yfw_datatree **added, bool opens) {
    if (added != nullptr) {
        *added = nullptr;
    }
    if (ctx == nullptr || tree == nullptr || path == nullptr) {
        return YFW_ERR_INVALID;
    }
    Request &request = request_of(ctx);
    auto *base = static_cast<Node *>(tree);
    const SchemaNode *target = resolve(request, base, path);
    if (target == nullptr || target->depth == 0 || !in_name_space(*target, name_space)) {
        return YFW_ERR_UNKNOWN_PATH;
    }
    if (value != nullptr && *value == '\0' && request.is_read() && !is_empty_value(request, *target)) {
        value = nullptr; // a read names what it wants to know
    }
    Node *parent = ensure_level(request, start_of(request, base, path), *target->parent);
    if (parent == nullptr) {
        return YFW_ERR_UNKNOWN_PATH;
    }
    Node *node = nullptr;
    if (!target->is_inner()) {
        node = add_value(request, parent, *target, value, static_cast<const Node *>(source));
        if (node == nullptr) {
            return YFW_ERR_INVALID;
        }
    } else if (target->kind == NodeKind::list && opens) {
        node = open_entry(request.arena(), parent, *target);
    } else {
        node = ensure_child(request.arena(), parent, *target);
    }
    ++request.counts.adds;
    if (request.keeps_added && target->is_inner()) {
        request.added.emplace_back(parent, target);
    }
    const auto *origin = static_cast<const Node *>(source);
    if (origin != nullptr && !(origin->is_delete() && !node->is_delete() && is_another_value(node, origin))) {
        take_operation(request, node, origin);
    }
    if (added != nullptr) {
        *added = node;
    }
    return 0;
}

cerrno search(yfw_map_ctx ctx, cidl_yfw_datatree *tree, cidl_yfw_datatree **entry, const char *path,
              std::span<const char *const> values, std::span<const char *const> names) {
    if (entry != nullptr) {
        *entry = nullptr;
    }
    if (ctx == nullptr || tree == nullptr || path == nullptr || entry == nullptr) {
        return YFW_ERR_INVALID;
    }
    auto *base = static_cast<Node *>(tree);
    const SchemaNode *list = resolve(request_of(ctx), base, path);
    if (list == nullptr || list->kind != NodeKind::list) {
        return YFW_ERR_UNKNOWN_PATH;
    }
    std::array<std::string_view, Request::deepest> keys{};
    if (values.size() != list->keys.size()) {
        return YFW_ERR_NO_ENTRY;
    }
    for (std::size_t given = 0; given < values.size(); ++given) {
        const SchemaNode *key = names[given] == nullptr ? nullptr : list->child(names[given]);
        if (key == nullptr || !key->is_key || values[given] == nullptr) {
            return YFW_ERR_NO_ENTRY;
        }
        keys.at(key->ordinal) = values[given];
    }
    const Node *parent = descendant(path[0] == '/' ? root_of(base) : base, *list->parent);
    *entry = parent == nullptr ? nullptr : find_entry(parent, *list, {keys.data(), values.size()});
    return *entry == nullptr ? static_cast<cerrno>(YFW_ERR_NO_ENTRY) : 0;
}

} // namespace

} // namespace yfw

using yfw::Node;
using yfw::Request;
using yfw::request_of;
using yfw::failure::guarded;

extern "C" {

void yfw_oc_error_path(yfw_map_ctx ctx) {
    guarded([ctx] {
        Request &request = request_of(ctx);
        request.error_path = yfw::instance_path(request.current());
        return cerrno{0};
    });
}

cerrno yfw_map_get_node_info(yfw_map_ctx ctx, const char *path, const char *leaf, char **value) {
    *value = nullptr;
    Request &request = request_of(ctx);
    const yfw::SchemaNode *schema = request.find(path);
    const Node *node = schema == nullptr ? nullptr : request.current_node(*schema);
    if (node == nullptr) {
        return YFW_ERR_NO_ENTRY;
    }
    const yfw::SchemaNode *wanted = schema->is_inner() ? request.find_child(*schema, leaf) : nullptr;
    const Node *found = wanted == nullptr ? nullptr : yfw::child(node, *wanted);
    *value = found == nullptr ? nullptr : found->value;
    return 0;
}

struct cidl_yfw_datatree *yfw_map_get_node(yfw_map_ctx ctx, const char *parent_path, const char *child) {
    Request &request = request_of(ctx);
    const yfw::SchemaNode *schema = request.find(parent_path);
    const Node *node = schema == nullptr ? nullptr : request.current_node(*schema);
    if (node == nullptr || !schema->is_inner()) {
        return nullptr;
    }
    const yfw::SchemaNode *wanted = request.find_child(*schema, child);
    if (wanted == nullptr) {
        return nullptr;
    }
    // Of a list the entry that is being mapped, else the one added last.
    Node *on_path = wanted->repeats() ? request.current_node(*wanted) : nullptr;
    return on_path != nullptr ? on_path : yfw::child(node, *wanted);
}

int yfw_map_is_request_delete(const struct cidl_yfw_datatree *node) {
    return node != nullptr && (node->operation == YFW_OP_DELETE || node->operation == YFW_OP_REMOVE) ? 1 : 0;
}

int yfw_map_do_these_match(const char *a, const char *b) {
    return a != nullptr && b != nullptr && std::strcmp(a, b) == 0 ? 1 : 0;
}

cerrno yfw_map_datatree_add_path_flagged(yfw_map_ctx ctx, struct cidl_yfw_datatree *tree, const char *path,
                                         const char *name_space, const char *value,
                                         const struct cidl_yfw_datatree *source, struct cidl_yfw_datatree **added,
                                         int container, uint32_t) {
    return guarded([&] { return yfw::add(ctx, tree, path, name_space, value, source, added, container != 0); });
}

cerrno yfw_map_datatree_add_path(yfw_map_ctx ctx, struct cidl_yfw_datatree *tree, const char *path,
                                 const char *name_space, const char *value, struct cidl_yfw_datatree **added, uint32_t,
                                 uint32_t flag) {
    return guarded([&] { return yfw::add(ctx, tree, path, name_space, value, nullptr, added, flag == 1); });
}

cerrno yfw_map_search_list(yfw_map_ctx ctx, struct cidl_yfw_datatree *tree, struct cidl_yfw_datatree **entry,
                           const char *path, const char *key_value, const char *key_name, const char *) {
    return yfw::search(ctx, tree, entry, path, {&key_value, 1}, {&key_name, 1});
}

cerrno yfw_map_search_list_multi_keys(yfw_map_ctx ctx, struct cidl_yfw_datatree *tree, struct cidl_yfw_datatree **entry,
                                      const char *path, uint32_t count, const char *const *key_values,
                                      const char *const *key_names, const char *) {
    return yfw::search(ctx, tree, entry, path, {key_values, count}, {key_names, count});
}

cerrno yfw_map_search_or_add_list(yfw_map_ctx ctx, struct cidl_yfw_datatree *tree, struct cidl_yfw_datatree **entry,
                                  const char *path, const char *key_name, const char *key_value,
                                  const char *name_space) {
    const cerrno found = yfw_map_search_list(ctx, tree, entry, path, key_value, key_name, name_space);
    if (found != static_cast<cerrno>(YFW_ERR_NO_ENTRY)) {
        return found;
    }
    return guarded([&]() -> cerrno {
        const cerrno added = yfw::add(ctx, tree, path, name_space, nullptr, nullptr, entry, true);
        if (added != 0) {
            return added;
        }
        return yfw::add(ctx, *entry, key_name, nullptr, key_value, nullptr, nullptr, false);
    });
}

cerrno yfw_map_update_ctx_current_list_ptr(yfw_map_ctx ctx, struct cidl_yfw_datatree *entry) {
    if (ctx == nullptr || entry == nullptr) {
        return YFW_ERR_INVALID;
    }
    auto *node = static_cast<Node *>(entry);
    yfw::make_current(node);
    request_of(ctx).set_current_list(node);
    return 0;
}

cerrno yfw_map_tree_xpath_operations(yfw_map_ctx ctx, struct yfw_xpath_operation *operation) {
    if (ctx == nullptr || operation == nullptr || operation->tree == nullptr) {
        return YFW_ERR_INVALID;
    }
    auto *base = static_cast<Node *>(operation->tree);
    Request &request = request_of(ctx);
    return guarded([&]() -> cerrno {
        operation->found = nullptr;
        if (operation->operation == YFW_XPATH_FIND) {
            operation->found = yfw::find_instance(base, operation->expression);
        } else if (operation->operation == YFW_XPATH_SET) {
            Node *node = yfw::ensure_instance(request.arena(), base, operation->expression);
            if (node != nullptr && operation->value[0] != '\0' && !node->schema().is_inner()) {
                yfw::set_value(request.arena(), node, operation->value);
            }
            operation->found = node;
            ++request.counts.adds;
        }
        return operation->found == nullptr ? static_cast<cerrno>(YFW_ERR_NO_ENTRY) : 0;
    });
}

void yfw_add_to_output_list_ctx(yfw_map_ctx ctx, struct cidl_yfw_datatree *node, struct cidl_yfw_datatree *) {
    std::erase(request_of(ctx).withdrawn, static_cast<const Node *>(node));
}

void yfw_remove_from_output_list_ctx(yfw_map_ctx ctx, struct cidl_yfw_datatree *node, struct cidl_yfw_datatree *) {
    guarded([&] {
        request_of(ctx).withdrawn.push_back(static_cast<const Node *>(node));
        return cerrno{0};
    });
}

cerrno yfw_map_copy_trim_path_list_ctx(yfw_map_ctx ctx, const char *prefix) {
    if (ctx == nullptr || prefix == nullptr) {
        return YFW_ERR_INVALID;
    }
    yfw_map_free_trim_path_list_ctx(ctx);
    ctx->req_ctx->trim_path = yfw_strdup(prefix, "YFW MAP trim list ctx");
    return ctx->req_ctx->trim_path == nullptr ? static_cast<cerrno>(YFW_ERR_NO_MEMORY) : 0;
}

void yfw_map_free_trim_path_list_ctx(yfw_map_ctx ctx) {
    vnos_named_free(ctx->req_ctx->trim_path);
    ctx->req_ctx->trim_path = nullptr;
}
}
