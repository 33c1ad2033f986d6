// CSyncObject: what a CSingleLock can hold.
#pragma once

class CSyncObject {
public:
    virtual ~CSyncObject() = default;
    // Blocks until owned; non-zero on success.
    virtual int Lock() = 0;
    // Releases one ownership; non-zero on success.
    virtual int Unlock() = 0;
};
