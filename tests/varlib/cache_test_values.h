// Values for the memory cache tests: tables of rows, one value of every type,
// and the index of an entry as plain pairs.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "corelib/XML.h"
#include "snmplib/SnmpPdu.h"
#include "snmplib/SnmpVarBind.h"
#include "varlib/cache/MemoryCacheEntry.h"
#include "varlib/metadata/IntegerEnumEntry.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

namespace cachetest {

using Pairs = std::map<std::string, std::string>;   // value text -> array key, UTF-8

inline CString Text(const char* utf8) { return CString::FromUtf8(utf8); }

// An ARRAY value with the elements in this order.
inline CVariable Array(const std::vector<std::pair<std::string, CVariable>>& elements) {
    CVariable array{CVariableArray()};
    for (const auto& [index, element] : elements)
        array.m_arrayValue.InsertElement(Text(index.c_str()), new CVariable(element));
    return array;
}

inline CVariable Str(const char* utf8) { return CVariable(Text(utf8)); }

// A row of string fields.
inline CVariable Row(const std::vector<std::pair<std::string, std::string>>& fields) {
    std::vector<std::pair<std::string, CVariable>> elements;
    for (const auto& [name, text] : fields)
        elements.emplace_back(name, Str(text.c_str()));
    return Array(elements);
}

// The value's whole XML text: type, payload, name and every element, in order.
inline std::string XmlOf(const CVariable& value) { return value.ToXmlString().ToUtf8(); }

// The index pairs of an entry, walked through the map's own operations.
inline Pairs PairsOf(const CMemoryCacheEntry& entry) {
    Pairs pairs;
    POSITION pos = entry.GetStartPosition();
    while (pos != nullptr) {
        CString text, key;
        entry.GetNextAssoc(pos, text, key);
        pairs[text.ToUtf8()] = key.ToUtf8();
    }
    return pairs;
}

// One value of every type the cache can hold, with a name for the trace.
inline std::vector<std::pair<std::string, CVariable>> EveryType() {
    std::vector<std::pair<std::string, CVariable>> values;
    CVariable withEnum(int64_t{2});
    withEnum.m_enumValues.Add(CIntegerEnumEntry(u"up", u"link up", 2));
    withEnum.SetName(u"state");
    values.emplace_back("INT with enumeration", withEnum);
    values.emplace_back("INT", CVariable(int64_t{-9007199254740993}));
    values.emplace_back("STRING", Str("caf\xc3\xa9 <&> \"q\" \xf0\x9f\x98\x80\ttab"));
    values.emplace_back("empty STRING", Str(""));
    values.emplace_back("DOUBLE", CVariable(0.1 + 0.2));
    CSnmpVarBind vb(u"1.3.6.1.2.1.1.5.0");
    vb.SetOctetString(u"router-1");
    CSnmpPdu pdu(CSnmpPdu::PDU_RESPONSE, 42);
    pdu.AddVarBind(vb);
    values.emplace_back("PDU", CVariable(pdu));
    values.emplace_back("SNMPVAR", CVariable(vb));
    values.emplace_back("XML", CVariable(CXML(u"<a x=\"1\"><b>t</b></a>", CString())));
    values.emplace_back("TIME", CVariable(CTime(1700000000)));
    values.emplace_back("BYTE", CVariable(static_cast<unsigned char>(255)));
    values.emplace_back("CHAR", CVariable(char16_t{0x263A}));
    values.emplace_back("UNDEFINED", CVariable());
    values.emplace_back("ARRAY of rows", Array({{"r1", Row({{"Name", "alpha"}, {"Port", "1"}})},
                                                {"r2", Row({{"Name", "beta"}, {"Port", "2"}})},
                                                {"n", Array({{"deep", Array({{"x", CVariable(1)}})}})}}));
    values.emplace_back("empty ARRAY", CVariable(CVariableArray()));
    return values;
}

}  // namespace cachetest
