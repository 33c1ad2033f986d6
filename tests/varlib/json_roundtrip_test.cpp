// Value -> CVariable::ToJSON -> CJSON::Parse -> value, over generated mixes of
// types and nestings. What comes back is what the two directions promise:
// strings and INT unchanged, DOUBLE to six decimals, CHAR and BYTE as the INT
// of their code, TIME as the STRING of its date, arrays with a numeric first
// index renumbered "0", "1", ..., other arrays with their indexes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "corelib/Utility.h"
#include "varlib/formats/JSON.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

namespace {

class JsonRoundTrip : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
    }
};

// Random values of every type that has a JSON form.
class ValueGenerator {
public:
    explicit ValueGenerator(uint64_t seed) : m_random(seed) {}

    CVariable Value(int depth) {
        const int kind = Pick(depth > 0 ? 10 : 8);
        switch (kind) {
        case 0: return CVariable(Integer());
        case 1: return CVariable(Double());
        case 2: return CVariable(Text());
        case 3: return CVariable(static_cast<char16_t>(Pick(0x10000)));
        case 4: return CVariable(static_cast<unsigned char>(Pick(256)));
        case 5: return CVariable(CTime(static_cast<int64_t>(Pick(2000000000))));
        case 6: return CVariable(CString());
        case 7: return CVariable(static_cast<int64_t>(Pick(10)));
        default: return Array(depth - 1);   // only where depth > 0
        }
    }

    // An ARRAY with up to six elements and up to depth levels below it.
    CVariable Array(int depth) {
        CVariableArray array;
        const int count = Pick(7);
        // The first index decides array or object; later indexes are any text.
        const bool bNumericFirst = Pick(2) == 0;
        for (int ordinal = 0; ordinal < count; ++ordinal)
            array.InsertElement(Index(ordinal, ordinal == 0 && bNumericFirst), new CVariable(Value(depth)));
        CVariable value(array);
        value.SetName(u"dropped");
        value.SetDescription(u"dropped too");
        return value;
    }

private:
    int Pick(int n) { return static_cast<int>(m_random() % static_cast<uint64_t>(n)); }

    int64_t Integer() {
        switch (Pick(4)) {
        case 0: return std::numeric_limits<int64_t>::min();
        case 1: return std::numeric_limits<int64_t>::max();
        default: return static_cast<int64_t>(m_random());
        }
    }

    double Double() {
        switch (Pick(5)) {
        case 0: return 0.0078125;   // a tie at the seventh decimal
        case 1: return -1e17 / 3.0;
        case 2: return 1e-9;        // prints as 0.000000
        default: return (static_cast<double>(m_random() % 2000000001) - 1e9) / 4096.0;
        }
    }

    // Text that needs every escape, holds raw controls, letters beyond ASCII,
    // a surrogate pair and, now and then, a lone surrogate.
    CString Text() {
        static const char16_t kPieces[][4] = {u"a", u"\\", u"\"", u"\b", u"\f", u"\n", u"\r", u"\t", u"/",
                                              u"\x01", u"\x1f", u"\u00e9", u"\u20ac", u"\U0001F600",
                                              u"\xd800", u"\\u", u" : ", u",\n"};
        std::u16string text;
        const int count = Pick(12);
        for (int i = 0; i < count; ++i)
            text += kPieces[Pick(static_cast<int>(std::size(kPieces)))];
        return CString(text);
    }

    CString Index(int ordinal, bool bNumeric) {
        CString index;
        if (bNumeric || Pick(4) == 0) {
            index.Format(u"%d", Pick(1000) - 500);   // a number, even where it doesn't come first
            return index;
        }
        index = Text();
        return index.IsEmpty() ? CString(u"k") + CString(std::u16string(ordinal + 1, u'x')) : index;
    }

    std::mt19937_64 m_random;
};

// What the parser gives back for a value that the writer wrote.
CVariable Expected(const CVariable& value) {
    switch (value.GetType()) {
    case VT_DOUBLE: {
        char text[512];
        std::snprintf(text, sizeof text, "%f", value.m_dValue);
        return CVariable(std::strtod(text, nullptr));
    }
    case VT_CHAR: return CVariable(static_cast<int64_t>(value.m_chValue));
    case VT_BYTE: return CVariable(static_cast<int64_t>(value.m_byteValue));
    case VT_TIME: return CVariable(value.ToString(0));
    case VT_ARRAY: {
        const CVariableArray& source = value.m_arrayValue;
        CVariableArray array;
        const int count = static_cast<int>(source.GetCount());
        const bool bJsonArray = count > 0 && CUtility::IsNumber(source.GetIndex(0)) != 0;
        for (int ordinal = 0; ordinal < count; ++ordinal) {
            CString key = source.GetIndex(ordinal);
            CVariable* pElement = nullptr;
            source.Lookup(key, pElement);
            if (bJsonArray)
                key.Format(u"%d", ordinal);
            array.InsertElement(key, new CVariable(Expected(*pElement)));
        }
        return CVariable(array);
    }
    default: return CVariable(value);
    }
}

