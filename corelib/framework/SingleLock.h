// CSingleLock: holds a CSyncObject for the scope it lives in.
//
// Made on the stack; locks at construction when bInitialLock, and releases
// what it holds when destroyed. Lock and Unlock in between are balanced: a
// second Lock while held does nothing.
#pragma once

#include "corelib/framework/SyncObject.h"

class CSingleLock {
public:
    explicit CSingleLock(CSyncObject* pObject, int bInitialLock = 0) : m_pObject(pObject) {
        if (bInitialLock) Lock();
    }
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;
    ~CSingleLock() { Unlock(); }

    int Lock() {
        if (!m_pObject) return 0;
        if (!m_bAcquired) m_bAcquired = m_pObject->Lock() ? 1 : 0;
        return m_bAcquired;
    }
    int Unlock() {
        if (m_pObject && m_bAcquired) m_bAcquired = m_pObject->Unlock() ? 0 : 1;
        return m_bAcquired ? 0 : 1;
    }
    int IsLocked() const { return m_bAcquired; }

private:
    CSyncObject* m_pObject;
    int m_bAcquired = 0;
};
