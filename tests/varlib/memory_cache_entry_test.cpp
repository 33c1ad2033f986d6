// CMemoryCacheEntry: the index that Create builds, the written XML form, and
// how FromXml reads what it is given (the cache's tests round trip every type).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_values.h"

using namespace tv;

namespace {

// Reaches the protected Destroy.
class EntryProbe : public CMemoryCacheEntry {
public:
    using CMemoryCacheEntry::Destroy;
};

TEST(MemoryCacheEntry, CreateBuildsTheIndexOfOneField) {
    CVariable withEnum(int64_t{7});
    withEnum.m_enumValues.Add(CIntegerEnumEntry(u"seven", u"", 7));
    struct Case {
        const char* name;
        CVariable value;
        const char* field;
        Pairs index;
        unsigned int buckets;   // the index's hash table size afterwards
    };
    const std::vector<Case> cases = {
        {"scalar, with a field", Str("alpha"), "Name", {}, 17},
        {"table, no field", Array({{"r1", Row({{"Name", "alpha"}})}}), "", {}, 17},
        {"empty table", CVariable(CVariableArray()), "Name", {}, 17},
        {"rows by their field; rows without it add nothing",
         Array({{"r1", Row({{"Name", "alpha"}, {"Port", "1"}})}, {"r2", Row({{"Port", "2"}, {"Name", "beta"}})},
                {"r3", Row({{"name", "lower"}})}, {"r4", Row({})}}),
         "Name", {{"alpha", "r1"}, {"beta", "r2"}}, 4},
        {"scalars by their own text, a row beside them",
         Array({{"a", Str("x")}, {"b", CVariable(12)}, {"c", CVariable(2.5)}, {"row", Row({{"Name", "n"}})}}),
         "Name", {{"x", "a"}, {"12", "b"}, {"2.500000", "c"}, {"n", "row"}}, 4},
        {"equal texts: the last in array order wins, whatever the type",
         Array({{"first", Row({{"Name", "5"}})}, {"second", Str("5")}, {"third", CVariable(5)}}),
         "Name", {{"5", "third"}}, 3},
        {"an integer field indexes by its plain number", Array({{"r", Array({{"State", withEnum}})}}), "State",
         {{"7", "r"}}, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CMemoryCacheEntry entry;
        entry.Create(c.value, Text(c.field));
        ASSERT_NE(entry.GetVariable(), nullptr);
        EXPECT_EQ(XmlOf(*entry.GetVariable()), XmlOf(c.value));
        EXPECT_EQ(PairsOf(entry), c.index);
        EXPECT_EQ(entry.GetHashTableSize(), c.buckets);
        // Rows are found by text, and nothing else is.
        for (const auto& [text, key] : c.index) {
            CString found;
            EXPECT_TRUE(entry.Lookup(Text(text.c_str()), found));
            EXPECT_EQ(found.ToUtf8(), key);
        }
        CString untouched(u"untouched");
        EXPECT_FALSE(entry.Lookup(u"no such text", untouched));
        EXPECT_EQ(untouched, CString(u"untouched"));
    }
}

TEST(MemoryCacheEntry, OwnsADeepCopyThatCreateAndDestroyReplace) {
    CVariable table = Array({{"r1", Row({{"Name", "alpha"}})}});
    EntryProbe entry;
    entry.Create(table, u"Name");
    // The caller's value changes; the entry's copy does not.
    table.m_arrayValue.InsertElement(u"r2", new CVariable(Row({{"Name", "beta"}})));
    EXPECT_EQ(entry.GetVariable()->m_arrayValue.GetCount(), 1);
    entry.Create(Str("scalar"), u"Name");
    EXPECT_TRUE(entry.GetVariable()->IsString());
    EXPECT_TRUE(PairsOf(entry).empty()) << "the old index went with the old value";
    entry.Destroy();
    entry.Destroy();   // an empty entry takes it again
    EXPECT_EQ(entry.GetVariable(), nullptr);
    EXPECT_EQ(entry.GetCount(), 0);
}

// The value, then ENTRIES sized by the index's count; the cache's round trips read it back.
TEST(MemoryCacheEntry, WritesTheValueThenEntries) {
    CMemoryCacheEntry indexed, empty, scalar;
    const CVariable table = Array({{"r1", Row({{"Name", "a\"<&>\r\n"}})}});
    indexed.Create(table, u"Name");
    scalar.Create(CVariable(3), u"Name");
    EXPECT_EQ(indexed.ToXml().ToString(1), CString(u"<MemoryCacheEntry>") + table.ToXmlString() +
                                                u"<ENTRIES HashTableSize=\"1\"><ENTRY Value=\"a&quot;&lt;&amp;>&#13;&#10;\" "
                                                u"Index=\"r1\"/></ENTRIES></MemoryCacheEntry>");
    EXPECT_EQ(empty.ToXml().ToString(1), CString(u"<MemoryCacheEntry><ENTRIES HashTableSize=\"0\"/></MemoryCacheEntry>"));
    EXPECT_EQ(scalar.ToXml().ToString(1), CString(u"<MemoryCacheEntry>") + CVariable(3).ToXmlString() +
                                               u"<ENTRIES HashTableSize=\"0\"/></MemoryCacheEntry>");
}

TEST(MemoryCacheEntry, ReadsTheIndexAsTheXmlGivesIt) {
    struct Case {
        const char* name;
        const char* xml;     // inside <MemoryCacheEntry>
        const char* value;   // the value's text, or nullptr for no value
        Pairs index;
        unsigned int buckets;
    };
    const std::vector<Case> cases = {
        {"empty ENTRIES keeps the default table", R"(<ENTRIES HashTableSize="0"/>)", nullptr, {}, 17},
        {"nothing at all", "", nullptr, {}, 17},
        {"an ENTRY without attributes is the empty pair", R"(<ENTRIES HashTableSize="1"><ENTRY/></ENTRIES>)",
         nullptr, {{"", ""}}, 1},
        {"pairs are taken unchecked, children of any tag",
         R"(<ENTRIES HashTableSize="3"><ENTRY Value="a" Index="x"/><ROW Value="b" Index="y"/><ENTRY Value="c"/>)"
         R"(</ENTRIES><VARIABLE Type="20001" Value="v"/>)", "v", {{"a", "x"}, {"b", "y"}, {"c", ""}}, 3},
        {"a later pair of one text wins",
         R"(<ENTRIES HashTableSize="2"><ENTRY Value="a" Index="1"/><ENTRY Value="a" Index="2"/></ENTRIES>)",
         nullptr, {{"a", "2"}}, 2},
        {"a size beyond the children present stands",
         R"(<ENTRIES HashTableSize="50"><ENTRY Value="a" Index="1"/></ENTRIES>)", nullptr, {{"a", "1"}}, 50},
        {"an absurd size is cut to the children present",
         R"(<ENTRIES HashTableSize="2000000000"><ENTRY Value="a" Index="1"/></ENTRIES>)", nullptr, {{"a", "1"}}, 1},
        {"a negative or unreadable size is ignored",
         R"(<ENTRIES HashTableSize="-5"><ENTRY Value="a" Index="1"/></ENTRIES>)"
         R"(<ENTRIES HashTableSize="lots"><ENTRY Value="b" Index="2"/></ENTRIES>)", nullptr, {{"a", "1"}, {"b", "2"}}, 17},
        {"the last VARIABLE counts", R"(<VARIABLE Type="20001" Value="old"/><VARIABLE Type="20000" Value="9"/>)", "9",
         {}, 17},
        {"tags compare exactly; other children are ignored",
         R"(<variable Type="20001" Value="no"/><entries><ENTRY Value="no" Index="no"/></entries><Other/>)", nullptr,
         {}, 17},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CXML node(Text(("<MemoryCacheEntry>" + std::string(c.xml) + "</MemoryCacheEntry>").c_str()), CString());
        ASSERT_TRUE(node.IsValid());
        CMemoryCacheEntry entry;
        entry.Create(Array({{"stale", Str("stale")}}), u"x");   // FromXml must replace all of this
        entry.FromXml(node);
        const CVariable* value = entry.GetVariable();
        EXPECT_EQ(value ? value->ToString(0).ToUtf8() : "<none>", c.value ? c.value : "<none>");
        EXPECT_EQ(PairsOf(entry), c.index);
        CMemoryCacheEntry fresh(node);
        EXPECT_EQ(PairsOf(fresh), c.index);
        EXPECT_EQ(fresh.GetHashTableSize(), c.buckets);
    }
}

}  // namespace
