// CArray<TYPE, ARG_TYPE>: a growing array of values, stored contiguously.
//
// Costs: indexed access O(1); Add amortised O(1); InsertAt and RemoveAt O(n)
// in the elements after the position. An empty array allocates nothing. An
// index outside the array throws CInvalidArgException on every access path
// (GetAt, ElementAt, operator[], SetAt, RemoveAt). Not thread-safe: one array
// belongs to one thread at a time.
//
// The elements and the grow-by hint live in one heap body, so that an unused
// array is a virtual table pointer and a null pointer.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "corelib/framework/InvalidArgException.h"

template <class TYPE, class ARG_TYPE = const TYPE&>
class CArray {
public:
    CArray() = default;
    CArray(const CArray& src) : m_body(src.HasContent() ? std::make_unique<Body>(*src.m_body) : nullptr) {}
    CArray(CArray&&) noexcept = default;
    CArray& operator=(const CArray& src) {
        if (&src == this) return *this;
        if (!src.HasContent()) {
            m_body.reset();
        } else if (m_body) {
            *m_body = *src.m_body;
        } else {
            m_body = std::make_unique<Body>(*src.m_body);
        }
        return *this;
    }
    CArray& operator=(CArray&&) noexcept = default;
    virtual ~CArray() = default;

    intptr_t GetSize() const { return m_body ? static_cast<intptr_t>(m_body->data.size()) : 0; }
    intptr_t GetCount() const { return GetSize(); }
    int IsEmpty() const { return GetSize() == 0 ? 1 : 0; }
    intptr_t GetUpperBound() const { return GetSize() - 1; }
    // New elements are value-initialised; nGrowBy is a capacity hint (-1: keep the current one).
    void SetSize(intptr_t nNewSize, intptr_t nGrowBy = -1) {
        if (nNewSize < 0) throw CInvalidArgException("CArray::SetSize: negative size");
        if (nNewSize == 0 && nGrowBy <= 0 && !m_body) return;
        Body& body = Own();
        if (nGrowBy > 0) body.growBy = nGrowBy;
        std::vector<TYPE>& data = body.data;
        const std::size_t size = static_cast<std::size_t>(nNewSize);
        if (size > data.capacity() && body.growBy > 0)
            data.reserve(std::max(size, data.size() + static_cast<std::size_t>(body.growBy)));
        data.resize(size);
    }
    // Releases capacity beyond the size.
    void FreeExtra() {
        if (!m_body) return;
        m_body->data.shrink_to_fit();
        if (!HasContent()) m_body.reset();
    }
    // Releases the elements' memory; a grow-by hint set by SetSize stays.
    void RemoveAll() {
        if (!m_body) return;
        if (m_body->growBy > 0) {
            std::vector<TYPE>().swap(m_body->data);
        } else {
            m_body.reset();
        }
    }
    // The index is checked before the body is touched: an empty array may have none.
    const TYPE& GetAt(intptr_t nIndex) const {
        const std::size_t i = Checked(nIndex);
        return m_body->data[i];
    }
    TYPE& GetAt(intptr_t nIndex) {
        const std::size_t i = Checked(nIndex);
        return m_body->data[i];
    }
    void SetAt(intptr_t nIndex, ARG_TYPE newElement) {
        const std::size_t i = Checked(nIndex);
        m_body->data[i] = newElement;
    }
    const TYPE& ElementAt(intptr_t nIndex) const { return GetAt(nIndex); }
    TYPE& ElementAt(intptr_t nIndex) { return GetAt(nIndex); }
    const TYPE* GetData() const { return IsEmpty() ? nullptr : m_body->data.data(); }
    TYPE* GetData() { return IsEmpty() ? nullptr : m_body->data.data(); }
    // Range-for over the elements in index order. Any change of size (Add,
    // InsertAt, RemoveAt, SetSize, SetAtGrow past the end, Copy, assignment)
    // invalidates them.
    const TYPE* begin() const { return GetData(); }
    const TYPE* end() const { return GetData() + GetSize(); }
    TYPE* begin() { return GetData(); }
    TYPE* end() { return GetData() + GetSize(); }
    // Sets the element, growing the array to hold nIndex first.
    void SetAtGrow(intptr_t nIndex, ARG_TYPE newElement) {
        if (nIndex < 0) throw CInvalidArgException("CArray::SetAtGrow: negative index");
        if (nIndex >= GetSize()) {
            TYPE copy(newElement);  // the argument may live in this array
            SetSize(nIndex + 1);
            m_body->data[static_cast<std::size_t>(nIndex)] = std::move(copy);
        } else {
            m_body->data[static_cast<std::size_t>(nIndex)] = newElement;
        }
    }
    // Appends; returns the new element's index.
    intptr_t Add(ARG_TYPE newElement) {
        std::vector<TYPE>& data = Own().data;
        if (data.size() == data.capacity()) {
            TYPE copy(newElement);  // the argument may live in this array
            data.push_back(std::move(copy));
        } else {
            data.push_back(newElement);
        }
        return GetSize() - 1;
    }
    // Appends a copy of every element of src; returns the index of the first one.
    intptr_t Append(const CArray& src) {
        const intptr_t first = GetSize();
        if (src.IsEmpty()) return first;
        if (&src == this) {
            std::vector<TYPE>& data = m_body->data;
            const std::vector<TYPE> copy(data);
            data.insert(data.end(), copy.begin(), copy.end());
        } else {
            std::vector<TYPE>& mine = Own().data;
            mine.insert(mine.end(), src.m_body->data.begin(), src.m_body->data.end());
        }
        return first;
    }
    // Makes this array a copy of src: same size, each element assigned in order.
    void Copy(const CArray& src) {
        if (&src == this) return;
        if (!src.IsEmpty()) {
            Own().data = src.m_body->data;
        } else if (m_body) {
            m_body->data.clear();
        }
    }
    const TYPE& operator[](intptr_t nIndex) const { return GetAt(nIndex); }
    TYPE& operator[](intptr_t nIndex) { return GetAt(nIndex); }
    // Inserts nCount copies at nIndex; past the end the array grows to hold them.
    void InsertAt(intptr_t nIndex, ARG_TYPE newElement, intptr_t nCount = 1) {
        if (nIndex < 0 || nCount < 0) throw CInvalidArgException("CArray::InsertAt: negative index or count");
        TYPE copy(newElement);  // the argument may live in this array
        if (nIndex > GetSize()) SetSize(nIndex);
        if (nCount == 0) return;
        std::vector<TYPE>& data = Own().data;
        data.insert(data.begin() + nIndex, static_cast<std::size_t>(nCount), copy);
    }
    // Inserts a copy of every element of pNewArray at nStartIndex.
    void InsertAt(intptr_t nStartIndex, CArray* pNewArray) {
        if (!pNewArray || nStartIndex < 0) throw CInvalidArgException("CArray::InsertAt: null array or negative index");
        const std::vector<TYPE> copy = pNewArray->m_body ? pNewArray->m_body->data : std::vector<TYPE>();
        if (nStartIndex > GetSize()) SetSize(nStartIndex);
        if (copy.empty()) return;
        std::vector<TYPE>& data = Own().data;
        data.insert(data.begin() + nStartIndex, copy.begin(), copy.end());
    }
    // Removes nCount elements from nIndex; the range must lie inside the array.
    void RemoveAt(intptr_t nIndex, intptr_t nCount = 1) {
        if (nIndex < 0 || nCount < 0 || nIndex > GetSize() - nCount)
            throw CInvalidArgException("CArray::RemoveAt: range outside the array");
        if (nCount == 0) return;
        std::vector<TYPE>& data = m_body->data;
        data.erase(data.begin() + nIndex, data.begin() + nIndex + nCount);
    }

private:
    // Everything but the virtual table pointer; absent until an element or a hint is set.
    struct Body {
        std::vector<TYPE> data;
        intptr_t growBy = -1;
    };

    Body& Own() {
        if (!m_body) m_body = std::make_unique<Body>();
        return *m_body;
    }
    // What a copy must carry: elements or a grow-by hint.
    bool HasContent() const { return m_body && (!m_body->data.empty() || m_body->growBy > 0); }
    std::size_t Checked(intptr_t nIndex) const {
        if (nIndex < 0 || nIndex >= GetSize()) throw CInvalidArgException("CArray: index out of range");
        return static_cast<std::size_t>(nIndex);
    }

    std::unique_ptr<Body> m_body;
};

// Every value (CVariable) holds an enumeration: an unused array must cost one pointer.
static_assert(sizeof(CArray<unsigned char, unsigned char>) == 2 * sizeof(void*));
