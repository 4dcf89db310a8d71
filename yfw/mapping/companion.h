// The neighbouring network-instance mapping, which on a router owns the list of network instances: a small one of our
// own, so that the plug-in finds the native VRF entry that it writes a route distinguisher into.
#pragma once

#include "mapping/mapping.h"

#include <string_view>

namespace yfw {

// The service of that name, or null.
CompanionService find_companion_service(std::string_view name);

// Whether a network instance is the default one: without a name, or named so.
bool is_default_network_instance(const char *name);

// What it does before it hands a protocol entry on to BGP.
bool is_bgp_entry(const Node &protocol);

} // namespace yfw
