// The value call of twhost serve: a plug-in function run for the value it
// returns, not as a report. The page uses it for the functions that give no
// text (an ARRAY of rows, a number), which the report service can only
// refuse. It runs in the plug-in workers beside the report service, with the
// same limits, and goes to the module that the registry gives the function,
// as 'twhost call' does.
//
//   request   <MESSAGE Type="CALL_FUNCTION"><CALL Plugin="P" Function="F">
//               <VARIABLE_LIST>...</VARIABLE_LIST></CALL></MESSAGE>
//   response  <MESSAGE Type="CALL_FUNCTION_RESPONSE"><RESULT Status="0"
//               Json="..."/></MESSAGE>, Text="..." for a value without a JSON
//             form; Status="1" and a Reason when the call fails.
#pragma once

#include "corelib/Message.h"
#include "corelib/framework/String.h"

class CPluginRegistry;

namespace FunctionCall {

extern const CString CALL_FUNCTION;            // "CALL_FUNCTION"
extern const CString CALL_FUNCTION_RESPONSE;   // "CALL_FUNCTION_RESPONSE"

// The response to a CALL_FUNCTION request. What the plug-in throws passes to
// the caller, as it does out of the report service.
CMessage Answer(const CPluginRegistry& registry, CMessage& request);

}  // namespace FunctionCall
