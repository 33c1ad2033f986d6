// CMessageServer: the channel through which messages go back to clients.
//
// The library only calls SendMessageToClient; a host derives from this class
// and supplies its own transport. The base class has none: it drops the
// message and gives 0. Thread rules are those of the derived class.
#pragma once

#include "corelib/Message.h"
#include "corelib/framework/String.h"

class CMessageServer {
public:
    CMessageServer();
    CMessageServer(const CMessageServer&) = delete;
    CMessageServer& operator=(const CMessageServer&) = delete;
    virtual ~CMessageServer();

    // Sends message to the client that client and clientData name; the result is the
    // transport's own. The base class sends nothing and gives 0.
    virtual int SendMessageToClient(CMessage& message, const CString& client, unsigned int clientData);
};
