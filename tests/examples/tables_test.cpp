// tables.twp's logic: reading rows into columns, sorting, rendering and the
// module's checks.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "corelib/framework/Time.h"
#include "examples/plugins/tables/RowTable.h"
#include "examples/plugins/tables/TablesModule.h"
#include "html_check.h"
#include "varlib/formats/JSON.h"

namespace {

// Rows written as JSON, the way an operator hands them to twhost.
CVariable Json(const char16_t* text) {
    int ok = 0;
    CVariable value = CJSON::Parse(text, ok);
    EXPECT_TRUE(ok) << CString(text);
    return value;
}

std::vector<std::string> Column(const CRowTable& table, const char16_t* column) {
    std::vector<std::string> texts;
    for (int row = 0; row < table.GetRowCount(); ++row) {
        const CVariable* cell = table.GetCell(row, column);
        texts.push_back(cell == nullptr ? "-" : CRowTable::CellText(*cell).ToUtf8());
    }
    return texts;
}

std::vector<std::string> Names(const CRowTable& table) {
    std::vector<std::string> names;
    for (const CString& column : table.GetColumns())
        names.push_back(column.ToUtf8());
    return names;
}

CVariableList Arguments(std::initializer_list<CVariable> values) {
    CVariableList list;
    for (const CVariable& value : values)
        list.Add(value);
    return list;
}

constexpr const char16_t* kHosts =
    u"[{\"host\":\"beta\",\"cpu\":12,\"load\":0.5},"
    u" {\"host\":\"Alpha\",\"cpu\":3},"
    u" {\"host\":\"gamma\",\"cpu\":100,\"load\":2.25},"
    u" {\"host\":\"alpha\",\"cpu\":12}]";

}  // namespace

