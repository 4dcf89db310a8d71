// A read of some of the store's records.
#pragma once

#include "read/ground.h"
#include "store/store.h"

#include <memory>
#include <string>
#include <vector>

namespace yfw {

// What lies in the records of these keys, which are in their order: natively as the source of the request returned,
// which has their ancestors' leaves too, and for OpenConfig what else they are read with; as OpenConfig configuration,
// when that is asked for, as its destination. What cannot be rendered is left out.
std::unique_ptr<Request> read_records(const Ground &ground, const std::vector<std::string> &keys,
                                      const Transaction &transaction, bool as_openconfig);

} // namespace yfw
