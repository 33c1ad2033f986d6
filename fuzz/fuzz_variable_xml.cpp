// Fuzzes the XML readers of values on arbitrary XML text: the input's bytes
// are parsed as UTF-8 XML and, if they form a document, its root is read as a
// CVariable and as a CVariableList, whatever the tag names. What was read is
// written back as XML and printed, so that every shape the readers build is
// walked once more. Written XML must always parse again, and the text written
// straight from a value must be the print of its tree, byte for byte.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "corelib/XML.h"
#include "corelib/XMLTextWriter.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableList.h"

namespace {

// What the writers produce is well-formed XML, whatever they were given.
void RequireParses(const CString& text) {
    if (!CXML(text, CString()).IsValid())
        std::abort();
}

// The writer without a tree gives what the tree prints, compact and indented.
void RequireSamePrint(const CVariable& value) {
    const CXML tree = value.ToXml();
    if (value.ToXmlString() != tree.ToString(1))
        std::abort();
    CXMLTextWriter indented(CXML::FORMAT_INDENT);
    value.WriteXml(indented);
    if (indented.ToString() != tree.ToString(CXML::FORMAT_INDENT))
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    CXML root(CString::FromUtf8(bytes), CString());
    if (!root.IsValid())
        return 0;

    CVariable value;
    value.FromXml(root);
    RequireParses(value.ToXmlString());
    RequireSamePrint(value);

    CVariableList list;
    list.FromXml(root);
    RequireParses(list.ToXml().ToString(1));
    for (intptr_t i = 0; i < list.GetSize(); ++i)
        RequireSamePrint(list[i]);

    // A second read over filled objects: values merge arrays, lists replace.
    value.FromXml(root);
    list.FromXml(root);
    return 0;
}
