// CArgumentReader: the arguments of a plug-in call, from the JSON text that
// the command line gives.
#pragma once

#include <string>

#include "varlib/values/VariableList.h"

class CArgumentReader {
public:
    // Reads a JSON array (UTF-8) into arguments, one item per element, in
    // order: [1, "eth*", [..], {..}]. Empty or blank text gives no arguments.
    // Returns false, with a message for people in strError, when the text is
    // no JSON value, is not an array, or has more than white space after it.
    // The reading is CJSON's, so its leniencies (optional commas) stay.
    static bool Read(const std::string& strJson, CVariableList& arguments, std::string& strError);
};
