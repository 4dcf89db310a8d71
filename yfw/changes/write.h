// Changes for a person, and for a program.
#pragma once

#include "changes/changes.h"
#include "documents/sink.h"

#include <vector>

namespace yfw {

// A block for each list entry in which something changes, or which comes or goes: a line with its path, and below it
// the leaves, what was behind "- ", what is behind "+ ". Of passwords it is told that they are other ones. Ends with
// the sink flushed.
void write_changes(Sink &sink, const std::vector<Change> &changes, bool colour);

// The same as JSON: an array of objects with op (add, remove, change), path, and for leaves old and new.
void write_changes_json(Sink &sink, const Schema &schema, const std::vector<Change> &changes);

} // namespace yfw
