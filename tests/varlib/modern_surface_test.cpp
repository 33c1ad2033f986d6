// Range-for walks, initializer-list builders and the UTF-8 doors: what they
// give must be what the cursor, InsertElement and the conversions give.
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "varlib/metadata/ModuleMetaInfo.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableList.h"

namespace {

// The spellings that compiled before the text constructors came must keep
// the constructor they picked: the types below are those the code gave then.
TEST(ModernSurface, NumericSpellingsKeepTheirConstructor) {
    CVariable fromZero = 0;
    CVariable fromDouble = 1.5;
    const struct {
        CVariable value;
        eVariableType type;
    } cases[] = {
        {fromZero, VT_INT},
        {fromDouble, VT_DOUBLE},
        {CVariable(u'x'), VT_CHAR},
        {CVariable(static_cast<unsigned char>(65)), VT_BYTE},
        {CVariable(static_cast<int64_t>(-7)), VT_INT},
        {CVariable(true), VT_INT},
    };
    for (const auto& c : cases) EXPECT_EQ(c.value.GetType(), c.type) << c.value.ToString(0).ToUtf8();
}



// Index and text of each element, as the cursor lists them.
std::string ByCursor(CVariableArray& array) {
    std::string out;
    CString index;
    CVariable* pElement = nullptr;
    for (int more = array.GetFirstVariable(index, pElement); more; more = array.GetNextVariable(index, pElement))
        out += index.ToUtf8() + "=" + pElement->ToString(0).ToUtf8() + ",";
    return out;
}

std::string ByRange(const CVariableArray& array) {
    std::string out;
    for (const auto& [index, element] : array) out += index.ToUtf8() + "=" + element.ToString(0).ToUtf8() + ",";
    return out;
}

TEST(ModernSurface, RangeWalkListsWhatTheCursorLists) {
    // Each letter inserts the next number under itself; then one index goes,
    // by RemoveVariable or through the base map, which leaves a hole in the order.
    const struct {
        std::u16string inserts;
        const char16_t* removed;
        bool throughBaseMap;
        const char* expected;
    } cases[] = {
        {u"", nullptr, false, ""},
        {u"bac", nullptr, false, "b=1,a=2,c=3,"},
        {u"bab", nullptr, false, "b=3,a=2,"},   // a replaced element keeps its place
        {u"bac", u"a", false, "b=1,c=3,"},
        {u"bac", u"a", true, "b=1,"},           // the walk ends at the hole, as the cursor's does
    };
    for (const auto& c : cases) {
        CVariableArray array;
        for (std::size_t i = 0; i < c.inserts.size(); ++i)
            array.InsertElement(CString(c.inserts[i]), new CVariable(static_cast<int>(i + 1)));
        CVariable* pTaken = nullptr;
        if (c.removed != nullptr && c.throughBaseMap && array.Lookup(c.removed, pTaken) && array.RemoveKey(c.removed))
            delete pTaken;
        else if (c.removed != nullptr)
            array.RemoveVariable(c.removed);
        EXPECT_EQ(ByRange(array), c.expected) << testing::PrintToString(c.inserts);
        EXPECT_EQ(ByCursor(array), c.expected) << testing::PrintToString(c.inserts);
    }
}

// A plug-in function's shape: the arguments come by const reference.
int64_t SumOfElements(const CVariableList& args) {
    int64_t sum = 0;
    for (const CVariable& arg : args)
        for (const auto& [index, element] : arg.m_arrayValue) sum += element.m_nValue;
    return sum;
}

TEST(ModernSurface, WalksNestLeaveTheCursorAndWriteThrough) {
    CVariable value = CVariable::Array({{"x", 1}, {"y", 2}, {"z", 3}});
    CVariableArray& array = value.m_arrayValue;
    CString index;
    CVariable* pElement = nullptr;
    ASSERT_TRUE(array.GetFirstVariable(index, pElement));
    std::string pairs;
    for (const auto& [outer, a] : array)
        for (auto& [inner, b] : array) pairs += outer.ToUtf8() + inner.ToUtf8() + std::to_string(a.m_nValue * b.m_nValue) + ",";
    EXPECT_EQ(pairs, "xx1,xy2,xz3,yx2,yy4,yz6,zx3,zy6,zz9,");
    ASSERT_TRUE(array.GetNextVariable(index, pElement));   // the cursor stayed where the walks found it
    EXPECT_EQ(index, u"y");
    for (auto& [name, element] : array) element += CVariable(10);
    EXPECT_EQ(ByRange(array), "x=11,y=12,z=13,");
    CVariableList args;
    args.Add(value);
    args.Add(CVariable::List({100, 200}));
    EXPECT_EQ(SumOfElements(args), 336);
}

// Index, type, flags and text of every element, nested ones included.
void ExpectSameElements(const CVariableArray& built, const CVariableArray& inserted, const std::string& path) {
    ASSERT_EQ(built.GetCount(), inserted.GetCount()) << path;
    auto it = inserted.begin();
    for (const auto& [index, element] : built) {
        ASSERT_NE(it, inserted.end()) << path;
        const CString& expectedIndex = it->first;   // the pair lives in the iterator, its members don't
        const CVariable& expected = it->second;
        ++it;
        const std::string where = path + "/" + expectedIndex.ToUtf8();
        EXPECT_EQ(index, expectedIndex) << where;
        EXPECT_EQ(element.GetType(), expected.GetType()) << where;
        EXPECT_EQ(element.GetIndex(), expected.GetIndex()) << where;
        EXPECT_EQ(element.IsArrayElement(), expected.IsArrayElement()) << where;
        EXPECT_EQ(element.ToString(0), expected.ToString(0)) << where;
        ExpectSameElements(element.m_arrayValue, expected.m_arrayValue, where);
    }
}

TEST(ModernSurface, BuildersBuildWhatInsertElementBuilds) {
    const CVariable built = CVariable::Array({{"name", "eth0"},
                                              {u"mtu", 1500},
                                              {"addrs", CVariable::List({u"10.0.0.1", 2.5, CVariable::Array({})})},
                                              {"name", std::string_view("eth1")}});
    CVariable addrs{CVariableArray()};
    addrs.m_arrayValue.InsertElement(u"0", new CVariable(CString(u"10.0.0.1")));
    addrs.m_arrayValue.InsertElement(u"1", new CVariable(2.5));
    addrs.m_arrayValue.InsertElement(u"2", new CVariable(CVariableArray()));
    CVariable inserted{CVariableArray()};
    inserted.m_arrayValue.InsertElement(u"name", new CVariable(CString(u"eth0")));
    inserted.m_arrayValue.InsertElement(u"mtu", new CVariable(1500));
    inserted.m_arrayValue.InsertElement(u"addrs", new CVariable(addrs));
    inserted.m_arrayValue.InsertElement(u"name", new CVariable(CString(u"eth1")));
    EXPECT_EQ(built.GetType(), VT_ARRAY);
    ExpectSameElements(built.m_arrayValue, inserted.m_arrayValue, "");
    EXPECT_EQ(built.ToXmlString(), inserted.ToXmlString());
}

// The UTF-8 doors read and write as CString's conversions do, bad input included.
TEST(ModernSurface, Utf8InAndOut) {
    const struct {
        std::string utf8;
        std::u16string utf16;
        std::string back;
    } rows[] = {
        {"", u"", ""},
        {"abc", u"abc", "abc"},
        {"\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80", u"\u00e9\u4e2d\U0001F600", "\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80"},
        {"a\x80z", u"a\uFFFDz", "a\xEF\xBF\xBDz"},
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.utf8));
        for (const CVariable& value : {CVariable(row.utf8.c_str()), CVariable(std::string_view(row.utf8))}) {
            EXPECT_EQ(value.GetType(), VT_STRING);
            EXPECT_EQ(value.m_strValue.Str(), row.utf16);
            EXPECT_EQ(value.m_strValue.ToUtf8(), row.back);
        }
        EXPECT_EQ(CVariable(row.utf16.c_str()).m_strValue.Str(), row.utf16);
    }
    // A view need not end in a zero byte.
    EXPECT_EQ(CVariable(std::string_view("abcdef", 3)).m_strValue, u"abc");
}

