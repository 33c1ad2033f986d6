// A reproducible mix of CVariable values for the round trips through the XML
// and the JSON form, and a deep comparison that names where two values part.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "test_values.h"

namespace valuegen {

// kXml: every type number, full-range times and any double bits; texts avoid
// only what XML changes on purpose (LF) or cannot carry (a lone surrogate).
// kJson: the types that have a JSON form the parser reads back, finite
// doubles, times inside the local-time range; texts add LF and lone surrogates.
enum class Form { kXml, kJson };

class ValueGenerator {
public:
    ValueGenerator(uint64_t seed, Form form) : m_rng(seed), m_bJson(form == Form::kJson) {}

    // 0 INT, 1 STRING, 2 DOUBLE, 3 TIME, 4 BYTE, 5 CHAR, 6 ARRAY; XML only:
    // 7 PDU, 8 SNMPVAR, 9 XML, 10 UNDEFINED, 11 ARRAY_ELEM, 12 a number outside the table.
    int Kinds() const { return m_bJson ? 7 : 13; }

    // A value of the kind with names set; arrays nest at most three levels below depth 0.
    CVariable Make(int kind, int depth) {
        CVariable v;
        switch (kind) {
        case 0:
            v = CVariable(Below(4) == 0 ? (Below(2) ? INT64_MIN : INT64_MAX) : static_cast<int64_t>(m_rng()));
            for (int i = Below(3); i > 0; --i)
                v.m_enumValues.Add(CIntegerEnumEntry(Text(), Text(), static_cast<int64_t>(m_rng())));
            break;
        case 1: v = CVariable(Text()); break;
        case 2: v = CVariable(Double()); break;
        case 3: v = CVariable(CTime(m_bJson ? Below(2000000000) : static_cast<int64_t>(m_rng()))); break;
        case 4: v = CVariable(static_cast<unsigned char>(m_rng())); break;
        case 5: v = CVariable(static_cast<char16_t>(m_rng())); break;
        case 6: v = CVariable(Array(depth)); break;
        case 7: v = CVariable(Pdu()); break;
        case 8: v = CVariable(VarBind()); break;
        case 9: v = Below(5) == 0 ? CVariable(CXML()) : CVariable(Tree()); break;
        case 10: break;
        case 11: v.m_eType = VT_ARRAY_ELEM; break;
        default: v.m_eType = static_cast<eVariableType>(Below(2) ? -7 : 31337); break;
        }
        v.m_strName = Text();
        v.m_strDisplayName = Text();
        v.m_strDescription = Text();
        return v;
    }
    CVariable Make(int depth) { return Make(Below(Kinds()), depth); }

private:
    int Below(std::size_t n) { return static_cast<int>(m_rng() % n); }

    CString Text() {
        static const std::u16string kPieces[] = {
            u"a", u"0", u" ", u"<", u"&", u"\"", u"'", u"\\", u"/", u"\r", u"\t", u"\b", u"\f", u"\x01",
            u"\x1f", u"\u00e9", u"\u4e2d", u"\U0001F600", u"]]>", u"&amp;", u"\\u", u" : ", u",", u"\n", u"\xd800",
        };
        std::u16string text;
        for (int i = Below(7); i > 0; --i)
            text += kPieces[Below(std::size(kPieces) - (m_bJson ? 0 : 2))];
        return CString(text);
    }

    double Double() {
        constexpr double kMax = std::numeric_limits<double>::max(), kInf = std::numeric_limits<double>::infinity();
        // Finite first: ties at the seventh decimal, values that print as 0, the extremes.
        static const double kSpecial[] = {0.0078125, 0.0234375, -0.0, 1e-9, 1.0 / 3.0, -1e17 / 3.0, kMax,
                                          std::numeric_limits<double>::denorm_min(), kInf, -kInf, std::nan("")};
        if (Below(2) == 0)
            return kSpecial[Below(std::size(kSpecial) - (m_bJson ? 3 : 0))];
        if (m_bJson)
            return (static_cast<double>(m_rng() % 2000000001) - 1e9) / 4096.0;
        const uint64_t bits = m_rng();
        double d = 0.0;
        std::memcpy(&d, &bits, sizeof d);
        return d;
    }

    CSnmpVarBind VarBind() {
        CSnmpVarBind vb{CString(u"1.3.6.1.2.1.1.") + CString(std::u16string(1, static_cast<char16_t>(u'0' + Below(10))))};
        const int syntax = Below(4);
        syntax == 0 ? vb.SetInteger(static_cast<int32_t>(m_rng())) : syntax == 1 ? vb.SetOctetString(Text())
            : syntax == 2 ? vb.SetCounter64(m_rng()) : vb.SetException(CSnmpVarBind::SYNTAX_NOSUCHINSTANCE);
        return vb;
    }

