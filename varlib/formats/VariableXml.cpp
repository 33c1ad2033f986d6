// The XML form of CVariable and CVariableArray.
//
// A value is a "VARIABLE" element with the attributes Name, Type, DisplayName
// and Description (always, in this order), then a "Value" attribute or one
// child that depends on the type; an ARRAY's child is an "ARRAY" element whose
// "VARIABLE" children carry their index in "Index". Reading is forgiving:
// tag names are not examined, absent or unreadable attributes take their
// defaults, and a value is not reset before it is read.
//
// Depth: no guard cuts nesting off. Nested arrays are written and read from an
// explicit work list, never by recursion on the call stack, so a value nested
// 100,000 levels deep goes out and comes back like a flat one; memory is the
// only bound. pugixml, below CXML, parses, copies, prints and frees trees
// without recursion too.
#include <memory>
#include <utility>
#include <vector>

#include "corelib/XMLAttributes.h"
#include "corelib/XMLTextWriter.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

namespace {

// The tag and attribute names, made once: every element looks up or sets
// six of them, and a CString made from a literal at each call allocates.
struct XmlNames {
    CString array{u"ARRAY"};
    CString name{u"Name"};
    CString type{u"Type"};
    CString displayName{u"DisplayName"};
    CString description{u"Description"};
    CString value{u"Value"};
    CString index{u"Index"};
};

const XmlNames& Names() {
    static const XmlNames names;
    return names;
}

// The attributes a reader takes, found in one walk over an element's
// attributes, by their positions in this list.
enum ReadAttr : std::size_t { READ_NAME, READ_TYPE, READ_DISPLAY_NAME, READ_DESCRIPTION, READ_VALUE, READ_INDEX };

CXMLAttributes ReadAttributes(const CXML& node) {
    return CXMLAttributes(node, {"Name", "Type", "DisplayName", "Description", "Value", "Index"});
}

// Appends children to one element, which has none yet, and hands out a handle
// on each new child. The element's own child walk follows the appends and
// stands on the last child, so n appends cost O(n) rather than O(n^2).
class ChildAppender {
public:
    explicit ChildAppender(const CXML& parent) : m_parent(parent) {}

