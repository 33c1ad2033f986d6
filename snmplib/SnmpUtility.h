// CSnmpUtility: static helpers of the SNMP library.
#pragma once

#include "corelib/framework/String.h"

class CSnmpUtility {
public:
    // The first IPv4 address of an interface that is up and not a loopback, in the
    // order getifaddrs gives them, as dotted text; "127.0.0.1" if there is none.
    static CString GetLocalIPAddress();
    // text as a JSON string: between double quotes, with \" \\ \b \f \n \r \t and
    // \u00XX for the other control characters; all else as it is.
    static CString ToJsonString(const CString& text);
};
