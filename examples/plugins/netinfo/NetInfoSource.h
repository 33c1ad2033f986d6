// CNetInfoSource: reads the interfaces of the local host from the kernel.
//
// The two roots are arguments so that a test, or a host looking into another
// root file system, can point them elsewhere. Reading takes no lock and keeps
// no state: every call reads the files anew.
#pragma once

#include <string>
#include <vector>

#include "examples/plugins/netinfo/InterfaceInfo.h"

class CNetInfoSource {
public:
    explicit CNetInfoSource(std::string strNetDevPath = "/proc/net/dev",
                            std::string strSysClassNet = "/sys/class/net");

    // The interfaces of the counter file, in its order, each completed from its
    // sysfs directory where that has an answer. False, with a reason in
    // strError, when the counter file can't be read.
    bool ReadInterfaces(std::vector<InterfaceInfo>& interfaces, std::string& strError) const;

    // The first line of <sysfs root>/<name>/<attribute> without its line end;
    // false when the file is missing or the kernel refuses the read (as it does
    // for the speed of a device without a link speed).
    bool ReadAttribute(const std::string& strName, const char* attribute, std::string& strValue) const;

private:
    void AddSysfsDetails(InterfaceInfo& info) const;

    std::string m_strNetDevPath;
    std::string m_strSysClassNet;
};
