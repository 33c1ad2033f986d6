#include "host/ArgumentReader.h"

#include "corelib/Utility.h"
#include "varlib/formats/JSON.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

bool CArgumentReader::Read(const std::string& strJson, CVariableList& arguments, std::string& strError) {
    arguments.RemoveAll();
    // As a CString: only the entry points that take a position tell where the array ended.
    const CString json = CUtility::UTF8toUTF16(strJson);
    int index = 0;
    CJSON::SkipWhitespace(json, index);
    if (index == json.GetLength())
        return true;
    if (CJSON::CheckNextToken(json, index) != CJSON::TOKEN_ARRAY_OPEN) {
        strError = "the arguments must be a JSON array, such as [\"eth*\"] or [] (got: " + strJson + ")";
        return false;
    }
    int bSuccess = 1;
    const CVariable parsed = CJSON::ParseValue(json, index, bSuccess);
    if (!bSuccess || !parsed.IsArray()) {
        strError = "the arguments are not readable JSON: " + strJson;
        return false;
    }
    CJSON::SkipWhitespace(json, index);
    if (index != json.GetLength()) {
        strError = "unexpected text after the JSON array: " + CUtility::UTF16toUTF8(json.Mid(index));
        return false;
    }
    const CVariableArray& elements = parsed.m_arrayValue;
    for (int i = 0; i < static_cast<int>(elements.GetCount()); ++i) {
        CVariable* element = nullptr;
        if (elements.Lookup(elements.GetIndex(i), element) && element != nullptr)
            arguments.Add(*element);
    }
    return true;
}
