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

// The wire form: what goes out, that it comes back whole, and what is refused.
TEST(Message, WireFormRoundTripAndRefusals) {
    const struct {
        const char16_t* type;
        const char16_t* body;   // null: no body
        const char* wire;
    } rows[] = {
        {u"RETRIEVE_PLUGINS", nullptr, "<MESSAGE Type=\"RETRIEVE_PLUGINS\"/>"},
        {u"EXECUTE_REPORT", u"<REPORT Plugin=\"t.twp\" Report=\"R\"><VARIABLE_LIST/></REPORT>",
         "<MESSAGE Type=\"EXECUTE_REPORT\"><REPORT Plugin=\"t.twp\" Report=\"R\"><VARIABLE_LIST/></REPORT></MESSAGE>"},
        {u"A \"<&>\" \u00e9", u"<x v=\"line&#10;two &amp; \u20ac\"/>",
         "<MESSAGE Type=\"A &quot;&lt;&amp;>&quot; \u00e9\"><x v=\"line&#10;two &amp; \u20ac\"/></MESSAGE>"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.wire);
        CMessage message;
        message.SetType(row.type);
        if (row.body) message.SetBody(CXML(row.body, CString()));
        EXPECT_EQ(message.ToXmlString().ToUtf8(), row.wire);
        CMessage back;
        ASSERT_EQ(back.FromXmlString(message.ToXmlString()), 1);
        EXPECT_EQ(back.GetType(), CString(row.type));
        EXPECT_EQ(back.GetBody().ToString(CXML::FORMAT_COMPACT), message.GetBody().ToString(CXML::FORMAT_COMPACT));
        EXPECT_EQ(back.ToXmlString(), message.ToXmlString());
    }

    const char16_t* refused[] = {
        u"", u"not xml", u"<MESSAGE Type=\"A\">", u"<MESSAGE/>", u"<MESSAGE Type=\"\"/>",
        u"<message Type=\"A\"/>", u"<OTHER Type=\"A\"/>", u"<MESSAGE Type=\"A\"><a/><b/></MESSAGE>",
        u"<MESSAGE Type=\"A\" Type=\"B\"/>", u"<MESSAGE Type=\"A\"/><MESSAGE Type=\"B\"/>",
    };
    for (const char16_t* text : refused) {
        SCOPED_TRACE(CString(text).ToUtf8());
        CMessage message(u"KEPT", CXML(u"BODY"));
        EXPECT_EQ(message.FromXmlString(text), 0);
        EXPECT_EQ(message.ToString().ToUtf8(), "KEPT: <BODY/>");
    }
    CXML invalid;
    CMessage message;
    EXPECT_EQ(message.FromXml(invalid), 0);
    EXPECT_EQ(CMessage::GetTagName(), CString(u"MESSAGE"));
}
