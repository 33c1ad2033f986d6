#include "examples/plugins/common/HtmlTable.h"

#include <utility>

#include "examples/plugins/common/HtmlEscape.h"

void CHtmlTable::AddColumn(const CString& strHeading, bool bNumeric) {
    m_columns.push_back({strHeading, bNumeric});
}

void CHtmlTable::AddRow(std::vector<Cell> cells) { m_rows.push_back(std::move(cells)); }

CString CHtmlTable::Render() const {
    CString html(u"<table>\n<thead>\n<tr>");
    for (const Column& column : m_columns) {
        html += column.bNumeric ? u"<th class=\"num\">" : u"<th>";
        html += HtmlEscape(column.strHeading);
        html += u"</th>";
    }
    html += u"</tr>\n</thead>\n<tbody>\n";
    for (const std::vector<Cell>& row : m_rows) {
        html += u"<tr>";
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            const Cell* cell = i < row.size() ? &row[i] : nullptr;
            CString classes = m_columns[i].bNumeric ? CString(u"num") : CString();
            if (cell != nullptr && !cell->strClass.IsEmpty()) {
                if (!classes.IsEmpty())
                    classes += u' ';
                classes += cell->strClass;
            }
            html += u"<td";
            if (!classes.IsEmpty()) {
                html += u" class=\"";
                html += HtmlEscape(classes);
                html += u"\"";
            }
            html += u">";
            if (cell != nullptr)
                html += HtmlEscape(cell->strText);
            html += u"</td>";
        }
        html += u"</tr>\n";
    }
    html += u"</tbody>\n</table>\n";
    return html;
}
