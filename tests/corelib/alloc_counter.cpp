// Replaces the global operator new of the test program with a counting one.
#include "alloc_counter.h"

#include <cstdlib>
#include <new>

namespace {
thread_local std::size_t t_allocations = 0;
}

std::size_t tw_test::AllocationCount() {
    return t_allocations;
}

void* operator new(std::size_t size) {
    ++t_allocations;
    if (void* p = std::malloc(size ? size : 1)) {
        return p;
    }
    throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void operator delete(void* p) noexcept {
    std::free(p);
}

void operator delete[](void* p) noexcept {
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}
