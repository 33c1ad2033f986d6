// CVariableArray: associative array of owned CVariable elements by index text,
// walked in first-insertion order.
//
// Two maps: the base map (index text -> element) and m_mapOrder (ordinal ->
// index text). Costs: InsertElement, IsElementExist and a lookup by index cost
// one hash; reading by ordinal costs one hash on m_mapOrder, so a walk in order
// costs two hashes per element. RemoveVariable is linear (ordinals above the
// removed one move down by one). Both maps start with 17 buckets and never
// rehash; call PreallocateHashTable before a bulk fill.
//
// The array owns its elements: each is a heap CVariable that the array alone
// deletes. Nesting depth has no limit and no guard: copying, destroying and
// ToString work from an explicit work list rather than the call stack (and
// ToDelimitedString never descends), so an array nested 100,000 levels deep is
// copied, printed, compared and freed like a flat one, at the cost of heap only.
// Assignment builds the new elements completely before the old ones go, so an
// array may be assigned from a part of itself or into one.
//
// Threading: no lock. Even a walk changes the object (the shared cursor of
// GetFirst.../GetNext...), so one thread at a time uses an array; callers that
// share one lock around it.
#pragma once

#include <cstddef>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "corelib/XML.h"
#include "corelib/framework/ByteArray.h"
#include "corelib/framework/String.h"
#include "corelib/framework/StringArray.h"
#include "corelib/framework/UIntArray.h"
#include "corelib/framework/WordArray.h"
#include "varlib/foundation/MapEx.h"
#include "varlib/values/VariableType.h"

class CVariable;

class CVariableArray : public CMapEx<CString, const char16_t*, CVariable*, CVariable*> {
public:
    // Empty array, cursor 0, both maps with 17 buckets.
    CVariableArray() : m_nCursor(0) {}
    // Deep copy of src.
    CVariableArray(const CVariableArray& src);
    // Destroys every element.
    ~CVariableArray() override {
        if (GetCount() != 0) CleanUp();   // the test inline: most values hold no array
    }
    // Deep copy of src; assigning an array to itself changes nothing.
    CVariableArray& operator=(const CVariableArray& src);

    // Replaces the content with deep copies of src's elements, keeping src's
    // order and bucket count. Copying an array into itself changes nothing.
    void Copy(const CVariableArray& src);
    // Destroys every element, empties both maps (bucket counts stay), cursor 0.
    void CleanUp();
    // Deletes pVariable and, for an array value, every element below it. Touches
    // neither the maps nor the cursor of this array.
    void DestroyVariable(CVariable* pVariable);
    // On an empty array and nSize > 17: both maps get exactly nSize buckets now.
    void PreallocateHashTable(unsigned int nSize);

    // Takes ownership of pVariable; an existing index keeps its ordinal and its
    // old element is destroyed (unless it is pVariable itself). A null pointer
    // throws CInvalidArgException and changes nothing.
    void InsertElement(const CString& index, CVariable* pVariable);
    // Removes and destroys the element; an absent index is no error.
    void RemoveVariable(const CString& index);
    // 1 if the index is present.
    int IsElementExist(const CString& index) const;

    // Walks in ordinal order with the shared cursor: 0 when there is nothing
    // (more), and the arguments stay as they were. The pointer stays owned by
    // the array; the CVariable& forms receive a deep copy.
    int GetFirstVariable(CString& index, CVariable*& pVariable);
    int GetNextVariable(CString& index, CVariable*& pVariable);
    int GetFirstVariable(CString& index, CVariable& variable);
    int GetNextVariable(CString& index, CVariable& variable);
    int GetFirstIndex(CString& index);
    int GetNextIndex(CString& index);
    // Walks in ordinal order without the shared cursor, so that walks nest and
    // a const array can be walked:
    //     for (const auto& [index, element] : array) ...
    // Each step reads the element at the next ordinal and ends where
    // GetNextVariable ends (the first ordinal without an element). Any
    // insertion or removal (InsertElement, RemoveVariable, CleanUp, Copy,
    // assignment, a change through the base map) invalidates every iterator:
    // the pair an iterator holds refers into the maps. The pair itself lives
    // in the iterator (*it++ dangles); its two references outlive it.
    template <bool bConst>
    class Iterator {
    public:
        using Element = std::conditional_t<bConst, const CVariable, CVariable>;
        using value_type = std::pair<const CString&, Element&>;
        using reference = const value_type&;
        using pointer = const value_type*;
        using difference_type = std::ptrdiff_t;
        using iterator_category = std::forward_iterator_tag;

        Iterator() = default;
        Iterator(const Iterator& other) : m_pArray(other.m_pArray), m_nOrdinal(other.m_nOrdinal) {
            if (other.m_current) m_current.emplace(*other.m_current);
        }
        // The pair holds references: assigning it would assign the elements,
        // so the pair is rebuilt instead.
        Iterator& operator=(const Iterator& other) {
            m_pArray = other.m_pArray;
            m_nOrdinal = other.m_nOrdinal;
            m_current.reset();
            if (other.m_current) m_current.emplace(*other.m_current);
            return *this;
        }
        // The mutable walk converts to the const one.
        operator Iterator<true>() const requires(!bConst) {
            return Iterator<true>(m_pArray, m_nOrdinal);
        }

