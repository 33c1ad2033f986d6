// Counts the calls of the global operator new made by this thread, so that a
// test can check that a default construction allocates nothing.
#pragma once

#include <cstddef>

namespace tw_test {
// Calls of operator new on this thread so far.
std::size_t AllocationCount();
}  // namespace tw_test
