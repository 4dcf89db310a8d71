// What an engine's requests stand on.
#pragma once

#include "bgp/rules.h"
#include "boundary/items.h"
#include "boundary/log.h"
#include "boundary/request.h"
#include "mapping/mapping.h"

#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace yfw {

// All of it is the engine's and outlives the requests.
struct Ground {
    const Schema &schema;
    const Mapping &mapping;
    const BgpRules &bgp;
    const std::vector<ItemRule> &items; // of the system database
    std::span<const char> constants;    // texts of the plug-in that do not change
    Log *log;
    ChunkPool *pool;

    [[nodiscard]] std::unique_ptr<Request> request(std::uint32_t kind) const {
        auto made = std::make_unique<Request>(schema, kind, log, pool);
        made->trust(constants);
        return made;
    }
};

} // namespace yfw
