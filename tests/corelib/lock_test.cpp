#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "corelib/framework/CriticalSection.h"
#include "corelib/framework/SingleLock.h"

namespace {

bool OtherThreadCanLock(CCriticalSection& cs) {
    bool taken = false;
    std::thread([&] {
        taken = cs.TryLock() != 0;
        if (taken) cs.Unlock();
    }).join();
    return taken;
}

TEST(Lock, RecursiveAndScoped) {
    CCriticalSection cs;
    {
        CSingleLock outer(&cs, 1);
        EXPECT_TRUE(outer.IsLocked());
        {
            CSingleLock inner(&cs, 1);  // the owner locks again without blocking
            EXPECT_TRUE(inner.IsLocked());
            EXPECT_FALSE(OtherThreadCanLock(cs));
        }
        EXPECT_FALSE(OtherThreadCanLock(cs));  // still held by the outer lock
        outer.Unlock();
        EXPECT_FALSE(outer.IsLocked());
        EXPECT_TRUE(OtherThreadCanLock(cs));
        outer.Lock();
        outer.Lock();  // a second Lock of the same holder does nothing
    }
    EXPECT_TRUE(OtherThreadCanLock(cs));
    CSingleLock none(nullptr, 1);
    EXPECT_FALSE(none.IsLocked());
}

TEST(Lock, ExcludesOtherThreads) {
    CCriticalSection cs;
    long counter = 0;
    std::atomic<int> inside{0};
    std::atomic<bool> overlap{false};
    auto work = [&] {
        for (int i = 0; i < 20000; ++i) {
            CSingleLock lock(&cs, 1);
            if (inside.fetch_add(1) != 0) overlap = true;
            ++counter;
            inside.fetch_sub(1);
        }
    };
    std::thread a(work), b(work);
    a.join();
    b.join();
    EXPECT_FALSE(overlap);
    EXPECT_EQ(counter, 40000);
}

}  // namespace
