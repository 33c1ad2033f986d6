// CXML on pugixml. The handle holds the document by a count kept in the
// document and the element by pugixml's node record, which stays put while the
// document lives.
#include "corelib/XML.h"
#include "corelib/XMLAttributes.h"
#include "corelib/XMLTextWriter.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_set>
#include <utility>
#include <vector>

#include <pugixml.hpp>

#include "corelib/framework/File.h"
#include "corelib/framework/InvalidArgException.h"

// A plain count: the handles of one tree belong to one thread at a time. A
// parsed tree keeps the text it was parsed from: pugixml parses it in place,
// and its names and values point into it.
struct tw::detail::XmlDocument {
    std::string text;                  // the text of a string
    std::unique_ptr<char[]> fileText;  // or of a file, read without first filling the buffer
    pugi::xml_document doc;
    long handles = 0;
};

namespace {

using tw::detail::XmlDocument;

// Parse options: the defaults without end-of-line normalisation, so that a
// carriage return written raw in text content comes back as it went out.
// Attribute whitespace is normalised as XML requires; ours is written as
// character references and survives.
constexpr unsigned int kParseFlags = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_wconv_attribute;

pugi::xml_node NodeOf(void* p) {
    return pugi::xml_node(static_cast<pugi::xml_node_struct*>(p));
}

void* RecordOf(pugi::xml_node node) {
    return node.internal_object();
}

pugi::xml_node FirstElement(pugi::xml_node node) {
    pugi::xml_node child = node.first_child();
    while (child && child.type() != pugi::node_element) {
        child = child.next_sibling();
    }
    return child;
}

pugi::xml_node NextElement(pugi::xml_node node) {
    pugi::xml_node next = node.next_sibling();
    while (next && next.type() != pugi::node_element) {
        next = next.next_sibling();
    }
    return next;
}

// A tag or attribute name as pugixml takes it: on the stack when it is short
// and ASCII, as names nearly always are, else converted to UTF-8. Looking
// names up is what reading a document does most.
class Utf8Name {
public:
    explicit Utf8Name(const CString& name) {
        const std::u16string_view text = name.View();
        if (text.size() < sizeof m_short &&
            std::all_of(text.begin(), text.end(), [](char16_t ch) { return ch < 0x80; })) {
            std::copy(text.begin(), text.end(), m_short);
            m_short[text.size()] = '\0';
            m_pText = m_short;
        } else {
            m_long = name.ToUtf8();
            m_pText = m_long.c_str();
        }
    }
    Utf8Name(const Utf8Name&) = delete;
    Utf8Name& operator=(const Utf8Name&) = delete;

    const char* c_str() const { return m_pText; }

private:
    char m_short[32];
    std::string m_long;
    const char* m_pText;
};

// XML forbids two attributes of one name on an element; pugixml doesn't check
// it. An element with a few attributes compares every pair, first letters
// first; one with many goes through a hash set, so that an element with
// thousands of attributes costs linear time, not quadratic. pugixml's own
// walk visits the nodes: no stack of ours, no calls to find the next element.
class DuplicateAttributeFinder : public pugi::xml_tree_walker {
public:
    bool found = false;

    bool for_each(pugi::xml_node& node) override {
        constexpr std::size_t kPairwise = 16;
        m_names.clear();
        for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
            m_names.push_back(a.name());
        }
        if (m_names.size() <= kPairwise) {
            for (std::size_t i = 0; i < m_names.size(); ++i) {
                for (std::size_t j = i + 1; j < m_names.size(); ++j) {
                    if (m_names[i][0] == m_names[j][0] && std::strcmp(m_names[i], m_names[j]) == 0) {
                        found = true;
                    }
                }
            }
        } else {
            m_seen.clear();
            for (const char* name : m_names) {
                if (!m_seen.insert(name).second) {
                    found = true;
                }
            }
        }
        return !found;   // the walk stops at the first duplicate
    }

private:
    std::vector<const char*> m_names;
    std::unordered_set<std::string_view> m_seen;
};

bool HasDuplicateAttributes(pugi::xml_node root) {
    DuplicateAttributeFinder finder;
    // traverse visits the descendants; the root's own attributes come first.
    pugi::xml_node self = root;
    if (!finder.for_each(self)) {
        return true;
    }
    root.traverse(finder);
    return finder.found;
}

