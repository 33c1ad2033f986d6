// CVariableList: deep copies, replacing reads, any child as an item, access
// by position.
#include <gtest/gtest.h>

#include <string>

#include "corelib/framework/InvalidArgException.h"
#include "varlib/values/VariableList.h"

namespace {

CVariable ArrayOf(const char16_t* index, const CVariable& element) {
    CVariableArray array;
    array.InsertElement(index, new CVariable(element));
    return CVariable(array);
}

}  // namespace

TEST(VariableList, CopiesAreDeepAndSelfAssignmentKeepsItems) {
    CVariableList source;
    source.Add(CVariable(1));
    source.Add(ArrayOf(u"k", CVariable(CString(u"inner"))));
    source[1].m_strName = u"arr";

    CVariableList constructed(source);
    CVariableList assigned;
    assigned.Add(CVariable(99));
    assigned.Add(CVariable(98));
    assigned.Add(CVariable(97));
    assigned = source;

    for (CVariableList* pCopy : {&constructed, &assigned}) {
        ASSERT_EQ(pCopy->GetSize(), 2);
        EXPECT_EQ((*pCopy)[1].m_strName, CString(u"arr"));
        CVariable* pInner = nullptr;
        ASSERT_TRUE((*pCopy)[1].m_arrayValue.Lookup(u"k", pInner));
        pInner->m_strValue = u"changed";
        (*pCopy)[0] = 5;
    }
    CVariable* pSourceInner = nullptr;
    ASSERT_TRUE(source[1].m_arrayValue.Lookup(u"k", pSourceInner));
    EXPECT_EQ(pSourceInner->m_strValue, CString(u"inner"));
    EXPECT_EQ(source[0].m_nValue, 1);

    CVariableList& self = source;
    source = self;
    ASSERT_EQ(source.GetSize(), 2);
    EXPECT_EQ(source[1].m_arrayValue.GetCount(), 1);
}

TEST(VariableList, FromXmlReplacesTheItems) {
    const struct {
        const char* label;
        const char* xml;
        std::u16string types;   // one letter per item: I INT, S STRING, U type 0, A ARRAY
    } rows[] = {
        {"no children", "<VARIABLE_LIST/>", u""},
        {"text only", "<VARIABLE_LIST>text</VARIABLE_LIST>", u""},
        {"in order", R"(<VARIABLE_LIST><VARIABLE Type="20001"/><VARIABLE Type="20000"/></VARIABLE_LIST>)", u"SI"},
        {"any list tag", R"(<Args><VARIABLE Type="20000"/></Args>)", u"I"},
        {"any item tag", R"(<VARIABLE_LIST><Param Type="20001"/><other/></VARIABLE_LIST>)", u"SU"},
        {"nested list is an item", R"(<VARIABLE_LIST><VARIABLE_LIST><VARIABLE Type="20000"/></VARIABLE_LIST></VARIABLE_LIST>)",
         u"U"},
        {"array item", R"(<VARIABLE_LIST><VARIABLE Type="20006"><ARRAY/></VARIABLE></VARIABLE_LIST>)", u"A"},
    };
    const auto letter = [](const CVariable& item) {
        switch (item.m_eType) {
        case VT_INT: return u'I';
        case VT_STRING: return u'S';
        case VT_UNDEFINED: return u'U';
        case VT_ARRAY: return u'A';
        default: return u'?';
        }
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        CXML node(CString::FromUtf8(row.xml), CString());
        ASSERT_TRUE(node.IsValid());
        CVariableList list;
        list.Add(CVariable(CString(u"old")));
        list.FromXml(node);
        std::u16string types;
        for (intptr_t i = 0; i < list.GetSize(); ++i)
            types += letter(list[i]);
        EXPECT_EQ(types, row.types);

        const CVariableList constructed(node);
        EXPECT_EQ(constructed.GetSize(), list.GetSize());
    }
}

TEST(VariableList, EmptyListAndBadPositions) {
    CVariableList list;
    EXPECT_EQ(list.ToXml().GetChildCount(), 0);
    EXPECT_EQ(list.ToXml().ToString(1), CString(u"<VARIABLE_LIST/>"));
    EXPECT_EQ(CVariableList::GetTagName(), CString(u"VARIABLE_LIST"));
    EXPECT_EQ(CVariableList::TAG_NAME, CString(u"VARIABLE_LIST"));
    EXPECT_THROW(list.GetAt(0), CInvalidArgException);
    list.SetAtGrow(2, CVariable(7));
    ASSERT_EQ(list.GetSize(), 3);
    EXPECT_EQ(list[0].m_eType, VT_UNDEFINED);
    EXPECT_EQ(list[2].m_nValue, 7);
    EXPECT_THROW(list[3], CInvalidArgException);
    EXPECT_THROW(list[-1], CInvalidArgException);
}
