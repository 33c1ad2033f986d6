// CNetInfoModule: the functions of netinfo.twp.
//
//   InterfaceList()                -> ARRAY   every interface, one row each
//   InterfaceList(STRING pattern)  -> ARRAY   the interfaces whose name matches
//   InterfaceReport()              -> STRING  HTML report of every interface
//   InterfaceReport(STRING pattern)-> STRING  HTML report of the matching ones
//
// A pattern is a shell wildcard ("eth*", "wl?0", "lo"). Every call reads the
// kernel's files anew; the module keeps no state besides its declaration, so
// calls from several threads need no lock.
#pragma once

#include "corelib/framework/String.h"
#include "examples/plugins/common/ModuleDeclaration.h"
#include "examples/plugins/netinfo/NetInfoSource.h"
#include "varlib/metadata/ModuleMetaInfo.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableList.h"

class CNetInfoModule {
public:
    explicit CNetInfoModule(CNetInfoSource source = CNetInfoSource());

    CModuleMetaInfo GetMetaInfo() const;
    // 1 when the function is ours and the arguments fit one of its
    // signatures, and a pattern is not empty.
    int ValidateArguments(const CString& strFunction, const CVariableList& arguments) const;
    // The result; a default CVariable for a call that ValidateArguments
    // refuses, and for InterfaceList when the counter file can't be read. The
    // report then says why instead.
    CVariable ExecuteFunction(const CString& strFunction, const CVariableList& arguments) const;

private:
    CModuleDeclaration m_declaration;
    CNetInfoSource m_source;
};
