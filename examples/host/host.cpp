// A host program in a few lines: the plug-ins of a directory of its own, one
// function called with arguments given as JSON and its result printed as
// JSON, the result kept in the memory cache and saved, and the clean-up in
// the order the library wants.
//
//   tw_host_example PLUGIN_DIR FUNCTION '[ARGUMENTS...]' CACHE_FILE
#include <tw_varlib.h>

#include <iostream>
#include <string>

int main(int argc, char** argv) {
    if (argc != 5) {
        std::cerr << "usage: tw_host_example PLUGIN_DIR FUNCTION '[ARGUMENTS...]' CACHE_FILE\n";
        return 2;
    }
    // 1. The registry, for a directory of our own ("/" at the end), loaded.
    CUtility::SetPluginDir(CUtility::UTF8toUTF16(std::string(argv[1]) + "/"));
    CPluginRegistry* registry = CPluginRegistry::GetInstance();
    registry->Load();
    // 2. The cache, with what an earlier run saved (nothing the first time).
    CMemoryCache* cache = CMemoryCache::Instance();
    const CString cacheFile = CUtility::UTF8toUTF16(argv[4]);
    cache->Load(cacheFile);

    // JSON in: the arguments are one array, its elements in order.
    int bRead = 0;
    CVariable array = CJSON::Parse(std::string_view(argv[3]), bRead);
    CVariableList arguments;
    CString index;
    CVariable element;
    for (int more = bRead && array.IsArray() ? array.m_arrayValue.GetFirstVariable(index, element) : 0; more;
         more = array.m_arrayValue.GetNextVariable(index, element))
        arguments.Add(element);

    const CString function = CUtility::UTF8toUTF16(argv[2]);
    int status = 1;
    if (!bRead || !array.IsArray()) {
        std::cerr << "the arguments are no JSON array\n";
    } else if (!registry->ValidateParameters(function, arguments)) {
        std::cerr << argv[2] << ": no such function, or it refuses the arguments\n";
    } else {
        // JSON out, straight as UTF-8; the value stays in the cache under the function's name.
        const CVariable result = registry->InvokeFunction(function, arguments);
        int bWritten = 0;
        const std::string json = result.ToJSONUtf8(bWritten, 0);
        std::cout << (bWritten ? json : CUtility::UTF16toUTF8(result.ToString(0))) << '\n';
        cache->AddEntry(function, result, CString());
        status = 0;
    }
    std::cout << cache->GetCount() << " value(s) cached\n";

    // The end, in this order: save the cache, drop it, then unload the plug-ins
    // (each gets its PlgCleanUp).
    cache->Save(cacheFile);
    CMemoryCache::CleanUp();
    CReportManager::CleanUp();   // deletes the registry, which shares its slot
    return status;
}
