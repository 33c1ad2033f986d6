// A plug-in written with the kit and built with tw_add_plugin outside the tree:
// "Greet" takes one value and answers "Hello, <its text>".
#include <tw_varlib.h>

TW_DECLARE_PLUGIN();

CModuleMetaInfo GetMetaInfo() {
    CVariableMetaInfo who;
    who.SetName(u"who");
    who.SetType(VT_STRING);
    CArray<CVariableMetaInfo, const CVariableMetaInfo&> parameters;
    parameters.Add(who);
    CFunctionSignature greet;
    greet.SetDescription(u"Greets whoever is named");
    greet.SetParameters(parameters);

    CModuleMetaInfo::CFunctionMap functions;
    CString name(u"Greet");
    functions[name].Add(greet);
    CModuleMetaInfo info;
    info.SetName(u"Hello");
    info.SetVersion(u"1.0");
    info.SetFunctionsMetaInfo(functions);
    return info;
}

int ValidateArguments(const CString& function, const CVariableList& arguments) {
    return function == CString(u"Greet") && arguments.GetSize() == 1 ? 1 : 0;
}

CVariable ExecuteFunction(const CString& function, const CVariableList& arguments) {
    if (!ValidateArguments(function, arguments)) {
        return CVariable();
    }
    return CVariable(CString(u"Hello, ") + arguments[0].ToString(0));
}

void PlgCleanUp() {}
