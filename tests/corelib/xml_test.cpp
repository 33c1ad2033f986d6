// CXML: text forms, typed attributes, text and file round trips, sharing, bad input.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <pugixml.hpp>

#include "alloc_counter.h"
#include "corelib/XML.h"
#include "corelib/XMLAttributes.h"
#include "corelib/framework/File.h"
#include "corelib/framework/InvalidArgException.h"
#include "temp_dir.h"

namespace {

std::string Utf8(const CString& s) { return s.ToUtf8(); }

bool WriteFile(CXML& tree, const std::string& path) {
    CFile out;
    return out.Open(CString::FromUtf8(path), 0x1001u) && tree.XMLWrite(&out, 1);
}

// 1 if read, 0 if XMLRead fails, -1 if the file does not open.
int ReadFile(CXML& node, const std::string& path, const char16_t* rootTag) {
    CFile in;
    return in.Open(CString::FromUtf8(path), 0x40u) ? node.XMLRead(&in, rootTag, 1) != 0 : -1;
}

}  // namespace

TEST(Xml, InvalidHandleReadsDefaultsAndIgnoresWrites) {
    CXML empty;
    empty.SetAttr(u"a", 1);
    empty.AddChild(CXML(u"x"));
    EXPECT_EQ(empty.IsValid() + empty.GetFirstChild().IsValid() + empty.Clone().IsValid(), 0);
    EXPECT_EQ(Utf8(empty.GetAttr(u"a", u"def") + empty.ToString(1)), "def");
}

TEST(Xml, AttributeTextRoundTripsThroughTextAndFile) {
    const CString values[] = {
        u"", u"one\ntwo", u"one\r\ntwo", u"one\rtwo", u"a\tb", u" \t\r\n ", u"  x  ", u"a<b>c", u"a&b&amp;",
        u"say \"hi\" it's", u"]]>", u"&#10;&lt;", u"Gr\u00fc\u00dfe \u20ac \u4e2d", u"\U0001F600 ok", u"bell\u0007",
    };
    TempDir dir;
    for (const CString& value : values) {
        SCOPED_TRACE(Utf8(value));
        CXML root(u"Root"), child(u"Child");
        root.SetAttr(u"Value", value);
        child.SetAttr(u"Value", value);
        root.AddChild(child);
        CXML copies[] = {{root.ToString(CXML::FORMAT_COMPACT), CString()}, {root.ToString(CXML::FORMAT_INDENT), CString()}, {}};
        ASSERT_TRUE(WriteFile(root, dir.File("attr.xml")));
        ASSERT_EQ(ReadFile(copies[2], dir.File("attr.xml"), u"Root"), 1);
        for (CXML& back : copies)
            EXPECT_EQ(Utf8(back.GetAttr(u"Value", u"-") + u"|" + back.GetFirstChild().GetAttr(u"Value", u"-")),
                      Utf8(value + u"|" + value));
    }
}

TEST(Xml, ParsesTextNamesAndChecksTheRoot) {
    CXML node(CString(u"\u00e9l\u00e9ment"));
    node.SetAttr(CString(u"cl\u00e9"), u"v");
    node.SetText(u"a<b & \u00e9\r\nz");
    const CXML back(node.ToString(1), CString());
    EXPECT_EQ(Utf8(back.ToString(1)), Utf8(node.ToString(1)));
    EXPECT_EQ(Utf8(back.GetText()), Utf8(CString(u"a<b & \u00e9\r\nz")));
    const CXML doc(CString(u"<?xml version=\"1.0\"?>\n<a x=\"1\" v=\"a\nb\tc\">\n  <b/>\n  <c/>\n</a>"), CString());
    EXPECT_EQ(doc.GetChildCount(), 2);
    EXPECT_EQ(Utf8(doc.GetAttr(u"v", u"")), "a b c");  // raw white space reads as blanks
    // HasTagName compares exactly, non-ASCII names too.
    EXPECT_EQ(doc.HasTagName(u"a") * 4 + doc.HasTagName(u"A") * 2 + doc.HasTagName(u"ab"), 4);
    EXPECT_EQ(node.HasTagName(CString(u"\u00e9l\u00e9ment")) + CXML().HasTagName(CString()), 1);
    EXPECT_NE(CXML(CString(u"<a/>"), CString(u"a")).IsValid(), 0);
    EXPECT_EQ(CXML(CString(u"<a/>"), CString(u"b")).IsValid(), 0);
}

