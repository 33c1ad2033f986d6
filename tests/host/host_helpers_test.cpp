// twhost's helpers: JSON arguments into a list, results into text.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "corelib/XML.h"
#include "corelib/framework/Time.h"
#include "host/ArgumentReader.h"
#include "host/ResultPrinter.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

TEST(ArgumentReader, TakesTheElementsOfOneArrayInOrder) {
    struct Case {
        std::string json;
        std::vector<std::string> types;
    };
    const Case cases[] = {
        {"", {}},
        {"  \n", {}},
        {"[]", {}},
        {" [ ] ", {}},
        {"[1]", {"INT"}},
        {"[\"eth*\", 2.5, 7, true, null]", {"STRING", "DOUBLE", "INT", "INT", "UNDEFINED"}},
        {"[[1, 2], {\"a\": \"b\"}]", {"ARRAY", "ARRAY"}},
        {"[10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0]", std::vector<std::string>(11, "INT")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.json);
        CVariableList arguments;
        arguments.Add(CVariable(99));   // whatever was there goes
        std::string error;
        ASSERT_TRUE(CArgumentReader::Read(c.json, arguments, error)) << error;
        std::vector<std::string> types;
        for (intptr_t i = 0; i < arguments.GetSize(); ++i)
            types.push_back(CVariable::GetTypeInfo(arguments[i].GetType()).ToUtf8());
        EXPECT_EQ(types, c.types);
    }

    CVariableList arguments;
    std::string error;
    ASSERT_TRUE(CArgumentReader::Read("[10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0]", arguments, error));
    for (intptr_t i = 0; i < arguments.GetSize(); ++i)
        EXPECT_EQ(arguments[i].m_nValue, 10 - i) << "position " << i;
    ASSERT_TRUE(CArgumentReader::Read("[\"Gr\xC3\xBC\xC3\x9F" "e\"]", arguments, error));
    EXPECT_EQ(arguments[0].m_strValue, CString(u"Gr\x00FC\x00DF" u"e"));
}

TEST(ArgumentReader, RefusesWhatIsNoSingleArray) {
    struct Case {
        std::string json;
        std::string message;
    };
    const Case cases[] = {
        {"\"eth0\"", "must be a JSON array"},
        {"{\"a\": 1}", "must be a JSON array"},
        {"5", "must be a JSON array"},
        {"eth0", "must be a JSON array"},
        {"[1", "not readable JSON"},
        {"[\"open", "not readable JSON"},
        {"[1, {\"a\" 1}]", "not readable JSON"},
        {"[1] [2]", "unexpected text after the JSON array: [2]"},
        {"[1] x", "unexpected text after the JSON array: x"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.json);
        CVariableList arguments;
        std::string error;
        EXPECT_FALSE(CArgumentReader::Read(c.json, arguments, error));
        EXPECT_NE(error.find(c.message), std::string::npos) << error;
        EXPECT_EQ(arguments.GetSize(), 0);
    }
}

TEST(ResultPrinter, WritesJsonWhereThereIsAForm) {
    CVariableArray array;
    array.InsertElement(u"a", new CVariable(1));
    const std::pair<CVariable, std::string> cases[] = {
        {CVariable(5), "5\n"},
        {CVariable(CString(u"say \"hi\"\n")), "\"say \\\"hi\\\"\\n\"\n"},
        {CVariable(CVariableArray()), "[]\n"},
        {CVariable(array), "{\n    \"a\" : 1\n}\n"},
        // XML has no JSON form: its own text instead.
        {CVariable(CXML(CString(u"<a x=\"1\"/>"), CString())), "<a x=\"1\"/>\n"},
    };
    for (const auto& [value, text] : cases) {
        SCOPED_TRACE(text);
        EXPECT_EQ(CResultPrinter::Format(value, false), text);
    }
}

TEST(ResultPrinter, TextFormPrintsTheValueItself) {
    EXPECT_EQ(CResultPrinter::Format(CVariable(CString(u"<html>\n")), true), "<html>\n");
    EXPECT_EQ(CResultPrinter::Format(CVariable(CString(u"<p>")), true), "<p>\n");
    EXPECT_EQ(CResultPrinter::Format(CVariable(2.5), true), "2.500000\n");
    EXPECT_THROW(CResultPrinter::Format(CVariable(CTime(INT64_MAX)), false), CException);
}
