// CXML: a handle on one element of an XML tree.
//
// Copies of a handle share the tree: a change made through one copy shows in
// every other (the tree lives as long as any handle on it). Clone makes an
// independent tree. An empty handle (CXML()) allocates nothing and is not
// valid; every reader gives its default on it and every writer does nothing.
//
// Each handle keeps the cursor of its own child walk: GetFirstChild and
// GetNextChild are called on the parent. Children are the element children,
// in document order; text content is reached with GetText.
//
// Text form: UTF-8 XML. Attribute values keep every character, line feeds,
// carriage returns and tabs included (they are written as character
// references, so that a reader's whitespace normalisation leaves them alone).
// A character that XML 1.0 cannot carry (U+0000) ends the value.
//
// Costs: GetFirstChild and GetNextChild are O(1) (skipping text nodes);
// GetChildCount, GetChild and attribute look-ups walk the children or the
// attributes of one element; Clone, AddChild and ToString are linear in the
// size of the subtree.
//
// Not thread-safe: the handles of one tree belong to one thread at a time.
// Handles on different trees may be used on different threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>

#include "corelib/framework/String.h"

class CFile;

namespace tw::detail {
struct XmlDocument;  // the parser's document; defined in XML.cpp only
}

class CXML {
public:
    // Flags of ToString.
    static constexpr int FORMAT_COMPACT = 1;   // the whole tree on one line (what the library uses)
    static constexpr int FORMAT_INDENT = 2;    // one element per line, two spaces per level

    // An empty, invalid handle; allocates nothing. The empty handle's paths are
    // inline: every value holds one, and most never use it.
    CXML() = default;
    // A new tree of one element named tagName.
    CXML(const CString& tagName);
    // Parses text (a value's text form). If rootTag is not empty, the root element
    // must have that name. A malformed document (a second root element too) or a
    // wrong root gives an invalid node.
    CXML(const CString& text, const CString& rootTag);
    // Copies the handle, not the tree: both name the same element.
    CXML(const CXML& other) : m_node(other.m_node), m_cursor(other.m_cursor) {
        if (other.m_doc) Share(other.m_doc);
    }
    CXML(CXML&& other) noexcept : m_doc(other.m_doc), m_node(other.m_node), m_cursor(other.m_cursor) {
        other.m_doc = nullptr;
        other.m_node = other.m_cursor = nullptr;
    }
    CXML& operator=(const CXML&);
    CXML& operator=(CXML&& other) noexcept {
        if (this != &other) {
            if (m_doc) Share(nullptr);
            m_doc = other.m_doc;
            m_node = other.m_node;
            m_cursor = other.m_cursor;
            other.m_doc = nullptr;
            other.m_node = other.m_cursor = nullptr;
        }
        return *this;
    }
    virtual ~CXML() {
        if (m_doc) Share(nullptr);
    }

    // An independent deep copy of this element and everything below it.
    CXML Clone() const;
    // Non-zero if the handle names an element; 0 for CXML() and past the last child.
    int IsValid() const { return m_node ? 1 : 0; }

    // Starts this handle's walk of its children; invalid if there is none.
    CXML GetFirstChild();
    // The child after the last one given; invalid at the end and before GetFirstChild.
    CXML GetNextChild();
    // Number of element children.
    long GetChildCount() const;
    // First child element named tag, or an invalid node.
    CXML GetChild(const CString& tag) const;

    // The element's name; empty for an invalid node.
    CString GetTagName() const;
    // Non-zero if the element is named tag (exactly); 0 for an invalid node.
    // Makes no string: a reader that tells children apart asks this of each.
    int HasTagName(const CString& tag) const;

