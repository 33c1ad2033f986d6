// CStringArray: a growing array of strings.
#pragma once

#include "corelib/framework/Array.h"
#include "corelib/framework/String.h"

class CStringArray : public CArray<CString, const CString&> {};
