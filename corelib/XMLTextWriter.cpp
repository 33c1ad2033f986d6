// CXMLTextWriter: writes what CXML's printer (pugixml's, in CXML's formats)
// would print for the tree, straight from the caller's walk.
#include "corelib/XMLTextWriter.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <system_error>

#include <pugixml.hpp>

#include "corelib/XML.h"
#include "corelib/framework/File.h"
#include "corelib/framework/FileException.h"

namespace {

constexpr std::size_t kFlushSize = 64 * 1024;
constexpr std::size_t kIndentWidth = 2;   // CXML indents by two spaces a level
// Deeper elements are indented as deep as this, no further: every line then
// costs at most 64 blanks, and the text of a deeply nested tree grows with
// the tree, not with its square.
constexpr std::size_t kMaxIndentDepth = 32;
constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// Hands pugixml's output of a foreign subtree to the writer's text.
template <class Text>
struct AppendWriter : pugi::xml_writer {
    explicit AppendWriter(Text& t) : text(t) {}
    void write(const void* data, size_t size) override { text.append(static_cast<const char*>(data), size); }
    Text& text;
};

}  // namespace

CXMLTextWriter::CXMLTextWriter(int flag) : m_bIndent(flag == CXML::FORMAT_INDENT) {}

CXMLTextWriter::CXMLTextWriter(CFile* file) : m_pFile(file), m_bIndent(true) {
    m_text.append(kDeclaration, sizeof kDeclaration - 1);
}

void CXMLTextWriter::TextBuffer::Grow(std::size_t n) {
    const std::size_t capacity = std::max({nSize + n, nCapacity * 2, std::size_t{4096}});
    std::unique_ptr<char[]> bigger(new char[capacity]);
    if (nSize > 0)
        std::memcpy(bigger.get(), pData.get(), nSize);
    pData = std::move(bigger);
    nCapacity = capacity;
}

void CXMLTextWriter::BeginChild() {
    if (m_bStartOpen) {
        m_text.push_back('>');
        if (m_bIndent)
            m_text.push_back('\n');
        m_bStartOpen = false;
    }
}

void CXMLTextWriter::Indent(std::size_t depth) {
    if (m_bIndent)
        m_text.append(std::min(depth, kMaxIndentDepth) * kIndentWidth, ' ');
}

void CXMLTextWriter::StartElement(std::string_view tag) {
    BeginChild();
    Indent(m_tagLengths.size());
    m_text.push_back('<');
    m_text.append(tag);
    m_tags.append(tag);
    m_tagLengths.push_back(tag.size());
    m_bStartOpen = true;
}

void CXMLTextWriter::EndElement() {
    if (m_tagLengths.empty())
        return;
    const std::size_t length = m_tagLengths.back();
    m_tagLengths.pop_back();
    const std::string_view tag = std::string_view(m_tags).substr(m_tags.size() - length);
    if (m_bStartOpen) {
        // No child: an empty-element tag, with a blank before "/>" when indented.
        m_text.append(m_bIndent ? " />\n" : "/>");
        m_bStartOpen = false;
    } else {
        Indent(m_tagLengths.size());
        m_text.append("</");
        m_text.append(tag);
        m_text.push_back('>');
        if (m_bIndent)
            m_text.push_back('\n');
    }
    m_tags.resize(m_tags.size() - length);
    FlushIfLarge();
}

void CXMLTextWriter::Attribute(std::string_view name, std::u16string_view value) {
    AttributeStart(name);
    AppendEscaped(value);
    m_text.push_back('"');
}

void CXMLTextWriter::Attribute(std::string_view name, int64_t value) {
    char buffer[24];
    const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    AttributeStart(name);
    m_text.append(buffer, static_cast<std::size_t>(end - buffer));
    m_text.push_back('"');
}

void CXMLTextWriter::Attribute(std::string_view name, double value) {
    char buffer[64];
    const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    AttributeStart(name);
    if (ec == std::errc())
        m_text.append(buffer, static_cast<std::size_t>(end - buffer));
    else
        m_text.push_back('0');
    m_text.push_back('"');
}

void CXMLTextWriter::AttributeStart(std::string_view name) {
    m_text.push_back(' ');
    m_text.append(name);
    m_text.append("=\"");
}

void CXMLTextWriter::AppendEscaped(std::u16string_view value) {
    // Room for the worst case ("&quot;" for every unit), written through a
    // pointer and cut back to what was written.
    char* const start = m_text.Room(value.size() * 6);
    char* out = start;
    const char16_t* p = value.data();
    const char16_t* const end = p + value.size();
    while (p < end) {
        const char16_t c = *p;
        if (c >= 0x80) {
            // A run outside ASCII goes out as CString::ToUtf8 writes it, so
            // that a surrogate pair split at the run's edge cannot happen.
            const char16_t* q = p + 1;
            while (q < end && *q >= 0x80)
                ++q;
            out = CString::WriteUtf8(out, std::u16string_view(p, static_cast<std::size_t>(q - p)));
            p = q;
            continue;
        }
        ++p;
        if (c >= 32) {
            switch (c) {
            case u'&':
                std::memcpy(out, "&amp;", 5);
                out += 5;
                break;
            case u'<':
                std::memcpy(out, "&lt;", 4);
                out += 4;
                break;
            case u'"':
                std::memcpy(out, "&quot;", 6);
                out += 6;
                break;
            default:
                *out++ = static_cast<char>(c);
                break;
            }
        } else if (c == 0) {
            break;   // XML cannot carry U+0000: the value ends here
        } else {
            // Tabs, line ends and the other controls as "&#NN;", so that a
            // reader's whitespace normalisation leaves them alone.
            *out++ = '&';
            *out++ = '#';
            *out++ = static_cast<char>('0' + c / 10);
            *out++ = static_cast<char>('0' + c % 10);
            *out++ = ';';
        }
    }
    m_text.nSize += static_cast<std::size_t>(out - start);
}

