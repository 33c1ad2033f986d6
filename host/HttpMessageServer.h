// CHttpMessageServer: the message channel of twhost serve. Each HTTP request
// that carries a message waits on a slot of its own; the report manager's
// answer to that client goes into the slot and becomes the HTTP response.
//
// A client is the pair (client text, clientData): clientData is the slot's
// number, handed out by Open, so requests on several threads never see each
// other's answers. Thread-safe: the slots are kept under one mutex.
#pragma once

#include <map>
#include <mutex>
#include <optional>

#include "corelib/Message.h"
#include "corelib/MessageServer.h"
#include "corelib/framework/String.h"

class CHttpMessageServer : public CMessageServer {
public:
    // The client text that the HTTP requests go by.
    static const CString HTTP_CLIENT;

    // A fresh slot for one request; its number is the clientData to pass on.
    unsigned int Open();
    // The message delivered to the slot, if any, and the slot closed.
    std::optional<CMessage> Close(unsigned int clientData);

    // Stores the message in the slot of clientData; 1 if that slot is open, 0
    // for an unknown client (nothing is kept then). A second message for the
    // same slot replaces the first.
    int SendMessageToClient(CMessage& message, const CString& client, unsigned int clientData) override;

private:
    std::mutex m_lock;
    unsigned int m_nNextSlot = 1;
    std::map<unsigned int, std::optional<CMessage>> m_mapSlots;
};
