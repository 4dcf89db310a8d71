// The system database's items of BGP.
#pragma once

#include "boundary/items.h"

namespace yfw {

// Throws Unusable when the models lack what an item shows.
std::vector<ItemRule> bgp_items(const Schema &schema);

} // namespace yfw
