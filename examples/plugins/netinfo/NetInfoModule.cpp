#include "examples/plugins/netinfo/NetInfoModule.h"

#include <fnmatch.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include "corelib/Utility.h"
#include "examples/plugins/netinfo/NetInfoReport.h"

namespace {

constexpr const char16_t* kInterfaceList = u"InterfaceList";
constexpr const char16_t* kInterfaceReport = u"InterfaceReport";

CString HostName() {
    char name[HOST_NAME_MAX + 1] = {};
    if (gethostname(name, sizeof name - 1) != 0 || name[0] == '\0')
        return CString(u"this host");
    return CString(name);
}

CString Now() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    char text[64] = {};
    if (localtime_r(&now, &local) == nullptr || std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S %Z", &local) == 0)
        return CString(u"unknown");
    return CString(text);
}

// The pattern argument of the one-parameter forms; empty for the others.
std::string PatternOf(const CVariableList& arguments) {
    return arguments.GetSize() == 1 ? CUtility::UTF16toUTF8(arguments.GetAt(0).m_strValue) : std::string();
}

void KeepMatching(std::vector<InterfaceInfo>& interfaces, const std::string& pattern) {
    if (pattern.empty())
        return;
    std::erase_if(interfaces, [&pattern](const InterfaceInfo& info) {
        return fnmatch(pattern.c_str(), info.name.c_str(), 0) != 0;
    });
}

CModuleDeclaration Declare() {
    CModuleDeclaration module(u"netinfo",
                              u"Network interfaces of this host: state, MTU, hardware address, speed and "
                              u"traffic counters, read from /proc/net/dev and /sys/class/net",
                              u"1.0.0");
    const CModuleDeclaration::Value rows{u"interfaces", VT_ARRAY,
                                         u"One row per interface under its name: Name, State, MTU, Address, "
                                         u"SpeedMbps, RxBytes, RxPackets, RxErrors, RxDropped, TxBytes, "
                                         u"TxPackets, TxErrors, TxDropped (values the kernel lacks are left out)"};
    const CModuleDeclaration::Value report{u"report", VT_STRING, u"An HTML page"};
    const CModuleDeclaration::Value pattern{u"pattern", VT_STRING,
                                            u"Shell wildcard for interface names, such as eth* or lo"};
    module.AddSignature(kInterfaceList, u"Every network interface of this host", rows, {});
    module.AddSignature(kInterfaceList, u"The interfaces whose name matches the pattern", rows, {pattern});
    module.AddSignature(kInterfaceReport, u"HTML report of every network interface of this host", report, {});
    module.AddSignature(kInterfaceReport, u"HTML report of the interfaces whose name matches the pattern", report,
                        {pattern});
    return module;
}

}  // namespace

CNetInfoModule::CNetInfoModule(CNetInfoSource source) : m_declaration(Declare()), m_source(std::move(source)) {}

CModuleMetaInfo CNetInfoModule::GetMetaInfo() const { return m_declaration.GetMetaInfo(); }

int CNetInfoModule::ValidateArguments(const CString& strFunction, const CVariableList& arguments) const {
    if (!m_declaration.MatchesSignature(strFunction, arguments))
        return 0;
    return arguments.GetSize() == 0 || !arguments.GetAt(0).m_strValue.IsEmpty() ? 1 : 0;
}

CVariable CNetInfoModule::ExecuteFunction(const CString& strFunction, const CVariableList& arguments) const {
    if (!ValidateArguments(strFunction, arguments))
        return CVariable();
    const std::string pattern = PatternOf(arguments);
    std::vector<InterfaceInfo> interfaces;
    std::string error;
    const bool read = m_source.ReadInterfaces(interfaces, error);
    KeepMatching(interfaces, pattern);

    if (strFunction == kInterfaceList)
        return read ? InterfaceRows(interfaces) : CVariable();
    if (!read)
        return CVariable(InterfaceErrorHtml(HostName(), Now(), CString(error.c_str())));
    return CVariable(InterfaceReportHtml(interfaces, HostName(), Now(), CString(pattern.c_str())));
}
