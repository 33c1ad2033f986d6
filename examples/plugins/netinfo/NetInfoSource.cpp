#include "examples/plugins/netinfo/NetInfoSource.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>

#include "examples/plugins/netinfo/NetDevParser.h"

namespace {

bool ReadWholeFile(const std::string& path, std::string& text) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return false;
    std::ostringstream content;
    content << file.rdbuf();
    if (file.bad())
        return false;
    text = content.str();
    return true;
}

// A decimal integer that fills the whole text; false otherwise.
bool ParseInteger(const std::string& text, int64_t& value) {
    const char* const end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && last == end && !text.empty();
}

// Interface names come from a file; never let one walk out of the sysfs root.
bool IsSafeName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

}  // namespace

CNetInfoSource::CNetInfoSource(std::string strNetDevPath, std::string strSysClassNet)
    : m_strNetDevPath(std::move(strNetDevPath)), m_strSysClassNet(std::move(strSysClassNet)) {}

bool CNetInfoSource::ReadInterfaces(std::vector<InterfaceInfo>& interfaces, std::string& strError) const {
    std::string text;
    if (!ReadWholeFile(m_strNetDevPath, text)) {
        strError = "cannot read " + m_strNetDevPath + ": " + std::strerror(errno);
        return false;
    }
    interfaces = ParseNetDev(text);
    for (InterfaceInfo& info : interfaces)
        AddSysfsDetails(info);
    return true;
}

bool CNetInfoSource::ReadAttribute(const std::string& strName, const char* attribute, std::string& strValue) const {
    if (!IsSafeName(strName))
        return false;
    std::ifstream file(m_strSysClassNet + "/" + strName + "/" + attribute);
    std::string line;
    if (!file || !std::getline(file, line))
        return false;
    while (!line.empty() && (line.back() == '\r' || line.back() == ' '))
        line.pop_back();
    strValue = std::move(line);
    return true;
}

void CNetInfoSource::AddSysfsDetails(InterfaceInfo& info) const {
    std::string value;
    if (ReadAttribute(info.name, "operstate", value))
        info.operState = value;
    if (ReadAttribute(info.name, "address", value))
        info.address = value;
    int64_t number = 0;
    if (ReadAttribute(info.name, "mtu", value) && ParseInteger(value, number) && number >= 0)
        info.mtu = number;
    // Drivers without a link report -1 (or refuse the read); both mean unknown.
    if (ReadAttribute(info.name, "speed", value) && ParseInteger(value, number) && number > 0)
        info.speedMbps = number;
}
