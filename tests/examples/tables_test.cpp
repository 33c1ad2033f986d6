// tables.twp's logic: reading rows into columns, sorting, rendering and the
// module's checks.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "corelib/framework/Time.h"
#include "example_check.h"
#include "examples/plugins/tables/RowTable.h"
#include "examples/plugins/tables/TablesModule.h"
#include "varlib/formats/JSON.h"

namespace {

// Rows written as JSON, the way an operator hands them to twhost.
CVariable Json(const char16_t* text) {
    int ok = 0;
    CVariable value = CJSON::Parse(text, ok);
    EXPECT_TRUE(ok) << CString(text);
    return value;
}

constexpr const char16_t* kHosts =
    u"[{\"host\":\"beta\",\"cpu\":12,\"load\":0.5}, {\"host\":\"Alpha\",\"cpu\":3},"
    u" {\"host\":\"gamma\",\"cpu\":100,\"load\":2.25}, {\"host\":\"alpha\",\"cpu\":12}]";

}  // namespace

TEST(RowTable, ColumnsAreTheUnionInNaturalOrder) {
    // A column that only a later row has goes after its left neighbour in that row, or, at the
    // row's start, before the first column the table knows.
    const std::pair<const char16_t*, const char*> cases[] = {
        {u"[{\"a\":1,\"c\":3},{\"a\":1,\"b\":2,\"c\":3}]", "a b c "}, {u"[{\"a\":1,\"c\":3},{\"b\":2,\"c\":3}]", "a b c "},
        {u"[{\"b\":1},{\"a\":1,\"b\":2}]", "a b "}, {u"[{\"a\":1},{\"z\":1,\"b\":2,\"a\":3}]", "z b a "},
        {u"[{\"x\":1},{\"y\":2}]", "x y "}, {u"[{\"a\":1,\"b\":2},{\"b\":1,\"a\":2}]", "a b "},
    };
    for (const auto& [json, expected] : cases) {
        const CVariable rows = Json(json);
        const CRowTable table(rows.m_arrayValue);
        std::string columns;
        for (const CString& column : table.GetColumns())
            columns += column.ToUtf8() + " ";
        EXPECT_EQ(columns, expected) << CString(json);
    }
}

TEST(RowTable, SortsByTheColumnStablyWithMissingCellsLast) {
    const std::tuple<const char16_t*, bool, const char*> cases[] = {   // column, descending, hosts
        {u"cpu", false, "Alpha beta alpha gamma "},   // 12 and 12 keep their order
        {u"cpu", true, "gamma beta alpha Alpha "},    {u"host", false, "Alpha alpha beta gamma "},   // case folded, then exact
        {u"load", false, "beta gamma Alpha alpha "},  {u"load", true, "gamma beta Alpha alpha "},    // the missing stay last
        {u"absent", false, "beta Alpha gamma alpha "},
    };
    const CVariable rows = Json(kHosts);
    for (const auto& [column, descending, expected] : cases) {
        CRowTable table(rows.m_arrayValue);
        table.SortBy(column, descending);
        std::string hosts;
        for (int row = 0; row < table.GetRowCount(); ++row)
            hosts += table.GetCell(row, u"host")->m_strValue.ToUtf8() + " ";
        EXPECT_EQ(hosts, expected) << CString(column) << (descending ? " descending" : "");
    }
}

TEST(RowTable, CompareCellsOrdersNumbersTimesThenText) {
    // Each is smaller than the next one.
    const std::vector<CVariable> ascending = {
        CVariable(std::numeric_limits<int64_t>::min()), CVariable(-1.5), CVariable(2), CVariable(2.5),
        CVariable(int64_t{9007199254740993}),   // 2^53 + 1: a double would round it
        CVariable(9007199254740994.0), CVariable(std::nan("")), CVariable(CTime(0)), CVariable(CTime(86400)),
        CVariable(CString(u"10")), CVariable(CString(u"9")),   // numbers in text sort as text
        CVariable(CString(u"apple")), CVariable(CString(u"Banana")), CVariable(CString(u"banana")),
    };
    for (std::size_t i = 0; i < ascending.size(); ++i)
        for (std::size_t j = 0; j < ascending.size(); ++j) {
            const int order = CRowTable::CompareCells(ascending[i], ascending[j]);
            EXPECT_TRUE((order < 0) == (i < j) && (order > 0) == (i > j)) << "cells " << i << " and " << j;
        }
    EXPECT_EQ(CRowTable::CompareCells(CVariable(2), CVariable(2.0)), 0);
}

