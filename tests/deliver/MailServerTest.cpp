// The mail client against a real SMTP server (aiosmtpd): what a mail program decodes from the
// stored message must be the text that was sent.
#include <gtest/gtest.h>

#include <memory>

#include "deliver/MailClient.h"
#include "port/Sockets.h"
#include "settings/TextUtil.h"
#include "support/ManualClock.h"
#include "support/SmtpSink.h"

namespace vantrel {
namespace {

// A longitude runs to the end of the service's reply, so a reply can put an SMTP dialogue into the
// body; the server must store one mail holding that text, and no second one. The CR LF line ends
// come back as line feeds; the CR LF sent after the body belongs to the closing boundary, so
// nothing is added at the end.
TEST(MailToRealServer, JapaneseTextAndCommandsInTheBodyComeBackAsSent) {
    if (!test::SmtpSink::Available()) GTEST_SKIP() << "needs /usr/bin/python3 with aiosmtpd (python3-aiosmtpd)";
    test::SmtpSink sink;
    ASSERT_TRUE(sink.Ready()) << "aiosmtpd did not start";
    const std::unique_ptr<Sockets> pSockets = CreateSockets();
    test::ManualClock clock{test::MakeTime(2009, 8, 4, 12, 0, 0), -540};
    MailClient client{*pSockets, clock, 10000};
    ASSERT_EQ(client.SendMail(u"127.0.0.1", sink.Port(), u"me@example.jp", u"you@example.jp", u"現在地 ｶﾞｲﾄﾞ test",
                              u"位置 E139.44.51.000\r\nﾊﾟﾝﾀﾞ ｳﾞｧ ｧ\r\n.\r\nMAIL FROM:<x@evil.example>\r\n"
                              u"RCPT TO:<y@evil.example>\r\nDATA\r\nsmuggled\r\n.\r\n.tail"),
              0)
        << "last step " << Utf16ToUtf8(client.LastStep()) << ", reply " << client.Reply();
    const auto messages = sink.MessagePaths();
    ASSERT_EQ(messages.size(), 1u) << "the server stored no message, or more than one";
    std::string strSubject, strText;
    ASSERT_TRUE(sink.Decode(messages[0], strSubject, strText));
    EXPECT_EQ(strSubject, "現在地 ガイド test");
    EXPECT_EQ(strText, "位置 E139.44.51.000\nパンダ ヴァ ァ\n.\nMAIL FROM:<x@evil.example>\nRCPT TO:<y@evil.example>\n"
                       "DATA\nsmuggled\n.\n.tail");
}

}  // namespace
}  // namespace vantrel
