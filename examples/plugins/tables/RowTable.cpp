#include "examples/plugins/tables/RowTable.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <utility>

#include "corelib/framework/Exception.h"

namespace {

// Sort classes of CompareCells, in order.
enum class CellKind { Number, NotANumber, Time, Text };

CellKind KindOf(const CVariable& cell) {
    if (cell.IsInteger())
        return CellKind::Number;
    if (cell.IsDouble())
        return std::isnan(cell.m_dValue) ? CellKind::NotANumber : CellKind::Number;
    if (cell.IsTime())
        return CellKind::Time;
    return CellKind::Text;
}

// long double holds every int64 exactly here (64-bit mantissa on x86-64), so
// an INT and a DOUBLE compare without rounding the integer.
long double NumberOf(const CVariable& cell) {
    return cell.IsInteger() ? static_cast<long double>(cell.m_nValue) : static_cast<long double>(cell.m_dValue);
}

template <typename T>
int Order(const T& a, const T& b) {
    return a < b ? -1 : (b < a ? 1 : 0);
}

}  // namespace

int CRowTable::CheckRows(const CVariable& value, CString& strReason) {
    if (!value.IsArray()) {
        strReason = CString(u"the rows must be an ARRAY, not ") + CVariable::GetTypeInfo(value.GetType());
        return 0;
    }
    const CVariableArray& rows = value.m_arrayValue;
    for (int i = 0; i < static_cast<int>(rows.GetCount()); ++i) {
        const CString index = rows.GetIndex(i);
        CVariable* row = nullptr;
        if (!rows.Lookup(index, row) || row == nullptr || !row->IsArray()) {
            strReason = CString(u"row ") + index + u" is " +
                        (row == nullptr ? CString(u"missing") : CVariable::GetTypeInfo(row->GetType())) +
                        u", not an ARRAY of cells";
            return 0;
        }
    }
    return 1;
}

CRowTable::CRowTable(const CVariableArray& rows) {
    std::vector<std::vector<std::pair<CString, const CVariable*>>> cellsByRow;
    for (int i = 0; i < static_cast<int>(rows.GetCount()); ++i) {
        CVariable* row = nullptr;
        if (!rows.Lookup(rows.GetIndex(i), row) || row == nullptr || !row->IsArray())
            continue;
        std::vector<std::pair<CString, const CVariable*>> cells;
        for (int j = 0; j < static_cast<int>(row->m_arrayValue.GetCount()); ++j) {
            const CString column = row->m_arrayValue.GetIndex(j);
            CVariable* cell = nullptr;
            row->m_arrayValue.Lookup(column, cell);
            cells.emplace_back(column, cell);
        }
        PlaceColumns(cells);
        cellsByRow.push_back(std::move(cells));
    }
    for (const auto& cells : cellsByRow) {
        std::vector<const CVariable*> row(m_columns.size(), nullptr);
        for (const auto& [column, cell] : cells) {
            const auto found = std::find(m_columns.begin(), m_columns.end(), column);
            row[static_cast<std::size_t>(found - m_columns.begin())] = cell;
        }
        m_rows.push_back(std::move(row));
    }
}

void CRowTable::PlaceColumns(const std::vector<std::pair<CString, const CVariable*>>& cells) {
    // Where the next new column of this row goes: after the row's previous
    // column, or, at the row's start, before the first column that the table
    // already knows (at the end if it knows none).
    std::optional<std::size_t> insertAt;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const CString& column = cells[i].first;
        const auto found = std::find(m_columns.begin(), m_columns.end(), column);
        if (found != m_columns.end()) {
            insertAt = static_cast<std::size_t>(found - m_columns.begin()) + 1;
            continue;
        }
        if (!insertAt) {
            insertAt = m_columns.size();
            for (std::size_t j = i + 1; j < cells.size(); ++j) {
                const auto known = std::find(m_columns.begin(), m_columns.end(), cells[j].first);
                if (known != m_columns.end()) {
                    insertAt = static_cast<std::size_t>(known - m_columns.begin());
                    break;
                }
            }
        }
        m_columns.insert(m_columns.begin() + static_cast<std::ptrdiff_t>(*insertAt), column);
        ++*insertAt;
    }
}

int CRowTable::HasColumn(const CString& strColumn) const {
    return std::find(m_columns.begin(), m_columns.end(), strColumn) != m_columns.end() ? 1 : 0;
}

const CVariable* CRowTable::GetCell(int nRow, const CString& strColumn) const {
    const auto found = std::find(m_columns.begin(), m_columns.end(), strColumn);
    if (found == m_columns.end() || nRow < 0 || nRow >= GetRowCount())
        return nullptr;
    return m_rows[static_cast<std::size_t>(nRow)][static_cast<std::size_t>(found - m_columns.begin())];
}

void CRowTable::SortBy(const CString& strColumn, bool bDescending) {
    const auto found = std::find(m_columns.begin(), m_columns.end(), strColumn);
    if (found == m_columns.end())
        return;
    const std::size_t column = static_cast<std::size_t>(found - m_columns.begin());
    std::stable_sort(m_rows.begin(), m_rows.end(),
                     [column, bDescending](const std::vector<const CVariable*>& a,
                                           const std::vector<const CVariable*>& b) {
                         const CVariable* left = a[column];
                         const CVariable* right = b[column];
                         if (left == nullptr || right == nullptr)
                             return left != nullptr && right == nullptr;   // missing cells last
                         const int order = CompareCells(*left, *right);
                         return bDescending ? order > 0 : order < 0;
                     });
}

int CRowTable::CompareCells(const CVariable& a, const CVariable& b) {
    const CellKind kindA = KindOf(a);
    const CellKind kindB = KindOf(b);
    if (kindA != kindB)
        return Order(static_cast<int>(kindA), static_cast<int>(kindB));
    switch (kindA) {
    case CellKind::Number: return Order(NumberOf(a), NumberOf(b));
    case CellKind::NotANumber: return 0;
    case CellKind::Time: return Order(a.m_timeValue.GetTime(), b.m_timeValue.GetTime());
    case CellKind::Text: break;
    }
    const CString textA = CellText(a);
    const CString textB = CellText(b);
    const int folded = textA.CompareNoCase(textB);
    return folded != 0 ? Order(folded, 0) : Order(textA.Compare(textB), 0);
}

CString CRowTable::CellText(const CVariable& cell) {
    if (cell.IsArray())
        return cell.m_arrayValue.ToDelimitedString();
    try {
        return cell.ToString(0);
    } catch (const CException&) {
        // Only a TIME outside the local-time range gets here.
        return CString(u"invalid time");
    }
}

CHtmlTable CRowTable::ToHtmlTable() const {
    CHtmlTable table;
    for (std::size_t column = 0; column < m_columns.size(); ++column) {
        bool numeric = false;
        bool other = false;
        for (const auto& row : m_rows) {
            if (const CVariable* cell = row[column]) {
                const bool isNumber = cell->IsInteger() || cell->IsDouble();
                numeric = numeric || isNumber;
                other = other || !isNumber;
            }
        }
        table.AddColumn(m_columns[column], numeric && !other);
    }
    for (const auto& row : m_rows) {
        std::vector<CHtmlTable::Cell> cells;
        cells.reserve(row.size());
        for (const CVariable* cell : row)
            cells.push_back({cell != nullptr ? CellText(*cell) : CString(), {}});
        table.AddRow(std::move(cells));
    }
    return table;
}
