// CXMLTextWriter: the text of an XML tree, written as it is walked, without
// building the tree.
//
// What a writer gives is, byte for byte, what CXML gives for the tree that the
// same calls would build: ToString(FORMAT_COMPACT) or ToString(FORMAT_INDENT)
// of the first element (less ToString's trailing line end), and XMLWrite's
// document when the writer is made on a file. Attribute values are escaped as
// CXML escapes them: & < and " as entities, code units below 32 as two-digit
// character references, the rest as UTF-8 (CString::ToUtf8's form), and a
// U+0000 ends the value.
//
// Calls nest as elements do: StartElement, its attributes, its children
// (StartElement or Element), EndElement. An attribute after a child, or a
// name set twice, is the caller's mistake and is written as given. A writer on
// a file hands its text over in pieces of about 64 KiB, so that memory stays
// bounded by the nesting, not by the size of the tree.
//
// Not thread-safe; one writer per thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "corelib/framework/String.h"

class CFile;
class CXML;

class CXMLTextWriter {
public:
    // A writer into memory; flag is CXML::FORMAT_COMPACT or CXML::FORMAT_INDENT
    // (any value but FORMAT_INDENT is compact, as for CXML::ToString).
    explicit CXMLTextWriter(int flag);
    // A writer of XMLWrite's document into the open file: the declaration
    // first, then the tree indented.
    explicit CXMLTextWriter(CFile* file);
    CXMLTextWriter(const CXMLTextWriter&) = delete;
    CXMLTextWriter& operator=(const CXMLTextWriter&) = delete;

    // Opens an element; tag is ASCII and must not need escaping.
    void StartElement(std::string_view tag);
    // Adds an attribute to the element opened last, before any child of it.
    void Attribute(std::string_view name, std::u16string_view value);
    void Attribute(std::string_view name, const CString& value) { Attribute(name, value.View()); }
    // Decimal, as CXML::SetAttr writes an int or a 64-bit integer.
    void Attribute(std::string_view name, int64_t value);
    // The shortest text that reads back to the same double, as CXML::SetAttr writes it.
    void Attribute(std::string_view name, double value);
    // Closes the element opened last.
    void EndElement();
    // Adds the tree of node (a whole element with everything below it) as a
    // child, as CXML prints it; nothing for an invalid node.
    void Element(const CXML& node);

    // Memory writers: the text written so far, as UTF-8 and as CXML::ToString
    // gives it (without the last line end).
    std::string_view Text() const { return m_text.View(); }
    CString ToString() const;
    // File writers: hands over what is left. Non-zero if every write to the
    // file succeeded (a failed write drops the rest).
    int Finish();

private:
    // Closes the start tag of the open element before its first child.
    void BeginChild();
    void Indent(std::size_t depth);
    // ' name="': an attribute up to its value.
    void AttributeStart(std::string_view name);
    void AppendEscaped(std::u16string_view value);
    void AppendEscaped(std::string_view utf8);
    // Prints the tree of a pugixml node (given as const pugi::xml_node*) indented.
    void PrintIndented(const void* pRoot);
    void FlushIfLarge();
    void Flush();

    // The text written: grows without filling what it doesn't use yet, and
    // keeps its appends inline, as a writer appends a few bytes at a time.
    struct TextBuffer {
        std::unique_ptr<char[]> pData;
        std::size_t nSize = 0, nCapacity = 0;

        char* Room(std::size_t n) {
            if (nCapacity - nSize < n)
                Grow(n);
            return pData.get() + nSize;
        }
        void Grow(std::size_t n);
        void push_back(char c) { *Room(1) = c, ++nSize; }
        void append(const char* p, std::size_t n) {
            if (n == 0)
                return;   // no room asked: the buffer may not exist yet
            std::memcpy(Room(n), p, n);
            nSize += n;
        }
        void append(std::string_view text) { append(text.data(), text.size()); }
        void append(std::size_t n, char c) {
            if (n == 0)
                return;
            std::memset(Room(n), c, n);
            nSize += n;
        }
        std::size_t size() const { return nSize; }
        bool empty() const { return nSize == 0; }
        char back() const { return pData[nSize - 1]; }
        void pop_back() { --nSize; }
        void clear() { nSize = 0; }
        char* data() { return pData.get(); }
        std::string_view View() const { return {pData.get(), nSize}; }
    };

    TextBuffer m_text;
    std::string m_tags;                    // the open elements' tags, one after the other
    std::vector<std::size_t> m_tagLengths;  // the length of each, innermost last
    CFile* m_pFile = nullptr;
    bool m_bIndent = false;
    bool m_bStartOpen = false;    // the open element's start tag still takes attributes
    bool m_bFailed = false;
};