    // Appends a copy of prototype (a childless element) and returns its handle.
    CXML Append(const CXML& prototype) {
        m_parent.AddChild(prototype);
        if (m_bStarted)
            return m_parent.GetNextChild();
        m_bStarted = true;
        return m_parent.GetFirstChild();
    }

private:
    CXML m_parent;
    bool m_bStarted = false;
};

// The attributes of a value and its payload, except the elements of an
// ARRAY, which WriteArray adds below the "ARRAY" child.
void WriteOwnPart(const CVariable& value, CXML& node) {
    const XmlNames& names = Names();
    node.SetAttr(names.name, value.m_strName);
    node.SetAttr(names.type, static_cast<int>(value.m_eType));
    node.SetAttr(names.displayName, value.m_strDisplayName);
    node.SetAttr(names.description, value.m_strDescription);
    switch (value.m_eType) {
    case VT_INT:
        node.SetAttr(names.value, value.m_nValue);
        // An enumeration goes out only when it names something.
        if (value.m_enumValues.GetSize() > 0)
            node.AddChild(value.m_enumValues.ToXml());
        break;
    case VT_STRING:
        node.SetAttr(names.value, value.m_strValue);
        break;
    case VT_DOUBLE:
        // The shortest text that reads back to the same double.
        node.SetAttr(names.value, value.m_dValue);
        break;
    case VT_PDU:
        node.AddChild(value.m_pduValue.ToXml());
        break;
    case VT_SNMPVAR:
        node.AddChild(value.m_vbValue.ToXml());
        break;
    case VT_XML:
        if (value.m_xmlValue.IsValid())
            node.AddChild(value.m_xmlValue);
        break;
    case VT_TIME:
        node.SetAttr(names.value, value.m_timeValue.GetTime());
        break;
    case VT_BYTE:
        node.SetAttr(names.value, static_cast<int>(value.m_byteValue));
        break;
    case VT_CHAR:
        node.SetAttr(names.value, static_cast<int>(value.m_chValue));
        break;
    case VT_ARRAY:        // the caller adds the "ARRAY" child
    case VT_ARRAY_ELEM:   // a type number without a payload
    case VT_UNDEFINED:
    default:
        break;
    }
}

// Fills arrayNode, an empty "ARRAY" element, with the elements of array and,
// level by level, with every array nested below them. Each job owns one
// "ARRAY" element, so the order in which jobs run doesn't change the tree.
void WriteArray(const CVariableArray& array, const CXML& arrayNode) {
    const XmlNames& names = Names();
    struct Job {
        const CVariableArray* pArray;
        CXML node;
    };
    const CXML variablePrototype(CVariable::GetTagName());
    const CXML arrayPrototype(names.array);
    std::vector<Job> jobs;
    jobs.push_back({&array, arrayNode});
    while (!jobs.empty()) {
        const Job job = std::move(jobs.back());
        jobs.pop_back();
        ChildAppender children(job.node);
        const int count = static_cast<int>(job.pArray->GetCount());
        for (int ordinal = 0; ordinal < count; ++ordinal) {
            const CString index = job.pArray->GetIndex(ordinal);
            CVariable* pElement = nullptr;
            if (!job.pArray->Lookup(index, pElement) || pElement == nullptr)
                continue;
            CXML node = children.Append(variablePrototype);
            WriteOwnPart(*pElement, node);
            node.SetAttr(names.index, index);
            if (pElement->m_eType == VT_ARRAY) {
                node.AddChild(arrayPrototype);
                jobs.push_back({&pElement->m_arrayValue, node.GetFirstChild()});
            }
        }
    }
}

// The text form, written without a tree: the same attributes, in the same
// order, and the same children as WriteOwnPart and WriteArray give.

// Name, Type, DisplayName, Description and, by type, Value.
void WriteOwnAttributes(const CVariable& value, CXMLTextWriter& out) {
    out.Attribute("Name", value.m_strName);
    out.Attribute("Type", int64_t{value.m_eType});
    out.Attribute("DisplayName", value.m_strDisplayName);
    out.Attribute("Description", value.m_strDescription);
    switch (value.m_eType) {
    case VT_INT:
        out.Attribute("Value", value.m_nValue);
        break;
    case VT_STRING:
        out.Attribute("Value", value.m_strValue);
        break;
    case VT_DOUBLE:
        out.Attribute("Value", value.m_dValue);
        break;
    case VT_TIME:
        out.Attribute("Value", int64_t{value.m_timeValue.GetTime()});
        break;
    case VT_BYTE:
        out.Attribute("Value", int64_t{value.m_byteValue});
        break;
    case VT_CHAR:
        out.Attribute("Value", int64_t{value.m_chValue});
        break;
    default:
        break;
    }
}

// The child of a value whose payload is a tree of its own; an ARRAY's child
// is the caller's.
void WriteOwnChild(const CVariable& value, CXMLTextWriter& out) {
    switch (value.m_eType) {
    case VT_INT:
        if (value.m_enumValues.GetSize() > 0)
            out.Element(value.m_enumValues.ToXml());
        break;
    case VT_PDU:
        out.Element(value.m_pduValue.ToXml());
        break;
    case VT_SNMPVAR:
        out.Element(value.m_vbValue.ToXml());
        break;
    case VT_XML:
        out.Element(value.m_xmlValue);   // nothing when invalid
        break;
    default:
        break;
    }
}

// Reads the attributes of node into value and the payload of its type, except
// the elements of an ARRAY: for an ARRAY node with a child, returns true and
// leaves that child (the "ARRAY" element, whatever its name) in arrayNode.
bool ReadOwnPart(CVariable& value, CXML& node, const CXMLAttributes& attrs, CXML& arrayNode) {
    value.m_strName = attrs.GetAttr(READ_NAME, CString());
    value.m_eType = static_cast<eVariableType>(attrs.GetAttrInt(READ_TYPE, VT_UNDEFINED));
    value.m_strDisplayName = attrs.GetAttr(READ_DISPLAY_NAME, CString());
    value.m_strDescription = attrs.GetAttr(READ_DESCRIPTION, CString());
    switch (value.m_eType) {
    case VT_INT: {
        value.m_nValue = attrs.GetAttrInt64(READ_VALUE, 0);
        CXML enumNode = node.GetFirstChild();
        if (enumNode.IsValid())
            value.m_enumValues.FromXml(enumNode);
        break;
    }
    case VT_STRING: {
        CString text = attrs.GetAttr(READ_VALUE, CString());
        // Stored text uses CR LF line ends. Every LF gets a CR, even one that
        // already has a CR before it: CR LF comes back as CR CR LF.
        text.Replace(u"\n", u"\r\n");
        value.m_strValue = text;
        break;
    }
    case VT_DOUBLE:
        value.m_dValue = attrs.GetAttrDouble(READ_VALUE, 0.0);
        break;
    case VT_PDU: {
        CXML pduNode = node.GetFirstChild();
        if (pduNode.IsValid())
            value.m_pduValue.FromXml(pduNode);
        break;
    }
    case VT_SNMPVAR: {
        CXML vbNode = node.GetFirstChild();
        if (vbNode.IsValid())
            value.m_vbValue.FromXml(vbNode);
        break;
    }
    case VT_XML:
        // Exactly one child is the tree; none or several give an empty node.
        value.m_xmlValue = node.GetChildCount() == 1 ? node.GetFirstChild().Clone() : CXML();
        break;
    case VT_ARRAY:
        arrayNode = node.GetFirstChild();
        return arrayNode.IsValid() != 0;
    case VT_TIME:
        value.m_timeValue = CTime(attrs.GetAttrInt64(READ_VALUE, 0));
        break;
    case VT_BYTE:
        // The low 8 bits: 300 reads as 44.
        value.m_byteValue = static_cast<unsigned char>(attrs.GetAttrInt(READ_VALUE, 0));
        break;
    case VT_CHAR:
        // The low 16 bits: one UTF-16 code unit.
        value.m_chValue = static_cast<char16_t>(attrs.GetAttrInt(READ_VALUE, 0));
        break;
    case VT_ARRAY_ELEM:
    case VT_UNDEFINED:
    default:
        // The type number stays as read; there is no payload to read.
        break;
    }
    return false;
}

// Reads the children of arrayNode into target, merging by index, and every
// array nested below them. A depth-first walk with an explicit stack: an
// element's own array is read completely before its next sibling, so a
// sibling under the same index replaces it only once nothing points into it.
void ReadArray(CVariableArray& target, const CXML& arrayNode) {
    struct Frame {
        CVariableArray* pTarget;
        CXML node;   // its walk stands on the child last read
        bool bStarted;
    };
    std::vector<Frame> stack;
    stack.push_back({&target, arrayNode, false});
    while (!stack.empty()) {
        Frame& frame = stack.back();
        CXML child = frame.bStarted ? frame.node.GetNextChild() : frame.node.GetFirstChild();
        frame.bStarted = true;
        if (!child.IsValid()) {
            stack.pop_back();
            continue;
        }
        auto pElement = std::make_unique<CVariable>();
        CXML nestedArray;
        const CXMLAttributes attrs = ReadAttributes(child);
        const bool bHasArray = ReadOwnPart(*pElement, child, attrs, nestedArray);
        const CString index = attrs.GetAttr(READ_INDEX, CString());
        CVariable* pInserted = pElement.get();
        frame.pTarget->InsertElement(index, pInserted);   // owns it from here on
        pElement.release();
        // frame may dangle once the stack grows; it isn't used past this point.
        if (bHasArray)
            stack.push_back({&pInserted->m_arrayValue, nestedArray, false});
    }
}

}  // namespace