        reference operator*() const { return *m_current; }
        pointer operator->() const { return &*m_current; }
        Iterator& operator++() {
            Load(m_nOrdinal + 1);
            return *this;
        }
        Iterator operator++(int) {
            Iterator before(*this);
            ++*this;
            return before;
        }
        // Every ended walk equals end(), whatever array it walked.
        bool operator==(const Iterator& other) const {
            if (!m_current || !other.m_current) return !m_current && !other.m_current;
            return m_pArray == other.m_pArray && m_nOrdinal == other.m_nOrdinal;
        }

    private:
        friend class CVariableArray;
        template <bool>
        friend class Iterator;
        Iterator(const CVariableArray* pArray, int nOrdinal) : m_pArray(pArray) {
            if (pArray != nullptr) Load(nOrdinal);
        }
        void Load(int nOrdinal) {
            m_nOrdinal = nOrdinal;
            m_current.reset();
            const CString* pIndex = nullptr;
            CVariable* pElement = m_pArray->ElementAt(nOrdinal, &pIndex);
            if (pElement != nullptr) m_current.emplace(*pIndex, *pElement);
        }

        const CVariableArray* m_pArray = nullptr;
        int m_nOrdinal = 0;
        std::optional<value_type> m_current;   // empty once the walk has ended
    };
    using iterator = Iterator<false>;
    using const_iterator = Iterator<true>;
    iterator begin() { return iterator(this, 0); }
    iterator end() { return iterator(); }
    const_iterator begin() const { return const_iterator(this, 0); }
    const_iterator end() const { return const_iterator(); }
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }

    // Index text at an ordinal; empty if there is none. The cursor stays.
    CString GetIndex(int nOrdinal) const;
    // Type of the element at ordinal 0; 0 for an empty array.
    eVariableType GetFirstItemType() const;
    // 0 if any element is an ARRAY; 1 otherwise (an empty array too).
    int IsSingleDimensioned() const;

    // One line "prefix[index] = text" per element in ordinal order, CR LF after
    // each; a nested array opens with "= {" and closes with "}" and its lines
    // carry the element's own name as prefix.
    CString ToString(const CString& prefix) const;
    // The texts of the non-array elements joined by ";", trailing ";" cut.
    CString ToDelimitedString() const;

    // Bulk fills under "0", "1", ...; elements under other indexes stay.
    void ConstructFromByteArray(const CByteArray& source);      // BYTE elements
    void ConstructFromStringArray(const CStringArray& source);  // STRING elements
    void ConstructFromWordArray(const CWordArray& source);      // INT, zero-extended
    void ConstructFromUIntArray(const CUIntArray& source);      // INT, the 32 bits as signed
    // Fill target in ordinal order from one field of each element, whatever its
    // type; the cursor ends past the last element.
    void GetStringArray(CStringArray& target);   // m_strValue
    void GetByteArray(CByteArray& target);       // m_byteValue
    void GetUIntArray(CUIntArray& target);       // low 32 bits of m_nValue
    // Puts copies of the elements, ascending by CVariable::operator<, into
    // sorted under "0", "1", ...; sorted is not emptied first. Not stable.
    void Sort(CVariableArray& sorted);

    // XML form (formats/VariableXml.cpp): a new "ARRAY" node, one "VARIABLE"
    // child per element in ordinal order, each with its "Index".
    CXML ToXml() const;
    // Reads the children of an "ARRAY" node into the array, merging by index.
    void FromXml(CXML& node);

protected:
    int m_nCursor;                                           // ordinal the next GetNext... reads
    CMapEx<int, int, CString, const char16_t*> m_mapOrder;   // ordinal -> index text

private:
    friend class CVariable;
    struct CopyJob;

    // Element at an ordinal (and its index text), or null.
    CVariable* ElementAt(int nOrdinal, const CString** ppIndex = nullptr) const;
    // An element and the index text it is stored under.
    struct OrderedElement {
        const CVariable* pElement;
        const CString* pIndex;
    };
    // What a walk in ordinal order does at an ordinal without an element (one
    // that a host took out through the base map): the cursor and the JSON
    // form end there; the XML form goes on, up to the base map's count.
    enum class MissingElement { kEndsWalk, kSkipped };
    // Appends the elements in ordinal order.
    void AppendInOrder(std::vector<OrderedElement>& out, MissingElement missing = MissingElement::kEndsWalk) const;
    // AppendInOrder from the maps' slots, without a lookup; false, adding
    // nothing, when the slots don't hold the order.
    bool AppendInSlotOrder(std::vector<OrderedElement>& out, MissingElement missing) const;
    // Destroys every element and gives both maps the bucket count of a fresh array.
    void ResetToFresh();
    // Copies src's elements in its walk order into this empty array, then its
    // order; nested arrays become jobs instead of recursion.
    void FillFrom(const CVariableArray& src, std::vector<CopyJob>& jobs);
    // Deep copy of src into this array, which is empty and lies nowhere inside src.
    void CopyIntoEmpty(const CVariableArray& src);
    // Takes over every element of src (built aside by Copy), leaving src empty.
    void MoveFrom(CVariableArray& src);
    // Moves every element out of both maps (into out) and resets the cursor.
    void DetachAll(std::vector<CVariable*>& out);
    // Deletes a set of detached elements and everything below them.
    static void DestroyAll(std::vector<CVariable*>& pending);
};
