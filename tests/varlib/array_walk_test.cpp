// The writers walk an array from its maps' slots when the slots still hold
// the order; whatever happened to the array, the JSON form must list what
// the cursor's lookups list, and the XML text what the tree holds.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "corelib/XML.h"
#include "varlib/formats/JSON.h"
#include "varlib/values/Variable.h"

namespace {

// The elements as the JSON form lists them (read back in its order); each
// element's text is its index.
std::string JsonOrder(const CVariable& value) {
    int bSuccess = 0;
    CVariable read = CJSON::Parse(value.ToJSONUtf8(bSuccess, 0));
    std::string out;
    CString index;
    CVariable* pElement = nullptr;
    for (int more = read.m_arrayValue.GetFirstVariable(index, pElement); more;
         more = read.m_arrayValue.GetNextVariable(index, pElement))
        out += pElement->ToString(0).ToUtf8() + ",";
    return out;
}

// Index texts as the cursor lists them (a lookup per ordinal).
std::string CursorOrder(CVariableArray& array) {
    std::string out;
    CString index;
    for (int more = array.GetFirstIndex(index); more; more = array.GetNextIndex(index))
        out += index.ToUtf8() + ",";
    return out;
}

// The JSON form lists what the cursor lists, the XML text is the tree's print.
void Check(CVariable& value, const char* expected) {
    const std::string cursor = CursorOrder(value.m_arrayValue);
    EXPECT_EQ(cursor.empty() ? "" : JsonOrder(value), cursor);
    EXPECT_EQ(value.ToXmlString().ToUtf8(), value.ToXml().ToString(CXML::FORMAT_COMPACT).ToUtf8());
    if (expected != nullptr) {
        EXPECT_EQ(cursor, expected);
    }
}

void Add(CVariableArray& array, const char* index) { array.InsertElement(CString(index), new CVariable(CString(index))); }

TEST(ArrayWalk, WritersListWhatTheCursorLists) {
    const struct {
        const char* name;
        std::function<void(CVariableArray&)> change;
        const char* expected;
    } rows[] = {
        {"inserted", [](CVariableArray& a) { for (const char* i : {"b", "a", "c"}) Add(a, i); }, "b,a,c,"},
        {"replaced keeps its place", [](CVariableArray& a) { for (const char* i : {"b", "a", "c", "a"}) Add(a, i); }, "b,a,c,"},
        {"removed, then a slot taken again",
         [](CVariableArray& a) {
             for (const char* i : {"a", "b", "c"}) Add(a, i);
             a.RemoveVariable(u"a");
             Add(a, "d");
         },
         "b,c,d,"},
        {"emptied and filled again",
         [](CVariableArray& a) {
             for (const char* i : {"a", "b"}) Add(a, i);
             a.CleanUp();
             for (const char* i : {"c", "a"}) Add(a, i);
         },
         "c,a,"},
        {"a key added through the base map leaves an ordinal out",
         [](CVariableArray& a) {
             Add(a, "a");
             a.SetAt(u"x", new CVariable(1));
             Add(a, "b");
         },
         "a,"},
        {"a key removed through the base map ends the walk",
         [](CVariableArray& a) {
             for (const char* i : {"a", "b", "c"}) Add(a, i);
             CVariable* pElement = nullptr;
             a.Lookup(u"b", pElement);
             a.RemoveKey(u"b");
             delete pElement;
             Add(a, "d");
         },
         "a,"},
        {"many, with one removed from the middle",
         [](CVariableArray& a) {
             for (int i = 0; i < 40; ++i) Add(a, std::to_string(i * 7 % 40).c_str());
             a.RemoveVariable(u"7");
             Add(a, "x");
         },
         nullptr},
        {"copied (a copy fills its slots in another order)",
         [](CVariableArray& a) {
             CVariableArray source;
             for (int i = 0; i < 30; ++i) Add(source, std::to_string(29 - i).c_str());
             a = source;
         },
         nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CVariable value{CVariableArray()};
        row.change(value.m_arrayValue);
        Check(value, row.expected);
    }
    // Straight from the parser, no copy between.
    CVariable parsed = CJSON::Parse(R"({"z":"z","y":"y","x":"x"})");
    Check(parsed, nullptr);
}

}  // namespace