// Compares type, payload and index order; the path says where they part.
::testing::AssertionResult SameValue(const CVariable& expected, const CVariable& actual, const std::string& path) {
    if (expected.GetType() != actual.GetType())
        return ::testing::AssertionFailure() << path << ": type " << expected.GetType() << " != " << actual.GetType();
    switch (expected.GetType()) {
    case VT_INT:
        if (expected.m_nValue != actual.m_nValue)
            return ::testing::AssertionFailure() << path << ": " << expected.m_nValue << " != " << actual.m_nValue;
        break;
    case VT_DOUBLE:
        if (expected.m_dValue != actual.m_dValue)
            return ::testing::AssertionFailure() << path << ": " << expected.m_dValue << " != " << actual.m_dValue;
        break;
    case VT_STRING:
        if (expected.m_strValue.Str() != actual.m_strValue.Str())
            return ::testing::AssertionFailure() << path << ": text differs";
        break;
    case VT_ARRAY: {
        if (expected.m_arrayValue.GetCount() != actual.m_arrayValue.GetCount())
            return ::testing::AssertionFailure() << path << ": " << expected.m_arrayValue.GetCount() << " elements != "
                                                 << actual.m_arrayValue.GetCount();
        for (int ordinal = 0; ordinal < static_cast<int>(expected.m_arrayValue.GetCount()); ++ordinal) {
            const CString index = expected.m_arrayValue.GetIndex(ordinal);
            if (index != actual.m_arrayValue.GetIndex(ordinal))
                return ::testing::AssertionFailure() << path << ": index at " << ordinal << " differs";
            CVariable* pExpected = nullptr;
            CVariable* pActual = nullptr;
            expected.m_arrayValue.Lookup(index, pExpected);
            actual.m_arrayValue.Lookup(index, pActual);
            const auto result = SameValue(*pExpected, *pActual, path + "/" + index.ToUtf8());
            if (!result)
                return result;
        }
        break;
    }
    default:
        return ::testing::AssertionFailure() << path << ": unexpected type " << expected.GetType();
    }
    return ::testing::AssertionSuccess();
}

}  // namespace

TEST_F(JsonRoundTrip, GeneratedValuesComeBackAsPromised) {
    for (uint64_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        ValueGenerator generator(seed);
        const CVariable value = seed % 8 == 0 ? generator.Value(0) : generator.Array(static_cast<int>(seed % 4));
        int bWritten = 0;
        const CString json = value.ToJSON(bWritten, 0);
        ASSERT_EQ(bWritten, 1);
        if (value.IsArray() && value.m_arrayValue.GetCount() == 0) {
            EXPECT_EQ(json, CString());   // an empty array has no text at the top
            continue;
        }
        int bParsed = 0;
        const CVariable parsed = CJSON::Parse(json, bParsed);
        ASSERT_EQ(bParsed, 1) << json;
        EXPECT_TRUE(SameValue(Expected(value), parsed, "")) << json;
        // The parsed value writes the same text again.
        int bRewritten = 0;
        EXPECT_EQ(parsed.ToJSON(bRewritten, 0), json);
    }
}

// Within the parser's nesting limit, depth alone changes nothing.
TEST_F(JsonRoundTrip, DeepNesting) {
    for (int depth : {1, 50, CJSON::MAX_NESTING_DEPTH - 1}) {
        SCOPED_TRACE(depth);
        CVariable value;
        value.ConstructArray(CVariableArray());
        CVariable* pLevel = &value;
        for (int level = 1; level <= depth; ++level) {
            auto pChild = std::make_unique<CVariable>();
            if (level == depth)
                *pChild = CString(u"leaf");
            else
                pChild->ConstructArray(CVariableArray());
            CVariable* pNext = pChild.get();
            pLevel->m_arrayValue.InsertElement(level % 2 ? CString(u"0") : CString(u"k"), pChild.release());
            pLevel = pNext;
        }
        int bWritten = 0;
        const CString json = value.ToJSON(bWritten, 0);
        ASSERT_EQ(bWritten, 1);
        int bParsed = 0;
        const CVariable parsed = CJSON::Parse(json, bParsed);
        ASSERT_EQ(bParsed, 1);
        // Walked level by level: one element each, under the index it was written with.
        const CVariable* pParsed = &parsed;
        for (int level = 1; level <= depth; ++level) {
            ASSERT_TRUE(pParsed->IsArray()) << "level " << level;
            ASSERT_EQ(pParsed->m_arrayValue.GetCount(), 1) << "level " << level;
            const CString index = pParsed->m_arrayValue.GetIndex(0);
            ASSERT_EQ(index, level % 2 ? CString(u"0") : CString(u"k")) << "level " << level;
            CVariable* pChild = nullptr;
            ASSERT_TRUE(pParsed->m_arrayValue.Lookup(index, pChild));
            pParsed = pChild;
        }
        ASSERT_TRUE(pParsed->IsString());
        EXPECT_EQ(pParsed->m_strValue, CString(u"leaf"));
    }
}
