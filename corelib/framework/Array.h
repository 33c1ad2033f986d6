// CArray<TYPE, ARG_TYPE>: a growing array of values, stored contiguously.
//
// Costs: indexed access O(1); Add amortised O(1); InsertAt and RemoveAt O(n)
// in the elements after the position. An empty array allocates nothing. An
// index outside the array throws CInvalidArgException on every access path
// (GetAt, ElementAt, operator[], SetAt, RemoveAt). Not thread-safe: one array
// belongs to one thread at a time.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "corelib/framework/InvalidArgException.h"

template <class TYPE, class ARG_TYPE = const TYPE&>
class CArray {
public:
    CArray() = default;
    CArray(const CArray&) = default;
    CArray(CArray&&) noexcept = default;
    CArray& operator=(const CArray&) = default;
    CArray& operator=(CArray&&) noexcept = default;
    virtual ~CArray() = default;

    intptr_t GetSize() const { return static_cast<intptr_t>(m_data.size()); }
    intptr_t GetCount() const { return GetSize(); }
    int IsEmpty() const { return m_data.empty() ? 1 : 0; }
    intptr_t GetUpperBound() const { return GetSize() - 1; }
    // New elements are value-initialised; nGrowBy is a capacity hint (-1: keep the current one).
    void SetSize(intptr_t nNewSize, intptr_t nGrowBy = -1) {
        if (nNewSize < 0) throw CInvalidArgException("CArray::SetSize: negative size");
        if (nGrowBy > 0) m_nGrowBy = nGrowBy;
        if (static_cast<std::size_t>(nNewSize) > m_data.capacity() && m_nGrowBy > 0)
            m_data.reserve(std::max(static_cast<std::size_t>(nNewSize), m_data.size() + static_cast<std::size_t>(m_nGrowBy)));
        m_data.resize(static_cast<std::size_t>(nNewSize));
    }
    // Releases capacity beyond the size.
    void FreeExtra() { m_data.shrink_to_fit(); }
    void RemoveAll() { std::vector<TYPE>().swap(m_data); }
    const TYPE& GetAt(intptr_t nIndex) const { return m_data[Checked(nIndex)]; }
    TYPE& GetAt(intptr_t nIndex) { return m_data[Checked(nIndex)]; }
    void SetAt(intptr_t nIndex, ARG_TYPE newElement) { m_data[Checked(nIndex)] = newElement; }
    const TYPE& ElementAt(intptr_t nIndex) const { return m_data[Checked(nIndex)]; }
    TYPE& ElementAt(intptr_t nIndex) { return m_data[Checked(nIndex)]; }
    const TYPE* GetData() const { return m_data.empty() ? nullptr : m_data.data(); }
    TYPE* GetData() { return m_data.empty() ? nullptr : m_data.data(); }
    // Sets the element, growing the array to hold nIndex first.
    void SetAtGrow(intptr_t nIndex, ARG_TYPE newElement) {
        if (nIndex < 0) throw CInvalidArgException("CArray::SetAtGrow: negative index");
        if (nIndex >= GetSize()) {
            TYPE copy(newElement);  // the argument may live in this array
            SetSize(nIndex + 1);
            m_data[static_cast<std::size_t>(nIndex)] = std::move(copy);
        } else {
            m_data[static_cast<std::size_t>(nIndex)] = newElement;
        }
    }
    // Appends; returns the new element's index.
    intptr_t Add(ARG_TYPE newElement) {
        if (m_data.size() == m_data.capacity()) {
            TYPE copy(newElement);  // the argument may live in this array
            m_data.push_back(std::move(copy));
        } else {
            m_data.push_back(newElement);
        }
        return GetSize() - 1;
    }
    // Appends a copy of every element of src; returns the index of the first one.
    intptr_t Append(const CArray& src) {
        const intptr_t first = GetSize();
        if (&src == this) {
            const std::vector<TYPE> copy(m_data);
            m_data.insert(m_data.end(), copy.begin(), copy.end());
        } else {
            m_data.insert(m_data.end(), src.m_data.begin(), src.m_data.end());
        }
        return first;
    }
    // Makes this array a copy of src: same size, each element assigned in order.
    void Copy(const CArray& src) {
        if (&src != this) m_data = src.m_data;
    }
    const TYPE& operator[](intptr_t nIndex) const { return GetAt(nIndex); }
    TYPE& operator[](intptr_t nIndex) { return GetAt(nIndex); }
    // Inserts nCount copies at nIndex; past the end the array grows to hold them.
    void InsertAt(intptr_t nIndex, ARG_TYPE newElement, intptr_t nCount = 1) {
        if (nIndex < 0 || nCount < 0) throw CInvalidArgException("CArray::InsertAt: negative index or count");
        TYPE copy(newElement);  // the argument may live in this array
        if (nIndex > GetSize()) SetSize(nIndex);
        m_data.insert(m_data.begin() + nIndex, static_cast<std::size_t>(nCount), copy);
    }
    // Inserts a copy of every element of pNewArray at nStartIndex.
    void InsertAt(intptr_t nStartIndex, CArray* pNewArray) {
        if (!pNewArray || nStartIndex < 0) throw CInvalidArgException("CArray::InsertAt: null array or negative index");
        const std::vector<TYPE> copy(pNewArray->m_data);
        if (nStartIndex > GetSize()) SetSize(nStartIndex);
        m_data.insert(m_data.begin() + nStartIndex, copy.begin(), copy.end());
    }
    // Removes nCount elements from nIndex; the range must lie inside the array.
    void RemoveAt(intptr_t nIndex, intptr_t nCount = 1) {
        if (nIndex < 0 || nCount < 0 || nIndex > GetSize() - nCount)
            throw CInvalidArgException("CArray::RemoveAt: range outside the array");
        m_data.erase(m_data.begin() + nIndex, m_data.begin() + nIndex + nCount);
    }

private:
    std::size_t Checked(intptr_t nIndex) const {
        if (nIndex < 0 || nIndex >= GetSize()) throw CInvalidArgException("CArray: index out of range");
        return static_cast<std::size_t>(nIndex);
    }

    std::vector<TYPE> m_data;
    intptr_t m_nGrowBy = -1;
};
