// CArrayEx: a CArray that can be assigned, so that it can stand as a map's value.
#pragma once

#include <type_traits>

#include "corelib/framework/Array.h"

template <class TYPE, class ARG_TYPE>
class CArrayEx : public CArray<TYPE, ARG_TYPE> {
    using Base = CArray<TYPE, ARG_TYPE>;
    static constexpr bool kTakesMutable = std::is_same_v<ARG_TYPE, TYPE&>;

public:
    CArrayEx() = default;
    CArrayEx(const CArrayEx& src) : CArray<TYPE, ARG_TYPE>() { this->Copy(src); }
    // Size set to the source's and each element assigned in order; self-assignment changes nothing.
    CArrayEx& operator=(const CArrayEx& src) {
        if (&src != this) this->Copy(src);
        return *this;
    }

    // The metadata arrays take their elements by non-const reference, which
    // the base only copies from: these let temporaries and const objects in.
    // A non-const lvalue still picks the base's form.
    using Base::Add;
    using Base::InsertAt;
    using Base::SetAt;
    using Base::SetAtGrow;
    intptr_t Add(const TYPE& newElement) requires kTakesMutable { return Base::Add(Arg(newElement)); }
    void SetAt(intptr_t nIndex, const TYPE& newElement) requires kTakesMutable { Base::SetAt(nIndex, Arg(newElement)); }
    void SetAtGrow(intptr_t nIndex, const TYPE& newElement) requires kTakesMutable { Base::SetAtGrow(nIndex, Arg(newElement)); }
    void InsertAt(intptr_t nIndex, const TYPE& newElement, intptr_t nCount = 1) requires kTakesMutable {
        Base::InsertAt(nIndex, Arg(newElement), nCount);
    }

private:
    // The base reads the element and never writes it.
    static TYPE& Arg(const TYPE& element) { return const_cast<TYPE&>(element); }
};
