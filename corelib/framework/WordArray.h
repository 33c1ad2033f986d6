// CWordArray: a growing array of 16-bit unsigned values.
#pragma once

#include <cstdint>

#include "corelib/framework/Array.h"

class CWordArray : public CArray<uint16_t, uint16_t> {};