TEST(Xml, MalformedOrTruncatedTextGivesAnInvalidNode) {
    std::vector<std::u16string> inputs = {
        u"", u"<a", u"<a></b>", u"<a x='1></a>", u"<a x=1/>", u"text only", u"<?xml version='1.0'?>",
        u"<!-- c -->", u"<a><b></a></b>", u"<a x='1' x='2'/>", u"<1a/>", std::u16string(u"<a>\0</a>", 8),
    };
    const std::u16string whole = u"<Root a=\"1&amp;2\"><Child b=\"x&#10;y\"><![CDATA[z]]></Child><Leaf/></Root>";
    ASSERT_NE(CXML(CString(whole), CString()).IsValid(), 0);
    for (std::size_t n = 1; n < whole.size(); ++n)
        inputs.push_back(whole.substr(0, n));
    // A repeated name among few attributes and among many (checked by a set
    // there: 60,000 compared pairwise took most of a minute).
    std::u16string many = u"<a";
    for (int i = 0; i < 60000; ++i)
        many += u" n" + CString::FromUtf8(std::to_string(i)).Str() + u"='1'";
    ASSERT_NE(CXML(CString(many + u"/>"), CString()).IsValid(), 0);
    ASSERT_NE(CXML(CString(u"<a ab='1' ac='2' b='3'/>"), CString()).IsValid(), 0);
    inputs.push_back(many + u" n17='2'/>");
    inputs.push_back(u"<r><a ab='1' ac='2'/><b x='1' y='2' x='3'/></r>");
    for (const std::u16string& input : inputs) {
        SCOPED_TRACE(Utf8(CString(input)));
        EXPECT_EQ(CXML(CString(input), CString()).IsValid(), 0);
        CXML target(u"Keep");
        EXPECT_EQ(target.FromString(CString(input)), 0);
        EXPECT_EQ(Utf8(target.GetTagName()), "Keep");
    }
}

// Files are written as UTF-8, read in UTF-8 or with a UTF-16 mark; the root tag is checked exactly.
TEST(Xml, FilesAndTheRootTag) {
    TempDir dir;
    const std::string path = dir.File("doc.xml");
    CXML root(u"Other");
    root.SetAttr(u"Key", CString(u"\u00e9"));
    ASSERT_TRUE(WriteFile(root, path));
    EXPECT_EQ(ReadBytes(path), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Other Key=\"\xC3\xA9\" />\n");
    const std::pair<const char16_t*, bool> tags[] = {{u"MemoryCache", false}, {u"other", false}, {u"Other", true}, {u"", true}};
    for (const auto& [rootTag, ok] : tags) {
        CXML node(u"Before");
        EXPECT_EQ(ReadFile(node, path, rootTag), ok ? 1 : 0) << Utf8(rootTag);
        EXPECT_EQ(Utf8(node.GetTagName()), ok ? "Other" : "Before");
    }
    std::string utf16;  // UTF-16LE with a byte-order mark
    for (const char16_t c : std::u16string(u"\uFEFF<a x=\"\u00e9\"/>"))
        utf16 += {static_cast<char>(c & 0xFF), static_cast<char>(c >> 8)};
    WriteBytes(path, utf16);
    CXML node;
    ASSERT_EQ(ReadFile(node, path, u"a"), 1);
    EXPECT_EQ(Utf8(node.GetAttr(u"x", u"")), "\xC3\xA9");

    for (const char* content : {"", "   ", "<?xml version=\"1.0\"?>", "<Root>", "<Root><a></Root>", "\xff\xfe<"}) {
        WriteBytes(path, content);
        CXML bad;
        EXPECT_EQ(ReadFile(bad, path, u"Root") + bad.IsValid(), 0) << content;
    }
    CFile in;
    ASSERT_NE(in.Open(CString::FromUtf8(path), 0x40u), 0);
    EXPECT_EQ(root.XMLWrite(&in, 1), 0);  // open for reading only
    EXPECT_EQ(root.XMLRead(nullptr, u"Root", 1) + root.XMLWrite(nullptr, 1), 0);
}

