// CVariableArray: storage, ordinals, the shared cursor, copy and release.
#include "varlib/values/VariableArray.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "corelib/framework/InvalidArgException.h"
#include "varlib/values/Variable.h"

namespace {

// Bucket count of a fresh map.
constexpr unsigned int kDefaultHashSize = 17;

// The index as both maps hold it: the text up to its first NUL, as a key made
// from a const char16_t* holds it. Almost always the index itself, so that the
// element, its key and its ordinal entry share one text.
CString StoredIndex(const CString& index) {
    const char16_t* text = index;
    if (std::char_traits<char16_t>::length(text) == static_cast<size_t>(index.GetLength()))
        return index;
    return CString(text);
}

// Room for n more items. The lists that walks fill take one array after
// another, so the capacity grows by doubling: reserving exactly what each
// array adds would move the whole list once per array.
template <class T>
void ReserveMore(std::vector<T>& items, std::size_t n) {
    const std::size_t need = items.size() + n;
    if (need > items.capacity())
        items.reserve(std::max(need, 2 * items.capacity()));
}

}  // namespace

// One level of a deep copy still to do: fill pTarget (empty, new) from pSource.
struct CVariableArray::CopyJob {
    CVariableArray* pTarget;
    const CVariableArray* pSource;
};

// A new array can't lie inside src, so the copy is built in place.
CVariableArray::CVariableArray(const CVariableArray& src) : CVariableArray() { CopyIntoEmpty(src); }

CVariableArray& CVariableArray::operator=(const CVariableArray& src) {
    Copy(src);
    return *this;
}

// ---------------------------------------------------------------------------
// Release
// ---------------------------------------------------------------------------

void CVariableArray::DetachAll(std::vector<CVariable*>& out) {
    m_nCursor = 0;
    if (GetCount() == 0)
        return;
    ReserveMore(out, static_cast<std::size_t>(GetCount()));
    ForEachPair([&out](CPair& pair) { out.push_back(pair.value); });
    RemoveAll();
    m_mapOrder.RemoveAll();
}

// Work list instead of recursion: each deleted value first hands its own
// elements over, so its destructor finds an empty array.
void CVariableArray::DestroyAll(std::vector<CVariable*>& pending) {
    while (!pending.empty()) {
        CVariable* pVariable = pending.back();
        pending.pop_back();
        if (pVariable == nullptr)
            continue;
        // Whatever the type: a stale array payload of a former ARRAY is freed the same way.
        pVariable->m_arrayValue.DetachAll(pending);
        delete pVariable;
    }
}

void CVariableArray::CleanUp() {
    std::vector<CVariable*> pending;
    DetachAll(pending);
    DestroyAll(pending);
}

void CVariableArray::DestroyVariable(CVariable* pVariable) {
    std::vector<CVariable*> pending{pVariable};
    DestroyAll(pending);
}

void CVariableArray::ResetToFresh() {
    CleanUp();
    if (GetHashTableSize() != kDefaultHashSize)
        InitHashTable(kDefaultHashSize, 0);
    if (m_mapOrder.GetHashTableSize() != kDefaultHashSize)
        m_mapOrder.InitHashTable(kDefaultHashSize, 0);
}

void CVariableArray::PreallocateHashTable(unsigned int nSize) {
    if (GetCount() != 0 || nSize <= kDefaultHashSize)
        return;
    InitHashTable(nSize, 1);
    m_mapOrder.InitHashTable(nSize, 1);
}

// ---------------------------------------------------------------------------
// Copy
// ---------------------------------------------------------------------------

void CVariableArray::FillFrom(const CVariableArray& src, std::vector<CopyJob>& jobs) {
    if (src.GetCount() == 0)
        return;   // an empty source leaves the bucket counts alone
    const unsigned int hashSize = src.GetHashTableSize();
    InitHashTable(hashSize, 1);
    m_mapOrder.InitHashTable(hashSize, 1);
    const auto copyPair = [this, &jobs](const CPair& pair) {
        const CVariable* pSource = pair.value;
        auto pCopy = std::make_unique<CVariable>();
        pCopy->CopyAllButArray(*pSource);
        InsertElement(pair.key, pCopy.get());
        CVariable* pInserted = pCopy.release();
        if (pSource->m_arrayValue.GetCount() != 0)
            jobs.push_back({&pInserted->m_arrayValue, &pSource->m_arrayValue});
    };
    for (const CPair* pPair = src.PGetFirstAssoc(); pPair != nullptr; pPair = src.PGetNextAssoc(pPair))
        copyPair(*pPair);
    // Filled in walk order, the copy's index can't have seen that its keys
    // are numbers; the source's tells.
    if (src.IsDirectIndexed())
        MakeDirectIfKeysAllow();
    // The insertions above numbered the elements in their own order; put the
    // source's ordinals back over it. They run from 0 without a gap, so they
    // are looked up one by one rather than walked through the chains.
    using COrderPair = CMapEx<int, int, CString, const char16_t*>::CPair;
    const int count = static_cast<int>(src.m_mapOrder.GetCount());
    for (int ordinal = 0; ordinal < count; ++ordinal) {
        const COrderPair* pPair = src.m_mapOrder.PLookup(ordinal);
        if (pPair == nullptr) {
            // Not numbered as an array numbers: copy every pair as it stands.
            for (pPair = src.m_mapOrder.PGetFirstAssoc(); pPair != nullptr; pPair = src.m_mapOrder.PGetNextAssoc(pPair))
                m_mapOrder[pPair->key] = pPair->value;
            return;
        }
        m_mapOrder[ordinal] = pPair->value;   // shares the text
    }
}

