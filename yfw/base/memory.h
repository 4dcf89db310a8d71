// Tagged memory, and a way for tests to make allocations fail.
#pragma once

#include <cstdint>

namespace yfw::memory {

// The number of tagged allocations that are not freed yet.
std::int64_t outstanding();

// Makes the count-th tagged allocation from now on fail (1: the next), once. 0 turns it off.
void fail_after(std::uint64_t count);

} // namespace yfw::memory
