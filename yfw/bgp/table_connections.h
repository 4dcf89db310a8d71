// The network-instance mapping's table connections: those into BGP are handed on to the BGP mapping.
#pragma once

#include "mapping/mapping.h"

#include <string>
#include <string_view>
#include <vector>

namespace yfw {

// An entry of the list. Of an edit, what the BGP mapping does not take is left alone with a note: another destination,
// source or address family, a network instance other than the default one, a BGP instance not named "default". Throws
// Refused when the AS number of that instance is not known.
cerrno map_table_connection(CompanionCall &call);

// A leaf of an entry's config, which the entry has been mapped with. What the entry cannot say of it is added: an
// operation of its own, a delete, the end of a metric that was not propagated.
cerrno map_table_connection_leaf(CompanionCall &call);

// The address family of BGP, an OpenConfig identity, that natively has an entry's redistribution; empty for an entry
// that the BGP mapping does not take.
std::string_view family_of_connection(const Node &connection);

// The native nodes that a table connection, or a leaf of it, becomes in an address family; none for any other node.
std::vector<std::string> native_nodes_of_connection(const SchemaNode &node);

} // namespace yfw
