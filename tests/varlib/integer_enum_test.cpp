// CIntegerEnumEntry and CIntegerEnum: text form, finders, XML forms.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "varlib/metadata/IntegerEnum.h"

TEST(IntegerEnumEntry, TextFormBothWays) {
    EXPECT_EQ(CIntegerEnumEntry(u"down", u"", -1).ToString(), CString(u"down(-1)"));
    EXPECT_EQ(CIntegerEnumEntry(u"", u"", INT64_MIN).ToString(), CString(u"(-9223372036854775808)"));

    struct Row {
        const char16_t* text;
        int result;
        const char16_t* name;
        int64_t value;
    };
    // Every row starts from the entry old(9) with description d.
    const std::vector<Row> rows = {
        {u"up(1)", 1, u"up", 1},      {u"up", 0, u"old", 9},         {u"up(1", 0, u"up", 9},
        {u"(5)", 1, u"", 5},          {u"a(b)", 1, u"a", 0},         {u"a(b(2)c)", 1, u"a", 0},
        {u"x( -7 )tail", 1, u"x", -7}, {u"x)(3)", 1, u"x)", 3},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(CString(row.text));
        CIntegerEnumEntry entry(u"old", u"d", 9);
        EXPECT_EQ(entry.FromStringValue(row.text), row.result);
        EXPECT_EQ(entry.GetName(), CString(row.name));
        EXPECT_EQ(entry.GetValue(), row.value);
        EXPECT_EQ(entry.GetDescription(), CString(u"d"));
    }
}

TEST(IntegerEnumEntry, XmlFormAndDefaults) {
    const CIntegerEnumEntry back(CIntegerEnumEntry(u"big", u"beyond 32 bits", int64_t{1} << 40).ToXml());
    EXPECT_EQ(back.ToString() + back.GetDescription(), CString(u"big(1099511627776)beyond 32 bits"));
    CIntegerEnumEntry fromBare(u"x", u"y", 3);
    fromBare.FromXml(CXML(CString(u"AnyTag")));
    EXPECT_EQ(fromBare.ToString() + fromBare.GetDescription(), CString(u"(0)"));
}

TEST(IntegerEnum, FindersTakeTheFirstExactMatch) {
    CIntegerEnum en;
    CIntegerEnumEntry found(u"untouched", u"", 0);
    EXPECT_EQ(en.FindEntry(u"a", found), 0);
    EXPECT_EQ(en.FindEntry(int64_t{1}, found), 0);
    en.Add(CIntegerEnumEntry(u"up", u"first", 1));
    en.Add(CIntegerEnumEntry(u"up", u"second", 2));
    en.Add(CIntegerEnumEntry(u"alsoOne", u"third", 1));

    EXPECT_EQ(en.IsEntryExist(u"up"), 1);
    EXPECT_EQ(en.IsEntryExist(u"UP"), 0);
    EXPECT_EQ(en.FindEntry(u"Up", found), 0);
    EXPECT_EQ(found.GetName(), CString(u"untouched"));
    ASSERT_EQ(en.FindEntry(u"up", found), 1);
    EXPECT_EQ(found.GetDescription(), CString(u"first"));
    ASSERT_EQ(en.FindEntry(int64_t{1}, found), 1);
    EXPECT_EQ(found.GetDescription(), CString(u"first"));
    ASSERT_EQ(en.FindEntry(int64_t{2}, found), 1);
    EXPECT_EQ(found.GetDescription(), CString(u"second"));

    CIntegerEnum copy(en);
    copy[0].SetName(u"changed");
    EXPECT_EQ(en[0].GetName(), CString(u"up"));
}

TEST(IntegerEnum, XmlRoundTripReplacesEntries) {
    CIntegerEnum en;
    CXML emptyNode = en.ToXml();
    EXPECT_EQ(emptyNode.GetTagName(), CString(u"IntegerEnum"));
    EXPECT_EQ(emptyNode.GetChildCount(), 0);

    en.Add(CIntegerEnumEntry(u"b", u"", -5));
    en.Add(CIntegerEnumEntry(u"a", u"x", int64_t{1} << 33));
    CXML node = en.ToXml();
    ASSERT_EQ(node.GetChildCount(), 2);
    EXPECT_EQ(node.GetFirstChild().GetTagName(), CString(u"EnumEntry"));

    CIntegerEnum back;
    back.Add(CIntegerEnumEntry(u"stale", u"", 0));
    back.FromXml(node);
    ASSERT_EQ(back.GetSize(), 2);
    EXPECT_EQ(back[0].ToString(), CString(u"b(-5)"));
    EXPECT_EQ(back[1].ToString(), CString(u"a(8589934592)"));
    EXPECT_EQ(back[1].GetDescription(), CString(u"x"));

    // Children of any tag are entries; no children leave it empty.
    CXML mixed(CString(u"Whatever"));
    mixed.AddChild(CXML(CString(u"NotAnEntry")));
    CIntegerEnum fromMixed(mixed);
    EXPECT_EQ(fromMixed.GetSize(), 1);
    fromMixed.FromXml(emptyNode);
    EXPECT_EQ(fromMixed.GetSize(), 0);
}
