// Value -> CVariable::ToJSON -> CJSON::Parse -> value, over the generated mix.
// What comes back is what the two directions promise: strings and INT
// unchanged (names and enumerations dropped), DOUBLE to six decimals, CHAR and
// BYTE as the INT of their code, TIME as the STRING of its date, arrays with a
// numeric first index renumbered "0", "1", ..., other arrays with their indexes.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "corelib/Utility.h"
#include "value_generator.h"
#include "varlib/formats/JSON.h"

namespace {

CVariable Expected(const CVariable& value) {
    switch (value.GetType()) {
    case VT_INT: return CVariable(value.m_nValue);
    case VT_STRING: return CVariable(value.m_strValue);
    case VT_DOUBLE: {
        char text[400];
        std::snprintf(text, sizeof text, "%f", value.m_dValue);
        return CVariable(std::strtod(text, nullptr));
    }
    case VT_CHAR: return CVariable(static_cast<int64_t>(value.m_chValue));
    case VT_BYTE: return CVariable(static_cast<int64_t>(value.m_byteValue));
    case VT_TIME: return CVariable(value.ToString(0));
    case VT_ARRAY: {
        const CVariableArray& source = value.m_arrayValue;
        const bool bJsonArray = source.GetCount() > 0 && CUtility::IsNumber(source.GetIndex(0)) != 0;
        CVariableArray array;
        for (int ordinal = 0; ordinal < source.GetCount(); ++ordinal) {
            CString key = source.GetIndex(ordinal);
            if (bJsonArray)
                key.Format(u"%d", ordinal);
            array.InsertElement(key, new CVariable(Expected(*tv::ElementAt(source, ordinal))));
        }
        return CVariable(array);
    }
    default: ADD_FAILURE() << "no JSON form: " << value.GetType(); return CVariable();
    }
}

}  // namespace

TEST(JsonRoundTrip, GeneratedValuesComeBackAsPromised) {
    valuegen::ValueGenerator generator(1, valuegen::Form::kJson);
    for (int i = 0; i < 400; ++i) {
        const CVariable value = generator.Make(i % 8 == 0 ? i / 8 % generator.Kinds() : 6, i % 4);
        int bWritten = 0;
        const CString json = value.ToJSON(bWritten, 0);
        SCOPED_TRACE(testing::Message() << "value " << i << ": " << json);
        ASSERT_EQ(bWritten, 1);
        if (value.IsArray() && value.m_arrayValue.GetCount() == 0) {
            EXPECT_EQ(json, CString());   // an empty array has no text at the top
            continue;
        }
        int bParsed = 0;
        const CVariable parsed = CJSON::Parse(json, bParsed);
        ASSERT_EQ(bParsed, 1);
        valuegen::ExpectSameValue(Expected(value), parsed);
        int bRewritten = 0;
        EXPECT_EQ(parsed.ToJSON(bRewritten, 0), json);   // and writes the same text again
        // The UTF-8 doors: the same bytes written directly, the same value read from them.
        int bUtf8 = 0, bUtf8Parsed = 0;
        const std::string utf8 = value.ToJSONUtf8(bUtf8, i % 3);
        EXPECT_EQ(utf8, value.ToJSON(bWritten, i % 3).ToUtf8());
        EXPECT_EQ(bUtf8, bWritten);
        valuegen::ExpectSameValue(CJSON::Parse(json.ToUtf8()), CJSON::Parse(std::string_view(utf8), bUtf8Parsed));
        EXPECT_EQ(bUtf8Parsed, 1);
    }
}

// Up to the parser's nesting limit, depth alone changes nothing.
TEST(JsonRoundTrip, DeepNesting) {
    CVariable value;
    value.ConstructArray(CVariableArray());
    CVariable* pLevel = &value;   // built in place: wrapping by copy costs a copy per level
    for (int level = 1; level < CJSON::MAX_NESTING_DEPTH; ++level) {
        auto* pChild = new CVariable();
        if (level + 1 == CJSON::MAX_NESTING_DEPTH)
            *pChild = CString(u"leaf");
        else
            pChild->ConstructArray(CVariableArray());
        pLevel->m_arrayValue.InsertElement(level % 2 ? CString(u"0") : CString(u"k"), pChild);
        pLevel = pChild;
    }
    int bWritten = 0, bParsed = 0;
    const CString json = value.ToJSON(bWritten, 0);
    ASSERT_EQ(bWritten, 1);
    const CVariable parsed = CJSON::Parse(json, bParsed);
    ASSERT_EQ(bParsed, 1);
    valuegen::ExpectSameValue(value, parsed);   // a numeric first index at every other level: nothing to renumber
}
