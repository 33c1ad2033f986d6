// CInvalidArgException: a bad argument, such as an index outside an array (code 0x80070057).
#pragma once

#include "corelib/framework/Exception.h"

class CInvalidArgException : public CException {
public:
    static constexpr unsigned int E_INVALIDARG_CODE = 0x80070057u;

    CInvalidArgException();
    explicit CInvalidArgException(const std::string& detail);
    unsigned int GetErrorCode() const { return E_INVALIDARG_CODE; }
};
