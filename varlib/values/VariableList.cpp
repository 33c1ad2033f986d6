// CVariableList: construction, copy and the XML form.
#include "varlib/values/VariableList.h"

const CString CVariableList::TAG_NAME(u"VARIABLE_LIST");

CVariableList::CVariableList() = default;

CVariableList::CVariableList(const CVariableList& src) : CArray<CVariable, const CVariable&>() { Copy(src); }

CVariableList::CVariableList(CXML& node) { FromXml(node); }

CVariableList::~CVariableList() = default;

CVariableList& CVariableList::operator=(const CVariableList& src) {
    Copy(src);   // a no-op for the list itself
    return *this;
}

CString CVariableList::GetTagName() { return TAG_NAME; }

CXML CVariableList::ToXml() const {
    CXML node(TAG_NAME);
    for (intptr_t i = 0; i < GetSize(); ++i)
        node.AddChild(GetAt(i).ToXml());
    return node;
}

void CVariableList::FromXml(CXML& node) {
    // Walk a handle of our own: node may be the XML payload of one of our own
    // items, which SetSize(0) destroys; the handle keeps its tree alive. It
    // also leaves the caller's child walk where it was.
    CXML parent(node);
    SetSize(0);
    for (CXML child = parent.GetFirstChild(); child.IsValid(); child = parent.GetNextChild()) {
        // Read in place into a fresh item rather than copying a read one in:
        // an ARRAY item would otherwise be built twice.
        const intptr_t last = Add(CVariable());
        GetAt(last).FromXml(child);
    }
}
