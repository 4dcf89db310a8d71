#include "request/request.h"

#include "error.h"
#include "vnos_platform.h"

#include <cstdint>
#include <cstring>

namespace yfw {

Request::Request(const Schema &schema, std::uint32_t kind, Log *log)
    : yfw_map_context{},
      schema_(schema),
      log_(log),
      source_(new_root(arena_, schema)),
      destination_(new_root(arena_, schema)) {
    kind_.kind = kind;
    fields_.kind = &kind_;
    fields_.path = path_.data();
    fields_.del_expansion_mode = YFW_EXPAND_ON;
    req_ctx = &fields_;
    debug_filter.level = -1;
    if (log != nullptr) {
        log->attach(*this);
    }
}

Request::~Request() {
    release_name_spaces(destination_);
    release_name_spaces(source_);
    vnos_named_free(fields_.error_text);
    vnos_named_free(fields_.common_data_ptr);
    vnos_named_free(fields_.trim_path);
    arena_.wipe();
}

const SchemaNode *Request::find(const char *path) {
    const auto address = reinterpret_cast<std::uintptr_t>(path);
    Found &found = found_[(address ^ address >> 9U) % found_.size()];
    if (found.path != path || std::strcmp(found.node->path.c_str(), path) != 0) {
        const SchemaNode *node = schema_.find(path);
        if (node == nullptr) {
            return nullptr;
        }
        found = {path, node};
    }
    return found.node;
}

void Request::enter(Node *node) {
    if (depth_ == deepest) {
        throw Refused(Reason::too_big, instance_path(node), "the node lies deeper than any model goes");
    }
    path_[depth_] = {node->name, node};
    set_depth(depth_ + 1);
}

Node *Request::current() const {
    return depth_ == 0 ? nullptr : static_cast<Node *>(path_[depth_ - 1].node);
}

Node *Request::current_node(const SchemaNode &wanted) const {
    // Level d of the path is a node of schema depth d + 1. Below the nearest ancestor on the path containers lead on.
    std::array<const SchemaNode *, deepest> below{};
    std::size_t count = 0;
    for (const SchemaNode *schema = &wanted; schema->depth > 0 && count < deepest; schema = schema->parent) {
        const bool on_path =
            schema->depth <= depth_ && path_[schema->depth - 1U].node->framework == static_cast<const void *>(schema);
        if (on_path || schema->parent->depth == 0) {
            Node *node = on_path ? static_cast<Node *>(path_[schema->depth - 1U].node)
                                 : (schema->repeats() ? nullptr : child(source_, *schema));
            while (node != nullptr && count > 0) {
                const SchemaNode *next = below[--count];
                node = next->repeats() ? nullptr : child(node, *next);
            }
            return node;
        }
        below[count++] = schema;
    }
    return nullptr;
}

} // namespace yfw
