#include "host/FunctionCall.h"

#include <string>

#include "corelib/Utility.h"
#include "corelib/XML.h"
#include "varlib/metadata/ModuleMetaInfo.h"
#include "varlib/plugins/PluginRegistry.h"
#include "varlib/reports/ReportManager.h"
#include "varlib/values/VariableList.h"

namespace FunctionCall {

const CString CALL_FUNCTION(u"CALL_FUNCTION");
const CString CALL_FUNCTION_RESPONSE(u"CALL_FUNCTION_RESPONSE");

namespace {

CMessage Response(CXML& result) {
    CMessage response;
    response.SetType(CALL_FUNCTION_RESPONSE);
    response.SetBody(result);
    return response;
}

// The report service's reasons, for the same failures.
CMessage Failure(const CString& reason) {
    CXML result(u"RESULT");
    result.SetAttr(u"Status", 1);
    result.SetAttr(CReportManager::REASON_ATTR, reason);
    return Response(result);
}

}  // namespace

CMessage Answer(const CPluginRegistry& registry, CMessage& request) {
    CXML call = request.GetBody();
    const CString plugin = call.GetAttr(u"Plugin", CString());
    const CString function = call.GetAttr(u"Function", CString());
    CXML parameters = call.GetFirstChild();
    if (!parameters.IsValid())
        return Failure(CReportManager::INVALID_PARAMETERS_REASON);
    const CVariableList arguments(parameters);
    CModuleMetaInfo::CSignatureArray signatures;
    CString key(function);
    if (!registry.GetPluginModuleMetaInfo(plugin).GetFunctionsMetaInfo().Lookup(key, signatures) ||
        !registry.IsRegisteredFunction(function))
        return Failure(CReportManager::PLUGIN_NOT_FOUND_REASON);
    if (!registry.ValidateParameters(function, arguments))
        return Failure(CReportManager::INVALID_PARAMETERS_REASON);
    const CVariable value = registry.InvokeFunction(function, arguments);
    if (!value.IsValid())
        return Failure(CReportManager::INVOKE_FAILED_REASON);
    CXML result(u"RESULT");
    result.SetAttr(u"Status", 0);
    // ToJSON gives an empty array no text at the top level; a value without a
    // JSON form (XML, a PDU) comes as its text.
    int bSuccess = 1;
    const bool bEmptyArray = value.IsArray() && value.m_arrayValue.GetCount() == 0;
    const std::string json = bEmptyArray ? "[]" : value.ToJSONUtf8(bSuccess, 0);
    if (bSuccess)
        result.SetAttr(u"Json", CUtility::UTF8toUTF16(json));
    else
        result.SetAttr(u"Text", value.ToString(0));
    return Response(result);
}

}  // namespace FunctionCall
