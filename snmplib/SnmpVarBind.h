// CSnmpVarBind: one SNMP variable binding, an object identifier and a typed value.
//
// A value type: copies are independent. A default binding has no OID and the
// value Null; it allocates nothing. The binding is held and printed, never sent:
// no BER encoding here. Not thread-safe: one object belongs to one thread at a time.
//
// Text forms (ToString), one line:
//   "1.3.6.1.2.1.1.5.0 = OCTET STRING: router-1"
//   "1.3.6.1.2.1.1.3.0 = TimeTicks: 4200"
//   "1.3.6.1.2.1.1.1.0 = NULL"            (a Null value, and the exceptions: "= noSuchObject")
// and the empty text for a default binding (no OID, Null).
// JSON (ToJSON), one line: {"oid": "1.3.6.1.2.1.1.5.0", "type": "OCTET STRING", "value": "router-1"};
// numbers are JSON numbers, Null and the exceptions give "value": null.
// XML (ToXml): <SnmpVarBind Oid="1.3.6.1.2.1.1.5.0" Type="OCTET STRING" Value="router-1"/>,
// no Value attribute for Null and the exceptions.
#pragma once

#include <cstdint>
#include <memory>

#include "corelib/XML.h"
#include "corelib/framework/String.h"

class CSnmpVarBind {
public:
    // Value syntaxes, numbered by their BER tags.
    enum eSyntax : int {
        SYNTAX_INTEGER = 0x02,            // signed 32-bit (INTEGER, Integer32)
        SYNTAX_OCTET_STRING = 0x04,       // text
        SYNTAX_NULL = 0x05,               // no value
        SYNTAX_OBJECT_IDENTIFIER = 0x06,  // dotted OID text
        SYNTAX_IPADDRESS = 0x40,          // dotted IPv4 text
        SYNTAX_COUNTER32 = 0x41,          // unsigned 32-bit
        SYNTAX_GAUGE32 = 0x42,            // unsigned 32-bit (also Unsigned32)
        SYNTAX_TIMETICKS = 0x43,          // unsigned 32-bit, hundredths of a second
        SYNTAX_OPAQUE = 0x44,             // text
        SYNTAX_COUNTER64 = 0x46,          // unsigned 64-bit
        SYNTAX_NOSUCHOBJECT = 0x80,       // exception of a response; no value
        SYNTAX_NOSUCHINSTANCE = 0x81,     // exception of a response; no value
        SYNTAX_ENDOFMIBVIEW = 0x82,       // exception of a response; no value
    };

    static const CString TAG_NAME;  // "SnmpVarBind"
    static CString GetTagName() { return TAG_NAME; }

    // No OID, value Null.
    CSnmpVarBind() = default;
    // The OID with the value Null.
    explicit CSnmpVarBind(const CString& oid);
    // Inline, so that the empty part of a value costs a test of one pointer.
    CSnmpVarBind(const CSnmpVarBind& other) {
        if (other.m_body) CopyFrom(other);
    }
    CSnmpVarBind& operator=(const CSnmpVarBind& other) {
        if (m_body || other.m_body) CopyFrom(other);
        return *this;
    }
    virtual ~CSnmpVarBind() = default;

    // The object identifier, dotted decimal text ("1.3.6.1.2.1.1.5.0"); not checked.
    CString GetOid() const;
    void SetOid(const CString& oid);

    eSyntax GetSyntax() const;
    // The syntax's name as ToString writes it ("INTEGER", "OCTET STRING", "Counter32", ...).
    static CString GetSyntaxName(eSyntax syntax);
    // The syntax of a name that GetSyntaxName gives; 0 (no syntax) for any other text.
    static int SyntaxFromName(const CString& name, eSyntax& syntax);

    // Setters: each replaces the value and its syntax.
    void SetNull();
    void SetInteger(int32_t value);
    void SetOctetString(const CString& value);
    void SetObjectId(const CString& oid);
    void SetIpAddress(const CString& dotted);
    void SetOpaque(const CString& value);
    void SetCounter32(uint32_t value);
    void SetGauge32(uint32_t value);
    void SetTimeTicks(uint32_t value);
    void SetCounter64(uint64_t value);
    // SYNTAX_NOSUCHOBJECT, SYNTAX_NOSUCHINSTANCE or SYNTAX_ENDOFMIBVIEW; other syntaxes set Null.
    void SetException(eSyntax exception);

    // The number of an INTEGER (sign-extended) or of an unsigned syntax; 0 for the others.
    int64_t GetInteger() const;
    uint64_t GetUnsigned() const;
    // The value as text: the decimal number, or the text of a textual syntax; empty for Null.
    CString GetValueText() const;
    // Non-zero for the syntaxes whose value is a number.
    int IsNumeric() const;

    CString ToString() const;
    CString ToJSON() const;
    // A new SnmpVarBind element; see the header comment.
    CXML ToXml() const;
    // Replaces the contents from a node that ToXml made. Absent attributes give the
    // empty OID and Null; an unknown Type gives Null; an unreadable number gives 0.
    void FromXml(CXML& node);

    bool operator==(const CSnmpVarBind& other) const;
    bool operator!=(const CSnmpVarBind& other) const { return !(*this == other); }

private:
    struct Body;

    // Makes the binding a number of the syntax.
    void SetNumber(eSyntax syntax, uint64_t value);
    // Makes the binding a text of the syntax.
    void SetText(eSyntax syntax, const CString& value);
    // The fields, or the defaults' when nothing was set.
    const Body& Fields() const;
    // The fields, allocated on the first change.
    Body& Own();

    // Deletes a body where Body is complete, so the destructor can stay inline.
    struct BodyDeleter {
        void operator()(Body* body) const noexcept;
    };
    // The assignment's work: a deep copy of other's fields, or none.
    void CopyFrom(const CSnmpVarBind& other);

    std::unique_ptr<Body, BodyDeleter> m_body;  // null for a default binding
};

// Every value (CVariable) holds a var-bind; an unused one must cost a pointer.
static_assert(sizeof(CSnmpVarBind) == 2 * sizeof(void*));
