// Conversions between the platform's CString and Qt's QString. Both hold
// UTF-16 code units, so the conversions copy the units unchanged.
#pragma once

#include <QString>

#include "corelib/framework/String.h"

inline QString ToQString(const CString& text) {
    return QString::fromUtf16(static_cast<const char16_t*>(text), text.GetLength());
}

inline CString FromQString(const QString& text) { return CString(text.toStdU16String()); }
