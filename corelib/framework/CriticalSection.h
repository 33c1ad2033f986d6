// CCriticalSection: a recursive lock. The owning thread may lock it again;
// it is free once every Lock has had its Unlock.
#pragma once

#include <mutex>

#include "corelib/framework/SyncObject.h"

class CCriticalSection : public CSyncObject {
public:
    CCriticalSection() = default;
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    int Lock() override {
        m_mutex.lock();
        return 1;
    }
    int Unlock() override {
        m_mutex.unlock();
        return 1;
    }
    // Non-zero if the lock was taken without waiting.
    int TryLock() { return m_mutex.try_lock() ? 1 : 0; }

private:
    std::recursive_mutex m_mutex;
};
