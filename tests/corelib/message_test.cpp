// CMessage and CMessageServer.
#include <gtest/gtest.h>

#include <string>

#include "corelib/Message.h"
#include "corelib/MessageServer.h"

namespace {

// A transport that records what it is given.
struct RecordingServer : CMessageServer {
    int SendMessageToClient(CMessage& message, const CString& client, unsigned int clientData) override {
        sent += message.ToString().ToUtf8() + "|" + client.ToUtf8() + "|" + std::to_string(clientData) + ";";
        return 42;
    }
    std::string sent;
};

}  // namespace

TEST(Message, TypeBodyCopiesAndTransport) {
    CMessage message;
    EXPECT_EQ(message.GetBody().IsValid(), 0);
    message.SetType(u"EXECUTE_REPORT");
    {
        CXML body(u"REPORT");
        body.SetAttr(u"Plugin", u"netinfo.twp");
        message.SetBody(body);
    }  // the argument may be destroyed
    CMessage copy = message;
    copy.SetType(u"B");
    EXPECT_EQ(copy.ToString().ToUtf8(), "B: <REPORT Plugin=\"netinfo.twp\"/>");

    EXPECT_EQ(CMessageServer().SendMessageToClient(message, u"client", 7u), 0);  // the base sends nothing
    RecordingServer recording;
    CMessageServer& server = recording;
    EXPECT_EQ(server.SendMessageToClient(message, u"host:1", 7u), 42);
    EXPECT_EQ(recording.sent, "EXECUTE_REPORT: <REPORT Plugin=\"netinfo.twp\"/>|host:1|7;");
}
