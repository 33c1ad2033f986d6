// CMessage and CMessageServer.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "corelib/Message.h"
#include "corelib/MessageServer.h"

namespace {

// A transport that records what it is given.
class RecordingServer : public CMessageServer {
public:
    int SendMessageToClient(CMessage& message, const CString& client, unsigned int clientData) override {
        sent.push_back(message.GetType().ToUtf8() + "|" + message.GetBody().ToString(1).ToUtf8() + "|" +
                       client.ToUtf8() + "|" + std::to_string(clientData));
        return 42;
    }
    std::vector<std::string> sent;
};

}  // namespace

TEST(Message, EmptyMessage) {
    CMessage message;
    EXPECT_TRUE(message.GetType().IsEmpty());
    EXPECT_EQ(message.GetBody().IsValid(), 0);
}

TEST(Message, TypeAndBody) {
    CMessage message;
    message.SetType(u"EXECUTE_REPORT");
    {
        CXML body(u"REPORT");
        body.SetAttr(u"Plugin", u"netinfo.twp");
        message.SetBody(body);
    }  // the argument may be destroyed
    EXPECT_EQ(message.GetType(), CString(u"EXECUTE_REPORT"));
    CXML body = message.GetBody();
    ASSERT_NE(body.IsValid(), 0);
    EXPECT_EQ(body.GetTagName(), CString(u"REPORT"));
    EXPECT_EQ(body.GetAttr(u"Plugin", u""), CString(u"netinfo.twp"));
    EXPECT_EQ(message.ToString().ToUtf8(), "EXECUTE_REPORT: <REPORT Plugin=\"netinfo.twp\"/>");
}

TEST(Message, CopiesHaveTheirOwnType) {
    CMessage a(u"A", CXML(u"body"));
    CMessage b = a;
    b.SetType(u"B");
    EXPECT_EQ(a.GetType(), CString(u"A"));
    EXPECT_EQ(b.GetBody().GetTagName(), CString(u"body"));
}

TEST(MessageServer, BaseSendsNothing) {
    CMessageServer server;
    CMessage message;
    EXPECT_EQ(server.SendMessageToClient(message, u"client", 7u), 0);
}

TEST(MessageServer, DerivedTransportIsCalledThroughTheBase) {
    RecordingServer recording;
    CMessageServer* server = &recording;
    CMessage message;
    message.SetType(u"RETRIEVE_PLUGINS_RESPONSE");
    CXML body(u"PLUGINS");
    message.SetBody(body);
    EXPECT_EQ(server->SendMessageToClient(message, u"host:1", 7u), 42);
    ASSERT_EQ(recording.sent.size(), 1u);
    EXPECT_EQ(recording.sent[0], "RETRIEVE_PLUGINS_RESPONSE|<PLUGINS/>|host:1|7");
}