void CXMLTextWriter::AppendEscaped(std::string_view value) {
    std::size_t run = 0;   // bytes since the last one written escaped
    const char* p = value.data();
    for (std::size_t i = 0; i < value.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(value[i]);
        const char* entity = nullptr;
        char reference[6];
        if (c == '&') {
            entity = "&amp;";
        } else if (c == '<') {
            entity = "&lt;";
        } else if (c == '"') {
            entity = "&quot;";
        } else if (c < 32) {
            reference[0] = '&';
            reference[1] = '#';
            reference[2] = static_cast<char>('0' + c / 10);
            reference[3] = static_cast<char>('0' + c % 10);
            reference[4] = ';';
            reference[5] = '\0';
            entity = reference;
        } else {
            ++run;
            continue;
        }
        m_text.append(p + i - run, run);
        run = 0;
        m_text.append(entity);
    }
    m_text.append(p + value.size() - run, run);
}

void CXMLTextWriter::Element(const CXML& node) {
    if (!node.m_node)
        return;
    BeginChild();
    const pugi::xml_node element(static_cast<pugi::xml_node_struct*>(node.m_node));
    if (m_bIndent) {
        PrintIndented(&element);
    } else {
        AppendWriter<TextBuffer> writer(m_text);
        element.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
    }
    FlushIfLarge();
}

namespace {

// A subtree this printer leaves to pugixml: a name it would print as
// ":anonymous", or an element that carries text of its own.
bool HasUnnamedParts(pugi::xml_node node) {
    if (node.type() != pugi::node_element)
        return false;
    if (node.name()[0] == '\0' || node.value()[0] != '\0')
        return true;
    for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
        if (a.name()[0] == '\0')
            return true;
    }
    return false;
}

}  // namespace

// The indented layout of pugixml's printer (CXML's format), walked the same
// way, with one difference: indentation stops growing at kMaxIndentDepth, so
// that a tree nested 50,000 deep prints in space linear in its size. Nodes
// other than elements are printed by pugixml itself, each on its own.
void CXMLTextWriter::PrintIndented(const void* pRoot) {
    const pugi::xml_node root = *static_cast<const pugi::xml_node*>(pRoot);
    enum : unsigned { kNewline = 1, kIndent = 2 };
    std::size_t depth = m_tagLengths.size();
    unsigned flags = kIndent;
    AppendWriter<TextBuffer> writer(m_text);
    const auto printAlone = [&](pugi::xml_node n) { n.print(writer, "", pugi::format_raw, pugi::encoding_utf8); };
    pugi::xml_node node = root;
    do {
        FlushIfLarge();   // a file takes a large tree in pieces
        const pugi::xml_node_type type = node.type();
        if (type == pugi::node_pcdata || type == pugi::node_cdata) {
            printAlone(node);
            flags = 0;
        } else if (type == pugi::node_element && HasUnnamedParts(node)) {
            // pugixml prints it whole, its first line indented by itself.
            if (flags & kNewline)
                m_text.push_back('\n');
            node.print(writer, "  ", pugi::format_indent, pugi::encoding_utf8,
                       static_cast<unsigned int>(std::min(depth, kMaxIndentDepth)));
            if (!m_text.empty() && m_text.back() == '\n')
                m_text.pop_back();
            flags = kNewline | kIndent;
        } else {
            if (flags & kNewline)
                m_text.push_back('\n');
            if (flags & kIndent)
                Indent(depth);
            if (type == pugi::node_element) {
                flags = kNewline | kIndent;
                m_text.push_back('<');
                m_text.append(node.name());
                for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
                    AttributeStart(a.name());
                    AppendEscaped(std::string_view(a.value()));
                    m_text.push_back('"');
                }
                if (node.first_child()) {
                    m_text.push_back('>');
                    node = node.first_child();
                    ++depth;
                    continue;
                }
                m_text.append(" />");
            } else {
                printAlone(node);
                flags = kNewline | kIndent;
            }
        }
        // On to the next node: a sibling, or up through the closing tags.
        while (node != root) {
            if (node.next_sibling()) {
                node = node.next_sibling();
                break;
            }
            node = node.parent();
            --depth;
            if (flags & kNewline)
                m_text.push_back('\n');
            if (flags & kIndent)
                Indent(depth);
            m_text.append("</");
            m_text.append(node.name());
            m_text.push_back('>');
            flags = kNewline | kIndent;
        }
    } while (node != root);
    if (flags & kNewline)
        m_text.push_back('\n');
}

void CXMLTextWriter::FlushIfLarge() {
    if (m_pFile != nullptr && m_text.size() >= kFlushSize)
        Flush();
}

void CXMLTextWriter::Flush() {
    if (!m_bFailed) {
        try {
            const char* p = m_text.data();
            std::size_t size = m_text.size();
            while (size > 0) {
                // CFile::Write takes an unsigned int count; write large pieces in slices.
                const unsigned int slice = size > (1u << 30) ? (1u << 30) : static_cast<unsigned int>(size);
                m_pFile->Write(p, slice);
                p += slice;
                size -= slice;
            }
        } catch (const CFileException&) {
            m_bFailed = true;
        }
    }
    m_text.clear();
}

CString CXMLTextWriter::ToString() const {
    std::string_view text = m_text.View();
    while (!text.empty() && text.back() == '\n')
        text.remove_suffix(1);
    return CString::FromUtf8(text);
}

int CXMLTextWriter::Finish() {
    if (m_pFile == nullptr)
        return 0;
    Flush();
    return m_bFailed ? 0 : 1;
}
