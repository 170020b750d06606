#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "deliver/MailClient.h"
#include "deliver/MailErrorText.h"
#include "port/Sockets.h"
#include "settings/TextUtil.h"
#include "settings/ResourceModule.h"
#include "support/ManualClock.h"
#include "support/ScriptedMailPeer.h"
#include "support/SmtpSink.h"

namespace vantrel {
namespace {

using test::ScriptedMailPeer;

const std::u16string kFrom = u"me@example.jp";
const std::u16string kTo = u"you@example.jp";
// The conversation up to DATA for kFrom / kTo.
const std::string kSmtpCommands =
    "EHLO handset\r\nRSET\r\nMAIL FROM:<me@example.jp>\r\nRCPT TO:you@example.jp\r\nDATA\r\n";

std::string BoundaryOf(const std::string& strTranscript) {
    std::smatch match;
    const std::regex pattern("BOUNDARY=(-?[0-9]{9,10}_[0-9]{9})\r\n");
    return std::regex_search(strTranscript, match, pattern) ? match[1].str() : std::string();
}

class MailClientTest : public testing::Test {
protected:
    // What the peer received, with this machine's name after EHLO read as "handset".
    std::string Sent(ScriptedMailPeer& peer) {
        std::string strHost;
        m_pSockets->HostName(strHost);
        std::string strSent = peer.Transcript();
        if (strSent.starts_with("EHLO " + strHost + "\r\n")) strSent.replace(5, strHost.size(), "handset");
        return strSent;
    }

