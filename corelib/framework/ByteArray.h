// CByteArray: a growing array of bytes.
#pragma once

#include "corelib/framework/Array.h"

class CByteArray : public CArray<unsigned char, unsigned char> {};
