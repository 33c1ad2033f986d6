// CMessage: a message between the platform's processes, a type text and an XML body.
//
// A value type: copies are independent in their type text; the body is a CXML
// handle, so copies of a message share its body tree (Clone it to separate them).
// Not thread-safe: one object belongs to one thread at a time.
#pragma once

#include "corelib/XML.h"
#include "corelib/framework/String.h"

class CMessage {
public:
    // An empty message: empty type, invalid body.
    CMessage();
    CMessage(const CString& type, const CXML& body);
    CMessage(const CMessage&);
    CMessage& operator=(const CMessage&);
    virtual ~CMessage();

    CString GetType() const;
    void SetType(const CString& type);
    // The body's root element (a handle on the message's tree).
    CXML GetBody();
    // Takes a handle on body's tree; body may then be destroyed.
    void SetBody(CXML& body);
    void SetBody(const CXML& body);

    // "TYPE: <body .../>", the body in the compact form; for diagnostics.
    CString ToString() const;

private:
    CString m_strType;
    CXML m_xmlBody;
};
