#include "corelib/TWMQMessageRegistry.h"

const CString CTWMQMessageRegistry::ATTR_NAME(u"Name");
const CString CTWMQMessageRegistry::ATTR_URL(u"URL");
const CString CTWMQMessageRegistry::ATTR_STATUS(u"Status");
