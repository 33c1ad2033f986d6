// Values the varlib tests build: texts, arrays in a given order, rows, one
// value of every type, the whole XML text of a value and an entry's index.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "corelib/XML.h"
#include "snmplib/SnmpPdu.h"
#include "varlib/cache/MemoryCacheEntry.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

namespace tv {

using Pairs = std::map<std::string, std::string>;   // value text -> array key, UTF-8

inline CString Text(const char* utf8) { return CString::FromUtf8(utf8); }
inline CVariable Str(const char* utf8) { return CVariable(Text(utf8)); }
inline CVariable Str(const char16_t* text) { return CVariable(CString(text)); }

// A value of the type number, every payload empty.
inline CVariable OfType(int type) {
    CVariable v;
    v.ResetType(static_cast<eVariableType>(type));
    return v;
}

// An ARRAY value with the elements in this order.
inline CVariable Array(const std::vector<std::pair<std::string, CVariable>>& elements) {
    CVariable array{CVariableArray()};
    for (const auto& [index, element] : elements)
        array.m_arrayValue.InsertElement(Text(index.c_str()), new CVariable(element));
    return array;
}

// A row of string fields.
inline CVariable Row(const std::vector<std::pair<std::string, std::string>>& fields) {
    std::vector<std::pair<std::string, CVariable>> elements;
    for (const auto& [name, text] : fields)
        elements.emplace_back(name, Str(text.c_str()));
    return Array(elements);
}

// The element at an ordinal, null if there is none.
inline CVariable* ElementAt(const CVariableArray& array, int ordinal) {
    CVariable* pElement = nullptr;
    return array.Lookup(array.GetIndex(ordinal), pElement) ? pElement : nullptr;
}

// The value's whole XML text: type, payload, names and every element, in order.
inline std::string XmlOf(const CVariable& value) { return value.ToXmlString().ToUtf8(); }

// The index pairs of an entry, walked through the map's own operations.
inline Pairs PairsOf(const CMemoryCacheEntry& entry) {
    Pairs pairs;
    for (POSITION pos = entry.GetStartPosition(); pos != nullptr;) {
        CString text, key;
        entry.GetNextAssoc(pos, text, key);
        pairs[text.ToUtf8()] = key.ToUtf8();
    }
    return pairs;
}

// One value of every type, with a name for the trace.
inline std::vector<std::pair<std::string, CVariable>> EveryType() {
    CVariable withEnum(int64_t{2});
    withEnum.m_enumValues.Add(CIntegerEnumEntry(u"up", u"link up", 2));
    withEnum.SetName(u"state");
    CSnmpVarBind vb(u"1.3.6.1.2.1.1.5.0");
    vb.SetOctetString(u"router-1");
    CSnmpPdu pdu(CSnmpPdu::PDU_RESPONSE, 42);
    pdu.AddVarBind(vb);
    return {
        {"INT with enumeration", withEnum}, {"INT", CVariable(int64_t{-9007199254740993})},
        {"STRING", Str("caf\xc3\xa9 <&> \"q\" \xf0\x9f\x98\x80\ttab")}, {"empty STRING", Str("")},
        {"DOUBLE", CVariable(0.1 + 0.2)}, {"PDU", CVariable(pdu)}, {"SNMPVAR", CVariable(vb)},
        {"XML", CVariable(CXML(u"<a x=\"1\"><b>t</b></a>", CString()))}, {"TIME", CVariable(CTime(1700000000))},
        {"BYTE", CVariable(static_cast<unsigned char>(255))}, {"CHAR", CVariable(char16_t{0x263A})},
        {"UNDEFINED", CVariable()},
        {"ARRAY of rows", Array({{"r1", Row({{"Name", "alpha"}, {"Port", "1"}})},
                                 {"r2", Row({{"Name", "beta"}, {"Port", "2"}})},
                                 {"n", Array({{"deep", Array({{"x", CVariable(1)}})}})}})},
        {"empty ARRAY", CVariable(CVariableArray())},
    };
}

}  // namespace tv