TEST(Xml, TypedAttributes) {
    const std::tuple<const char16_t*, int, int64_t> ints[] = {  // text, as int, as int64; default -1
        {u"-5", -5, -5}, {u"+3", 3, 3}, {u" 7 ", 7, 7}, {u"2147483647", 2147483647, 2147483647},
        {u"-2147483648", INT32_MIN, INT32_MIN}, {u"2147483648", -1, 2147483648LL},
        {u"9223372036854775807", -1, INT64_MAX}, {u"-9223372036854775808", -1, INT64_MIN},
        {u"9223372036854775808", -1, -1}, {u"", -1, -1}, {u"12abc", -1, -1}, {u"5.0", -1, -1},
        {u"0x10", -1, -1}, {u"+-1", -1, -1}, {u"1 2", -1, -1},
    };
    for (const auto& [text, asInt, asInt64] : ints) {
        CXML node(u"n");
        node.SetAttr(u"v", CString(text));
        EXPECT_EQ(node.GetAttrInt(u"v", -1), asInt) << Utf8(text);
        EXPECT_EQ(node.GetAttrInt64(u"v", -1), asInt64) << Utf8(text);
        const CXMLAttributes attrs(node, {"w", "v"});   // reads as the element's own getters do
        EXPECT_EQ(attrs.GetAttrInt(1, -1), asInt) << Utf8(text);
        EXPECT_EQ(attrs.GetAttrInt64(1, -1), asInt64) << Utf8(text);
    }
    const std::pair<const char16_t*, double> doubles[] = {{u" 2.5 ", 2.5}, {u"+4", 4.0}, {u"1e3", 1000.0},
                                                          {u"", -1}, {u"1.5x", -1}, {u"1,5", -1}};  // default -1
    for (const auto& [text, value] : doubles) {
        CXML node(u"n");
        node.SetAttr(u"d", CString(text));
        EXPECT_EQ(node.GetAttrDouble(u"d", -1), value) << Utf8(text);
        EXPECT_EQ(CXMLAttributes(node, {"d"}).GetAttrDouble(0, -1), value) << Utf8(text);
    }
    using limits = std::numeric_limits<double>;
    for (const double value : {-0.0, 0.1, 1.0 / 3.0, -2.5e-300, limits::max(), limits::denorm_min(), -limits::infinity()}) {
        CXML node(u"n");
        node.SetAttr(u"d", value);
        const double read = CXML(node.ToString(1), CString()).GetAttrDouble(u"d", 42.0);
        EXPECT_TRUE(read == value && std::signbit(read) == std::signbit(value)) << Utf8(node.ToString(1));
    }
    // Attributes keep the order of their first setting; the two text forms.
    CXML node(u"n"), b(u"b");
    node.SetAttr(u"min", u"1");
    node.SetAttr(u"u", 4294967295u);
    node.SetAttr(u"min", INT64_MIN);   // replaced in place
    node.SetAttr(u"gone", 3);
    node.SetAttr(u"ch", u'A');
    node.SetAttr(u"byte", static_cast<unsigned char>(200));
    node.RemoveAttr(u"gone");
    b.AddChild(CXML(u"c"));
    node.AddChild(b);
    const std::string head = "<n min=\"-9223372036854775808\" u=\"4294967295\" ch=\"65\" byte=\"200\">";
    EXPECT_EQ(Utf8(node.ToString(CXML::FORMAT_COMPACT)), head + "<b><c/></b></n>");
    EXPECT_EQ(Utf8(node.ToString(CXML::FORMAT_INDENT)), head + "\n  <b>\n    <c />\n  </b>\n</n>");
}