TEST(RowTable, CellTextJoinsNestedArraysAndNamesBadTimes) {
    EXPECT_EQ(CRowTable::CellText(Json(u"[\"a\", 2]")), CString(u"a;2"));
    EXPECT_EQ(CRowTable::CellText(CVariable(CTime(std::numeric_limits<int64_t>::max()))), CString(u"invalid time"));
}

TEST(TablesModule, ChecksItsArguments) {
    const CTablesModule module;
    const CVariable rows = Json(kHosts);
    const CVariable title(CString(u"Hosts")), cpu(CString(u"cpu"));
    const std::tuple<const char16_t*, CVariableList, int> cases[] = {   // function, arguments, valid
        {u"TableReport", Arguments({rows}), 1}, {u"TableReport", Arguments({rows, title, CVariable(CString(u""))}), 1},
        {u"TableReport", Arguments({rows, title, cpu, CVariable(1)}), 1}, {u"TableReport", Arguments({Json(u"[]")}), 1},
        {u"TableColumns", Arguments({rows}), 1}, {u"TableReport", {}, 0}, {u"TableReport", Arguments({rows, CVariable(3)}), 0},
        {u"TableReport", Arguments({rows, title, CVariable(CString(u"CPU"))}), 0},   // names are exact
        {u"TableReport", Arguments({rows, title, cpu, CVariable(1), CVariable(1)}), 0},
        {u"TableReport", Arguments({Json(u"{\"r1\":{\"a\":1}}")}), 1},
        {u"TableReport", Arguments({Json(u"[{\"a\":1}, 7]")}), 0},   // a row that is no ARRAY
    };
    int row = 0;
    for (const auto& [function, arguments, valid] : cases) {
        SCOPED_TRACE(::testing::Message() << "case " << row++);
        EXPECT_EQ(module.ValidateArguments(function, arguments), valid);
        EXPECT_EQ(module.ExecuteFunction(function, arguments).IsValid(), valid != 0);
    }

    int ok = 0;
    EXPECT_EQ(module.ExecuteFunction(u"TableColumns", Arguments({rows})).ToJSON(ok, 0),
              CString(u"[\n    \"host\",\n    \"cpu\",\n    \"load\"\n]"));
}

TEST(TablesModule, ReportIsSortedAndEscaped) {
    const CVariable rows = Json(u"[{\"name\":\"<b>bold</b>\",\"n\":2},{\"name\":\"a & b\",\"n\":10}]");
    const CVariable report = CTablesModule().ExecuteFunction(
        u"TableReport", Arguments({rows, CVariable(CString(u"Top")), CVariable(CString(u"n")), CVariable(1)}));
    const CString& html = report.m_strValue;
    EXPECT_NE(html.Find(u"2 rows, sorted by n, largest first"), -1) << html;
    EXPECT_NE(html.Find(u"<th class=\"num\">n</th>"), -1);
    const int first = html.Find(u"<td>a &amp; b</td>");
    EXPECT_NE(first, -1);
    EXPECT_LT(first, html.Find(u"<td>&lt;b&gt;bold&lt;/b&gt;</td>"));
    ExpectWellFormed(html, u"html");

    const CString empty = CTablesModule::RenderReport(CVariableArray(), u"Empty", u"", false);
    EXPECT_NE(empty.Find(u"0 rows"), -1);
    EXPECT_NE(empty.Find(u"There are no rows to show."), -1);
    EXPECT_EQ(empty.Find(u"<table>"), -1);
}