    // Monday 2009-08-03 09:05:07 in Japan is Monday 00:05:07 UTC.
    test::ManualClock m_clock{test::MakeTime(2009, 8, 3, 9, 5, 7), -540};
    std::unique_ptr<Sockets> m_pSockets = CreateSockets();
    MailClient m_client{*m_pSockets, m_clock, 3000};
};

TEST_F(MailClientTest, SendsTheExactMailAndReadsEveryReplyOneBehind) {
    std::vector<ScriptedMailPeer::Step> steps = test::GoodSmtpSteps();
    steps[0] = ScriptedMailPeer::Reply("250-mail.example.jp\r\n250-8BITMIME\r\n250 HELP\r\n");
    ScriptedMailPeer peer({"220 mail.example.jp ESMTP\r\n"}, steps);
    const int nResult = m_client.SendMail(u"127.0.0.1", peer.Port(), kFrom, kTo, u"位置 ﾃｽﾄ",
                                          u".\r\n現在地 N35.39.29.157E139.44.51.000\r\n.x\n.\r.\r\n");
    const std::string strTranscript = Sent(peer);
    const std::string strBoundary = BoundaryOf(strTranscript);
    const std::string strExpected =
        kSmtpCommands +
        "Date: Sun, 3 Aug 2009 00:05:07 +0900\r\n"
        "From: me@example.jp\r\n"
        "Subject: =?iso-2022-jp?B?GyRCMExDVhsoQiAbJEIlRiU5JUgbKEI=?=\r\n"
        "To: you@example.jp\r\n"
        "MIME-Version: 1.0\r\n"
        "Content-Type: MULTIPART/mixed; BOUNDARY=" + strBoundary + "\r\n"
        "\r\n"
        "--" + strBoundary + "\r\n"
        "Content-Type: TEXT/plain; charset=ISO-2022-JP\r\n"
        "\r\n"
        // Lines that begin with "." are dot-stuffed; a lone LF or CR goes out as CR LF.
        "..\r\n\x1B$B8=:_CO\x1B(B N35.39.29.157E139.44.51.000\r\n..x\r\n..\r\n..\r\n\r\n"
        "--" + strBoundary + "--\r\n"
        ".\r\n"
        "QUIT\r\n";
    EXPECT_EQ(strTranscript, strExpected);
    EXPECT_EQ(nResult, 0);
}

// Legend: the server's replies after its "220" -> code, the start of what the client sent, the
// step it stopped at (a peer that hangs up may not have read the last command: the step shows
// that nothing followed).
TEST_F(MailClientTest, FailuresStopAtTheRightStep) {
    // EHLO's answer split inside its continuation lines must be read to its end, so that the 550
    // to RCPT TO is the answer read after DATA.
    std::vector<ScriptedMailPeer::Step> noUser = test::GoodSmtpSteps();
    noUser[0] = ScriptedMailPeer::Pieces({"250-mail.example.jp\r\n250-SIZE 1000\r\n", "250 HELP\r\n"});
    noUser[3] = ScriptedMailPeer::Reply("550 5.1.1 No such user\r\n");
    const struct {
        const char* pszName;
        std::vector<ScriptedMailPeer::Step> steps;
        int nCode;
        std::string strSent;
        std::u16string strStep;
    } cases[] = {
        {"closes after RSET (4 bytes are a reply)", {ScriptedMailPeer::Reply("250\n"), ScriptedMailPeer::Reply("", true)},
         7, "EHLO handset\r\nRSET\r\n", u"send MAIL FROM: LINE="},
        {"refuses the recipient", noUser, 8, kSmtpCommands, u"send DATA: LINE="},
    };
    for (const auto& c : cases) {
        ScriptedMailPeer peer({"220 ok\r\n"}, c.steps);
        EXPECT_EQ(m_client.SendMail(u"127.0.0.1", peer.Port(), kFrom, kTo, u"s", u"b"), c.nCode) << c.pszName;
        const std::string strTranscript = Sent(peer);
        EXPECT_TRUE(strTranscript.starts_with(c.strSent)) << c.pszName << ": " << strTranscript;
        EXPECT_TRUE(m_client.LastStep().starts_with(c.strStep)) << c.pszName;
    }
}

// With a hook (the window keeps painting), the wait for a reply runs in slices with the hook
// between them, and still ends at the reply time-out (the hook moves the manual clock here).
TEST_F(MailClientTest, WaitHookRunsBetweenSlicesUpToTheTimeOut) {
    MailClient client(*m_pSockets, m_clock, 350);
    int nHooks = 0;
    client.SetWaitHook([&] {
        ++nHooks;
        m_clock.Advance(100);
    });
    ScriptedMailPeer silent({}, {});
    EXPECT_EQ(client.SendMail(u"127.0.0.1", silent.Port(), kFrom, kTo, u"s", u"b"), 7);
    EXPECT_EQ(nHooks, 4);
}

// Two mails on a Sunday within one tick, to a host given by name: an empty Date header (it still
// goes out), and a boundary of their own.
TEST_F(MailClientTest, SundayMailsByNameEachGetTheirOwnBoundary) {
    m_clock.SetLocalTime(test::MakeTime(2009, 8, 2, 12, 0, 0));
    std::string strBoundaries[2];
    for (std::string& strBoundary : strBoundaries) {
        ScriptedMailPeer peer({"220 ok\r\n"}, test::GoodSmtpSteps());
        ASSERT_EQ(m_client.SendMail(u"localhost", peer.Port(), kFrom, kTo, u"s", u"b"), 0);
        const std::string strTranscript = peer.Transcript();
        EXPECT_NE(strTranscript.find("DATA\r\nDate: \r\nFrom: "), std::string::npos);
        strBoundary = BoundaryOf(strTranscript);
    }
    EXPECT_NE(strBoundaries[0], strBoundaries[1]);
}

// Legend: POP3 replies after greeting, USER, PASS, QUIT -> code, status, what the client sent.
TEST_F(MailClientTest, PopBeforeSmtpLogsInAndStopsAtAnError) {
    struct Case {
        const char* pszName;
        std::vector<std::string> replies;  // greeting first
        int nCode;
        int nStatus;
        std::string strSent;
    };
    const std::vector<Case> cases = {
        {"all accepted", {"+OK POP3 ready\r\n", "+OK\r\n", "+OK logged in\r\n", "+OK bye\r\n"}, 0, 1,
         "USER taro\r\nPASS secret\r\nQUIT\r\n"},
        {"password refused", {"+OK ready\r\n", "+OK\r\n", "-ERR invalid password\r\n"}, 8, -1,
         "USER taro\r\nPASS secret\r\n"},
    };
    for (const Case& c : cases) {
        std::vector<ScriptedMailPeer::Step> steps;
        for (std::size_t i = 1; i < c.replies.size(); ++i) steps.push_back(ScriptedMailPeer::Reply(c.replies[i]));
        ScriptedMailPeer peer({c.replies[0]}, steps);
        EXPECT_EQ(m_client.PopBeforeSmtp(u"127.0.0.1", peer.Port(), u"taro", u"secret"), c.nCode) << c.pszName;
        EXPECT_EQ(m_client.Status(), c.nStatus) << c.pszName;
        EXPECT_EQ(peer.Transcript(), c.strSent) << c.pszName;
    }
}

// Monday's and Sunday's Date texts are in the tests above; here the sign of an offset west.
TEST(MailDate, OffsetWestIsNegative) {
    test::ManualClock clock(test::MakeTime(2010, 1, 5, 10, 0, 0), 1);
    EXPECT_EQ(MailClient::FormatDate(clock), "Mon, 5 Jan 2010 10:01:00 -0001");
}

// Legend: setting value -> host, port, accepted.
TEST(MailHost, SplitsHostAndPort) {
    const struct {
        const char16_t* pszValue;
        const char16_t* pszHost;
        std::uint16_t nPort;
        bool bOk;
    } cases[] = {
        {u"smtp.example.jp", u"smtp.example.jp", 25, true}, {u"smtp.example.jp:2590", u"smtp.example.jp", 2590, true},
        {u"10.0.0.1:", u"10.0.0.1", 25, true},              {u"host:65535", u"host", 65535, true},
        {u"host:65536", u"host", 25, false},                {u"host:2x", u"host", 25, false},
        {u"host:0", u"host", 25, false},                    {u"host:065535", u"host", 25, false},  // six digits
    };
    for (const auto& c : cases) {
        std::u16string strHost;
        std::uint16_t nPort = 0;
        EXPECT_EQ(SplitMailHost(c.pszValue, kSmtpPort, strHost, nPort), c.bOk);
        EXPECT_EQ(strHost, c.pszHost);
        EXPECT_EQ(nPort, c.nPort);
    }
}

MailResult Failed(int nError, std::int32_t nLastError, std::int32_t nStatus = 0) {
    MailResult r;
    r.m_nError = nError;
    r.m_nLastError = nLastError;
    r.m_nStatus = nStatus;
    r.m_strLastStep = u"send RCPT TO: LINE=42";
    r.m_strReply = "550 5.1.1 \x88\xca\x92\x75\r\n";  // "位置" in Shift-JIS
    return r;
}

// Legend: error code, last error, status -> the whole message the user sees.
TEST(MailErrorText, BaseMessageAndDetailForEachKindOfCode) {
    const struct {
        MailResult result;
        const char16_t* pszText;
    } cases[] = {
        {Failed(6, 32), u"送信エラーが発生しました。(32)\nsend RCPT TO: LINE=42"},
        {Failed(7, 104), u"受信エラーが発生しました。(104)\nsend RCPT TO: LINE=42\n550 5.1.1 位置\r\n"},
        {Failed(8, 0, 550), u"サーバーがエラーコードを返しました。(0)[550]\nsend RCPT TO: LINE=42\n550 5.1.1 位置\r\n"},
        {Failed(8, 0, -1), u"サーバーがエラーコードを返しました。(0)[+ERR]\nsend RCPT TO: LINE=42\n550 5.1.1 位置\r\n"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ComposeMailErrorText(c.result, ResourceModule::Program()), c.pszText) << c.result.m_nError;
    }
}

// The mail client against a real SMTP server (aiosmtpd): what a mail program decodes from the
// stored message must be the text that was sent.
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
