// CIntegerEnum: linear finders and the XML form of an enumeration.
#include "varlib/metadata/IntegerEnum.h"

const CString CIntegerEnum::TAG_NAME(u"IntegerEnum");

CIntegerEnum::CIntegerEnum(CXML& node) { FromXml(node); }

int CIntegerEnum::IsEntryExist(const CString& strName) const {
    CIntegerEnumEntry found;
    return FindEntry(strName, found);
}

int CIntegerEnum::FindEntry(const CString& strName, CIntegerEnumEntry& entry) const {
    for (intptr_t i = 0; i < GetSize(); ++i) {
        const CIntegerEnumEntry& candidate = GetAt(i);
        if (candidate.GetName() == strName) {
            entry = candidate;
            return 1;
        }
    }
    return 0;
}

int CIntegerEnum::FindEntry(int64_t nValue, CIntegerEnumEntry& entry) const {
    for (intptr_t i = 0; i < GetSize(); ++i) {
        const CIntegerEnumEntry& candidate = GetAt(i);
        if (candidate.GetValue() == nValue) {
            entry = candidate;
            return 1;
        }
    }
    return 0;
}

CXML CIntegerEnum::ToXml() const {
    CXML node(TAG_NAME);
    for (intptr_t i = 0; i < GetSize(); ++i)
        node.AddChild(GetAt(i).ToXml());
    return node;
}

void CIntegerEnum::FromXml(CXML& node) {
    SetSize(0);
    // Every child is an entry, whatever its tag.
    for (CXML child = node.GetFirstChild(); child.IsValid(); child = node.GetNextChild())
        Add(CIntegerEnumEntry(child));
}
