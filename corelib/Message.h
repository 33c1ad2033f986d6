// CMessage: a message between the platform's processes, a type text and an XML body.
//
// Wire form, for messages that travel between processes: one element
// <MESSAGE Type="TYPE"> whose only child, if any, is the body, e.g.
//   <MESSAGE Type="EXECUTE_REPORT"><REPORT Plugin="tables.twp" Report="TableReport">...</REPORT></MESSAGE>
// A message without body has no child: <MESSAGE Type="RETRIEVE_PLUGINS"/>.
//
// A value type: copies are independent in their type text; the body is a CXML
// handle, so copies of a message share its body tree (Clone it to separate them).
// Not thread-safe: one object belongs to one thread at a time.
#pragma once

#include "corelib/XML.h"
#include "corelib/framework/String.h"

class CMessage {
public:
    static const CString TAG_NAME;    // "MESSAGE", the element of the wire form
    static const CString TYPE_ATTR;   // "Type", its attribute that holds the type text

    static CString GetTagName();

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

    // The wire form: a MESSAGE element with the type and a copy of the body (no child without body).
    CXML ToXml() const;
    // Takes type and body (a copy) from a wire-form element; 1 on success. 0, the
    // message unchanged, for an invalid node, another tag, a missing or empty
    // Type, or more than one child element.
    int FromXml(CXML& node);
    // The wire form as text, on one line.
    CString ToXmlString() const;
    // FromXml of the parsed text; 0, the message unchanged, for text that is no such element.
    int FromXmlString(const CString& text);

private:
    CString m_strType;
    CXML m_xmlBody;
};
