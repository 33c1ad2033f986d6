// CVariableArray: bulk conversions from and to the typed platform arrays, and Sort.
#include <algorithm>
#include <memory>
#include <vector>

#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

namespace {

// The index text "%u" gives for a position: plain unsigned decimal.
CString OrdinalText(uint32_t nOrdinal) { return CString::Decimal(nOrdinal); }

// Bottom-up merge sort of element pointers by CVariable::operator<. It needs
// nothing of the comparison but an answer: over mixed types operator< is no
// strict weak ordering (STRING against INT is 0 both ways), and a merge of
// ranges still ends after log2(n) passes, stays in bounds and keeps every
// element. The order of elements that compare unordered is then undefined.
void SortByLess(std::vector<const CVariable*>& items) {
    const size_t count = items.size();
    std::vector<const CVariable*> merged(count);
    for (size_t width = 1; width < count; width *= 2) {
        for (size_t low = 0; low < count; low += 2 * width) {
            const size_t middle = std::min(low + width, count);
            const size_t high = std::min(low + 2 * width, count);
            size_t left = low;
            size_t right = middle;
            size_t out = low;
            while (left < middle && right < high)
                merged[out++] = (*items[right] < *items[left]) ? items[right++] : items[left++];
            while (left < middle)
                merged[out++] = items[left++];
            while (right < high)
                merged[out++] = items[right++];
        }
        items.swap(merged);
    }
}

// Fills target under "0", "1", ... with one element constructed from what
// makeArgument gives for each source item.
template <class Source, class MakeArgument>
void FillByPosition(CVariableArray& target, const Source& source, MakeArgument makeArgument) {
    const intptr_t count = source.GetSize();
    target.PreallocateHashTable(static_cast<unsigned int>(count));
    for (intptr_t i = 0; i < count; ++i) {
        auto pElement = std::make_unique<CVariable>(makeArgument(source.GetAt(i)));
        target.InsertElement(OrdinalText(static_cast<uint32_t>(i)), pElement.get());
        pElement.release();
    }
}

}  // namespace

void CVariableArray::ConstructFromByteArray(const CByteArray& source) {
    FillByPosition(*this, source, [](unsigned char byte) { return byte; });
}

void CVariableArray::ConstructFromStringArray(const CStringArray& source) {
    FillByPosition(*this, source, [](const CString& text) -> const CString& { return text; });
}

void CVariableArray::ConstructFromWordArray(const CWordArray& source) {
    FillByPosition(*this, source, [](uint16_t word) { return static_cast<int>(word); });
}

void CVariableArray::ConstructFromUIntArray(const CUIntArray& source) {
    // The 32 bits taken as a signed int: 4294967295 is stored as -1, and
    // GetUIntArray's low 32 bits bring it back.
    FillByPosition(*this, source, [](uint32_t value) { return static_cast<int>(value); });
}

// The Get...Array operations and Sort read in ordinal order and leave the
// cursor past the last element, as a GetFirstVariable/GetNextVariable walk does.
void CVariableArray::GetStringArray(CStringArray& target) {
    const int count = static_cast<int>(GetCount());
    target.SetSize(count);
    for (int ordinal = 0; ordinal < count; ++ordinal) {
        const CVariable* pElement = ElementAt(ordinal);
        target.SetAt(ordinal, pElement != nullptr ? pElement->m_strValue : CString());
    }
    if (count > 0)
        m_nCursor = count;
}

void CVariableArray::GetByteArray(CByteArray& target) {
    const int count = static_cast<int>(GetCount());
    target.SetSize(count);
    for (int ordinal = 0; ordinal < count; ++ordinal) {
        const CVariable* pElement = ElementAt(ordinal);
        target.SetAt(ordinal, pElement != nullptr ? pElement->m_byteValue : static_cast<unsigned char>(0));
    }
    if (count > 0)
        m_nCursor = count;
}

void CVariableArray::GetUIntArray(CUIntArray& target) {
    const int count = static_cast<int>(GetCount());
    target.SetSize(count);
    for (int ordinal = 0; ordinal < count; ++ordinal) {
        const CVariable* pElement = ElementAt(ordinal);
        target.SetAt(ordinal, pElement != nullptr ? static_cast<uint32_t>(pElement->m_nValue) : 0u);
    }
    if (count > 0)
        m_nCursor = count;
}

// Sorts pointers to the elements, not copies; only the result is copied.
void CVariableArray::Sort(CVariableArray& sorted) {
    const int count = static_cast<int>(GetCount());
    if (count == 0)
        return;
    std::vector<const CVariable*> items;
    items.reserve(static_cast<size_t>(count));
    for (int ordinal = 0; ordinal < count; ++ordinal) {
        if (const CVariable* pElement = ElementAt(ordinal))
            items.push_back(pElement);
    }
    m_nCursor = count;
    SortByLess(items);

    // Every copy exists before the first insertion: sorted may be this very
    // array, whose elements the insertions replace.
    std::vector<std::unique_ptr<CVariable>> copies;
    copies.reserve(items.size());
    for (const CVariable* pElement : items)
        copies.push_back(std::make_unique<CVariable>(*pElement));
    for (size_t i = 0; i < copies.size(); ++i) {
        sorted.InsertElement(OrdinalText(static_cast<uint32_t>(i)), copies[i].get());
        copies[i].release();
    }
}