void CVariableArray::CopyIntoEmpty(const CVariableArray& src) {
    std::vector<CopyJob> jobs;
    FillFrom(src, jobs);
    while (!jobs.empty()) {
        const CopyJob job = jobs.back();
        jobs.pop_back();
        job.pTarget->FillFrom(*job.pSource, jobs);
    }
}

// Takes over the elements of an array built aside; this array is empty. The
// maps change hands whole, so the bucket counts and the walk come out as in src.
void CVariableArray::MoveFrom(CVariableArray& src) {
    if (src.GetCount() == 0)
        return;
    Swap(src);
    m_mapOrder.Swap(src.m_mapOrder);
    src.m_nCursor = 0;
}

// The new elements are built completely, from a source that nothing changes
// meanwhile, before the old ones go: so src may lie anywhere inside this
// array's tree, or this array inside src's, and nested levels are jobs on a
// list rather than calls on the stack.
void CVariableArray::Copy(const CVariableArray& src) {
    // An array copied into itself keeps its elements (no CleanUp first).
    if (&src == this)
        return;
    CVariableArray fresh;
    fresh.CopyIntoEmpty(src);

    std::vector<CVariable*> old;
    DetachAll(old);
    try {
        MoveFrom(fresh);
    } catch (...) {
        // fresh still owns the new elements; drop our references to them.
        RemoveAll();
        m_mapOrder.RemoveAll();
        DestroyAll(old);
        throw;
    }
    DestroyAll(old);
}

// ---------------------------------------------------------------------------
// Elements
// ---------------------------------------------------------------------------

void CVariableArray::InsertElement(const CString& index, CVariable* pVariable) {
    if (pVariable == nullptr)
        throw CInvalidArgException("CVariableArray::InsertElement: null element");
    pVariable->SetArrayElementInfo(index);
    const intptr_t countBefore = GetCount();
    const CString stored = StoredIndex(index);
    CVariable*& slot = LookupOrAdd(stored);   // one hash: finds the index or adds it
    if (GetCount() == countBefore) {
        // Replacement: the ordinal, and so the place in every listing, stays.
        CVariable* pOld = slot;
        if (pOld == pVariable)
            return;
        slot = pVariable;
        DestroyVariable(pOld);
        return;
    }
    slot = pVariable;
    try {
        m_mapOrder[static_cast<int>(countBefore)] = stored;
    } catch (...) {
        RemoveKey(stored);   // keep the two maps in step; the caller still owns pVariable
        throw;
    }
}

void CVariableArray::RemoveVariable(const CString& index) {
    CVariable* pVariable = nullptr;
    if (!Lookup(index, pVariable))
        return;
    RemoveKey(index);

    // Ordinals carry no back reference, so find the removed one by its text.
    using COrderPair = CMapEx<int, int, CString, const char16_t*>::CPair;
    const int count = static_cast<int>(m_mapOrder.GetCount());
    int removed = -1;
    const char16_t* key = index;
    for (const COrderPair* pPair = m_mapOrder.PGetFirstAssoc(); pPair != nullptr;
         pPair = m_mapOrder.PGetNextAssoc(pPair)) {
        if (pPair->value == key) {
            removed = pPair->key;
            break;
        }
    }
    if (removed >= 0) {
        // Close the gap: every higher ordinal moves down by one.
        COrderPair* pLower = m_mapOrder.PLookup(removed);
        for (int ordinal = removed + 1; ordinal < count && pLower != nullptr; ++ordinal) {
            COrderPair* pHigher = m_mapOrder.PLookup(ordinal);
            if (pHigher == nullptr)
                break;
            pLower->value = std::move(pHigher->value);
            pLower = pHigher;
        }
        m_mapOrder.RemoveKey(count - 1);
    }
    DestroyVariable(pVariable);
}

int CVariableArray::IsElementExist(const CString& index) const { return PLookup(index) != nullptr ? 1 : 0; }

CVariable* CVariableArray::ElementAt(int nOrdinal, const CString** ppIndex) const {
    using COrderPair = CMapEx<int, int, CString, const char16_t*>::CPair;
    const COrderPair* pOrder = m_mapOrder.PLookup(nOrdinal);
    if (pOrder == nullptr)
        return nullptr;
    const CPair* pPair = PLookup(pOrder->value);
    if (pPair == nullptr)
        return nullptr;
    if (ppIndex != nullptr)
        *ppIndex = &pOrder->value;
    return pPair->value;
}

