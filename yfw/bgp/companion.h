// The neighbouring network-instance mapping, which on a router owns the list of network instances: a small one of our
// own, so that the plug-in finds the native VRF entry that it writes a route distinguisher into.
#pragma once

#include "mapping/mapping.h"

#include <string_view>

namespace yfw {

extern const Companion bgp_companion;

// Whether a network instance is the default one: without a name, or named so.
bool is_default_network_instance(const char *name);

// What it does before it hands a protocol entry on to BGP.
bool is_bgp_entry(const Node &protocol);

// The value of a leaf, which may be null; and the name that a child of an entry has as an identity, without a prefix.
// Empty where there is none.
std::string_view text_of(const Node *leaf);
std::string_view identity(const Node &entry, std::string_view key);

} // namespace yfw
