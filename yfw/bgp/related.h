// The records that make one OpenConfig entry together.
#pragma once

#include "store/store.h"

#include <string>
#include <vector>

namespace yfw {

// Adds to some records' keys, which are in their order, those without which they would read otherwise: a VRF has a
// record of its own and one in each BGP instance, the default network instance is there when one of the instances is,
// and some leaves stand for those of all address families of a peer.
std::vector<std::string> with_related(std::vector<std::string> keys, const Schema &schema,
                                      const Transaction &transaction);

} // namespace yfw