// One walk finds every name asked for, whatever the order of the attributes.
TEST(Xml, AttributesReadInOneWalk) {
    const CXML node(CString(u"<n Description=\"d\" \u00e9t\u00e9=\"\u00e0\" DisplayName=\"x\" Type=\"7\"/>"), CString());
    const CXMLAttributes attrs(node, {"Type", "DisplayName", "Description", "Name", "\xC3\xA9t\xC3\xA9"});
    EXPECT_EQ(attrs.GetAttrInt(0, -1), 7);
    EXPECT_EQ(Utf8(attrs.GetAttr(1, u"-")), "x");
    EXPECT_EQ(Utf8(attrs.GetAttr(2, u"-")), "d");
    EXPECT_EQ(Utf8(attrs.GetAttr(3, u"-")), "-");   // absent: the default
    EXPECT_EQ(attrs.HasAttr(3), 0);
    EXPECT_EQ(attrs.GetAttr(4, CString()), CString(u"\u00e0"));
    EXPECT_EQ(attrs.GetAttrInt(9, 5), 5);           // past the names
    EXPECT_EQ(CXMLAttributes(CXML(), {"Type"}).GetAttrInt(0, 3), 3);
    EXPECT_THROW(CXMLAttributes(node, {"a", "b", "c", "d", "e", "f", "g", "h", "i"}), CInvalidArgException);
}

// Copies share one tree, which lives as long as any handle; clones and added children are copies.
TEST(Xml, CopiesShareTheTreeClonesAndChildrenDoNot) {
    CXML child;
    {
        CXML root(u"r");
        CXML alias = root;
        alias.AddChild(CXML(u"k"));
        child = root.GetFirstChild();
        child.SetAttr(u"y", 2);
        EXPECT_EQ(Utf8(alias.ToString(1)), "<r><k y=\"2\"/></r>");
        EXPECT_NE(alias.IsSameNode(root), 0);
    }
    EXPECT_EQ(Utf8(child.ToString(1)), "<k y=\"2\"/>");

    CXML original(u"a");
    original.AddChild(CXML(u"b"));
    CXML clone = original.Clone(), childClone = original.GetFirstChild().Clone();
    clone.AddChild(CXML(u"c"));
    clone.GetFirstChild().SetAttr(u"changed", 1);
    childClone.SetAttr(u"z", 1);
    EXPECT_EQ(Utf8(original.ToString(1)), "<a><b/></a>");
    original = CXML();  // the clones outlive it
    EXPECT_EQ(Utf8(clone.ToString(1) + childClone.ToString(1)), "<a><b changed=\"1\"/><c/></a><b z=\"1\"/>");

    CXML root(u"r"), added(u"c");
    added.SetAttr(u"n", 1);
    root.AddChild(added);
    added.SetAttr(u"n", 2);
    root.AddChild(root);  // below itself: the subtree as it was
    EXPECT_EQ(Utf8(root.ToString(1)), "<r><c n=\"1\"/><r><c n=\"1\"/></r></r>");
    root.GetFirstChild().AddChild(root);
    EXPECT_EQ(root.GetChildCount(), 2);
}

// Empty handles count nothing; the tree's own count keeps it alive through self-assignment and moves.
TEST(Xml, EmptyHandlesAllocateNothingAndTheCountFollowsTheHandles) {
    const std::size_t before = bench::AllocationCount();
    {
        CXML a, b(a);
        b = a;
        CXML c(std::move(b));
    }
    EXPECT_EQ(bench::AllocationCount(), before);

    CXML root(u"r");
    EXPECT_GT(bench::AllocationCount(), before);
    const CXML& same = root;
    root = same;
    CXML moved(std::move(root));
    root = moved.GetChild(u"none");  // invalid: the tree is held by moved alone
    CXML& alias = moved;
    moved = std::move(alias);
    moved.SetAttr(u"a", 1);
    EXPECT_EQ(Utf8(moved.ToString(1)), "<r a=\"1\"/>");
}

