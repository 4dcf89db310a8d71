// Whether a store is whole: that its pages are sound is seen when it is opened, what its records say is looked at here.
#pragma once

#include "model/schema.h"
#include "store/store.h"

#include <cstddef>
#include <string>
#include <vector>

namespace yfw {

struct StoreCheck {
    std::size_t entries = 0;
    std::vector<std::string> problems; // the path and what is wrong there; none when the store is whole
};

StoreCheck check_records(const Transaction &transaction, const Schema &schema);

// The problems of some entries, by their keys; one that is not there is passed over.
std::vector<std::string> check_entries(const Transaction &transaction, const Schema &schema,
                                       const std::vector<std::string> &keys);

} // namespace yfw
