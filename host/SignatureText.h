// How twhost writes a function's signature for people:
// "TableReport(ARRAY rows, STRING title) -> STRING".
#pragma once

#include <string>
#include <vector>

#include "corelib/framework/String.h"
#include "varlib/metadata/FunctionSignature.h"
#include "varlib/metadata/ModuleMetaInfo.h"
#include "varlib/values/VariableList.h"

// One line: name, parameters with type names (CVariable::GetTypeInfo) and
// names, and the return type.
std::string SignatureText(const CString& strFunction, const CFunctionSignature& signature);

// The types of actual arguments in the same style: "(ARRAY, STRING)".
std::string ArgumentTypesText(const CVariableList& arguments);

// True when the arguments have the signature's parameter types, in order.
bool ArgumentsHaveTypes(const CVariableList& arguments, const CFunctionSignature& signature);

// The module's function names, sorted, so that listings read the same on
// every run (the table's own walk order is arbitrary).
std::vector<CString> SortedFunctionNames(const CModuleMetaInfo& info);
