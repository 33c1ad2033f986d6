// eVariableType: the type tag of a CVariable.
//
// The numbers are stored data (the "Type" attribute of the XML form, declared
// parameter types of plug-ins), so they never change. 0 is the absence of a
// type; a number outside the list behaves as UNDEFINED everywhere.
#pragma once

#include <cstdint>

enum eVariableType : int32_t {
    VT_UNDEFINED = 0,     // no type
    VT_INT = 20000,       // m_nValue
    VT_STRING = 20001,    // m_strValue
    VT_DOUBLE = 20002,    // m_dValue
    VT_PDU = 20003,       // m_pduValue
    VT_SNMPVAR = 20004,   // m_vbValue
    VT_XML = 20005,       // m_xmlValue
    VT_ARRAY = 20006,     // m_arrayValue
    VT_ARRAY_ELEM = 20007,  // a number and a name only: nothing produces or accepts it
    VT_TIME = 20008,      // m_timeValue
    VT_BYTE = 20009,      // m_byteValue
    VT_CHAR = 20010,      // m_chValue
};
