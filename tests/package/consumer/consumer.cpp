// Uses the installed libraries as a host does: loads the plug-in directory
// given as argument (the module made by tw_add_plugin) through the registry
// and calls one of its functions by name.
#include <tw_varlib.h>

#include <filesystem>
#include <iostream>
#include <string>

namespace {

int Fail(const std::string& why) {
    std::cerr << "tw_consumer: " << why << "\n";
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    CMapEx<CString, const char16_t*, CString, const char16_t*> map;
    map[u"name"] = u"consumer";
    CString text;
    text.Format(u"%s has %d entry", map.GetAt(0), static_cast<int>(map.GetCount()));
    CXML node(CString(u"probe"));
    node.SetAttr(CString(u"text"), text);
    if (node.GetAttr(CString(u"text"), CString()) != text) {
        return Fail("XML attribute did not round-trip");
    }
    std::cout << text << "\n";
    if (argc < 2) {
        return 0;
    }

    // The installed library names the installed plug-in directory by default.
    const std::filesystem::path dir(argv[1]);
    std::error_code error;
    if (!std::filesystem::equivalent(CUtility::UTF16toUTF8(CUtility::GetPluginDir()), dir, error)) {
        return Fail("default plug-in directory " + CUtility::UTF16toUTF8(CUtility::GetPluginDir()) + " is not " +
                    dir.string());
    }
    CUtility::SetPluginDir(CUtility::UTF8toUTF16(dir.string()));

    CPluginRegistry* registry = CPluginRegistry::GetInstance();
    registry->Load();
    if (registry->GetPluginStatus(u"hello.twp") != CString(u"loaded") ||
        registry->GetPluginModuleMetaInfo(u"hello.twp").GetName() != CString(u"Hello")) {
        return Fail("hello.twp did not load");
    }
    CVariableList arguments;
    arguments.Add(CVariable(CString(u"consumer")));
    if (!registry->ValidateParameters(u"Greet", arguments)) {
        return Fail("Greet refused its argument");
    }
    const CVariable greeting = registry->InvokeFunction(u"Greet", arguments);
    registry->Unload();
    if (greeting.ToString(0) != CString(u"Hello, consumer")) {
        return Fail("Greet answered \"" + CUtility::UTF16toUTF8(greeting.ToString(0)) + "\"");
    }
    std::cout << greeting.ToString(0) << "\n";
    return 0;
}