TEST(ModernSurface, JsonTextReportsFailureInItsResult) {
    const struct {
        CVariable value;
        int nIndent;
    } cases[] = {
        {CVariable::Array({{"a", 1}, {"b", CVariable::List({"x", 2.5})}}), 0},
        {CVariable::Array({{"a", "\xC3\xA9"}}), 4},
        {CVariable(CXML()), 0},
        {CVariable::Array({{"a", CVariable()}}), 0},
    };
    for (const auto& c : cases) {
        int bSuccess = -1;
        const std::string expected = c.value.ToJSONUtf8(bSuccess, c.nIndent);
        const std::optional<std::string> text = c.value.ToJSONText(c.nIndent);
        ASSERT_EQ(text.has_value(), bSuccess != 0) << expected;
        if (text) {
            EXPECT_EQ(*text, expected);
        }
    }
    EXPECT_EQ(CVariable(7).ToJSONText(), CVariable(7).ToJSONText(0));
}

CFunctionSignature Described(const char16_t* text) {
    CFunctionSignature signature;
    signature.SetDescription(text);
    return signature;
}

// The function map and its arrays take keys and signatures by non-const
// reference; temporaries and const objects must land as copies all the same.
TEST(ModernSurface, MetadataContainersTakeTemporaries) {
    CModuleMetaInfo::CFunctionMap functions;
    const CFunctionSignature second = Described(u"second");
    functions[u"Greet"].Add(Described(u"first"));
    functions[u"Greet"].Add(second);
    functions[u"Greet"].InsertAt(0, Described(u"zeroth"));
    functions[u"Greet"].SetAtGrow(4, second);
    functions[u"Greet"].SetAt(3, Described(u"third"));
    functions.SetAt(u"Other", CModuleMetaInfo::CSignatureArray());
    const CModuleMetaInfo::CFunctionMap& view = functions;
    CModuleMetaInfo::CSignatureArray found;
    ASSERT_TRUE(view.Lookup(u"Greet", found));
    std::string descriptions;
    for (const CFunctionSignature& signature : found) descriptions += signature.GetDescription().ToUtf8() + ",";
    EXPECT_EQ(descriptions, "zeroth,first,second,third,second,");
    EXPECT_NE(view.PLookup(u"Other"), nullptr);
    EXPECT_EQ(functions.RemoveKey(u"Other"), 1);
    EXPECT_EQ(functions.GetCount(), 1);
}

}  // namespace
