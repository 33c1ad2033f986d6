// CFunctionSignature: accessors and the "FunctionSignature" XML form.
#include "varlib/metadata/FunctionSignature.h"

const CString CFunctionSignature::TAG_NAME(u"FunctionSignature");
const CString CFunctionSignature::PARAMETERS_TAG_NAME(u"Parameters");

namespace {
const CString DESCRIPTION_ATTR(u"Description");
}  // namespace

CFunctionSignature::CFunctionSignature() = default;

CFunctionSignature::CFunctionSignature(CXML& node) { FromXml(node); }

CFunctionSignature::CFunctionSignature(const CFunctionSignature& src) { Copy(src); }

CFunctionSignature& CFunctionSignature::operator=(const CFunctionSignature& src) {
    Copy(src);
    return *this;
}

CFunctionSignature::~CFunctionSignature() = default;

void CFunctionSignature::Copy(const CFunctionSignature& src) {
    if (&src == this)
        return;
    m_strDescription = src.m_strDescription;
    m_arrParameters.Copy(src.m_arrParameters);
    m_ReturnValue = src.m_ReturnValue;
}

CString CFunctionSignature::GetDescription() const { return m_strDescription; }

void CFunctionSignature::SetDescription(const CString& strDescription) { m_strDescription = strDescription; }

CVariableMetaInfo CFunctionSignature::GetReturnValue() const { return m_ReturnValue; }

void CFunctionSignature::SetReturnValue(const CVariableMetaInfo& returnValue) { m_ReturnValue = returnValue; }

void CFunctionSignature::GetParameters(CArray<CVariableMetaInfo, const CVariableMetaInfo&>& parameters) const {
    parameters.Copy(m_arrParameters);
}

void CFunctionSignature::SetParameters(const CArray<CVariableMetaInfo, const CVariableMetaInfo&>& parameters) {
    m_arrParameters.Copy(parameters);
}

CXML CFunctionSignature::ToXml() const {
    CXML node(TAG_NAME);
    node.SetAttr(DESCRIPTION_ATTR, m_strDescription);
    node.AddChild(m_ReturnValue.ToXml());
    // Written even without parameters, so a reader always finds the list.
    CXML parameters(PARAMETERS_TAG_NAME);
    for (intptr_t i = 0; i < m_arrParameters.GetSize(); ++i)
        parameters.AddChild(m_arrParameters.GetAt(i).ToXml());
    node.AddChild(parameters);
    return node;
}

void CFunctionSignature::FromXml(CXML& node) {
    m_arrParameters.RemoveAll();
    m_strDescription = node.GetAttr(DESCRIPTION_ATTR, CString());
    // The children come in any order and number: the last return value wins and
    // every "Parameters" element adds to the list. Only here do tags matter,
    // since this element has children of two kinds.
    const CString returnTag = CVariableMetaInfo::GetTagName();
    for (CXML child = node.GetFirstChild(); child.IsValid(); child = node.GetNextChild()) {
        const CString tag = child.GetTagName();
        if (tag == returnTag) {
            m_ReturnValue.FromXml(child);
        } else if (tag == PARAMETERS_TAG_NAME) {
            for (CXML parameter = child.GetFirstChild(); parameter.IsValid(); parameter = child.GetNextChild())
                m_arrParameters.Add(CVariableMetaInfo(parameter));
        }
    }
}

CString CFunctionSignature::GetTagName() { return TAG_NAME; }
