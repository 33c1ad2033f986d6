// CXML: handles, cursor, typed attributes, text and file round trips, bad input.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "alloc_counter.h"
#include "corelib/XML.h"
#include "corelib/framework/File.h"
#include "temp_dir.h"

namespace {

std::string Utf8(const CString& s) {
    return s.ToUtf8();
}

// Texts that attribute values must carry unchanged, through text and files.
const std::vector<std::pair<const char*, CString>> kAttributeTexts = {
    {"empty", CString(u"")},
    {"plain", CString(u"plain")},
    {"line feed", CString(u"one\ntwo")},
    {"CR LF", CString(u"one\r\ntwo")},
    {"CR alone", CString(u"one\rtwo")},
    {"tab", CString(u"a\tb")},
    {"trailing line feeds", CString(u"x\n\n")},
    {"only blanks", CString(u" \t\r\n ")},
    {"less than", CString(u"a<b")},
    {"greater than", CString(u"a>b")},
    {"ampersand", CString(u"a&b&amp;")},
    {"double quotes", CString(u"say \"hi\"")},
    {"single quotes", CString(u"it's")},
    {"CDATA end", CString(u"]]>")},
    {"entity look-alike", CString(u"&#10;&lt;")},
    {"leading and trailing blanks", CString(u"  x  ")},
    {"Latin-1", CString(u"Gr\u00fc\u00dfe \u00e9t\u00e9")},
    {"BMP", CString(u"\u03a9 \u20ac \u4e2d\u6587")},
    {"surrogate pair", CString(u"\U0001F600 ok")},
    {"control character", CString(u"bell\u0007")},
    {"everything", CString(u"<a href=\"x&y\">\r\n\t'\u00e9\U0001F600'</a>\n")},
};

CXML AttributeTree(const CString& value) {
    CXML root(u"Root");
    root.SetAttr(u"Value", value);
    CXML child(u"Child");
    child.SetAttr(u"Value", value);
    root.AddChild(child);
    return root;
}

void ExpectAttributeTree(CXML& root, const CString& value, const char* label) {
    ASSERT_TRUE(root.IsValid()) << label;
    EXPECT_EQ(Utf8(root.GetAttr(u"Value", u"<absent>")), Utf8(value)) << label;
    CXML child = root.GetFirstChild();
    ASSERT_TRUE(child.IsValid()) << label;
    EXPECT_EQ(Utf8(child.GetAttr(u"Value", u"<absent>")), Utf8(value)) << label;
}

}  // namespace

TEST(Xml, EmptyHandleIsInvalidAndAllocatesNothing) {
    const std::size_t before = tw_test::AllocationCount();
    CXML empty;
    const std::size_t after = tw_test::AllocationCount();
    EXPECT_EQ(after, before);

    EXPECT_EQ(empty.IsValid(), 0);
    EXPECT_EQ(empty.GetChildCount(), 0);
    EXPECT_TRUE(empty.GetTagName().IsEmpty());
    EXPECT_EQ(Utf8(empty.GetAttr(u"a", u"def")), "def");
    EXPECT_EQ(empty.GetAttrInt(u"a", 7), 7);
    EXPECT_EQ(empty.GetAttrInt64(u"a", -8), -8);
    EXPECT_EQ(empty.GetAttrDouble(u"a", 2.5), 2.5);
    EXPECT_TRUE(empty.ToString(1).IsEmpty());
    EXPECT_EQ(empty.GetFirstChild().IsValid(), 0);
    EXPECT_EQ(empty.GetNextChild().IsValid(), 0);
    EXPECT_EQ(empty.Clone().IsValid(), 0);
    // Writers do nothing on an invalid node.
    empty.SetAttr(u"a", 1);
    empty.AddChild(CXML(u"x"));
    EXPECT_EQ(empty.IsValid(), 0);
}

TEST(Xml, ElementWithTag) {
    CXML node(u"VARIABLE");
    EXPECT_NE(node.IsValid(), 0);
    EXPECT_EQ(Utf8(node.GetTagName()), "VARIABLE");
    EXPECT_EQ(node.GetChildCount(), 0);
    EXPECT_EQ(Utf8(node.ToString(1)), "<VARIABLE/>");
}

