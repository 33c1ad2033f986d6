// Uses the installed libraries and loads a module made by tw_add_plugin.
#include <tw_varlib.h>

#include <dlfcn.h>

#include <iostream>

int main(int argc, char** argv) {
    CMapEx<CString, const char16_t*, CString, const char16_t*> map;
    map[u"name"] = u"consumer";
    CString text;
    text.Format(u"%s has %d entry", map.GetAt(0), static_cast<int>(map.GetCount()));
    CXML node(CString(u"probe"));
    node.SetAttr(CString(u"text"), text);
    if (node.GetAttr(CString(u"text"), CString()) != text) {
        std::cerr << "XML attribute did not round-trip\n";
        return 1;
    }
    if (argc > 1) {
        void* module = dlopen(argv[1], RTLD_NOW);
        if (!module) {
            std::cerr << "cannot load " << argv[1] << ": " << dlerror() << "\n";
            return 1;
        }
        using Probe = int (*)();
        auto probe = reinterpret_cast<Probe>(dlsym(module, "HelloProbe"));
        if (!probe || probe() != 5) {
            std::cerr << "plug-in probe failed\n";
            return 1;
        }
        dlclose(module);
    }
    std::cout << text << "\n";
    return 0;
}
