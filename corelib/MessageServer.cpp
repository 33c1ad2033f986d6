#include "corelib/MessageServer.h"

CMessageServer::CMessageServer() = default;

CMessageServer::~CMessageServer() = default;

int CMessageServer::SendMessageToClient(CMessage& /*message*/, const CString& /*client*/, unsigned int /*clientData*/) {
    return 0;
}
