#include "examples/plugins/common/HtmlPage.h"

#include "examples/plugins/common/HtmlEscape.h"

namespace {

// Kept free of "<" and "&" so that the page stays well-formed XML.
constexpr const char16_t* kStyleSheet =
    u"body { font-family: system-ui, -apple-system, 'Segoe UI', sans-serif; margin: 2em; color: #1f2933; background: #fbfcfd; }\n"
    u"h1 { font-size: 1.5em; margin-bottom: 0.2em; }\n"
    u"h2 { font-size: 1.15em; margin-top: 1.5em; }\n"
    u"p.note { color: #616e7c; margin: 0.1em 0; font-size: 0.9em; }\n"
    u"p.error { color: #a61b1b; font-weight: 600; }\n"
    u"table { border-collapse: collapse; margin-top: 1em; font-size: 0.92em; }\n"
    u"th, td { padding: 0.35em 0.8em; border-bottom: 1px solid #d9e2ec; text-align: left; vertical-align: top; }\n"
    u"th { background: #243b53; color: #ffffff; font-weight: 600; position: sticky; top: 0; }\n"
    u"tbody tr:nth-child(even) { background: #f0f4f8; }\n"
    u"tbody tr:hover { background: #e1effe; }\n"
    u".num { text-align: right; font-variant-numeric: tabular-nums; }\n"
    u".state-up { color: #1b7a3d; font-weight: 600; }\n"
    u".state-down { color: #a61b1b; font-weight: 600; }\n"
    u".state-other { color: #8d6708; }\n";

}  // namespace

CHtmlPage::CHtmlPage(const CString& strTitle) : m_strTitle(strTitle) {}

void CHtmlPage::AddEscaped(const char16_t* open, const CString& strText, const char16_t* close) {
    m_strBody += open;
    m_strBody += HtmlEscape(strText);
    m_strBody += close;
    m_strBody += u"\n";
}

void CHtmlPage::AddNote(const CString& strText) { AddEscaped(u"<p class=\"note\">", strText, u"</p>"); }

void CHtmlPage::AddHeading(const CString& strText) { AddEscaped(u"<h2>", strText, u"</h2>"); }

void CHtmlPage::AddParagraph(const CString& strText) { AddEscaped(u"<p>", strText, u"</p>"); }

void CHtmlPage::AddError(const CString& strText) { AddEscaped(u"<p class=\"error\">", strText, u"</p>"); }

void CHtmlPage::AddTable(const CHtmlTable& table) { m_strBody += table.Render(); }

CString CHtmlPage::Render() const {
    const CString title = HtmlEscape(m_strTitle);
    CString html(u"<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\"/>\n"
                 u"<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n<title>");
    html += title;
    html += u"</title>\n<style>\n";
    html += kStyleSheet;
    html += u"</style>\n</head>\n<body>\n<h1>";
    html += title;
    html += u"</h1>\n";
    html += m_strBody;
    html += u"</body>\n</html>\n";
    return html;
}
