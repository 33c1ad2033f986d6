#include "examples/plugins/tables/TablesModule.h"

#include "corelib/framework/StringArray.h"
#include "examples/plugins/common/HtmlPage.h"
#include "examples/plugins/tables/RowTable.h"

namespace {

constexpr const char16_t* kTableReport = u"TableReport";
constexpr const char16_t* kTableColumns = u"TableColumns";
constexpr const char16_t* kDefaultTitle = u"Table";

CModuleDeclaration Declare() {
    CModuleDeclaration module(u"tables",
                              u"Turns an ARRAY of rows (such as netinfo's InterfaceList or a cached list) into an "
                              u"HTML table report, sorted by a column of choice",
                              u"1.0.0");
    const CModuleDeclaration::Value report{u"report", VT_STRING, u"An HTML page"};
    const CModuleDeclaration::Value rows{u"rows", VT_ARRAY,
                                         u"The rows: an ARRAY whose elements are ARRAYs from column name to cell"};
    const CModuleDeclaration::Value title{u"title", VT_STRING, u"Heading of the report"};
    const CModuleDeclaration::Value sortColumn{u"sortColumn", VT_STRING,
                                               u"Column to sort by, ascending; empty keeps the rows' order"};
    const CModuleDeclaration::Value descending{u"descending", VT_INT, u"Non-zero sorts from the largest down"};
    module.AddSignature(kTableReport, u"The rows as a table titled \"Table\", in their own order", report, {rows});
    module.AddSignature(kTableReport, u"The rows as a table with a title, in their own order", report,
                        {rows, title});
    module.AddSignature(kTableReport, u"The rows as a table with a title, sorted by a column", report,
                        {rows, title, sortColumn});
    module.AddSignature(kTableReport, u"The rows as a table with a title, sorted by a column in either direction",
                        report, {rows, title, sortColumn, descending});
    module.AddSignature(kTableColumns, u"The column names of the rows, in table order",
                        {u"columns", VT_ARRAY, u"The names, as STRING elements under 0, 1, 2, ..."}, {rows});
    return module;
}

CString OptionalString(const CVariableList& arguments, intptr_t position, const char16_t* fallback) {
    return arguments.GetSize() > position ? arguments.GetAt(position).m_strValue : CString(fallback);
}

}  // namespace

CTablesModule::CTablesModule() : m_declaration(Declare()) {}

CModuleMetaInfo CTablesModule::GetMetaInfo() const { return m_declaration.GetMetaInfo(); }

int CTablesModule::ValidateArguments(const CString& strFunction, const CVariableList& arguments) const {
    if (!m_declaration.MatchesSignature(strFunction, arguments))
        return 0;
    CString reason;
    if (!CRowTable::CheckRows(arguments.GetAt(0), reason))
        return 0;
    const CString sortColumn = OptionalString(arguments, 2, u"");
    return sortColumn.IsEmpty() || CRowTable(arguments.GetAt(0).m_arrayValue).HasColumn(sortColumn) ? 1 : 0;
}

CVariable CTablesModule::ExecuteFunction(const CString& strFunction, const CVariableList& arguments) const {
    if (!ValidateArguments(strFunction, arguments))
        return CVariable();
    const CVariableArray& rows = arguments.GetAt(0).m_arrayValue;
    if (strFunction == kTableColumns) {
        const CRowTable table(rows);
        CStringArray names;
        for (const CString& column : table.GetColumns())
            names.Add(column);
        CVariableArray columns;
        columns.ConstructFromStringArray(names);
        return CVariable(columns);
    }
    const bool descending = arguments.GetSize() > 3 && arguments.GetAt(3).m_nValue != 0;
    return CVariable(RenderReport(rows, OptionalString(arguments, 1, kDefaultTitle), OptionalString(arguments, 2, u""),
                                  descending));
}

CString CTablesModule::RenderReport(const CVariableArray& rows, const CString& strTitle,
                                    const CString& strSortColumn, bool bDescending) {
    CRowTable table(rows);
    CHtmlPage page(strTitle);
    CString summary;
    summary.Format(table.GetRowCount() == 1 ? u"%d row" : u"%d rows", table.GetRowCount());
    if (!strSortColumn.IsEmpty() && table.HasColumn(strSortColumn)) {
        table.SortBy(strSortColumn, bDescending);
        summary += CString(u", sorted by ") + strSortColumn + (bDescending ? u", largest first" : u"");
    }
    page.AddNote(summary);
    if (table.GetRowCount() == 0)
        page.AddParagraph(u"There are no rows to show.");
    else
        page.AddTable(table.ToHtmlTable());
    return page.Render();
}
