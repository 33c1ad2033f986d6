// Fixes the thresholds at which glibc's heap maps large blocks on their own
// and hands freed memory back to the system. Left to themselves they move
// with the largest block freed so far, so a benchmark's blocks come from memory
// the process already holds or from fresh pages (about 7 ms a megabyte to
// fault in on a virtual machine) depending on which benchmarks ran before it.
// Fixed, every row pays the same, ours and the peers' alike.
#include <malloc.h>

namespace {

const bool kSteadyHeap = [] {
    mallopt(M_MMAP_THRESHOLD, 32 << 20);   // the largest glibc takes
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    return true;
}();

}  // namespace
