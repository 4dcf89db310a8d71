// The names that the published OpenConfig models have, among them those that ours lack: nodes by their place, and
// identities by their base. They are in a file, which scripts/published-index makes:
//
//     modules                        each with its namespace
//     identities                     each with those derived from it
//     nodes                          each with those in it
//
// A line is a name, one blank deeper than what it belongs to, and has its module before it, with a colon, unless that
// is the outer one's.
#pragma once

#include "documents/qualified_name.h"
#include "model/schema.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace yfw {

class PublishedNames {
  public:
    // The file is published.index in the first of the directories that has one. It is looked for when the first
    // question is asked, which then throws Unusable for one that cannot be read. Not for several threads at once.
    explicit PublishedNames(std::vector<std::filesystem::path> directories) : directories_(std::move(directories)) {}

    // The file, where there is none; empty when there is one. Without it nothing is published.
    [[nodiscard]] std::string missing() const;
    [[nodiscard]] bool has(const SchemaNode &parent, const QualifiedName &name) const;
    // An identity of one of the bases, written as JSON has it.
    [[nodiscard]] bool has_identity(const std::vector<std::string> &bases, std::string_view value) const;
    // The names of the nodes in that one, with their modules.
    [[nodiscard]] std::vector<QualifiedName> children(const SchemaNode &parent) const;
    // The schema paths of all that lies below the node and holds nothing itself: leaves, as far as the index tells.
    [[nodiscard]] std::vector<std::string> leaves_below(const SchemaNode &node) const;
    // The name of the module with that namespace, or empty.
    [[nodiscard]] std::string_view module_of_namespace(std::string_view uri) const;

  private:
    using Place = std::uint32_t; // in entries_; 0 is none, and holds the three parts
    struct Entry {
        std::string_view text;
        Place end; // behind all that belongs to it
    };

    void load() const;
    void parse(const std::filesystem::path &file) const;
    [[nodiscard]] Place part(std::string_view name) const;
    [[nodiscard]] Place find(Place outer, std::string_view outer_module, const QualifiedName &name) const;
    [[nodiscard]] Place place_of(const SchemaNode &node) const;
    [[nodiscard]] bool is_derived(const QualifiedName &base, const QualifiedName &identity) const;

    std::vector<std::filesystem::path> directories_;
    mutable bool loaded_ = false;
    mutable std::string text_;
    mutable std::vector<Entry> entries_{{{}, 1}};
    mutable std::string missing_;
    mutable std::unordered_map<const SchemaNode *, Place> places_; // found before
};

} // namespace yfw
