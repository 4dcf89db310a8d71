#include "bgp/names.h"

namespace yfw {

void declare_names(Schema &schema) {
    constexpr std::size_t most_bytes = 32;
    for (const char *path :
         {"/network-instances/network-instance/name", "/network-instances/network-instance/config/name"}) {
        schema.limit_bytes(path, most_bytes);
        schema.add_spelling(path, "default", "DEFAULT");
    }
    for (const char *path : {"/bgp/instance/instance-name", "/bgp/instance/instance-as/four-byte-as/vrfs/vrf/vrf-name",
                             "/vrfs/vrf/vrf-name"}) {
        schema.limit_bytes(path, most_bytes);
    }
}

} // namespace yfw
