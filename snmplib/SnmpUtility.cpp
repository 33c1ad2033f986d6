#include "snmplib/SnmpUtility.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

CString CSnmpUtility::GetLocalIPAddress() {
    CString result(u"127.0.0.1");
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) {
        return result;
    }
    for (const ifaddrs* it = list; it; it = it->ifa_next) {
        if (!it->ifa_addr || it->ifa_addr->sa_family != AF_INET) {
            continue;
        }
        if ((it->ifa_flags & IFF_LOOPBACK) || !(it->ifa_flags & IFF_UP)) {
            continue;
        }
        const auto* in = reinterpret_cast<const sockaddr_in*>(it->ifa_addr);
        if ((ntohl(in->sin_addr.s_addr) >> 24) == 127) {
            continue;  // a loopback address on an interface not flagged as such
        }
        char text[INET_ADDRSTRLEN] = {};
        if (::inet_ntop(AF_INET, &in->sin_addr, text, sizeof text)) {
            result = CString(text);
            break;
        }
    }
    ::freeifaddrs(list);
    return result;
}

CString CSnmpUtility::ToJsonString(const CString& text) {
    static constexpr char16_t kHex[] = u"0123456789abcdef";
    std::u16string out;
    out.reserve(static_cast<std::size_t>(text.GetLength()) + 2);
    out += u'"';
    for (const char16_t c : text.View()) {
        switch (c) {
        case u'"': out += u"\\\""; break;
        case u'\\': out += u"\\\\"; break;
        case u'\b': out += u"\\b"; break;
        case u'\f': out += u"\\f"; break;
        case u'\n': out += u"\\n"; break;
        case u'\r': out += u"\\r"; break;
        case u'\t': out += u"\\t"; break;
        default:
            if (c < 0x20) {
                out += u"\\u00";
                out += kHex[c >> 4];
                out += kHex[c & 0xF];
            } else {
                out += c;
            }
        }
    }
    out += u'"';
    return CString(std::move(out));
}
