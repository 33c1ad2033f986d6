// What the example plug-ins' tests share.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>

#include "corelib/XML.h"
#include "corelib/framework/String.h"
#include "varlib/values/VariableList.h"

// A generated page or fragment must be well-formed XML: any browser reads it,
// and it proves that every text was escaped.
inline void ExpectWellFormed(const CString& html, const char16_t* root) {
    // The document type declaration is HTML's, not a part of the tree.
    const CString document = html.Find(u"<!DOCTYPE html>") == 0 ? html.Mid(15) : html;
    EXPECT_TRUE(CXML(document, CString(root)).IsValid()) << "not well-formed XML:\n" << html;
}

inline CVariableList Arguments(std::initializer_list<CVariable> values) {
    CVariableList list;
    for (const CVariable& value : values)
        list.Add(value);
    return list;
}
