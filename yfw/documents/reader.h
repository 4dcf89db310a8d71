// Reads JSON (RFC 7951, metadata after RFC 7952) and NETCONF XML into a data tree.
#pragma once

#include "base/arena.h"
#include "base/error.h"
#include "model/schema.h"
#include "model/tree.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace yfw {

class PublishedNames;

enum class Syntax : std::uint8_t { json, xml };

// What stands in place of a password that is hidden. An edit does not take it for one.
inline constexpr std::string_view hidden_value = "********";

// What applies to nodes without an operation of their own.
enum class DefaultOperation : std::uint8_t { merge, replace, none };

struct ReadOptions {
    bool skip_unknown = false; // list nodes outside the models instead of refusing the document
    bool edit = true;          // nodes may carry operations, and a deleted leaf needs no value
    bool in_message = false;   // the caller has read NETCONF's elements around the data: these say nothing more
    // Why a top-level node may not be in the document, empty for one that may. Null: all may.
    std::string (*why_not)(const SchemaNode &top) = nullptr;
    // Nodes outside the models that these have are left out. Null: there are none.
    const PublishedNames *published = nullptr;
    std::size_t max_size = std::size_t{1} << 30U;
    // Takes where in the text each node stands. Null: that is not wanted.
    std::vector<std::pair<const Node *, const char *>> *places = nullptr;
};

struct Document {
    Node *root = nullptr;
    bool has_operations = false;                       // some node has one of its own
    std::optional<DefaultOperation> default_operation; // what an <edit-config> around the data asks for
    std::vector<std::string> unknown;                  // paths of the topmost nodes that were skipped
    std::vector<std::string> left_out;                 // likewise, of those that are published
};

// Reading stops at this many faults.
inline constexpr std::size_t most_faults = 20;

// Throws Refused with all faults, in the order of the text. The values are copied into the arena; the text, which may
// be reallocated with room behind its end, is not needed afterwards.
Document read_document(Arena &arena, const Schema &schema, std::string &text, Syntax syntax,
                       const ReadOptions &options);

// Gives faults that were found after a document was read the places of their nodes in it, by their paths, or those of
// what they lie in. For that it is read once more: nothing is kept of places where there are no faults.
std::vector<Fault> with_places(std::vector<Fault> faults, const Schema &schema, std::string &text, ReadOptions options);

// XML when the first character that is not blank is '<'.
Syntax guess_syntax(std::string_view text);

// "merge", "replace" or "none".
std::optional<DefaultOperation> default_operation_of(std::string_view name);

} // namespace yfw