    // Non-zero if the attribute is present.
    int HasAttr(const CString& name) const;
    // The attribute's text, or def when absent.
    CString GetAttr(const CString& name, const CString& def) const;
    // Integer attributes: a decimal integer (optional sign, surrounding blanks allowed)
    // that fits the type; def when absent or when the text is not such a number.
    int GetAttrInt(const CString& name, int def) const;
    int64_t GetAttrInt64(const CString& name, int64_t def) const;
    // A floating-point text ("1.5", "-2e10", "inf", "nan"); def when absent or unreadable.
    double GetAttrDouble(const CString& name, double def) const;

    // Sets (or adds, after the others) an attribute. Numbers go out in decimal;
    // a double goes out in the shortest text that reads back to the same value.
    void SetAttr(const CString& name, const CString& value);
    void SetAttr(const CString& name, int value);
    void SetAttr(const CString& name, double value);
    void SetAttr(const CString& name, int64_t value);
    // Any other integer type (long long, unsigned, char16_t, ...), in decimal.
    template <class T>
        requires(std::is_integral_v<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, int> &&
                 !std::is_same_v<T, int64_t>)
    void SetAttr(const CString& name, T value) {
        if constexpr (std::is_signed_v<T>) {
            SetAttr(name, static_cast<int64_t>(value));
        } else {
            SetAttrUnsigned(name, static_cast<uint64_t>(value));
        }
    }
    // Removes the attribute if present.
    void RemoveAttr(const CString& name);

    // The element's text content (its first text or CDATA child); empty if none.
    CString GetText() const;
    // Replaces the element's text content.
    void SetText(const CString& text);

    // Appends a deep copy of child (which may then be destroyed) as the last child.
    // Nothing happens when either node is invalid.
    void AddChild(const CXML& child);

    // Text of the tree from this element, without XML declaration; see the FORMAT_ flags
    // (any value but FORMAT_INDENT is compact). Empty for an invalid node.
    CString ToString(int flag) const;
    // Replaces this handle by the root of a tree parsed from text; non-zero on success.
    // On failure the handle is unchanged.
    int FromString(const CString& text, const CString& rootTag = CString());

    // Writes this tree to the open file as a UTF-8 document: the declaration
    // <?xml version="1.0" encoding="UTF-8"?>, then the tree indented. The flag is
    // accepted for the platform's sake (it passes 1); every value writes the same.
    // Non-zero on success; 0 for an invalid node, a null file or a failed write.
    int XMLWrite(CFile* file, int flag);
    // Reads the file from its current position to the end and parses it (UTF-8,
    // UTF-16 or UTF-32, by BOM or declaration). Non-zero on success, when this handle
    // becomes the root element. A malformed document, or a root whose name is not
    // rootTag (when rootTag is not empty), gives 0 and leaves the handle unchanged.
    int XMLRead(CFile* file, const CString& rootTag, int flag);

    // Non-zero if both handles name the same element of the same tree.
    int IsSameNode(const CXML& other) const;

private:
    friend class CXMLAttributes;   // reads m_node
    friend class CXMLTextWriter;   // prints m_node's tree

    void SetAttrUnsigned(const CString& name, uint64_t value);
    // Parses text, which the tree keeps; 0 and no change on failure.
    int Adopt(std::string text, const CString& rootTag);
    // Parses the size bytes of a file's text, which the tree keeps.
    int Adopt(std::unique_ptr<char[]> data, std::size_t size, const CString& rootTag);
    // Parses the text that doc holds at data; 0 and no change on failure.
    int AdoptParsed(std::unique_ptr<tw::detail::XmlDocument> doc, char* data, std::size_t size, const CString& rootTag);

    // Takes a share of doc (may be null) and drops the share held before.
    void Share(tw::detail::XmlDocument* doc);

    tw::detail::XmlDocument* m_doc = nullptr;  // the shared tree, counted inside; null for CXML()
    void* m_node = nullptr;                    // the element (the parser's node record)
    void* m_cursor = nullptr;                  // the child last given by the walk
};

// Every value (CVariable) holds a handle: an unused one must stay small; the
// tree's count lives in the tree, not in a control block beside the handle.
static_assert(sizeof(CXML) == 4 * sizeof(void*));