// ---------------------------------------------------------------------------
// CVariable
// ---------------------------------------------------------------------------

CXML CVariable::ToXml() const {
    CXML node(TAG_NAME);
    WriteXml(node);
    return node;
}

void CVariable::WriteXml(CXML& node) const {
    WriteOwnPart(*this, node);
    if (m_eType == VT_ARRAY) {
        node.AddChild(CXML(Names().array));
        WriteArray(m_arrayValue, node.GetFirstChild());
    }
}

void CVariable::FromXml(CXML& node) {
    // Read through a handle of our own: node may be m_xmlValue itself, or lie
    // in a tree that one of our elements holds and that the read replaces; the
    // handle keeps the tree alive. The caller's child walk stays where it was.
    CXML source(node);
    CXML arrayNode;
    if (ReadOwnPart(*this, source, ReadAttributes(source), arrayNode))
        ReadArray(m_arrayValue, arrayNode);
}

// The text straight from the value: what ToXml().ToString(1) gives, without
// the tree.
CString CVariable::ToXmlString() const {
    CXMLTextWriter out(CXML::FORMAT_COMPACT);
    WriteXml(out);
    return out.ToString();
}

// Writes value's element and everything below it. Depth-first with an
// explicit stack: the elements of the arrays being written wait in one list,
// each level's run at its end, taken off when the level is done.
void CVariable::WriteXml(CXMLTextWriter& out) const {
    using Item = CVariableArray::OrderedElement;
    struct Level {
        std::size_t begin;   // the level's run in items
        std::size_t next;
    };
    std::vector<Item> items{{this, nullptr}};
    std::vector<Level> levels{{0, 0}};
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == items.size()) {
            items.resize(level.begin);
            levels.pop_back();
            if (!levels.empty()) {
                out.EndElement();   // "ARRAY"
                out.EndElement();   // the array's own "VARIABLE"
            }
            continue;
        }
        const Item item = items[level.next++];
        const CVariable& element = *item.pElement;
        out.StartElement("VARIABLE");
        WriteOwnAttributes(element, out);
        if (item.pIndex != nullptr)
            out.Attribute("Index", *item.pIndex);
        if (element.m_eType == VT_ARRAY) {
            out.StartElement("ARRAY");
            const std::size_t begin = items.size();
            element.m_arrayValue.AppendInOrder(items, CVariableArray::MissingElement::kSkipped);
            levels.push_back({begin, begin});   // level is not used past this point
        } else {
            WriteOwnChild(element, out);
            out.EndElement();
        }
    }
}


// ---------------------------------------------------------------------------
// CVariableArray
// ---------------------------------------------------------------------------

CXML CVariableArray::ToXml() const {
    const XmlNames& names = Names();
    CXML node(names.array);
    WriteArray(*this, node);
    return node;
}

void CVariableArray::FromXml(CXML& node) { ReadArray(*this, node); }
