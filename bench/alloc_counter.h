// Counts heap allocations made by this program, so a benchmark can report
// how many allocations an operation costs.
#pragma once

#include <cstddef>

namespace bench {

// Counting costs three atomic operations an allocation, which a row timing
// allocation-heavy work must not pay on top of its own: operator new and
// delete count only while a CountingScope lives, or always in a program built
// with TW_ALLOC_COUNTING_ALWAYS (the tests, which read counts anywhere).
class CountingScope {
public:
    CountingScope();
    ~CountingScope();
    CountingScope(const CountingScope&) = delete;
    CountingScope& operator=(const CountingScope&) = delete;
};

// Allocations made so far by operator new in this process.
std::size_t AllocationCount();
// Bytes those allocations asked for, so far.
std::size_t AllocatedBytes();
// Allocations not yet freed.
long LiveAllocations();

}  // namespace bench
