// The top-level nodes of the two sides of the mapping.
#pragma once

#include "model/schema.h"

#include <array>
#include <string>
#include <string_view>

namespace yfw {

inline constexpr std::array<std::string_view, 2> native_roots{"/bgp", "/vrfs"};
inline constexpr std::array<std::string_view, 2> operational_roots{"/ocni-bgp", "/ocni-bpm"};

enum class Side : std::uint8_t { openconfig, native, operational, other };

// The side that a node other than the root lies on.
Side side_of(const SchemaNode &node);

// For ReadOptions::why_not. An edit takes OpenConfig, a load what is native; each says what takes the other.
std::string why_not_edited(const SchemaNode &top);
std::string why_not_loaded(const SchemaNode &top);

// Leaves that tell no more than that an entry is there: a native list, and those that a read fetches of an entry of
// which nothing else is wanted.
struct EntrySigns {
    std::string_view list;
    std::array<std::string_view, 2> leaves; // an empty one for none
};
inline constexpr std::array<EntrySigns, 2> entry_signs{{
    {"/bgp/instance",
     {"/bgp/instance/instance-as/four-byte-as/bgp-running",
      "/bgp/instance/instance-as/four-byte-as/vrfs/vrf/vrf-global/exists"}},
    {"/bgp/instance/instance-as/four-byte-as/vrfs/vrf",
     {"/bgp/instance/instance-as/four-byte-as/vrfs/vrf/vrf-global/exists", ""}},
}};

} // namespace yfw
