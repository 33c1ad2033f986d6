// Checks that a generated page or fragment is well-formed XML, which any
// browser reads and which proves every text was escaped.
#pragma once

#include <gtest/gtest.h>

#include "corelib/XML.h"
#include "corelib/framework/String.h"

inline void ExpectWellFormed(const CString& html, const char16_t* root) {
    CString document = html;
    // The document type declaration is HTML's, not a part of the tree.
    if (document.Find(u"<!DOCTYPE html>") == 0)
        document = document.Mid(15);
    const CXML tree(document, CString(root));
    EXPECT_TRUE(tree.IsValid()) << "not well-formed XML with root <" << CString(root) << ">:\n" << html;
}