std::string_view Trimmed(const char* text) {
    std::string_view s(text);
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    while (!s.empty() && blank(s.front())) {
        s.remove_prefix(1);
    }
    while (!s.empty() && blank(s.back())) {
        s.remove_suffix(1);
    }
    return s;
}

// A whole decimal integer of type T, or false.
template <class T>
bool ParseInteger(const char* text, T& out) {
    std::string_view s = Trimmed(text);
    if (!s.empty() && s.front() == '+') {
        s.remove_prefix(1);
        if (!s.empty() && s.front() == '-') {
            return false;
        }
    }
    if (s.empty()) {
        return false;
    }
    T value{};
    const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), value, 10);
    if (ec != std::errc() || end != s.data() + s.size()) {
        return false;
    }
    out = value;
    return true;
}

bool ParseDouble(const char* text, double& out) {
    std::string_view s = Trimmed(text);
    if (!s.empty() && s.front() == '+') {
        s.remove_prefix(1);
    }
    if (s.empty()) {
        return false;
    }
    double value = 0.0;
    const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), value);
    if (ec != std::errc() || end != s.data() + s.size()) {
        return false;
    }
    out = value;
    return true;
}

}  // namespace

void CXML::Share(XmlDocument* doc) {
    if (doc) {
        ++doc->handles;  // first, so that sharing the tree already held keeps it alive
    }
    if (m_doc && --m_doc->handles == 0) {
        delete m_doc;
    }
    m_doc = doc;
}

CXML::CXML(const CString& tagName) {
    Share(new XmlDocument);
    const std::string tag = tagName.ToUtf8();
    m_node = RecordOf(m_doc->doc.append_child(tag.c_str()));
}

CXML::CXML(const CString& text, const CString& rootTag) { Adopt(text.ToUtf8(), rootTag); }

CXML& CXML::operator=(const CXML& other) {
    Share(other.m_doc);
    m_node = other.m_node;
    m_cursor = other.m_cursor;
    return *this;
}

int CXML::Adopt(std::string text, const CString& rootTag) {
    auto doc = std::make_unique<XmlDocument>();
    doc->text = std::move(text);
    char* const data = doc->text.data();
    const std::size_t size = doc->text.size();
    return AdoptParsed(std::move(doc), data, size, rootTag);
}

int CXML::Adopt(std::unique_ptr<char[]> data, std::size_t size, const CString& rootTag) {
    auto doc = std::make_unique<XmlDocument>();
    doc->fileText = std::move(data);
    char* const text = doc->fileText.get();
    return AdoptParsed(std::move(doc), text, size, rootTag);
}

int CXML::AdoptParsed(std::unique_ptr<XmlDocument> doc, char* data, std::size_t size, const CString& rootTag) {
    const pugi::xml_parse_result result = doc->doc.load_buffer_inplace(data, size, kParseFlags, pugi::encoding_auto);
    if (!result) {
        return 0;
    }
    // A document has exactly one root element; pugixml would take a second one too.
    const pugi::xml_node root = doc->doc.document_element();
    if (!root || NextElement(root) || HasDuplicateAttributes(root)) {
        return 0;
    }
    if (!rootTag.IsEmpty() && rootTag.ToUtf8() != root.name()) {
        return 0;
    }
    m_node = RecordOf(root);
    m_cursor = nullptr;
    Share(doc.release());
    return 1;
}

CXML CXML::Clone() const {
    CXML copy;
    if (!m_node) {
        return copy;
    }
    copy.Share(new XmlDocument);
    copy.m_node = RecordOf(copy.m_doc->doc.append_copy(NodeOf(m_node)));
    return copy;
}

CXML CXML::GetFirstChild() {
    m_cursor = m_node ? RecordOf(FirstElement(NodeOf(m_node))) : nullptr;
    CXML child;
    if (m_cursor) {
        child.Share(m_doc);
        child.m_node = m_cursor;
    }
    return child;
}

