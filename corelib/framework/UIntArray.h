// CUIntArray: a growing array of 32-bit unsigned values.
#pragma once

#include <cstdint>

#include "corelib/framework/Array.h"

class CUIntArray : public CArray<uint32_t, uint32_t> {};
