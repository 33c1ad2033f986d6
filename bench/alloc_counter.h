// Counts heap allocations made by this program, so a benchmark can report
// how many allocations an operation costs.
#pragma once

#include <cstddef>

namespace bench {

// Allocations made so far by operator new in this process.
std::size_t AllocationCount();
// Bytes those allocations asked for, so far.
std::size_t AllocatedBytes();
// Allocations not yet freed.
long LiveAllocations();

}  // namespace bench
