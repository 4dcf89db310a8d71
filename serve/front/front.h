// What all that speaks to clients stands on.
#pragma once

#include "serve/net/budget.h"
#include "serve/net/loop.h"
#include "serve/net/worker.h"
#include "serve/service/metrics.h"
#include "serve/service/roles.h"

#include <cstddef>
#include <functional>
#include <string>

namespace yfw::serve {

// It outlives the connections, and the worker's work.
struct Front {
    const Roles &roles; // the worker's
    Worker &worker;
    Loop &loop;
    Budget &budget;
    Metrics &metrics;
    std::size_t most_bytes;                       // of a message
    std::function<void(const std::string &)> log; // any thread
    std::function<void()> done = [] {};           // behind each request, on the worker
};

} // namespace yfw::serve
