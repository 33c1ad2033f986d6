// CTWMQMessageRegistry: names shared by the platform's message exchanges.
#pragma once

#include "corelib/framework/String.h"

class CTWMQMessageRegistry {
public:
    static const CString ATTR_NAME;     // "Name": the name of a plug-in in a listing
    static const CString ATTR_URL;      // "URL": where a report can be fetched
    static const CString ATTR_STATUS;   // "Status": 0 for success, 1 for failure
};
