#include <gtest/gtest.h>

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

}  // namespace
