// CVariable: the one typed value of the platform.
//
// Not a union: every payload field exists side by side and m_eType alone says
// which one counts. The fields are public so that callers read the payload
// directly after testing the type. A copy is always deep (array elements,
// XML tree). No lock and no shared state: one object belongs to one thread at
// a time.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <cstdint>

#include "corelib/XML.h"
#include "corelib/framework/String.h"
#include "corelib/framework/Time.h"
#include "snmplib/SnmpPdu.h"
#include "snmplib/SnmpVarBind.h"
#include "varlib/metadata/IntegerEnum.h"
#include "varlib/values/VariableArray.h"
#include "varlib/values/VariableType.h"

class CXMLTextWriter;

class CVariable {
public:
    // UNDEFINED, numbers zero, m_timeValue the current time.
    CVariable();
    // INT, sign-extended.
    CVariable(int nValue);
    // INT (int64_t is long here).
    CVariable(long nValue);
    // INT.
    CVariable(long long nValue);
    // INT, zero-extended: 4294967295 stays 4294967295.
    CVariable(unsigned int nValue);
    // INT holding the 64-bit pattern; values above INT64_MAX wrap to negative.
    CVariable(unsigned long nValue);
    // INT holding the 64-bit pattern; values above INT64_MAX wrap to negative.
    CVariable(unsigned long long nValue);
    // DOUBLE.
    CVariable(double dValue);
    // STRING.
    CVariable(const CString& strValue);
    // PDU, copied by CSnmpPdu's assignment.
    CVariable(const CSnmpPdu& pduValue);
    // SNMPVAR, copied by CSnmpVarBind's assignment.
    CVariable(const CSnmpVarBind& vbValue);
    // XML, a clone of the tree.
    CVariable(const CXML& xmlValue);
    // TIME.
    CVariable(const CTime& timeValue);
    // BYTE.
    CVariable(unsigned char byteValue);
    // CHAR.
    CVariable(char16_t chValue);
    // ARRAY, a deep copy of the elements.
    CVariable(const CVariableArray& arrayValue);
    // STRING from text literals, so that CVariable v = u"text" and = "text"
    // compile without CString spelt out. UTF-16 is taken as it is; UTF-8 is
    // read as CString(const char*) reads it (each bad sequence becomes
    // U+FFFD). A null pointer is the empty text. The exact pointer types keep
    // 0 and the other numbers on the numeric constructors.
    CVariable(const char16_t* strValue);
    CVariable(const char* strValue);
    CVariable(std::string_view strValue);

    // A nested value in one expression:
    //     CVariable::Array({{"name", "eth0"}, {"mtu", 1500},
    //                       {"addrs", CVariable::List({"10.0.0.1", "10.0.0.2"})}})
    // Array takes (index, value) pairs, as CVariableArray stores them; List
    // numbers its values "0", "1", ..., as the ConstructFrom...Array fills do
    // and as a CVariableList counts positions. Both make the InsertElement
    // calls of the order written, so a repeated index keeps its first place
    // and takes the last value.
    static CVariable Array(std::initializer_list<std::pair<CString, CVariable>> elements);
    static CVariable List(std::initializer_list<CVariable> elements);
    // A full replica, name and metadata included (Copy).
    CVariable(const CVariable& src);
    virtual ~CVariable();

    // Typed assignments: payload and type change, name and metadata stay,
    // m_bArrayElement becomes 0.
    CVariable& operator=(int nValue);
    CVariable& operator=(long nValue);
    CVariable& operator=(long long nValue);
    CVariable& operator=(double dValue);
    CVariable& operator=(const CString& strValue);
    CVariable& operator=(const CSnmpPdu& pduValue);
    CVariable& operator=(const CSnmpVarBind& vbValue);
    CVariable& operator=(const CXML& xmlValue);
    CVariable& operator=(const CTime& timeValue);
    CVariable& operator=(unsigned char byteValue);
    CVariable& operator=(char16_t chValue);
    CVariable& operator=(const CVariableArray& arrayValue);
    // A full replica of src, its name included. Assigning a value to itself changes nothing.
    CVariable& operator=(const CVariable& src);

