// The HTML building blocks shared by the example plug-ins.
#include <gtest/gtest.h>

#include "example_check.h"
#include "examples/plugins/common/HtmlEscape.h"
#include "examples/plugins/common/HtmlPage.h"
#include "examples/plugins/common/HtmlTable.h"

TEST(HtmlEscape, ReplacesMarkupAndForbiddenCharacters) {
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"", u""},
        {u"a<b>&c \"q\" 's' &amp;", u"a&lt;b&gt;&amp;c &quot;q&quot; &#39;s&#39; &amp;amp;"},
        {u"tab\tline\ncr\r", u"tab\tline\ncr\r"},
        {u"nul\x0001" u"bell\x0007\x001F\x007F", u"nul\xFFFD" u"bell\xFFFD\xFFFD\xFFFD"},
        {u"\xFFFE\xFFFF", u"\xFFFD\xFFFD"},
        {u"Gr\x00FC\x00DF" u"e \x20AC \xFFFD", u"Gr\x00FC\x00DF" u"e \x20AC \xFFFD"},
    };
    for (const auto& [input, expected] : cases) {
        SCOPED_TRACE(CString(input));
        EXPECT_EQ(HtmlEscape(CString(input)), CString(expected));
    }
}

TEST(HtmlPage, EscapesEveryTextAndFillsShortRows) {
    CHtmlPage page(u"Title <script>alert('x')</script>");
    page.AddNote(u"note & more");
    page.AddHeading(u"h2 <");
    page.AddParagraph(u"para >");
    page.AddError(u"error \"quoted\"");
    CHtmlTable table;
    table.AddColumn(u"<name>");
    table.AddColumn(u"count", true);
    table.AddRow({{u"a&b", u"x\"y"}, {u"3", u"hot"}});
    table.AddRow({{u"short row", {}}});
    page.AddTable(table);
    const CString html = page.Render();

    EXPECT_EQ(html.Find(u"<!DOCTYPE html>"), 0);
    EXPECT_EQ(html.Find(u"<script>"), -1) << "text reached the page unescaped";
    // Well-formed proves the escaping of "<", "&" and quotes in attributes; the rest is checked here.
    for (const char16_t* expected : {u"<title>Title &lt;script&gt;alert(&#39;x&#39;)&lt;/script&gt;</title>",
                                     u"<p>para &gt;</p>", u"<th>&lt;name&gt;</th><th class=\"num\">count</th>",
                                     u"<td class=\"x&quot;y\">a&amp;b</td><td class=\"num hot\">3</td>",
                                     // The missing cell is still there, empty, so that columns stay aligned.
                                     u"<tr><td>short row</td><td class=\"num\"></td></tr>"})
        EXPECT_NE(html.Find(expected), -1) << CString(expected) << "\n" << html;
    ExpectWellFormed(html, u"html");
}
