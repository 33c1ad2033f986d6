#include "alloc_counter.h"

#include <atomic>
#include <cstdlib>
#include <new>

#ifndef TW_ALLOC_COUNTING_ALWAYS
#define TW_ALLOC_COUNTING_ALWAYS 0
#endif

namespace {
std::atomic<int> g_counting{TW_ALLOC_COUNTING_ALWAYS ? 1 : 0};   // open scopes, or 1 for always
std::atomic<std::size_t> g_allocations{0};
std::atomic<std::size_t> g_bytes{0};
std::atomic<long> g_live{0};

bool Counting() { return g_counting.load(std::memory_order_relaxed) > 0; }

void Free(void* p) noexcept {
    if (p && Counting()) g_live.fetch_sub(1, std::memory_order_relaxed);
    std::free(p);
}
}

namespace bench {
CountingScope::CountingScope() { g_counting.fetch_add(1, std::memory_order_relaxed); }
CountingScope::~CountingScope() { g_counting.fetch_sub(1, std::memory_order_relaxed); }

std::size_t AllocationCount() { return g_allocations.load(std::memory_order_relaxed); }
std::size_t AllocatedBytes() { return g_bytes.load(std::memory_order_relaxed); }
long LiveAllocations() { return g_live.load(std::memory_order_relaxed); }
}  // namespace bench

void* operator new(std::size_t size) {
    if (Counting()) {
        g_allocations.fetch_add(1, std::memory_order_relaxed);
        g_bytes.fetch_add(size, std::memory_order_relaxed);
        g_live.fetch_add(1, std::memory_order_relaxed);
    }
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* p) noexcept { Free(p); }
void operator delete[](void* p) noexcept { Free(p); }
void operator delete(void* p, std::size_t) noexcept { Free(p); }
void operator delete[](void* p, std::size_t) noexcept { Free(p); }