CXML CXML::GetNextChild() {
    m_cursor = m_cursor ? RecordOf(NextElement(NodeOf(m_cursor))) : nullptr;
    CXML child;
    if (m_cursor) {
        child.Share(m_doc);
        child.m_node = m_cursor;
    }
    return child;
}

long CXML::GetChildCount() const {
    long count = 0;
    if (m_node) {
        for (pugi::xml_node c = FirstElement(NodeOf(m_node)); c; c = NextElement(c)) {
            ++count;
        }
    }
    return count;
}

CXML CXML::GetChild(const CString& tag) const {
    CXML child;
    if (m_node) {
        const Utf8Name name(tag);
        if (pugi::xml_node c = NodeOf(m_node).child(name.c_str())) {
            child.Share(m_doc);
            child.m_node = RecordOf(c);
        }
    }
    return child;
}

CString CXML::GetTagName() const {
    return m_node ? CString::FromUtf8(NodeOf(m_node).name()) : CString();
}

int CXML::HasTagName(const CString& tag) const {
    return (m_node && std::strcmp(NodeOf(m_node).name(), Utf8Name(tag).c_str()) == 0) ? 1 : 0;
}

int CXML::HasAttr(const CString& name) const {
    return (m_node && NodeOf(m_node).attribute(Utf8Name(name).c_str())) ? 1 : 0;
}

CString CXML::GetAttr(const CString& name, const CString& def) const {
    if (!m_node) {
        return def;
    }
    const pugi::xml_attribute attr = NodeOf(m_node).attribute(Utf8Name(name).c_str());
    return attr ? CString::FromUtf8(attr.value()) : def;
}

int CXML::GetAttrInt(const CString& name, int def) const {
    if (!m_node) {
        return def;
    }
    const pugi::xml_attribute attr = NodeOf(m_node).attribute(Utf8Name(name).c_str());
    int value = def;
    return (attr && ParseInteger(attr.value(), value)) ? value : def;
}

int64_t CXML::GetAttrInt64(const CString& name, int64_t def) const {
    if (!m_node) {
        return def;
    }
    const pugi::xml_attribute attr = NodeOf(m_node).attribute(Utf8Name(name).c_str());
    int64_t value = def;
    return (attr && ParseInteger(attr.value(), value)) ? value : def;
}

double CXML::GetAttrDouble(const CString& name, double def) const {
    if (!m_node) {
        return def;
    }
    const pugi::xml_attribute attr = NodeOf(m_node).attribute(Utf8Name(name).c_str());
    double value = def;
    return (attr && ParseDouble(attr.value(), value)) ? value : def;
}

namespace {

void SetText8(void* node, const CString& name, const std::string& value) {
    if (!node) {
        return;
    }
    pugi::xml_node element = NodeOf(node);
    const Utf8Name key(name);
    pugi::xml_attribute attr = element.attribute(key.c_str());
    if (!attr) {
        attr = element.append_attribute(key.c_str());
    }
    attr.set_value(value.c_str(), value.size());
}

}  // namespace

void CXML::SetAttr(const CString& name, const CString& value) {
    SetText8(m_node, name, value.ToUtf8());
}

void CXML::SetAttr(const CString& name, int value) {
    SetText8(m_node, name, std::to_string(value));
}

void CXML::SetAttr(const CString& name, int64_t value) {
    SetText8(m_node, name, std::to_string(value));
}

void CXML::SetAttrUnsigned(const CString& name, uint64_t value) {
    SetText8(m_node, name, std::to_string(value));
}

void CXML::SetAttr(const CString& name, double value) {
    // The shortest text that reads back to the same double ("inf", "nan" included).
    char buffer[64];
    const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    SetText8(m_node, name, ec == std::errc() ? std::string(buffer, end) : std::string("0"));
}

void CXML::RemoveAttr(const CString& name) {
    if (m_node) {
        NodeOf(m_node).remove_attribute(Utf8Name(name).c_str());
    }
}

CString CXML::GetText() const {
    return m_node ? CString::FromUtf8(NodeOf(m_node).text().get()) : CString();
}

void CXML::SetText(const CString& text) {
    if (m_node) {
        const std::string utf8 = text.ToUtf8();
        NodeOf(m_node).text().set(utf8.c_str(), utf8.size());
    }
}

