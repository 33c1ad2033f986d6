// faulty.twp: every function fails in its own way, so that twhost's tests can
// check that each failure ends in a message and an exit status, not a crash.
// Built a second time with TW_FAULTY_AT_LOAD, it fails already while loading;
// built with TW_FAULTY_FATAL, it also has Crash and Hang, which take down or
// hold for ever the process that runs them.
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "corelib/framework/InvalidArgException.h"
#include "corelib/framework/Time.h"
#include "varlib/plugins/PluginKit.h"

TW_DECLARE_PLUGIN();

CModuleMetaInfo GetMetaInfo() {
#ifdef TW_FAULTY_AT_LOAD
    throw CInvalidArgException("faulty: no information to give");
#endif
    CModuleMetaInfo info;
    info.SetName(u"faulty");
    CModuleMetaInfo::CFunctionMap functions;
    for (const char16_t* name :
         {u"ThrowPlatform", u"ThrowOther", u"NoValue", u"BadTime", u"Xml", u"RefuseInValidate"
#ifdef TW_FAULTY_FATAL
          , u"Crash", u"Hang"
#endif
         }) {
        CString key(name);
        CFunctionSignature signature;   // no parameters, returning anything
        signature.SetReturnValue(CVariableMetaInfo());
        functions[key].Add(signature);
    }
    info.SetFunctionsMetaInfo(functions);
    return info;
}

CVariable ExecuteFunction(const CString& function, const CVariableList&) {
    if (function == u"ThrowPlatform")
        throw CInvalidArgException("faulty: the platform's exception");
    if (function == u"ThrowOther")
        throw 42;
    if (function == u"BadTime")
        return CVariable(CTime(INT64_MAX));   // no local date: its text throws
    if (function == u"Crash") {
        std::signal(SIGSEGV, SIG_DFL);   // no handler (a sanitizer's) turns the crash into an exit
        std::raise(SIGSEGV);
    }
    while (function == u"Hang")
        std::this_thread::sleep_for(std::chrono::hours(1));
    if (function == u"Xml")
        return CVariable(CXML(CString(u"<a x=\"1\"><b/></a>"), CString()));
    return CVariable();
}

int ValidateArguments(const CString& function, const CVariableList&) {
    if (function == u"RefuseInValidate")
        throw CInvalidArgException("faulty: refused by throwing");
    return 1;
}

// Leaves a mark in the file that TW_FAULTY_CLEANUP_MARK names, so that a test
// sees the host unload the module; throws when TW_FAULTY_CLEANUP_THROWS is set.
void PlgCleanUp() {
    if (const char* mark = std::getenv("TW_FAULTY_CLEANUP_MARK"))
        std::ofstream(mark, std::ios::app) << "PlgCleanUp\n";
    if (std::getenv("TW_FAULTY_CLEANUP_THROWS"))
        throw std::runtime_error("faulty: the clean-up failed");
}
