#include "boundary/request.h"

#include "base/error.h"
#include "vnos_platform.h"

#include <cstdint>
#include <cstring>

namespace yfw {

Request::Request(const Schema &schema, std::uint32_t kind, Log *log, ChunkPool *pool)
    : yfw_map_context{},
      schema_(schema),
      log_(log),
      arena_(pool),
      source_(new_root(arena_, schema)),
      destination_(new_root(arena_, schema, kind == YFW_KIND_EDIT ? has_origin : 0)) {
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
    vnos_named_free(fields_.error_text);
    vnos_named_free(fields_.common_data_ptr);
    vnos_named_free(fields_.trim_path);
    release_name_spaces(destination_); // the last of tagged memory, if there are any
    release_name_spaces(source_);
    arena_.wipe();
}

const SchemaNode *Request::find(const char *path) {
    const auto address = reinterpret_cast<std::uintptr_t>(path);
    Found &found = found_[(address ^ address >> 9U) % found_.size()];
    if (found.path != path || (!is_constant(path) && std::strcmp(found.node->path.c_str(), path) != 0)) {
        const SchemaNode *node = schema_.find(path);
        if (node == nullptr) {
            return nullptr;
        }
        found = {path, node};
    }
    return found.node;
}

const SchemaNode *Request::find_child(const SchemaNode &parent, const char *name) {
    if (!is_constant(name)) {
        return parent.child(name);
    }
    FoundChild &found = found_children_[(reinterpret_cast<std::uintptr_t>(name) ^ parent.id) % found_children_.size()];
    if (found.name != name || found.parent != &parent) {
        found = {&parent, name, parent.child(name)};
    }
    return found.node;
}

Node *Request::noted_entry(const SchemaNode &list) const {
    const Chain &chain = chains_[list.id % chains_.size()];
    if (chain.list != &list) {
        return nullptr;
    }
    for (std::size_t i = 0; i < chain.size; ++i) {
        if (chain.levels[i].entries->current != chain.levels[i].entry) {
            return nullptr;
        }
    }
    return chain.levels[0].entry;
}

void Request::note_entry(Node *entry) {
    Chain &chain = chains_[entry->schema().id % chains_.size()];
    chain.list = nullptr;
    chain.size = 0;
    for (Node *node = entry; node->up() != nullptr; node = node->up()) {
        if (node->schema().kind != NodeKind::list) {
            continue;
        }
        if (chain.size == Chain::longest) {
            return;
        }
        chain.levels[chain.size++] = {entries(node->up(), node->schema()), node};
    }
    chain.list = &entry->schema();
}

void Request::enter(Node *node) {
    if (depth_ == deepest) {
        throw Refused(Reason::too_big, instance_path(node), "the node lies deeper than any model goes");
    }
    path_[depth_] = {node->name, node};
    // What callbacks keep for the next one is of one entry below the top: of a BGP instance.
    if (depth_ <= 1 && node->schema().kind == NodeKind::list && node != scratch_entry_) {
        fields_.scratch_as = 0;
        scratch_entry_ = node;
    }
    set_depth(depth_ + 1);
}

Node *Request::current() const {
    return depth_ == 0 ? nullptr : static_cast<Node *>(path_[depth_ - 1].node);
}

Node *Request::current_node(const SchemaNode &wanted) const {
    // Level d of the path is a node of schema depth d + 1. Below the nearest ancestor on the path containers lead on.
    if (wanted.depth == 0) {
        return source_;
    }
    if (wanted.depth <= depth_ && path_[wanted.depth - 1U].node->framework == static_cast<const void *>(&wanted)) {
        return static_cast<Node *>(path_[wanted.depth - 1U].node);
    }
    const Node *parent = wanted.repeats() ? nullptr : current_node(*wanted.parent);
    return parent == nullptr ? nullptr : child(parent, wanted);
}

} // namespace yfw
