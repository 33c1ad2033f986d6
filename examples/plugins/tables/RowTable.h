// CRowTable: an ARRAY of rows seen as a table, ready to sort and render.
//
// Each element of the outer ARRAY is one row, itself an ARRAY from column
// name (the element's index) to cell. This is the shape of netinfo's
// InterfaceList and of a JSON array of objects. The columns are the union of
// the rows' indexes, in the order of the first row, and a column that a later
// row brings in is placed next to its neighbour in that row (after the one
// before it, or before the one after it), so that rows that skip a column keep
// the others in their natural order. A row that lacks a column has no cell there.
//
// The table keeps pointers into the rows it was built from, which must stay
// unchanged while the table is used.
#pragma once

#include <utility>
#include <vector>

#include "corelib/framework/String.h"
#include "examples/plugins/common/HtmlTable.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

class CRowTable {
public:
    // 1 when value is an ARRAY whose every element is an ARRAY; otherwise 0
    // with a reason for people in strReason.
    static int CheckRows(const CVariable& value, CString& strReason);

    // Reads the rows of an array that CheckRows accepts; elements that are no
    // ARRAY are passed over.
    explicit CRowTable(const CVariableArray& rows);

    const std::vector<CString>& GetColumns() const { return m_columns; }
    int HasColumn(const CString& strColumn) const;
    int GetRowCount() const { return static_cast<int>(m_rows.size()); }
    // The cell of a row in a column, or null when the row has none.
    const CVariable* GetCell(int nRow, const CString& strColumn) const;

    // Orders the rows by one column (stable; see CompareCells); rows without a
    // cell in it go last in either direction. An unknown column changes nothing.
    void SortBy(const CString& strColumn, bool bDescending);

    // The rows as an HTML table. A column whose present cells are all INT or
    // DOUBLE is right-aligned.
    CHtmlTable ToHtmlTable() const;

    // Orders two present cells: numbers (INT, DOUBLE) by value, before times
    // (TIME) by moment, before everything else by text (case-insensitive, then
    // exact). A DOUBLE NaN sorts after every other number. Negative, zero or
    // positive, as strcmp.
    static int CompareCells(const CVariable& a, const CVariable& b);
    // The text of a cell: CVariable::ToString, the elements of a nested ARRAY
    // joined by ";", "invalid time" for a TIME that has no date.
    static CString CellText(const CVariable& cell);

private:
    // Adds the columns of one row that the table doesn't know yet.
    void PlaceColumns(const std::vector<std::pair<CString, const CVariable*>>& cells);

    std::vector<CString> m_columns;
    // One entry per row: the cell of each column, by column position, or null.
    std::vector<std::vector<const CVariable*>> m_rows;
};