    CSnmpPdu Pdu() {
        CSnmpPdu pdu(CSnmpPdu::PDU_RESPONSE, static_cast<int32_t>(m_rng()));
        pdu.SetErrorStatus(Below(6));
        for (int i = Below(3); i > 0; --i)
            pdu.AddVarBind(VarBind());
        return pdu;
    }

    CXML Tree() {
        CXML root(u"tree");
        root.SetAttr(u"a", Text());
        for (int i = Below(3); i > 0; --i)
            root.AddChild(CXML(u"leaf"));
        return root;
    }

    // Indexes may be empty and may repeat (a repeat replaces the element in its
    // place); a JSON array's first index is a number half the time.
    CVariableArray Array(int depth) {
        CVariableArray array;
        for (int i = 0, count = Below(depth >= 3 ? 2 : 6); i < count; ++i) {
            const int kind = Below(Kinds());
            auto* pElement = new CVariable(Make(kind == 6 && depth >= 3 ? 0 : kind, depth + 1));
            CString index = Text();
            if ((i == 0 && m_bJson && Below(2)) || Below(4) == 0)
                index.Format(u"%d", Below(1000) - 500);
            array.InsertElement(index, pElement);
        }
        return array;
    }

    std::mt19937_64 m_rng;
    bool m_bJson;
};

inline bool SameDouble(double a, double b) {
    if (std::isnan(a) || std::isnan(b))
        return std::isnan(a) && std::isnan(b);
    return std::memcmp(&a, &b, sizeof a) == 0;   // tells -0.0 from 0.0
}

// Type, the three texts, the payload of the type and, below an ARRAY, indexes
// in order with the element marks. A work list, so any depth compares.
inline void ExpectSameValue(const CVariable& expected, const CVariable& actual) {
    struct Pair { const CVariable* e; const CVariable* a; std::string path; };
    std::vector<Pair> pending{{&expected, &actual, "/"}};
    while (!pending.empty()) {
        const Pair pair = pending.back();
        pending.pop_back();
        const CVariable &e = *pair.e, &a = *pair.a;
        SCOPED_TRACE(pair.path);
        ASSERT_EQ(a.m_eType, e.m_eType);
        EXPECT_EQ(a.m_strName, e.m_strName);
        EXPECT_EQ(a.m_strDisplayName, e.m_strDisplayName);
        EXPECT_EQ(a.m_strDescription, e.m_strDescription);
        switch (e.m_eType) {
        case VT_INT:
            EXPECT_EQ(a.m_nValue, e.m_nValue);
            ASSERT_EQ(a.m_enumValues.GetSize(), e.m_enumValues.GetSize());
            for (intptr_t i = 0; i < e.m_enumValues.GetSize(); ++i) {
                const CIntegerEnumEntry &x = a.m_enumValues[i], &y = e.m_enumValues[i];
                EXPECT_TRUE(x.GetName() == y.GetName() && x.GetDescription() == y.GetDescription() &&
                            x.GetValue() == y.GetValue()) << "entry " << i;
            }
            break;
        case VT_STRING: EXPECT_EQ(a.m_strValue, e.m_strValue); break;
        case VT_DOUBLE: EXPECT_PRED2(SameDouble, e.m_dValue, a.m_dValue); break;
        case VT_PDU: EXPECT_TRUE(a.m_pduValue == e.m_pduValue) << a.m_pduValue.ToString(); break;
        case VT_SNMPVAR: EXPECT_TRUE(a.m_vbValue == e.m_vbValue) << a.m_vbValue.ToString(); break;
        case VT_XML: EXPECT_EQ(a.m_xmlValue.ToString(1), e.m_xmlValue.ToString(1)); break;
        case VT_TIME: EXPECT_EQ(a.m_timeValue.GetTime(), e.m_timeValue.GetTime()); break;
        case VT_BYTE: EXPECT_EQ(a.m_byteValue, e.m_byteValue); break;
        case VT_CHAR: EXPECT_EQ(a.m_chValue, e.m_chValue); break;
        case VT_ARRAY:
            ASSERT_EQ(a.m_arrayValue.GetCount(), e.m_arrayValue.GetCount());
            for (int ordinal = 0; ordinal < e.m_arrayValue.GetCount(); ++ordinal) {
                const CString index = e.m_arrayValue.GetIndex(ordinal);
                ASSERT_EQ(a.m_arrayValue.GetIndex(ordinal), index) << "ordinal " << ordinal;
                CVariable *pE = nullptr, *pA = nullptr;
                ASSERT_TRUE(e.m_arrayValue.Lookup(index, pE) && a.m_arrayValue.Lookup(index, pA));
                EXPECT_TRUE(pA->m_bArrayElement == 1 && pA->m_strIndex == index);
                pending.push_back({pE, pA, pair.path + std::to_string(ordinal) + "/"});
            }
            break;
        default: break;   // no payload
        }
    }
}

}  // namespace valuegen
