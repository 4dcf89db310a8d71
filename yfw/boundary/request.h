// One request: what the boundary's operations work on behind the context that a callback is given.
#pragma once

#include "base/arena.h"
#include "boundary/log.h"
#include "model/tree.h"
#include "yfw_map.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace yfw {

class Request : public yfw_map_context {
  public:
    static constexpr std::size_t deepest = 64; // levels of the current path

    // kind: YFW_KIND_...; log may be null (nothing is written then) and, like the pool of the arena's memory, must
    // outlive the request.
    Request(const Schema &schema, std::uint32_t kind, Log *log, ChunkPool *pool = nullptr);
    ~Request();
    Request(const Request &) = delete;
    Request &operator=(const Request &) = delete;

    [[nodiscard]] const Schema &schema() const { return schema_; }
    [[nodiscard]] bool is_read() const { return kind_.kind == YFW_KIND_READ || kind_.kind == YFW_KIND_READ_STATE; }
    Arena &arena() { return arena_; }
    // Memory whose texts do not change while the request lasts: one found before is known by its address there.
    void trust(std::span<const char> constants) { constants_ = constants; }
    // The schema node of an absolute path, or null. A plug-in names the same few hundred paths again and again, by the
    // same constants: where one was found before, at most a look at the text is needed.
    const SchemaNode *find(const char *path);
    // A schema node's child of that name, or null; likewise.
    const SchemaNode *find_child(const SchemaNode &parent, const char *name);
    [[nodiscard]] Node *source() const { return source_; } // the tree that is being mapped
    void set_source(Node *root) { source_ = root; }
    [[nodiscard]] Node *destination() const { return destination_; }

    // The current path: the nodes from the top of the source to the one being mapped. A plug-in sees those above that
    // one.
    void enter(Node *node);
    void leave() { set_depth(depth_ - 1U); }
    [[nodiscard]] Node *current() const;
    // The node of the current path with that schema, or below one of its nodes through containers; null when there is
    // none.
    [[nodiscard]] Node *current_node(const SchemaNode &wanted) const;

    // The destination's current entry of a list, in the current entries of those that the list lies in, where it was
    // noted and all of them still are; null when it is to be looked up.
    [[nodiscard]] Node *noted_entry(const SchemaNode &list) const;
    void note_entry(Node *entry);

    [[nodiscard]] Node *current_list() const { return current_list_; }
    void set_current_list(Node *entry) { current_list_ = entry; }

    bool renders = false; // a read's second pass, over what was found: an empty text is a value there

    // What the callbacks did, for the walk: paths added, those of them that carry a delete, error paths recorded.
    struct Counts {
        std::uint64_t adds = 0;
        std::uint64_t deletes = 0;
    };
    Counts counts;
    std::string error_path; // where the last error was recorded
    std::string conflict;   // a value that has no place, since another of its leaf-list took the native leaf

    // What callbacks added by its own path, of containers and list entries: its parent and schema. Kept when asked for.
    bool keeps_added = false;
    std::vector<std::pair<Node *, const SchemaNode *>> added;

    // Nodes of the source that a callback took out of the output and did not put back.
    std::vector<const Node *> withdrawn;

    yfw_req_ctx &fields() { return fields_; }
    Log *log() { return log_; }

  private:
    struct Found {
        const char *path = nullptr;
        const SchemaNode *node = nullptr;
    };

    struct Chain {
        struct Level {
            const Entries *entries;
            Node *entry;
        };
        static constexpr std::size_t longest = 8;
        const SchemaNode *list = nullptr;
        std::size_t size = 0;
        std::array<Level, longest> levels;
    };
    struct FoundChild {
        const SchemaNode *parent = nullptr;
        const char *name = nullptr;
        const SchemaNode *node = nullptr;
    };
    [[nodiscard]] bool is_constant(const char *text) const {
        return reinterpret_cast<std::uintptr_t>(text) - reinterpret_cast<std::uintptr_t>(constants_.data()) <
               constants_.size();
    }

    const Schema &schema_;
    std::span<const char> constants_;
    std::array<Found, 512> found_; // by the address of the text
    std::array<FoundChild, 128> found_children_;
    Log *log_;
    Arena arena_;
    yfw_request_kind kind_{};
    yfw_req_ctx fields_{};
    void set_depth(std::size_t depth) {
        depth_ = depth;
        fields_.path_depth = static_cast<std::uint16_t>(depth > 0 ? depth - 1 : 0);
    }

    std::array<yfw_path_level, deepest> path_{};
    std::size_t depth_ = 0;
    Node *source_;
    Node *destination_;
    Node *current_list_ = nullptr;
    const Node *scratch_entry_ = nullptr; // that fields_.scratch_as is of
    std::array<Chain, 8> chains_;         // by the list's id
};

inline Request &request_of(yfw_map_ctx ctx) {
    return static_cast<Request &>(*ctx);
}

} // namespace yfw
