#include "host/ResultPrinter.h"

#include "corelib/Utility.h"

std::string CResultPrinter::Format(const CVariable& result, bool bText) {
    std::string text;
    if (bText) {
        text = CUtility::UTF16toUTF8(result.ToString(0));
    } else if (result.IsArray() && result.m_arrayValue.GetCount() == 0) {
        // ToJSON gives an empty array no text at the top level.
        text = "[]";
    } else {
        // Written as UTF-8 directly: a large table's text is not built twice.
        int bSuccess = 0;
        text = result.ToJSONUtf8(bSuccess, 0);
        if (!bSuccess)
            text = CUtility::UTF16toUTF8(result.ToString(0));
    }
    if (text.empty() || text.back() != '\n')
        text.push_back('\n');
    return text;
}
