// CSnmpPdu: an SNMP protocol data unit: a PDU type, a request id, the error
// status and index, and an ordered list of variable bindings.
//
// A value type: copies are independent (the bindings are held by value). A
// default PDU has no type (PDU_NONE), request id 0, no errors and no bindings;
// it allocates nothing. Held and printed, never sent: no BER encoding, and the
// fields of an SNMPv1 trap (enterprise, agent address, trap codes) are not held.
// Adding a binding costs amortised O(1). Not thread-safe: one object, one thread.
//
// Text form (ToString), one line:
//   "RESPONSE request-id=42 error-status=0 error-index=0 {1.3.6.1.2.1.1.5.0 = OCTET STRING: r1; 1.3.6.1.2.1.1.3.0 = TimeTicks: 5}"
// and the empty text for a default PDU.
// JSON (ToJSON), one line:
//   {"type": "RESPONSE", "requestId": 42, "errorStatus": 0, "errorIndex": 0, "varbinds": [{...}, {...}]}
// XML (ToXml): <SnmpPdu Type="RESPONSE" RequestId="42" ErrorStatus="0" ErrorIndex="0"> with one
// SnmpVarBind child per binding, in order.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "corelib/XML.h"
#include "corelib/framework/InvalidArgException.h"
#include "corelib/framework/String.h"
#include "snmplib/SnmpVarBind.h"

class CSnmpPdu {
public:
    // PDU types, numbered by their BER tags.
    enum ePduType : int {
        PDU_NONE = 0,             // a default PDU
        PDU_GET = 0xA0,           // "GET"
        PDU_GETNEXT = 0xA1,       // "GETNEXT"
        PDU_RESPONSE = 0xA2,      // "RESPONSE"
        PDU_SET = 0xA3,           // "SET"
        PDU_TRAP = 0xA4,          // "TRAP" (SNMPv1)
        PDU_GETBULK = 0xA5,       // "GETBULK"
        PDU_INFORM = 0xA6,        // "INFORM"
        PDU_TRAP2 = 0xA7,         // "TRAP2" (SNMPv2-Trap)
        PDU_REPORT = 0xA8,        // "REPORT"
    };

    static const CString TAG_NAME;  // "SnmpPdu"
    static CString GetTagName() { return TAG_NAME; }

    CSnmpPdu() = default;
    explicit CSnmpPdu(ePduType type, int32_t requestId = 0);
    // Inline, so that the empty part of a value costs a test of one pointer.
    CSnmpPdu(const CSnmpPdu& other) {
        if (other.m_body) CopyFrom(other);
    }
    CSnmpPdu& operator=(const CSnmpPdu& other) {
        if (m_body || other.m_body) CopyFrom(other);
        return *this;
    }
    virtual ~CSnmpPdu() = default;

    ePduType GetType() const;
    void SetType(ePduType type);
    // "GET", "GETNEXT", ...; "NONE" for PDU_NONE; empty for a number outside the enumeration.
    static CString GetTypeName(ePduType type);
    // The type of a name that GetTypeName gives; 0 for any other text.
    static int TypeFromName(const CString& name, ePduType& type);

    int32_t GetRequestId() const;
    void SetRequestId(int32_t id);
    int32_t GetErrorStatus() const;
    void SetErrorStatus(int32_t status);
    int32_t GetErrorIndex() const;
    void SetErrorIndex(int32_t index);

    // The bindings, in the order they were added.
    int GetVarBindCount() const;
    // Out of range: CInvalidArgException.
    const CSnmpVarBind& GetVarBind(int nIndex) const;
    void AddVarBind(const CSnmpVarBind& vb);
    void RemoveAllVarBinds();

    CString ToString() const;
    CString ToJSON() const;
    // A new SnmpPdu element; see the header comment.
    CXML ToXml() const;
    // Replaces the contents from a node that ToXml made. Absent or unreadable attributes give
    // PDU_NONE and 0; every child element is read as a binding, whatever its name.
    void FromXml(CXML& node);
    // Appends a copy of vb; vb may then be destroyed.
    CSnmpPdu& operator+=(CSnmpVarBind& vb);
    CSnmpPdu& operator+=(const CSnmpVarBind& vb);

    bool operator==(const CSnmpPdu& other) const;
    bool operator!=(const CSnmpPdu& other) const { return !(*this == other); }

private:
    struct Body;

    // The fields, or the defaults' when nothing was set.
    const Body& Fields() const;
    // The fields, allocated on the first change.
    Body& Own();

    // Deletes a body where Body is complete, so the destructor can stay inline.
    struct BodyDeleter {
        void operator()(Body* body) const noexcept;
    };
    // The assignment's work: a deep copy of other's fields, or none.
    void CopyFrom(const CSnmpPdu& other);

    std::unique_ptr<Body, BodyDeleter> m_body;  // null for a default PDU
};

// Every value (CVariable) holds a PDU; an unused one must cost a pointer.
static_assert(sizeof(CSnmpPdu) == 2 * sizeof(void*));
