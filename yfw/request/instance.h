// Queries by instance path, relative to a node: "/global/config/as", "/bgp/instance[instance-name=core]/".
#pragma once

#include "tree.h"

namespace yfw {

// The node, or null. A list level without keys means the current entry.
Node *find_instance(Node *base, std::string_view expression);

// The node, its missing levels and keys added; null when the models have no such path.
Node *ensure_instance(Arena &arena, Node *base, std::string_view expression);

// The node of a schema node below a root or one of its nodes, by current entries; null when a level is missing.
const Node *existing_node(const Node *base, const SchemaNode &wanted);

} // namespace yfw