void CVariableArray::AppendInOrder(std::vector<OrderedElement>& out, MissingElement missing) const {
    if (missing == MissingElement::kSkipped) {
        const int count = static_cast<int>(GetCount());
        ReserveMore(out, static_cast<std::size_t>(count));
        if (AppendInSlotOrder(out, missing))
            return;
        static const CString noIndex;   // what GetIndex gives for an ordinal without an index
        for (int ordinal = 0; ordinal < count; ++ordinal) {
            const auto* pOrder = m_mapOrder.PLookup(ordinal);
            const CString* pIndex = pOrder != nullptr ? &pOrder->value : &noIndex;
            const CPair* pPair = PLookup(*pIndex);
            if (pPair != nullptr && pPair->value != nullptr)
                out.push_back({pPair->value, pIndex});
        }
        return;
    }
    const int count = static_cast<int>(m_mapOrder.GetCount());
    ReserveMore(out, static_cast<std::size_t>(count));
    if (AppendInSlotOrder(out, missing))
        return;
    for (int ordinal = 0; ordinal < count; ++ordinal) {
        const CString* pIndex = nullptr;
        const CVariable* pElement = ElementAt(ordinal, &pIndex);
        if (pElement == nullptr)
            return;
        out.push_back({pElement, pIndex});
    }
}

bool CVariableArray::AppendInSlotOrder(std::vector<OrderedElement>& out, MissingElement missing) const {
    // An array that InsertElement alone has filled, and from which nothing
    // has been removed, holds ordinal n and the element of its index in the
    // n-th slot of either map, and both hold the one shared text of the
    // index. Each pair is checked for exactly that: one that differs (a map
    // changed through the base class) sends the walk the way of the lookups.
    using COrderPair = CMapEx<int, int, CString, const char16_t*>::CPair;
    CMapEx<int, int, CString, const char16_t*>::CSlotOrder orders(m_mapOrder);
    CSlotOrder elements(*this);
    const intptr_t count = m_mapOrder.GetCount();
    if (!orders.Known() || !elements.Known() || count != GetCount())
        return false;
    const std::size_t start = out.size();
    for (intptr_t ordinal = 0; ordinal < count; ++ordinal) {
        const COrderPair* pOrder = orders.Next();
        const CPair* pPair = elements.Next();
        if (pOrder->key != ordinal ||
            static_cast<const char16_t*>(pOrder->value) != static_cast<const char16_t*>(pPair->key)) {
            out.resize(start);
            return false;
        }
        if (pPair->value != nullptr)
            out.push_back({pPair->value, &pOrder->value});
        else if (missing == MissingElement::kEndsWalk)
            return true;
    }
    return true;
}

int CVariableArray::GetFirstVariable(CString& index, CVariable*& pVariable) {
    if (GetCount() == 0)
        return 0;
    m_nCursor = 0;
    return GetNextVariable(index, pVariable);
}

int CVariableArray::GetNextVariable(CString& index, CVariable*& pVariable) {
    const CString* pIndex = nullptr;
    CVariable* pElement = ElementAt(m_nCursor, &pIndex);
    if (pElement == nullptr)
        return 0;
    index = *pIndex;
    pVariable = pElement;
    ++m_nCursor;
    return 1;
}

int CVariableArray::GetFirstVariable(CString& index, CVariable& variable) {
    if (GetCount() == 0)
        return 0;
    m_nCursor = 0;
    return GetNextVariable(index, variable);
}

int CVariableArray::GetNextVariable(CString& index, CVariable& variable) {
    const CString* pIndex = nullptr;
    CVariable* pElement = ElementAt(m_nCursor, &pIndex);
    if (pElement == nullptr)
        return 0;
    index = *pIndex;
    ++m_nCursor;
    // Last: variable may be the value that holds this very array, and the
    // assignment then replaces our elements.
    variable = *pElement;
    return 1;
}

int CVariableArray::GetFirstIndex(CString& index) {
    if (GetCount() == 0)
        return 0;
    m_nCursor = 0;
    return GetNextIndex(index);
}

int CVariableArray::GetNextIndex(CString& index) {
    const CString* pIndex = nullptr;
    if (ElementAt(m_nCursor, &pIndex) == nullptr)
        return 0;
    index = *pIndex;
    ++m_nCursor;
    return 1;
}

CString CVariableArray::GetIndex(int nOrdinal) const {
    const CString* pIndex = nullptr;
    if (ElementAt(nOrdinal, &pIndex) == nullptr)
        return CString();
    return *pIndex;
}

eVariableType CVariableArray::GetFirstItemType() const {
    const CVariable* pFirst = ElementAt(0);
    return pFirst != nullptr ? pFirst->GetType() : VT_UNDEFINED;
}

int CVariableArray::IsSingleDimensioned() const {
    for (const CPair* pPair = PGetFirstAssoc(); pPair != nullptr; pPair = PGetNextAssoc(pPair)) {
        if (pPair->value->IsArray())
            return 0;
    }
    return 1;
}
