#include "examples/plugins/common/HtmlEscape.h"

#include <string>

CString HtmlEscape(const CString& text) {
    std::u16string out;
    out.reserve(static_cast<std::size_t>(text.GetLength()) + 16);
    for (const char16_t ch : text.View()) {
        switch (ch) {
        case u'&': out += u"&amp;"; break;
        case u'<': out += u"&lt;"; break;
        case u'>': out += u"&gt;"; break;
        case u'"': out += u"&quot;"; break;
        case u'\'': out += u"&#39;"; break;
        case u'\t':
        case u'\n':
        case u'\r': out.push_back(ch); break;
        default:
            // U+FFFE and U+FFFF are non-characters that XML refuses as well.
            out.push_back(ch < 0x20 || ch == 0x7F || ch >= 0xFFFE ? char16_t{0xFFFD} : ch);
            break;
        }
    }
    return CString(std::move(out));
}