TEST(Xml, ChildWalkIsKeptByEachParent) {
    CXML root(CString(u"<r>text<a/><!--c--><b><x/><y/></b>more<c/></r>"), CString());
    EXPECT_EQ(root.GetChildCount(), 3);           // elements only
    EXPECT_EQ(root.GetNextChild().IsValid(), 0);  // before GetFirstChild
    std::string seen;
    for (CXML child = root.GetFirstChild(); child.IsValid(); child = root.GetNextChild()) {
        seen += Utf8(child.GetTagName()) + " ";
        for (CXML inner = child.GetFirstChild(); inner.IsValid(); inner = child.GetNextChild())
            seen += "." + Utf8(inner.GetTagName()) + " ";
    }
    EXPECT_EQ(seen, "a b .x .y c ");
    EXPECT_EQ(root.GetNextChild().IsValid(), 0);  // stays past the end
    EXPECT_EQ(Utf8(root.GetFirstChild().GetTagName() + root.GetChild(u"b").GetTagName()), "ab");
    EXPECT_EQ(root.GetChild(u"zz").IsValid(), 0);
}

// The indented forms are pugixml's layout, byte for byte, for trees of every
// kind of content CXML holds, down to 32 levels; below that the indentation
// stops growing, so that the text of a deep tree grows linearly with it.
TEST(Xml, IndentedFormIsThePrintersLayoutWithItsDepthCapped) {
    const char* const documents[] = {
        "<a/>",
        "<a x=\"1&amp;&lt;&gt;&quot;'\" y=\"&#9;&#10;&#13;&#1;\u00e9\"><b/><c d=\"\"/></a>",
        "<r><g>t&lt;x\n y</g><h><![CDATA[c]]]]><![CDATA[>d]]><i/></h><j> </j><k>a<l/>b<m/></k></r>",
        "<r>\n  <s>\n    <t>text</t>\n  </s>\n</r>",
    };
    TempDir dir;
    for (const char* text : documents) {
        SCOPED_TRACE(text);
        pugi::xml_document reference;
        ASSERT_TRUE(reference.load_string(text, pugi::parse_cdata | pugi::parse_escapes | pugi::parse_wconv_attribute));
        std::ostringstream printed;
        reference.document_element().print(printed, "  ", pugi::format_indent);
        const std::string expected = printed.str();
        CXML tree(CString::FromUtf8(text), CString());
        ASSERT_TRUE(tree.IsValid());
        EXPECT_EQ(Utf8(tree.ToString(CXML::FORMAT_INDENT)) + "\n", expected);
        ASSERT_TRUE(WriteFile(tree, dir.File("indented.xml")));
        EXPECT_EQ(ReadBytes(dir.File("indented.xml")), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + expected);
    }

    // Nested 50,000 and 100,000 deep: twice the depth, twice the text.
    const auto nested = [](int depth) {
        std::string text;
        for (int i = 0; i < depth; ++i)
            text += "<a>";
        for (int i = 0; i < depth; ++i)
            text += "</a>";
        return Utf8(CXML(CString::FromUtf8(text), CString()).ToString(CXML::FORMAT_INDENT));
    };
    const std::string half = nested(50000), whole = nested(100000);
    EXPECT_LT(whole.size(), half.size() * 21 / 10);
    EXPECT_LT(whole.size(), 100000u * 2 * 80);
    EXPECT_NE(half.find("\n" + std::string(62, ' ') + "<a>\n" + std::string(64, ' ') + "<a>\n" + std::string(64, ' ') + "<a>"),
              std::string::npos);
}