TEST(Xml, CompactAndIndentedText) {
    CXML root(u"a");
    root.SetAttr(u"x", 1);
    root.SetAttr(u"y", u"t");
    CXML b(u"b");
    CXML c(u"c");
    b.AddChild(c);
    root.AddChild(b);
    EXPECT_EQ(Utf8(root.ToString(CXML::FORMAT_COMPACT)), "<a x=\"1\" y=\"t\"><b><c/></b></a>");
    EXPECT_EQ(Utf8(root.ToString(0)), "<a x=\"1\" y=\"t\"><b><c/></b></a>");
    EXPECT_EQ(Utf8(root.ToString(CXML::FORMAT_INDENT)), "<a x=\"1\" y=\"t\">\n  <b>\n    <c />\n  </b>\n</a>");
}

TEST(Xml, AttributesKeepTheirOrderAndSetReplacesInPlace) {
    CXML node(u"n");
    node.SetAttr(u"Name", u"a");
    node.SetAttr(u"Type", 20000);
    node.SetAttr(u"Name", u"b");
    EXPECT_EQ(Utf8(node.ToString(1)), "<n Name=\"b\" Type=\"20000\"/>");
    EXPECT_NE(node.HasAttr(u"Type"), 0);
    node.RemoveAttr(u"Type");
    EXPECT_EQ(node.HasAttr(u"Type"), 0);
    EXPECT_EQ(Utf8(node.ToString(1)), "<n Name=\"b\"/>");
}

TEST(Xml, AttributeTextRoundTripsThroughToString) {
    for (const auto& [label, value] : kAttributeTexts) {
        for (const int flag : {CXML::FORMAT_COMPACT, CXML::FORMAT_INDENT}) {
            const CString text = AttributeTree(value).ToString(flag);
            CXML back(text, CString());
            ExpectAttributeTree(back, value, label);
        }
    }
}

TEST(Xml, AttributeTextRoundTripsThroughFile) {
    TempDir dir;
    for (const auto& [label, value] : kAttributeTexts) {
        const CString path = CString::FromUtf8(dir.File("attr.xml"));
        CFile out;
        ASSERT_NE(out.Open(path, 0x1001u), 0);
        CXML tree = AttributeTree(value);
        ASSERT_NE(tree.XMLWrite(&out, 1), 0) << label;
        out.Close();

        CFile in;
        CFileException error;
        ASSERT_NE(in.Open(path, 0x40u, &error), 0);
        CXML back;
        ASSERT_NE(back.XMLRead(&in, u"Root", 1), 0) << label;
        ExpectAttributeTree(back, value, label);
    }
}

TEST(Xml, LineBreaksInAttributesAreWrittenAsReferences) {
    CXML node(u"n");
    node.SetAttr(u"v", u"a\r\nb\tc");
    const std::string text = Utf8(node.ToString(1));
    EXPECT_EQ(text.find('\n'), std::string::npos) << text;
    EXPECT_EQ(text.find('\r'), std::string::npos) << text;
    EXPECT_EQ(text.find('\t'), std::string::npos) << text;
}

TEST(Xml, RawWhitespaceInForeignAttributesIsNormalised) {
    // A document written by hand with a raw line break in an attribute reads as XML
    // says: each white-space character becomes a blank.
    CXML node(CString(u"<n v=\"a\nb\tc\"/>"), CString());
    EXPECT_EQ(Utf8(node.GetAttr(u"v", u"")), "a b c");
}

