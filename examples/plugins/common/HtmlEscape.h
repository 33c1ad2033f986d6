// Escaping of text for the example plug-ins' HTML reports.
#pragma once

#include "corelib/framework/String.h"

// The text with "&", "<", ">", '"' and "'" replaced by character references,
// so that it is safe both as element content and inside a quoted attribute.
// Control characters other than tab, line feed and carriage return, which no
// HTML or XML document may hold, become U+FFFD.
CString HtmlEscape(const CString& text);
