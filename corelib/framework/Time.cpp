#include "corelib/framework/Time.h"

#include <cstring>

#include "corelib/framework/Runtime.h"

CTime CTime::GetCurrentTime() { return CTime(_time64(nullptr)); }

int CTime::GetLocalTm(struct tm* out) const {
    if (!out) return 0;
    return _localtime64_s(out, &m_time) == 0 ? 1 : 0;
}
