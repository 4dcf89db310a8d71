// What a read does to its result: repeats keys, and leaves out what was not asked for.
#pragma once

#include "boundary/request.h"
#include "mapping/mapping.h"

#include <string>
#include <vector>

namespace yfw {

// Fills the leaves that the mapping serves as repeats of a key, in the entries of a result that are configured; with
// state their state copies, in all.
void repeat_keys(Request &request, const Mapping &mapping, Node *node, bool state);

// Takes out of the data what the filter does not cover. A filter node without children but keys covers all below it.
void cut(Node *data, const Node *filter);

// Takes out what lies more than so many levels below the nodes of a filter, or below the root where that is null.
void limit_depth(Node *data, const Node *filter, std::size_t levels);

// The instance paths that do not lie in what another of them names, each once. In a tree of paths a node without
// children stands for all below it: one that lies in it would narrow it. Throws Refused for what is no path of the
// models.
std::vector<std::string> outermost(const Schema &schema, const std::vector<std::string> &paths);

// Nodes of trees of paths that cover one node of the data, all of them.
using Filters = std::vector<const Node *>;

// Adds the nodes of a filter that cover the data's node, which lies directly below what the filter covers.
void add_covering(const Node *node, const Node *filter, Filters &covering);

// Whether one of them covers all that lies below, too.
bool any_covers_all(const Filters &filters);

} // namespace yfw