TEST(RowTable, CheckRowsWantsAnArrayOfArrays) {
    struct Case {
        const char16_t* json;
        int valid;
        const char16_t* reason;
    };
    const Case cases[] = {
        {u"[]", 1, u""},
        {u"{}", 1, u""},
        {u"[{\"a\":1}, [1, 2]]", 1, u""},
        {u"{\"r1\":{\"a\":1}}", 1, u""},
        {u"\"text\"", 0, u"the rows must be an ARRAY, not STRING"},
        {u"5", 0, u"the rows must be an ARRAY, not INT"},
        {u"[{\"a\":1}, 7]", 0, u"row 1 is INT, not an ARRAY of cells"},
        {u"{\"first\":{}, \"second\":\"x\"}", 0, u"row second is STRING, not an ARRAY of cells"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(CString(c.json));
        CString reason;
        EXPECT_EQ(CRowTable::CheckRows(Json(c.json), reason), c.valid);
        EXPECT_EQ(reason, CString(c.reason));
    }
}

TEST(RowTable, ColumnsAreTheUnionInNaturalOrder) {
    struct Case {
        const char16_t* json;
        std::vector<std::string> columns;
    };
    const Case cases[] = {
        {u"[]", {}},
        {u"[{\"a\":1,\"b\":2}]", {"a", "b"}},
        // A column that only a later row has goes after its left neighbour in that row.
        {u"[{\"a\":1,\"c\":3},{\"a\":1,\"b\":2,\"c\":3}]", {"a", "b", "c"}},
        {u"[{\"b\":1},{\"a\":1,\"b\":2}]", {"a", "b"}},
        {u"[{\"a\":1,\"c\":3},{\"b\":2,\"c\":3}]", {"a", "b", "c"}},
        {u"[{\"a\":1},{\"z\":1,\"b\":2,\"a\":3}]", {"z", "b", "a"}},
        {u"[{\"x\":1},{\"y\":2}]", {"x", "y"}},
        {u"[{\"a\":1,\"b\":2},{\"b\":1,\"a\":2}]", {"a", "b"}},
        {u"[[10, 20], [30]]", {"0", "1"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(CString(c.json));
        const CVariable rows = Json(c.json);
        EXPECT_EQ(Names(CRowTable(rows.m_arrayValue)), c.columns);
    }
}

TEST(RowTable, SortsByTheColumnStablyWithMissingCellsLast) {
    struct Case {
        const char16_t* column;
        bool descending;
        std::vector<std::string> hosts;
    };
    const Case cases[] = {
        {u"cpu", false, {"Alpha", "beta", "alpha", "gamma"}},   // 12 and 12 keep their order
        {u"cpu", true, {"gamma", "beta", "alpha", "Alpha"}},
        {u"host", false, {"Alpha", "alpha", "beta", "gamma"}},   // case folded, then exact
        {u"load", false, {"beta", "gamma", "Alpha", "alpha"}},
        {u"load", true, {"gamma", "beta", "Alpha", "alpha"}},   // the missing stay last
        {u"absent", false, {"beta", "Alpha", "gamma", "alpha"}},
    };
    const CVariable rows = Json(kHosts);
    for (const Case& c : cases) {
        SCOPED_TRACE(CString(c.column) + (c.descending ? u" descending" : u""));
        CRowTable table(rows.m_arrayValue);
        table.SortBy(c.column, c.descending);
        EXPECT_EQ(Column(table, u"host"), c.hosts);
    }
}

TEST(RowTable, CompareCellsOrdersNumbersTimesThenText) {
    const double nan = std::nan("");
    // Each row is smaller than the next one.
    const std::vector<CVariable> ascending = {
        CVariable(std::numeric_limits<int64_t>::min()),
        CVariable(-1.5),
        CVariable(2),
        CVariable(2.5),
        CVariable(int64_t{9007199254740993}),   // 2^53 + 1: a double would round it
        CVariable(9007199254740994.0),
        CVariable(nan),
        CVariable(CTime(0)),
        CVariable(CTime(86400)),
        CVariable(CString(u"")),
        CVariable(CString(u"10")),   // numbers in text sort as text
        CVariable(CString(u"9")),
        CVariable(CString(u"apple")),
        CVariable(CString(u"Banana")),
        CVariable(CString(u"banana")),
    };
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        for (std::size_t j = 0; j < ascending.size(); ++j) {
            SCOPED_TRACE(::testing::Message() << "cells " << i << " and " << j);
            const int order = CRowTable::CompareCells(ascending[i], ascending[j]);
            EXPECT_EQ(order < 0, i < j);
            EXPECT_EQ(order > 0, i > j);
        }
    }
    EXPECT_EQ(CRowTable::CompareCells(CVariable(2), CVariable(2.0)), 0);
}

TEST(RowTable, CellTextOfEveryKind) {
    CVariableArray nested;
    nested.ConstructFromStringArray([] {
        CStringArray strings;
        strings.Add(u"a");
        strings.Add(u"b");
        return strings;
    }());
    const std::pair<CVariable, const char16_t*> cases[] = {
        {CVariable(42), u"42"},
        {CVariable(1.5), u"1.500000"},
        {CVariable(CString(u"x<y")), u"x<y"},   // escaping is the renderer's task
        {CVariable(nested), u"a;b"},
        {CVariable(CTime(0)), u"01.01.1970"},
        {CVariable(CTime(std::numeric_limits<int64_t>::max())), u"invalid time"},
        {CVariable(), u""},
    };
    for (const auto& [cell, text] : cases) {
        SCOPED_TRACE(CString(text));
        EXPECT_EQ(CRowTable::CellText(cell), CString(text));
    }
}

TEST(TablesModule, ChecksItsArguments) {
    const CTablesModule module;
    const CVariable rows = Json(kHosts);
    const CVariable title(CString(u"Hosts"));
    struct Case {
        const char16_t* function;
        CVariableList arguments;
        int valid;
    };
    const Case cases[] = {
        {u"TableReport", Arguments({rows}), 1},
        {u"TableReport", Arguments({rows, title}), 1},
        {u"TableReport", Arguments({rows, title, CVariable(CString(u"cpu"))}), 1},
        {u"TableReport", Arguments({rows, title, CVariable(CString(u""))}), 1},
        {u"TableReport", Arguments({rows, title, CVariable(CString(u"cpu")), CVariable(1)}), 1},
        {u"TableReport", Arguments({Json(u"[]")}), 1},
        {u"TableColumns", Arguments({rows}), 1},
        {u"TableReport", {}, 0},
        {u"TableReport", Arguments({title}), 0},
        {u"TableReport", Arguments({rows, CVariable(3)}), 0},
        {u"TableReport", Arguments({rows, title, CVariable(CString(u"CPU"))}), 0},   // names are exact
        {u"TableReport", Arguments({rows, title, CVariable(CString(u"cpu")), CVariable(CString(u"yes"))}), 0},
        {u"TableReport", Arguments({rows, title, CVariable(CString(u"cpu")), CVariable(1), CVariable(1)}), 0},
        {u"TableReport", Arguments({Json(u"[1, 2]")}), 0},
        {u"TableColumns", Arguments({rows, title}), 0},
        {u"Unknown", Arguments({rows}), 0},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const Case& c = cases[i];
        SCOPED_TRACE(::testing::Message() << "case " << i << ": " << CString(c.function));
        EXPECT_EQ(module.ValidateArguments(c.function, c.arguments), c.valid);
        EXPECT_EQ(module.ExecuteFunction(c.function, c.arguments).IsValid(), c.valid != 0);
    }
}

TEST(TablesModule, ColumnsComeBackAsAJsonArray) {
    const CVariable columns = CTablesModule().ExecuteFunction(u"TableColumns", Arguments({Json(kHosts)}));
    int ok = 0;
    EXPECT_EQ(columns.ToJSON(ok, 0), CString(u"[\n    \"host\",\n    \"cpu\",\n    \"load\"\n]"));
    EXPECT_TRUE(ok);
}

TEST(TablesModule, ReportIsSortedTitledAndEscaped) {
    const CVariable rows = Json(u"[{\"name\":\"<b>bold</b>\",\"n\":2},{\"name\":\"a & b\",\"n\":10}]");
    const CVariable report = CTablesModule().ExecuteFunction(
        u"TableReport", Arguments({rows, CVariable(CString(u"Top \"talkers\"")), CVariable(CString(u"n")),
                                   CVariable(1)}));
    ASSERT_TRUE(report.IsString());
    const CString& html = report.m_strValue;
    EXPECT_NE(html.Find(u"<h1>Top &quot;talkers&quot;</h1>"), -1) << html;
    EXPECT_NE(html.Find(u"2 rows, sorted by n, largest first"), -1);
    EXPECT_NE(html.Find(u"<th class=\"num\">n</th>"), -1);
    const int first = html.Find(u"<td>a &amp; b</td>");
    const int second = html.Find(u"<td>&lt;b&gt;bold&lt;/b&gt;</td>");
    ASSERT_NE(first, -1);
    ASSERT_NE(second, -1);
    EXPECT_LT(first, second);
    ExpectWellFormed(html, u"html");
}

TEST(TablesModule, ReportOfNoRowsSaysSo) {
    const CString html = CTablesModule::RenderReport(CVariableArray(), u"Empty", u"", false);
    EXPECT_NE(html.Find(u"0 rows"), -1);
    EXPECT_NE(html.Find(u"There are no rows to show."), -1);
    EXPECT_EQ(html.Find(u"<table>"), -1);
    ExpectWellFormed(html, u"html");
}
