// CResultPrinter: the text that twhost prints for the value a function gives.
#pragma once

#include <string>

#include "varlib/values/Variable.h"

class CResultPrinter {
public:
    // The value's JSON text (CVariable::ToJSON); "[]" for an ARRAY without
    // elements; the value's own text (ToString) where JSON has no form for it,
    // as for XML. With bText the text form always, so that a report comes out
    // as the HTML itself. UTF-8, ending in a line feed. A TIME outside the
    // local-time range throws from ToString, as the platform does.
    static std::string Format(const CVariable& result, bool bText);
};