    // Construct operations: set the type and its payload, zero the numeric
    // payloads of other types, stamp m_timeValue, clear m_bArrayElement.
    void ConstructInteger(int64_t nValue);
    void ConstructDouble(double dValue);
    void ConstructString(const CString& strValue);
    void ConstructPdu(const CSnmpPdu& pduValue);
    void ConstructVb(const CSnmpVarBind& vbValue);
    void ConstructXml(const CXML& xmlValue);
    void ConstructArray(const CVariableArray& arrayValue);
    void ConstructByte(unsigned char byteValue);
    void ConstructChar(char16_t chValue);
    // TIME; m_timeValue is the payload, not a stamp.
    void ConstructTime(const CTime& timeValue);
    // An empty value of eType (taken untested); display name and description survive.
    void ResetType(eVariableType eType);

    // The type tag.
    eVariableType GetType() const;
    // 1 unless the type is 0.
    int IsValid() const;
    int IsString() const;
    int IsInteger() const;
    int IsDouble() const;
    int IsPdu() const;
    int IsVb() const;
    int IsXml() const;
    int IsArray() const;
    int IsTime() const;
    int IsByte() const;
    int IsChar() const;
    // 1 once the value has been put into a CVariableArray.
    int IsArrayElement() const;
    // 1 for a zero INT, DOUBLE (-0.0 too, NaN not), BYTE or CHAR; 0 for every other type.
    int IsZero() const;

    CString GetName() const;
    CString GetDisplayName() const;      // no fallback on the name
    CString GetDescription() const;
    CString GetIndex() const;            // key in the array that holds the value
    void SetName(const CString& strName);   // not checked against IsNameValid
    void SetDisplayName(const CString& strDisplayName);
    void SetDescription(const CString& strDescription);
    // Marks the value as an element stored under strIndex.
    void SetArrayElementInfo(const CString& strIndex);
    // Destroys the elements of m_arrayValue; the type stays.
    void CleanArray();

    // "VARIABLE".
    static CString GetTagName();
    // "INT" ... "CHAR" for 20000..20010, "UNDEFINED" for every other number.
    static CString GetTypeInfo(eVariableType eType);

    // Text for people; bEnumText non-zero prints an INT through m_enumValues.
    // A TIME outside the local-time range throws CInvalidArgException.
    CString ToString(int bEnumText) const;
    // Reads text into the payload of the present type; the type never changes.
    void SetValueFromString(const CString& strValue);
    // 1 for a letter or "_" followed by letters, digits and "_"; "_" alone is not a name.
    static int IsNameValid(const CString& strName);
    // 1 for any non-empty text.
    static int IsIndexValid(const CString& strIndex);

    // Operators (VariableArithmetic.cpp, VariableBitwise.cpp, VariableComparison.cpp)
    // Plain operators give a fresh value (no name); an unknown pair of types gives UNDEFINED.
    CVariable operator+(const CVariable& other) const;
    CVariable operator-(const CVariable& other) const;
    CVariable operator*(const CVariable& other) const;
    CVariable operator/(const CVariable& other) const;
    CVariable operator%(const CVariable& other) const;
    // Compound operators change one payload field of *this, or nothing.
    CVariable& operator+=(const CVariable& other);
    CVariable& operator-=(const CVariable& other);
    CVariable& operator*=(const CVariable& other);
    CVariable& operator/=(const CVariable& other);
    CVariable& operator%=(const CVariable& other);
    // Bitwise, logical and shift operators; both operands are always evaluated.
    CVariable operator&(const CVariable& other) const;
    CVariable operator|(const CVariable& other) const;
    CVariable operator&&(const CVariable& other) const;
    CVariable operator||(const CVariable& other) const;
    CVariable operator<<(const CVariable& other) const;
    CVariable operator>>(const CVariable& other) const;
    // Comparison: 1 or 0. Equality falls back on text; ordering answers 0 for unordered pairs.
    int operator==(const CVariable& other) const;
    int operator!=(const CVariable& other) const;
    int operator<(const CVariable& other) const;
    int operator<=(const CVariable& other) const;
    int operator>(const CVariable& other) const;
    int operator>=(const CVariable& other) const;
    // End of operators.