void CXML::AddChild(const CXML& child) {
    if (!m_node || !child.m_node) {
        return;
    }
    if (child.m_doc == m_doc) {
        // Within one tree, copy through a separate tree first, so that a node added
        // below itself copies the subtree as it was.
        const CXML copy = child.Clone();
        NodeOf(m_node).append_copy(NodeOf(copy.m_node));
    } else {
        NodeOf(m_node).append_copy(NodeOf(child.m_node));
    }
}

CString CXML::ToString(int flag) const {
    if (!m_node) {
        return CString();
    }
    // The writer prints the indented form with its indentation capped.
    CXMLTextWriter writer(flag == FORMAT_INDENT ? FORMAT_INDENT : FORMAT_COMPACT);
    writer.Element(*this);
    return writer.ToString();
}

int CXML::FromString(const CString& text, const CString& rootTag) { return Adopt(text.ToUtf8(), rootTag); }

int CXML::XMLWrite(CFile* file, int /*flag*/) {
    if (!m_node || !file) {
        return 0;
    }
    // The declaration, then the tree indented, handed to the file in pieces.
    CXMLTextWriter writer(file);
    writer.Element(*this);
    return writer.Finish();
}

int CXML::XMLRead(CFile* file, const CString& rootTag, int /*flag*/) {
    if (!file) {
        return 0;
    }
    // Read straight into a buffer sized from the file's length where it has
    // one (not filled first: a cache file runs to tens of megabytes); the
    // loop still reads to the real end.
    std::unique_ptr<char[]> data;
    std::size_t size = 0, capacity = 0;
    try {
        const uint64_t length = file->GetLength();
        std::size_t chunk = 65536;
        if (length > 0 && length < (uint64_t{1} << 31)) {
            chunk = static_cast<std::size_t>(length) + 1;
        }
        for (;;) {
            if (capacity - size < chunk) {
                const std::size_t grown = std::max(size + chunk, capacity * 2);
                std::unique_ptr<char[]> bigger(new char[grown]);
                if (size > 0) {
                    std::memcpy(bigger.get(), data.get(), size);
                }
                data = std::move(bigger);
                capacity = grown;
            }
            const unsigned int n = file->Read(data.get() + size, static_cast<unsigned int>(chunk));
            size += n;
            if (n < chunk) {
                break;
            }
            chunk = 65536;
        }
    } catch (const CFileException&) {
        return 0;
    }
    return Adopt(std::move(data), size, rootTag);
}

int CXML::IsSameNode(const CXML& other) const {
    return (m_node && m_node == other.m_node) ? 1 : 0;
}

// ---------------------------------------------------------------------------
// CXMLAttributes

CXMLAttributes::CXMLAttributes(const CXML& node, std::initializer_list<const char*> names) {
    if (names.size() > MAX_NAMES) {
        throw CInvalidArgException("CXMLAttributes: more names than MAX_NAMES");
    }
    if (!node.m_node) {
        return;
    }
    std::size_t missing = names.size();
    for (pugi::xml_attribute attr = NodeOf(node.m_node).first_attribute(); attr && missing > 0;
         attr = attr.next_attribute()) {
        const char* name = attr.name();
        std::size_t i = 0;
        for (const char* wanted : names) {
            if (!m_texts[i] && wanted[0] == name[0] && std::strcmp(wanted, name) == 0) {
                m_texts[i] = attr.value();
                --missing;
                break;
            }
            ++i;
        }
    }
}

CString CXMLAttributes::GetAttr(std::size_t index, const CString& def) const {
    const char* text = Text(index);
    return text ? CString::FromUtf8(text) : def;
}

int CXMLAttributes::GetAttrInt(std::size_t index, int def) const {
    const char* text = Text(index);
    int value = def;
    return (text && ParseInteger(text, value)) ? value : def;
}

int64_t CXMLAttributes::GetAttrInt64(std::size_t index, int64_t def) const {
    const char* text = Text(index);
    int64_t value = def;
    return (text && ParseInteger(text, value)) ? value : def;
}

double CXMLAttributes::GetAttrDouble(std::size_t index, double def) const {
    const char* text = Text(index);
    double value = def;
    return (text && ParseDouble(text, value)) ? value : def;
}