TEST(Xml, FileIsUtf8WithDeclaration) {
    TempDir dir;
    const std::string path = dir.File("doc.xml");
    CXML root(u"MemoryCache");
    root.SetAttr(u"Key", CString(u"\u00e9"));
    CFile out;
    ASSERT_NE(out.Open(CString::FromUtf8(path), 0x1001u), 0);
    ASSERT_NE(root.XMLWrite(&out, 1), 0);
    out.Close();

    std::ifstream in(path, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    const std::string text = bytes.str();
    EXPECT_EQ(text.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", 0), 0u) << text;
    EXPECT_NE(text.find("Key=\"\xC3\xA9\""), std::string::npos) << text;
}

TEST(Xml, ReadChecksTheRootTag) {
    TempDir dir;
    const CString path = CString::FromUtf8(dir.File("root.xml"));
    {
        CFile out;
        ASSERT_NE(out.Open(path, 0x1001u), 0);
        CXML root(u"Other");
        root.AddChild(CXML(u"x"));
        ASSERT_NE(root.XMLWrite(&out, 1), 0);
    }
    const struct {
        const char16_t* rootTag;
        int ok;
    } rows[] = {
        {u"MemoryCache", 0},
        {u"other", 0},    // names compare exactly
        {u"Other", 1},
        {u"", 1},         // an empty root tag accepts any root
    };
    for (const auto& row : rows) {
        CFile in;
        ASSERT_NE(in.Open(path, 0x40u), 0);
        CXML node(u"Before");
        EXPECT_EQ(node.XMLRead(&in, row.rootTag, 1) != 0, row.ok != 0) << Utf8(row.rootTag);
        EXPECT_EQ(Utf8(node.GetTagName()), row.ok ? "Other" : "Before") << Utf8(row.rootTag);
    }
}

TEST(Xml, ReadRejectsBadFiles) {
    TempDir dir;
    const CString path = CString::FromUtf8(dir.File("bad.xml"));
    const char* contents[] = {"", "   ", "<?xml version=\"1.0\"?>", "<Root>", "<Root><a></Root>", "not xml", "\xff\xfe<"};
    for (const char* content : contents) {
        {
            std::ofstream out(path.ToUtf8(), std::ios::binary | std::ios::trunc);
            out << content;
        }
        CFile in;
        ASSERT_NE(in.Open(path, 0x40u), 0);
        CXML node;
        EXPECT_EQ(node.XMLRead(&in, u"Root", 1), 0) << content;
        EXPECT_EQ(node.IsValid(), 0) << content;
    }
    CXML node(u"Root");
    EXPECT_EQ(node.XMLRead(nullptr, u"Root", 1), 0);
    EXPECT_EQ(node.XMLWrite(nullptr, 1), 0);
}

TEST(Xml, WriteToAFileOpenForReadingFails) {
    TempDir dir;
    const CString path = CString::FromUtf8(dir.File("ro.xml"));
    { std::ofstream out(path.ToUtf8()); }
    CFile in;
    ASSERT_NE(in.Open(path, 0x40u), 0);
    CXML node(u"Root");
    EXPECT_EQ(node.XMLWrite(&in, 1), 0);
}

TEST(Xml, MalformedTextGivesAnInvalidNode) {
    const char16_t* inputs[] = {
        u"", u" ", u"<", u"<a", u"<a>", u"<a></b>", u"<a x='1></a>", u"<a x=1/>", u"text only",
        u"<?xml version='1.0'?>", u"<!-- only a comment -->", u"</a>", u"<a><b></a></b>", u"<a x='1' x='2'/>",
        u"<1a/>", u"<a>\u0000</a>",
    };
    for (const char16_t* input : inputs) {
        CXML node{CString(input), CString()};
        EXPECT_EQ(node.IsValid(), 0) << Utf8(input);
        CXML target(u"Keep");
        EXPECT_EQ(target.FromString(input), 0) << Utf8(input);
        EXPECT_EQ(Utf8(target.GetTagName()), "Keep");
    }
}

TEST(Xml, EveryTruncationOfADocumentIsRejected) {
    const std::string whole = "<Root a=\"1&amp;2\"><Child b=\"x&#10;y\"><![CDATA[z]]></Child><Leaf/></Root>";
    ASSERT_NE(CXML(CString::FromUtf8(whole), CString()).IsValid(), 0);
    for (std::size_t n = 0; n < whole.size(); ++n) {
        const std::string part = whole.substr(0, n);
        CXML node(CString::FromUtf8(part), CString());
        EXPECT_EQ(node.IsValid(), 0) << part;
    }
}

TEST(Xml, TwoStringConstructorReadsAValuesText) {
    CXML node(CString(u"<?xml version=\"1.0\"?>\n<a x=\"1\">\n  <b/>\n  <c/>\n</a>"), CString());
    ASSERT_NE(node.IsValid(), 0);
    EXPECT_EQ(Utf8(node.GetTagName()), "a");
    EXPECT_EQ(node.GetChildCount(), 2);
    EXPECT_EQ(node.GetAttrInt(u"x", 0), 1);
    // A non-empty second argument names the root that the text must have.
    EXPECT_NE(CXML(CString(u"<a/>"), CString(u"a")).IsValid(), 0);
    EXPECT_EQ(CXML(CString(u"<a/>"), CString(u"b")).IsValid(), 0);
}

TEST(Xml, IntegerAttributes) {
    const struct {
        const char16_t* text;
        int asInt;           // with default -1
        int64_t asInt64;     // with default -1
    } rows[] = {
        {u"12", 12, 12},
        {u"-5", -5, -5},
        {u"+3", 3, 3},
        {u" 7 ", 7, 7},
        {u"0", 0, 0},
        {u"2147483647", 2147483647, 2147483647},
        {u"-2147483648", -2147483647 - 1, -2147483648LL},
        {u"2147483648", -1, 2147483648LL},
        {u"9223372036854775807", -1, INT64_MAX},
        {u"-9223372036854775808", -1, INT64_MIN},
        {u"9223372036854775808", -1, -1},
        {u"", -1, -1},
        {u"abc", -1, -1},
        {u"12abc", -1, -1},
        {u"5.0", -1, -1},
        {u"0x10", -1, -1},
        {u"+-1", -1, -1},
        {u"1 2", -1, -1},
    };
    for (const auto& row : rows) {
        CXML node(u"n");
        node.SetAttr(u"v", CString(row.text));
        EXPECT_EQ(node.GetAttrInt(u"v", -1), row.asInt) << Utf8(row.text);
        EXPECT_EQ(node.GetAttrInt64(u"v", -1), row.asInt64) << Utf8(row.text);
    }
}

TEST(Xml, IntegerSettersWriteDecimal) {
    CXML node(u"n");
    node.SetAttr(u"i", -42);
    node.SetAttr(u"max", INT64_MAX);
    node.SetAttr(u"min", INT64_MIN);
    node.SetAttr(u"ll", 5LL);
    node.SetAttr(u"u", 4294967295u);
    node.SetAttr(u"ch", u'A');
    node.SetAttr(u"byte", static_cast<unsigned char>(200));
    EXPECT_EQ(Utf8(node.GetAttr(u"i", u"")), "-42");
    EXPECT_EQ(Utf8(node.GetAttr(u"max", u"")), "9223372036854775807");
    EXPECT_EQ(Utf8(node.GetAttr(u"min", u"")), "-9223372036854775808");
    EXPECT_EQ(Utf8(node.GetAttr(u"ll", u"")), "5");
    EXPECT_EQ(Utf8(node.GetAttr(u"u", u"")), "4294967295");
    EXPECT_EQ(Utf8(node.GetAttr(u"ch", u"")), "65");
    EXPECT_EQ(Utf8(node.GetAttr(u"byte", u"")), "200");
    EXPECT_EQ(node.GetAttrInt64(u"max", 0), INT64_MAX);
    EXPECT_EQ(node.GetAttrInt64(u"min", 0), INT64_MIN);
}

TEST(Xml, DoubleAttributesRoundTrip) {
    const double values[] = {0.0, -0.0, 1.5, 0.1, 1.0 / 3.0, -2.5e-300, 1e20, 123456789.123456789,
                             std::numeric_limits<double>::max(), std::numeric_limits<double>::min(),
                             std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity()};
    for (const double value : values) {
        CXML node(u"n");
        node.SetAttr(u"d", value);
        const CXML back(node.ToString(1), CString());
        const double read = back.GetAttrDouble(u"d", 42.0);
        EXPECT_EQ(read, value) << Utf8(node.ToString(1));
        EXPECT_EQ(std::signbit(read), std::signbit(value)) << Utf8(node.ToString(1));
    }
    CXML node(u"n");
    node.SetAttr(u"d", std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(std::isnan(node.GetAttrDouble(u"d", 0.0)));
}

TEST(Xml, DoubleAttributeTexts) {
    const struct {
        const char16_t* text;
        double value;  // with default -1
    } rows[] = {
        {u"1.5", 1.5}, {u" 2.5 ", 2.5}, {u"-3", -3.0}, {u"+4", 4.0}, {u"1e3", 1000.0}, {u"1.000000", 1.0},
        {u"", -1}, {u"abc", -1}, {u"1.5x", -1}, {u"1,5", -1}, {u"--1", -1},
    };
    for (const auto& row : rows) {
        CXML node(u"n");
        node.SetAttr(u"d", CString(row.text));
        EXPECT_EQ(node.GetAttrDouble(u"d", -1), row.value) << Utf8(row.text);
    }
}

TEST(Xml, CopiesShareTheTree) {
    CXML a(u"a");
    CXML b = a;
    b.SetAttr(u"x", u"1");
    b.AddChild(CXML(u"c"));
    EXPECT_EQ(Utf8(a.GetAttr(u"x", u"")), "1");
    EXPECT_EQ(a.GetChildCount(), 1);
    EXPECT_NE(a.IsSameNode(b), 0);

    // A child handle shares the tree too, and keeps it alive.
    CXML child;
    {
        CXML root(u"r");
        root.AddChild(CXML(u"k"));
        child = root.GetFirstChild();
        child.SetAttr(u"y", 2);
        EXPECT_EQ(Utf8(root.ToString(1)), "<r><k y=\"2\"/></r>");
    }
    EXPECT_EQ(Utf8(child.ToString(1)), "<k y=\"2\"/>");
}

TEST(Xml, CloneIsIndependent) {
    CXML original(u"a");
    original.SetAttr(u"x", u"1");
    original.AddChild(CXML(u"b"));
    CXML clone = original.Clone();
    EXPECT_EQ(original.IsSameNode(clone), 0);
    EXPECT_EQ(Utf8(clone.ToString(1)), Utf8(original.ToString(1)));

    clone.SetAttr(u"x", u"2");
    clone.AddChild(CXML(u"c"));
    CXML cloneChild = clone.GetFirstChild();
    cloneChild.SetAttr(u"changed", 1);
    EXPECT_EQ(Utf8(original.ToString(1)), "<a x=\"1\"><b/></a>");

    original.SetAttr(u"y", u"3");
    EXPECT_EQ(Utf8(clone.ToString(1)), "<a x=\"2\"><b changed=\"1\"/><c/></a>");

    // A clone of a child is a tree of its own, rooted at that child.
    CXML b = original.GetFirstChild();
    CXML bClone = b.Clone();
    bClone.SetAttr(u"z", 1);
    EXPECT_EQ(Utf8(original.ToString(1)), "<a x=\"1\" y=\"3\"><b/></a>");
    EXPECT_EQ(Utf8(bClone.ToString(1)), "<b z=\"1\"/>");
}

TEST(Xml, CloneSurvivesTheOriginal) {
    CXML clone;
    {
        CXML original(u"a");
        original.SetAttr(u"x", u"1");
        clone = original.Clone();
    }
    EXPECT_EQ(Utf8(clone.ToString(1)), "<a x=\"1\"/>");
}

TEST(Xml, ChildWalkIsKeptByTheParent) {
    CXML root(CString(u"<r>text<a/><!--c--><b><x/><y/></b>more<c/></r>"), CString());
    ASSERT_NE(root.IsValid(), 0);
    EXPECT_EQ(root.GetChildCount(), 3);  // elements only
    EXPECT_EQ(root.GetNextChild().IsValid(), 0);  // before GetFirstChild

    std::vector<std::string> seen;
    for (CXML child = root.GetFirstChild(); child.IsValid(); child = root.GetNextChild()) {
        seen.push_back(Utf8(child.GetTagName()));
        // A walk of a child's children does not disturb the parent's walk.
        for (CXML inner = child.GetFirstChild(); inner.IsValid(); inner = child.GetNextChild()) {
            seen.push_back("  " + Utf8(inner.GetTagName()));
        }
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"a", "b", "  x", "  y", "c"}));
    EXPECT_EQ(root.GetNextChild().IsValid(), 0);  // stays past the end
    EXPECT_EQ(root.GetNextChild().IsValid(), 0);
    EXPECT_EQ(Utf8(root.GetFirstChild().GetTagName()), "a");  // restarts

    EXPECT_EQ(Utf8(root.GetChild(u"b").GetTagName()), "b");
    EXPECT_EQ(root.GetChild(u"zz").IsValid(), 0);
}

TEST(Xml, AddChildCopiesTheArgument) {
    CXML root(u"r");
    {
        CXML child(u"c");
        child.SetAttr(u"n", 1);
        root.AddChild(child);
        child.SetAttr(u"n", 2);  // after the add: not seen in root
    }
    EXPECT_EQ(Utf8(root.ToString(1)), "<r><c n=\"1\"/></r>");

    // A node added below itself copies the subtree as it was.
    root.AddChild(root);
    EXPECT_EQ(Utf8(root.ToString(1)), "<r><c n=\"1\"/><r><c n=\"1\"/></r></r>");
    CXML first = root.GetFirstChild();
    first.AddChild(root);
    EXPECT_EQ(root.GetChildCount(), 2);
}

TEST(Xml, TextContent) {
    CXML node(u"t");
    node.SetText(u"a<b & \u00e9\r\nz");
    const CXML back(node.ToString(1), CString());
    EXPECT_EQ(Utf8(back.GetText()), Utf8(CString(u"a<b & \u00e9\r\nz")));
}

TEST(Xml, NonAsciiTagAndAttributeNames) {
    CXML node(CString(u"\u00e9l\u00e9ment"));
    node.SetAttr(CString(u"cl\u00e9"), u"v");
    const CXML back(node.ToString(1), CString());
    EXPECT_EQ(Utf8(back.GetTagName()), Utf8(CString(u"\u00e9l\u00e9ment")));
    EXPECT_EQ(Utf8(back.GetAttr(CString(u"cl\u00e9"), u"")), "v");
}

TEST(Xml, Utf16DocumentsAreRead) {
    TempDir dir;
    const std::string path = dir.File("utf16.xml");
    {
        // UTF-16LE with a byte-order mark: <a x="é"/>
        const std::u16string text = u"\uFEFF<a x=\"\u00e9\"/>";
        std::ofstream out(path, std::ios::binary);
        for (const char16_t c : text) {
            out.put(static_cast<char>(c & 0xFF));
            out.put(static_cast<char>(c >> 8));
        }
    }
    CFile in;
    ASSERT_NE(in.Open(CString::FromUtf8(path), 0x40u), 0);
    CXML node;
    ASSERT_NE(node.XMLRead(&in, u"a", 1), 0);
    EXPECT_EQ(Utf8(node.GetAttr(u"x", u"")), "\xC3\xA9");
}

TEST(Xml, AllocationCounterSeesATree) {
    // The check of EmptyHandleIsInvalidAndAllocatesNothing means something only if
    // the counter sees the allocations of the library.
    const std::size_t before = tw_test::AllocationCount();
    CXML node(u"a");
    EXPECT_GT(tw_test::AllocationCount(), before);
}

TEST(Xml, MutatedDocumentsNeverCrash) {
    // Deterministic byte mutations of a valid document: each parse either succeeds
    // with a valid node or fails with an invalid one; a valid one prints and clones.
    const std::string seed =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<MemoryCache><MemoryCacheEntry Key=\"k&#10;\">"
        "<VARIABLE Name=\"n\" Type=\"20001\" Value=\"\xC3\xA9&lt;&amp;\"/><![CDATA[x]]><!--c--></MemoryCacheEntry></MemoryCache>";
    const char alphabet[] = "<>/=\"'&;#![]?x \n\xC3\xA9\xFF";
    uint32_t state = 12345;
    const auto next = [&state] {
        state = state * 1103515245u + 12345u;
        return state >> 8;
    };
    for (int i = 0; i < 3000; ++i) {
        std::string doc = seed;
        const int edits = 1 + static_cast<int>(next() % 4);
        for (int e = 0; e < edits && !doc.empty(); ++e) {
            const std::size_t at = next() % doc.size();
            switch (next() % 3) {
            case 0: doc[at] = alphabet[next() % (sizeof alphabet - 1)]; break;
            case 1: doc.erase(at, 1 + next() % 8); break;
            default: doc.insert(at, 1, alphabet[next() % (sizeof alphabet - 1)]); break;
            }
        }
        CXML node(CString::FromUtf8(doc), CString());
        if (node.IsValid()) {
            const CString text = node.ToString(1);
            const CXML again(text, CString());
            EXPECT_NE(again.IsValid(), 0) << doc;
            EXPECT_EQ(Utf8(again.ToString(1)), Utf8(text)) << doc;
            node.Clone();
        }
    }
}
