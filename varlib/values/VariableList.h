// CVariableList: the arguments of a plug-in function, an ordered list of
// CVariable values by position.
//
// Unlike CVariableArray it has no index texts and holds its items by value,
// inside the array's buffer: copying the list or growing it copies the items,
// deeply. Items are added, read and counted through the array interface (Add,
// GetSize, GetAt, operator[], SetAtGrow); a position outside the list throws
// CInvalidArgException. Costs are those of CArray: O(1) access, amortised O(1)
// Add. No lock: a list is built by one thread and handed on by const reference.
#pragma once

#include "corelib/XML.h"
#include "corelib/framework/Array.h"
#include "corelib/framework/String.h"
#include "varlib/values/Variable.h"

class CVariableList : public CArray<CVariable, const CVariable&> {
public:
    // Empty.
    CVariableList();
    // Deep copy of src's items, in order.
    CVariableList(const CVariableList& src);
    // Empty, then FromXml(node).
    CVariableList(CXML& node);
    ~CVariableList() override;
    // Deep copy of src's items; assigning a list to itself changes nothing.
    CVariableList& operator=(const CVariableList& src);

    // "VARIABLE_LIST".
    static CString GetTagName();

    // A new "VARIABLE_LIST" node with each item's CVariable::ToXml as a child, in list order.
    CXML ToXml() const;
    // Replaces the items with one per child of node, whatever the tag names
    // (node's own included): each child is read into a fresh CVariable.
    void FromXml(CXML& node);

    static const CString TAG_NAME;   // "VARIABLE_LIST"
};
