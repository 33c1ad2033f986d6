// CHtmlTable: a table of text cells for an HTML report.
//
// Cells hold plain text; Render escapes every heading, cell and class name, so
// callers never build markup themselves. A numeric column is right-aligned.
// A row may be shorter than the column list: the missing cells are empty.
#pragma once

#include <vector>

#include "corelib/framework/String.h"

class CHtmlTable {
public:
    struct Cell {
        CString strText;
        CString strClass;   // optional CSS class, e.g. "state-up"
    };

    // Appends a column; numeric columns are right-aligned.
    void AddColumn(const CString& strHeading, bool bNumeric = false);
    // Appends a row of cells, in column order.
    void AddRow(std::vector<Cell> cells);

    int GetColumnCount() const { return static_cast<int>(m_columns.size()); }
    int GetRowCount() const { return static_cast<int>(m_rows.size()); }

    // The <table> element; a table without rows still shows its headings.
    CString Render() const;

private:
    struct Column {
        CString strHeading;
        bool bNumeric;
    };
    std::vector<Column> m_columns;
    std::vector<std::vector<Cell>> m_rows;
};
