// CMapEx: a CMap that copies by value and reaches a value by its walk position.
//
// Copying gives the copy the source's bucket count, so both walk alike. With
// pointer values the copies share the pointed objects and neither owns them.
// GetAt(int) walks from the start each time: O(nIndex), not a way to walk.
#pragma once

#include <type_traits>

#include "corelib/framework/Map.h"

template <class KEY, class ARG_KEY, class VALUE, class ARG_VALUE>
class CMapEx : public CMap<KEY, ARG_KEY, VALUE, ARG_VALUE> {
    using Base = CMap<KEY, ARG_KEY, VALUE, ARG_VALUE>;
    static constexpr bool kMutableKey = std::is_same_v<ARG_KEY, KEY&>;
    static constexpr bool kMutableValue = std::is_same_v<ARG_VALUE, VALUE&>;

public:
    CMapEx(int nBlockSize = 10) : Base(nBlockSize) {
        static_assert(sizeof(CMapEx) == sizeof(Base));   // behaviour only: it must stay as small as a CMap
    }
    // Block size 10 whatever the source's, then operator=.
    CMapEx(const CMapEx& src) : Base(10) { *this = src; }
    // RemoveAll; the source's bucket count, allocated at once; then each pair of
    // the source in its walk order. Assigning a map to itself empties it.
    CMapEx& operator=(const CMapEx& src) {
        this->RemoveAll();
        this->InitHashTable(src.GetHashTableSize(), 1);
        for (const typename Base::CPair* p = src.PGetFirstAssoc(); p; p = src.PGetNextAssoc(p))
            (*this)[KeyArg(p->key)] = p->value;
        return *this;
    }
    // The value at position nIndex of the walk, counted from 0. Outside 0 to
    // count - 1: CInvalidArgException, from GetNextAssoc.
    VALUE GetAt(int nIndex) const {
        POSITION pos = this->GetStartPosition();
        KEY key{};
        VALUE value{};
        for (int i = 0; i <= nIndex; ++i) this->GetNextAssoc(pos, key, value);
        if (nIndex < 0) throw CInvalidArgException("CMapEx::GetAt: negative index");
        return value;
    }

    // Maps that take keys or values by non-const reference (the metadata's
    // function map) only read them: these let temporaries and const objects
    // in, e.g. functions[u"Greet"]. A non-const lvalue still picks the base's form.
    using Base::Lookup;
    using Base::PLookup;
    using Base::RemoveKey;
    using Base::SetAt;
    using Base::operator[];
    int Lookup(const KEY& key, VALUE& rValue) const requires kMutableKey { return Base::Lookup(KeyArg(key), rValue); }
    const typename Base::CPair* PLookup(const KEY& key) const requires kMutableKey { return Base::PLookup(KeyArg(key)); }
    typename Base::CPair* PLookup(const KEY& key) requires kMutableKey { return Base::PLookup(KeyArg(key)); }
    VALUE& operator[](const KEY& key) requires kMutableKey { return Base::operator[](KeyArg(key)); }
    int RemoveKey(const KEY& key) requires kMutableKey { return Base::RemoveKey(KeyArg(key)); }
    void SetAt(const KEY& key, const VALUE& newValue) requires(kMutableKey || kMutableValue) {
        (*this)[KeyArg(key)] = newValue;
    }

private:
    // The stored key in the form ARG_KEY takes (a non-const reference for CString& keys).
    static ARG_KEY KeyArg(const KEY& key) {
        if constexpr (std::is_lvalue_reference_v<ARG_KEY> && !std::is_const_v<std::remove_reference_t<ARG_KEY>>) {
            return const_cast<KEY&>(key);
        } else {
            return key;
        }
    }
};
