// CHtmlPage: a whole HTML report page with a small inline stylesheet.
//
// The page is well-formed XML as well as HTML5 (void elements are closed), so
// any XML tool can read a report. Every text goes through HtmlEscape; tables
// come rendered from CHtmlTable, which escapes its own content.
#pragma once

#include "corelib/framework/String.h"
#include "examples/plugins/common/HtmlTable.h"

class CHtmlPage {
public:
    // strTitle becomes both <title> and the <h1> heading.
    explicit CHtmlPage(const CString& strTitle);

    // A small grey line under the heading (host, time of the report, ...).
    void AddNote(const CString& strText);
    // A second-level heading.
    void AddHeading(const CString& strText);
    // A paragraph of text.
    void AddParagraph(const CString& strText);
    // A paragraph shown as an error.
    void AddError(const CString& strText);
    // A table.
    void AddTable(const CHtmlTable& table);

    // The complete document, from <!DOCTYPE html> to </html>.
    CString Render() const;

private:
    // Appends one escaped text between an opening and a closing tag, and a line feed.
    void AddEscaped(const char16_t* open, const CString& strText, const char16_t* close);

    CString m_strTitle;
    CString m_strBody;
};
