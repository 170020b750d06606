// The mail client against a real SMTP server (aiosmtpd): what a mail program decodes from the
// stored message must be the text that was sent.
#include <gtest/gtest.h>

#include <memory>

#include "deliver/MailClient.h"
#include "port/Factories.h"
#include "port/Sockets.h"
#include "settings/TextUtil.h"
#include "support/ManualClock.h"
#include "support/SmtpSink.h"

namespace vantrel {
namespace {

class MailToRealServer : public testing::Test {
protected:
    void SetUp() override {
        if (!test::SmtpSink::Available()) GTEST_SKIP() << "needs /usr/bin/python3 with aiosmtpd (python3-aiosmtpd)";
        m_pSink = std::make_unique<test::SmtpSink>();
        ASSERT_TRUE(m_pSink->Ready()) << "aiosmtpd did not start";
    }
    // Sends one mail and decodes the one message the server stored, as a mail program reads it.
    void SendAndDecode(const std::u16string& strSubject, const std::u16string& strBody, std::string& strSubjectOut,
                       std::string& strText) {
        ASSERT_EQ(m_client.SendMail(u"127.0.0.1", m_pSink->Port(), u"me@example.jp", u"you@example.jp", strSubject, strBody), 0)
            << "last step " << Utf16ToUtf8(m_client.LastStep()) << ", reply " << m_client.Reply();
        const auto messages = m_pSink->MessagePaths();
        ASSERT_EQ(messages.size(), 1u) << "the server stored no message, or more than one";
        ASSERT_TRUE(m_pSink->Decode(messages[0], strSubjectOut, strText));
    }

    std::unique_ptr<test::SmtpSink> m_pSink;
    const std::unique_ptr<Sockets> m_pSockets = CreateSockets();
    test::ManualClock m_clock{test::MakeTime(2009, 8, 4, 12, 0, 0), -540};
    MailClient m_client{*m_pSockets, m_clock, 10000};
};

TEST_F(MailToRealServer, JapaneseSubjectAndBodyComeBackIntact) {
    std::string strSubject, strText;
    ASSERT_NO_FATAL_FAILURE(SendAndDecode(u"現在地 ｶﾞｲﾄﾞ test",
                                          u"位置情報 N35.39.29.157E139.44.51.000\r\nﾊﾟﾝﾀﾞ ﾎﾟｲﾝﾄ ｳﾞｧ ｧ\r\n漢字とASCII",
                                          strSubject, strText));
    EXPECT_EQ(strSubject, "現在地 ガイド test");
    // The CR LF line ends come back as line feeds; the CR LF sent after the body belongs to the
    // closing boundary, so nothing is added at the end.
    EXPECT_EQ(strText, "位置情報 N35.39.29.157E139.44.51.000\nパンダ ポイント ヴァ ァ\n漢字とASCII");
}

// A longitude runs to the end of the service's reply, so a reply can put an SMTP dialogue into the
// body; the server must store one mail holding that text, and no second one.
TEST_F(MailToRealServer, CommandsInTheBodyStayText) {
    std::string strSubject, strText;
    ASSERT_NO_FATAL_FAILURE(SendAndDecode(u"s",
                                          u"E139.44.51.000\r\n.\r\nMAIL FROM:<x@evil.example>\r\nRCPT TO:<y@evil.example>\r\n"
                                          u"DATA\r\nsmuggled\r\n.\r\n.tail",
                                          strSubject, strText));
    EXPECT_EQ(strText, "E139.44.51.000\n.\nMAIL FROM:<x@evil.example>\nRCPT TO:<y@evil.example>\nDATA\nsmuggled\n.\n.tail");
}

}  // namespace
}  // namespace vantrel
