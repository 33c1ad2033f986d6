// CModuleMetaInfo: accessors, the function table and the "ModuleMetaInfo" XML form.
#include "varlib/metadata/ModuleMetaInfo.h"

const CString CModuleMetaInfo::TAG_NAME(u"ModuleMetaInfo");
const CString CModuleMetaInfo::FUNCTIONS_TAG_NAME(u"FUNCTIONS");
const CString CModuleMetaInfo::FUNCTION_TAG_NAME(u"FUNCTION");

namespace {
const CString NAME_ATTR(u"Name");
const CString DESCRIPTION_ATTR(u"Description");
const CString VERSION_ATTR(u"Version");
}  // namespace

CModuleMetaInfo::CModuleMetaInfo() = default;

CModuleMetaInfo::CModuleMetaInfo(CXML& node) { FromXml(node); }

CModuleMetaInfo::CModuleMetaInfo(const CModuleMetaInfo& src) { Copy(src); }

CModuleMetaInfo& CModuleMetaInfo::operator=(const CModuleMetaInfo& src) {
    Copy(src);
    return *this;
}

CModuleMetaInfo::~CModuleMetaInfo() = default;

void CModuleMetaInfo::Copy(const CModuleMetaInfo& src) {
    // CMapEx::operator= empties a map assigned to itself, so guard here.
    if (&src == this)
        return;
    m_strName = src.m_strName;
    m_strDescription = src.m_strDescription;
    m_strVersion = src.m_strVersion;
    m_mapFunctions = src.m_mapFunctions;
}

CString CModuleMetaInfo::GetName() const { return m_strName; }

void CModuleMetaInfo::SetName(const CString& strName) { m_strName = strName; }

CString CModuleMetaInfo::GetDescription() const { return m_strDescription; }

void CModuleMetaInfo::SetDescription(const CString& strDescription) { m_strDescription = strDescription; }

CString CModuleMetaInfo::GetVersion() const { return m_strVersion; }

void CModuleMetaInfo::SetVersion(const CString& strVersion) { m_strVersion = strVersion; }

CModuleMetaInfo::CFunctionMap CModuleMetaInfo::GetFunctionsMetaInfo() const { return m_mapFunctions; }

void CModuleMetaInfo::SetFunctionsMetaInfo(const CFunctionMap& functions) {
    // A caller may hand back the table itself (through a reference it kept).
    if (&functions != &m_mapFunctions)
        m_mapFunctions = functions;
}

CXML CModuleMetaInfo::ToXml() const {
    CXML node(TAG_NAME);
    node.SetAttr(NAME_ATTR, m_strName);
    node.SetAttr(DESCRIPTION_ATTR, m_strDescription);
    node.SetAttr(VERSION_ATTR, m_strVersion);
    // Written even when the module declares nothing.
    CXML functions(FUNCTIONS_TAG_NAME);
    for (const CFunctionMap::CPair* pair = m_mapFunctions.PGetFirstAssoc(); pair;
         pair = m_mapFunctions.PGetNextAssoc(pair)) {
        CXML function(FUNCTION_TAG_NAME);
        function.SetAttr(NAME_ATTR, pair->key);
        const CSignatureArray& signatures = pair->value;
        for (intptr_t i = 0; i < signatures.GetSize(); ++i)
            function.AddChild(signatures.GetAt(i).ToXml());
        functions.AddChild(function);
    }
    node.AddChild(functions);
    return node;
}

void CModuleMetaInfo::FromXml(CXML& node) {
    m_mapFunctions.RemoveAll();
    m_strName = node.GetAttr(NAME_ATTR, CString());
    m_strDescription = node.GetAttr(DESCRIPTION_ATTR, CString());
    m_strVersion = node.GetAttr(VERSION_ATTR, CString());
    // Only "FUNCTIONS" children count, and all of them fill the one table. Below
    // them tags are not examined: each child is a function, each grandchild a signature.
    for (CXML functions = node.GetFirstChild(); functions.IsValid(); functions = node.GetNextChild()) {
        if (functions.GetTagName() != FUNCTIONS_TAG_NAME)
            continue;
        for (CXML function = functions.GetFirstChild(); function.IsValid(); function = functions.GetNextChild()) {
            CString name = function.GetAttr(NAME_ATTR, CString());
            CSignatureArray signatures;
            for (CXML child = function.GetFirstChild(); child.IsValid(); child = function.GetNextChild()) {
                CFunctionSignature signature(child);
                signatures.Add(signature);
            }
            // A later function of the same name replaces the earlier one.
            m_mapFunctions[name] = signatures;
        }
    }
}

CString CModuleMetaInfo::GetTagName() { return TAG_NAME; }
