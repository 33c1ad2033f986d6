// CArrayEx: a CArray that can be assigned, so that it can stand as a map's value.
#pragma once

#include "corelib/framework/Array.h"

template <class TYPE, class ARG_TYPE>
class CArrayEx : public CArray<TYPE, ARG_TYPE> {
public:
    CArrayEx() = default;
    CArrayEx(const CArrayEx& src) : CArray<TYPE, ARG_TYPE>() { this->Copy(src); }
    // Size set to the source's and each element assigned in order; self-assignment changes nothing.
    CArrayEx& operator=(const CArrayEx& src) {
        if (&src != this) this->Copy(src);
        return *this;
    }
};
