// A test module for the report service: "Page" returns its one STRING
// argument as the report, so a test chooses the exact text; "Number" takes
// nothing and returns an INT, which is no report. Every other name, or other
// arguments, are refused.
#include "varlib/plugins/PluginKit.h"

TW_DECLARE_PLUGIN();

CModuleMetaInfo GetMetaInfo() {
    CModuleMetaInfo::CFunctionMap functions;
    CString page(u"Page"), number(u"Number");
    CFunctionSignature pageSignature, numberSignature;
    pageSignature.SetDescription(u"The argument as the page");
    numberSignature.SetDescription(u"An INT");
    functions[page].Add(pageSignature);
    functions[number].Add(numberSignature);
    CModuleMetaInfo info;
    info.SetName(u"Pages");
    info.SetDescription(u"Returns the page it is given");
    info.SetVersion(u"1.0");
    info.SetFunctionsMetaInfo(functions);
    return info;
}

int ValidateArguments(const CString& function, const CVariableList& arguments) {
    if (function == CString(u"Page")) {
        return arguments.GetSize() == 1 && arguments.GetAt(0).IsString() ? 1 : 0;
    }
    return function == CString(u"Number") && arguments.GetSize() == 0 ? 1 : 0;
}

CVariable ExecuteFunction(const CString& function, const CVariableList& arguments) {
    if (!ValidateArguments(function, arguments)) {
        return CVariable();
    }
    return function == CString(u"Page") ? arguments.GetAt(0) : CVariable(7);
}

void PlgCleanUp() {}
