// A test module that records, one line each, when GetMetaInfo and PlgCleanUp
// run and when it leaves memory, in the file that TW_TEST_PLUGIN_LOG names.
// Built twice, as alpha.twp and beta.twp (TW_TEST_TAG): both declare "Echo",
// and each declares "<tag>Only". The state made by GetMetaInfo lives on the
// heap until PlgCleanUp, so a module released without clean-up leaks.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "varlib/plugins/PluginKit.h"

#ifndef TW_TEST_TAG
#error "TW_TEST_TAG names the module"
#endif

TW_DECLARE_PLUGIN();

namespace {

void Record(const char* event) {
    const char* log = std::getenv("TW_TEST_PLUGIN_LOG");
    if (std::FILE* file = log && *log ? std::fopen(log, "a") : nullptr) {
        std::fprintf(file, "%s %s\n", TW_TEST_TAG, event);
        std::fclose(file);
    }
}

// Notes the module's removal from memory (dlclose of its last reference).
struct UnloadNote {
    ~UnloadNote() { Record("unloaded"); }
} g_unloadNote;

std::string* g_state = nullptr;        // made by GetMetaInfo, freed by PlgCleanUp
const void* g_lastBuilt = nullptr;     // the object ExecuteFunction built last
const void* g_lastElement = nullptr;   // its element "module"

CString OnlyName() { return CString(TW_TEST_TAG "Only"); }

// Adds a form of the function with that many STRING parameters.
void Declare(CModuleMetaInfo::CFunctionMap& functions, CString name, const char16_t* description, int parameters) {
    CFunctionSignature signature;
    signature.SetDescription(description);
    CArray<CVariableMetaInfo, const CVariableMetaInfo&> list;
    for (int i = 0; i < parameters; ++i) {
        CVariableMetaInfo parameter;
        parameter.SetType(VT_STRING);
        list.Add(parameter);
    }
    signature.SetParameters(list);
    functions[name].Add(signature);
}

}  // namespace

// Where the result of the last ExecuteFunction was built, and its element "module".
TW_PLUGIN_EXPORT const void* TwTestLastBuilt() { return g_lastBuilt; }
TW_PLUGIN_EXPORT const void* TwTestLastElement() { return g_lastElement; }

CModuleMetaInfo GetMetaInfo() {
    Record("GetMetaInfo");
    if (!g_state)
        g_state = new std::string(TW_TEST_TAG " state that PlgCleanUp frees");
    CModuleMetaInfo info;
    info.SetName(TW_TEST_TAG);
    info.SetDescription(u"Records its calls");
    info.SetVersion(u"1.0");
    CModuleMetaInfo::CFunctionMap functions;
    Declare(functions, u"Echo", u"Echo one text", 1);
    Declare(functions, u"Echo", u"Echo two texts", 2);
    Declare(functions, OnlyName(), u"Nothing to echo", 0);
    info.SetFunctionsMetaInfo(functions);
    return info;
}

// "Echo": an ARRAY with "module" (the tag), "function" (the name asked for) and
// the arguments as "arg0", "arg1", ...; any other name: the tag as a STRING.
CVariable ExecuteFunction(const CString& function, const CVariableList& arguments) {
    CVariable result;
    if (function == CString(u"Echo")) {
        CVariableArray elements;
        elements.InsertElement(u"module", new CVariable(CString(TW_TEST_TAG)));
        elements.InsertElement(u"function", new CVariable(function));
        for (intptr_t i = 0; i < arguments.GetSize(); ++i) {
            CString index;
            index.Format(u"arg%d", static_cast<int>(i));
            elements.InsertElement(index, new CVariable(arguments.GetAt(i)));
        }
        result = elements;
        CVariable* module = nullptr;
        result.m_arrayValue.Lookup(u"module", module);
        g_lastElement = module;
    } else {
        result = CString(TW_TEST_TAG);
        g_lastElement = nullptr;
    }
    g_lastBuilt = &result;
    return result;
}

// "Echo" answers 2 + the number of arguments, to show that any non-zero answer
// passes unchanged; "<tag>Only" answers 1; any other name 0.
int ValidateArguments(const CString& function, const CVariableList& arguments) {
    return function == CString(u"Echo") ? 2 + static_cast<int>(arguments.GetSize()) : function == OnlyName() ? 1 : 0;
}

void PlgCleanUp() {
    Record("PlgCleanUp");
    delete g_state;
    g_state = nullptr;
}
