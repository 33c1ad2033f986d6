// The HTML building blocks shared by the example plug-ins.
#include <gtest/gtest.h>

#include "corelib/XML.h"
#include "examples/plugins/common/HtmlEscape.h"
#include "examples/plugins/common/HtmlPage.h"
#include "examples/plugins/common/HtmlTable.h"
#include "html_check.h"

TEST(HtmlEscape, ReplacesMarkupAndForbiddenCharacters) {
    struct Case {
        const char16_t* input;
        const char16_t* expected;
    };
    const Case cases[] = {
        {u"", u""},
        {u"plain text 123", u"plain text 123"},
        {u"a<b>&c", u"a&lt;b&gt;&amp;c"},
        {u"\"quoted\" 'single'", u"&quot;quoted&quot; &#39;single&#39;"},
        {u"&amp;", u"&amp;amp;"},   // escaping is not undone or skipped for references
        {u"tab\tline\ncr\r", u"tab\tline\ncr\r"},
        {u"nul\x0001" u"bell\x0007", u"nul\xFFFD" u"bell\xFFFD"},
        {u"\x001F\x007F", u"\xFFFD\xFFFD"},
        {u"non-char \xFFFE\xFFFF", u"non-char \xFFFD\xFFFD"},
        {u"Gr\x00FC\x00DF" u"e \x20AC", u"Gr\x00FC\x00DF" u"e \x20AC"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(CString(c.input));
        EXPECT_EQ(HtmlEscape(CString(c.input)), CString(c.expected));
    }
}

TEST(HtmlTable, EscapesEverythingAndFillsShortRows) {
    CHtmlTable table;
    table.AddColumn(u"<name>");
    table.AddColumn(u"count", true);
    table.AddRow({{u"a&b", u"x\"y"}, {u"3", {}}});
    table.AddRow({{u"short row", {}}});
    const CString html = table.Render();

    EXPECT_NE(html.Find(u"<th>&lt;name&gt;</th><th class=\"num\">count</th>"), -1) << html;
    EXPECT_NE(html.Find(u"<td class=\"x&quot;y\">a&amp;b</td><td class=\"num\">3</td>"), -1) << html;
    // The missing cell is still there, empty, so that columns stay aligned.
    EXPECT_NE(html.Find(u"<tr><td>short row</td><td class=\"num\"></td></tr>"), -1) << html;
    ExpectWellFormed(html, u"table");
}

TEST(HtmlPage, IsWellFormedWithTitleAndBodyEscaped) {
    CHtmlPage page(u"Title <script>alert('x')</script>");
    page.AddNote(u"note & more");
    page.AddHeading(u"h2 <");
    page.AddParagraph(u"para >");
    page.AddError(u"error \"quoted\"");
    CHtmlTable table;
    table.AddColumn(u"c");
    table.AddRow({{u"v", {}}});
    page.AddTable(table);
    const CString html = page.Render();

    EXPECT_EQ(html.Find(u"<!DOCTYPE html>"), 0);
    EXPECT_EQ(html.Find(u"<script>"), -1) << "text reached the page unescaped";
    EXPECT_NE(html.Find(u"<title>Title &lt;script&gt;alert(&#39;x&#39;)&lt;/script&gt;</title>"), -1);
    EXPECT_NE(html.Find(u"<p class=\"note\">note &amp; more</p>"), -1);
    EXPECT_NE(html.Find(u"<p class=\"error\">error &quot;quoted&quot;</p>"), -1);
    EXPECT_NE(html.Find(u"<style>"), -1);
    ExpectWellFormed(html, u"html");
}
