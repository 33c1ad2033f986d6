// CTablesModule: the functions of tables.twp.
//
//   TableReport(ARRAY rows)                                      -> STRING
//   TableReport(ARRAY rows, STRING title)                        -> STRING
//   TableReport(ARRAY rows, STRING title, STRING sortColumn)     -> STRING
//   TableReport(ARRAY rows, STRING title, STRING sortColumn, INT descending) -> STRING
//   TableColumns(ARRAY rows)                                     -> ARRAY of STRING
//
// rows is an ARRAY of rows as CRowTable reads it. An empty sortColumn keeps
// the rows' own order. The module keeps no state besides its declaration.
#pragma once

#include "corelib/framework/String.h"
#include "examples/plugins/common/ModuleDeclaration.h"
#include "varlib/metadata/ModuleMetaInfo.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableList.h"

class CTablesModule {
public:
    CTablesModule();

    CModuleMetaInfo GetMetaInfo() const;
    // 1 when the arguments fit a signature, every row is an ARRAY and a
    // non-empty sort column is one of the table's columns; else 0.
    int ValidateArguments(const CString& strFunction, const CVariableList& arguments) const;
    // The result; a default CVariable for a call that ValidateArguments refuses.
    CVariable ExecuteFunction(const CString& strFunction, const CVariableList& arguments) const;

    // The HTML page of a table; rows must pass CRowTable::CheckRows.
    static CString RenderReport(const CVariableArray& rows, const CString& strTitle, const CString& strSortColumn,
                                bool bDescending);

private:
    CModuleDeclaration m_declaration;
};
