// The walk: visits a request's nodes parents first, keys first and then in schema order, and calls what serves each.
#pragma once

#include "error.h"
#include "mapping/mapping.h"
#include "request/request.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace yfw {

struct WalkResult {
    std::vector<std::string> not_mapped;                      // instance paths of nodes that nothing serves
    std::vector<std::string> notes;                           // "PATH: reason" for nodes that their callback left alone
    std::vector<std::pair<const Node *, Refused>> unanswered; // of a read: nodes whose callback refused
};

using EntryKeys = std::vector<std::string>; // the values of an entry's keys, in the schema's order

// Tells which entries of an OpenConfig list exist already.
using ExistingEntries = std::function<std::vector<EntryKeys>(const Node *parent, const SchemaNode &list)>;

// Maps the request's source into its destination: an edit, or, for the kinds of a read, the declaration of the native
// paths that answer it. When a callback refuses, an edit throws Refused with the path, the reason in words and the
// code; a read goes on without that node.
// existing is for edits, which delete or replace by it what the request does not name. stored is for both, and not
// for the walk that renders.
WalkResult walk(Request &request, const Mapping &mapping, const ExistingEntries &existing, const StoredNative &stored);

// Completes the tree of a read: below its innermost nodes come all nodes that are served; list entries without keys
// stand for all. state: nodes of state are wanted too.
void expand_read(Request &request, const Mapping &mapping, bool state);

} // namespace yfw