    // XML form (formats/VariableXml.cpp).
    // A new "VARIABLE" node for the value.
    CXML ToXml() const;
    // Writes the value's attributes and children into node, an element without
    // either: what ToXml gives, built in place inside a larger tree instead of
    // in a tree of its own that AddChild would then copy.
    void WriteXml(CXML& node) const;
    // Writes the text of ToXml()'s element into out, as CXML prints it,
    // without building the tree.
    void WriteXml(CXMLTextWriter& out) const;
    // Reads a "VARIABLE" node into the object.
    void FromXml(CXML& node);
    // ToXml(), then CXML::ToString(1).
    CString ToXmlString() const;

    // JSON form (formats/VariableJson.cpp).
    // The JSON text of the value; bSuccess 0 and the empty text if it has none.
    // nIndent: spaces before the line that holds this value (each level adds 4).
    CString ToJSON(int& bSuccess, int nIndent) const;
    // The same text as UTF-8 bytes, written directly: byte for byte
    // ToJSON(bSuccess, nIndent).ToUtf8(), without the UTF-16 text between.
    std::string ToJSONUtf8(int& bSuccess, int nIndent) const;
    // ToJSONUtf8 in one call: no value when the value has no JSON form.
    std::optional<std::string> ToJSONText(int nIndent = 0) const;
    // Escapes text in place for use inside a JSON string.
    static void NormalizeJsonString(CString& text);

    // Payload and description fields, in their fixed order.
    CVariableArray m_arrayValue;         // ARRAY; owns its elements
    CXML m_xmlValue;                     // XML
    CString m_strValue;                  // STRING
    int64_t m_nValue = 0;                // INT
    CIntegerEnum m_enumValues;           // optional names for the values of an INT
    double m_dValue = 0.0;               // DOUBLE
    CSnmpPdu m_pduValue;                 // PDU
    CSnmpVarBind m_vbValue;              // SNMPVAR
    CString m_strIndex;                  // key in the array that holds the value
    CTime m_timeValue;                   // TIME; for other types the moment of the last Construct
    unsigned char m_byteValue = 0;       // BYTE
    char16_t m_chValue = 0;              // CHAR
    CString m_strDisplayName;
    CString m_strDescription;
    CString m_strName;                   // also heads the lines of an ARRAY's text
    eVariableType m_eType = VT_UNDEFINED;
    int m_bArrayElement = 0;             // 0 or 1

protected:
    // Overwrites all seventeen fields with those of src.
    void Copy(const CVariable& src);

    static const CString TAG_NAME;   // "VARIABLE"

private:
    friend class CVariableArray;

    // Every field but m_arrayValue, which CVariableArray::Copy fills without
    // recursing on the call stack.
    void CopyAllButArray(const CVariable& src);
    // Zeroes the numeric payloads, clears the element flag, stamps the time.
    void BeginConstruct();
    // ToJSON's walk, writing into out (UTF-16 or UTF-8); false if some value
    // has no JSON form. Defined and used in formats/VariableJson.cpp only.
    template <class Out>
    bool WriteJson(Out& out, int nIndent) const;
};

// Every element of every array, every cache entry and every argument is one of
// these, so its size is what a table costs per cell: the declared fields in
// their order, each empty part a null pointer, come to 26 words.
static_assert(sizeof(CVariable) <= 208, "CVariable grew: an empty part must cost no more than a pointer");
// Elements come from the global operator new, so a host may free one with a
// plain delete: a size-class pool saved 16 of the 224 bytes an element costs
// in malloc, and a million-element parse already holds 390 MB against the 400
// it may, so the pool was left out.
