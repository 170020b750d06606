#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "deliver/MailClient.h"
#include "port/Sockets.h"
#include "support/ManualClock.h"
#include "support/ScriptedMailPeer.h"

namespace vantrel {
namespace {

using test::ScriptedMailPeer;

// The real POSIX sockets with a fixed host name, counts of look-ups and clean-ups, and switches to
// make start-up or look-up fail.
class CountingSockets final : public Sockets {
public:
    int Startup() override { return m_nStartResult; }
    void Cleanup() override { ++m_nCleanups; }
    SocketHandle OpenStream() override { return m_pReal->OpenStream(); }
    bool ParseDottedAddress(const std::string& strHost, std::uint32_t& nAddress) override {
        return m_pReal->ParseDottedAddress(strHost, nAddress);
    }
    bool LookupHost(const std::string& strHost, std::string& strDotted) override {
        ++m_nLookups;
        return !m_bFailLookup && m_pReal->LookupHost(strHost, strDotted);
    }
    bool Connect(SocketHandle h, std::uint32_t nAddress, std::uint16_t nPort) override {
        return m_pReal->Connect(h, nAddress, nPort);
    }
    int Send(SocketHandle h, const char* p, int n) override { return m_pReal->Send(h, p, n); }
    int Receive(SocketHandle h, char* p, int n) override { return m_pReal->Receive(h, p, n); }
    int WaitReadable(SocketHandle h, std::uint32_t nMs) override { return m_pReal->WaitReadable(h, nMs); }
    void ShutdownBoth(SocketHandle h) override { m_pReal->ShutdownBoth(h); }
    void Close(SocketHandle h) override { m_pReal->Close(h); }
    bool HostName(std::string& strName) override {
        strName = "handset";
        return true;
    }
    std::int32_t LastError() override { return m_bFailLookup && m_nLookups ? -2 : m_pReal->LastError(); }

    int m_nStartResult = kStartOk;
    bool m_bFailLookup = false;
    int m_nCleanups = 0;
    int m_nLookups = 0;

private:
    std::unique_ptr<Sockets> m_pReal = CreateSockets();
};

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
    // Monday 2009-08-03 09:05:07 in Japan is Monday 00:05:07 UTC.
    test::ManualClock m_clock{test::MakeTime(2009, 8, 3, 9, 5, 7), -540};
    CountingSockets m_sockets;
    MailClient m_client{m_sockets, m_clock, 3000};
};

TEST_F(MailClientTest, SendsTheExactMailAndReadsEveryReplyOneBehind) {
    m_clock.SetTick(1234567);
    std::vector<ScriptedMailPeer::Step> steps = test::GoodSmtpSteps();
    steps[0] = ScriptedMailPeer::Reply("250-mail.example.jp\r\n250-8BITMIME\r\n250 HELP\r\n");
    ScriptedMailPeer peer({"220 mail.example.jp ESMTP\r\n"}, steps);
    const int nResult = m_client.SendMail(u"127.0.0.1", peer.Port(), kFrom, kTo, u"位置 ﾃｽﾄ",
                                          u"現在地 N35.39.29.157E139.44.51.000\r\n.x\n.\r.\r\n");
    const std::string strTranscript = peer.Transcript();
    const std::string strBoundary = BoundaryOf(strTranscript);
    EXPECT_EQ(strBoundary.substr(0, 10), "0001234567");
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
        "\x1B$B8=:_CO\x1B(B N35.39.29.157E139.44.51.000\r\n..x\r\n..\r\n..\r\n\r\n"
        "--" + strBoundary + "--\r\n"
        ".\r\n"
        "QUIT\r\n";
    EXPECT_EQ(strTranscript, strExpected);
    EXPECT_EQ(nResult, 0);
    // The last read is the answer to ".", QUIT's own answer is never read.
    EXPECT_EQ(m_client.Status(), 250);
    EXPECT_EQ(m_sockets.m_nLookups, 0);  // a dotted host is never looked up by name
}

// Legend: what goes wrong -> code, what the client sent, the step it stopped at.
TEST_F(MailClientTest, FailuresStopAtTheRightStep) {
    struct Case {
        const char* pszName;
        std::vector<std::string> greeting;
        std::vector<ScriptedMailPeer::Step> steps;
        int nCode;
        // The start of what the client sent, or its end when the mail itself went out; the step
        // shows that nothing followed (a peer that hangs up may not have read the last command).
        std::string strSent;
        std::u16string strStep;
    };
    std::vector<ScriptedMailPeer::Step> refused = test::GoodSmtpSteps();
    refused[5] = ScriptedMailPeer::AfterData("552 Too big\r\n");
    // EHLO's answer split inside its continuation lines must be read to its end, so that the 550
    // to RCPT TO is the answer read after DATA.
    std::vector<ScriptedMailPeer::Step> noUser = test::GoodSmtpSteps();
    noUser[0] = ScriptedMailPeer::Pieces({"250-mail.example.jp\r\n250-SIZE 1000\r\n", "250 HELP\r\n"});
    noUser[3] = ScriptedMailPeer::Reply("550 5.1.1 No such user\r\n");
    const std::vector<Case> cases = {
        {"busy greeting (4xx)", {"421 Try later\r\n"}, {}, 8, "", u"ConnectHost(): LINE="},
        {"EHLO answer too short", {"220 ok\r\n"}, {ScriptedMailPeer::Reply("25\n")}, 7,
         "EHLO handset\r\nRSET\r\n", u"send RSET: LINE="},
        {"closes after RSET (4 bytes are a reply)", {"220 ok\r\n"},
         {ScriptedMailPeer::Reply("250\n"), ScriptedMailPeer::Reply("", true)}, 7,
         "EHLO handset\r\nRSET\r\n", u"send MAIL FROM: LINE="},
        {"refuses the mail", {"220 ok\r\n"}, refused, 8, "--\r\n.\r\nQUIT\r\n", u"send QUIT: LINE="},
        {"refuses the recipient", {"220 ok\r\n"}, noUser, 8, kSmtpCommands, u"send DATA: LINE="},
    };
    for (const Case& c : cases) {
        ScriptedMailPeer peer(c.greeting, c.steps);
        EXPECT_EQ(m_client.SendMail(u"127.0.0.1", peer.Port(), kFrom, kTo, u"s", u"b"), c.nCode) << c.pszName;
        const std::string strTranscript = peer.Transcript();
        if (strTranscript.starts_with(kSmtpCommands))
            EXPECT_TRUE(strTranscript.ends_with(c.strSent)) << c.pszName;
        else
            EXPECT_TRUE(strTranscript.starts_with(c.strSent)) << c.pszName << ": " << strTranscript;
        EXPECT_TRUE(m_client.LastStep().starts_with(c.strStep)) << c.pszName;
    }
}

TEST_F(MailClientTest, ConnectionProblems) {
    EXPECT_EQ(m_client.SendMail(u"", 25, kFrom, kTo, u"s", u"b"), 3);

    EXPECT_EQ(m_client.SendMail(u"127.0.0.1", test::UnusedLoopbackPort(), kFrom, kTo, u"s", u"b"), 10);
    EXPECT_EQ(m_client.LastError(), ECONNREFUSED);

    m_sockets.m_bFailLookup = true;
    EXPECT_EQ(m_client.SendMail(u"mail.example.jp", 25, kFrom, kTo, u"s", u"b"), 5);
    EXPECT_EQ(m_client.LastError(), -2);
}

TEST_F(MailClientTest, StartupFailuresAreCodesOneAndTwo) {
    m_sockets.m_nStartResult = Sockets::kStartFailed;
    EXPECT_EQ(m_client.SendMail(u"127.0.0.1", 25, kFrom, kTo, u"s", u"b"), 1);
    EXPECT_EQ(m_sockets.m_nCleanups, 0);  // nothing was started, nothing to clean up
    m_sockets.m_nStartResult = Sockets::kStartWrongVersion;
    EXPECT_EQ(m_client.PopBeforeSmtp(u"127.0.0.1", 110, u"a", u"p"), 2);
    EXPECT_EQ(m_sockets.m_nCleanups, 1);
}

// With a hook (the window keeps painting), the wait for a reply runs in slices with the hook
// between them, and still ends at the reply time-out (the hook moves the manual clock here).
TEST_F(MailClientTest, WaitHookRunsBetweenSlicesUpToTheTimeOut) {
    MailClient client(m_sockets, m_clock, 350);
    int nHooks = 0;
    client.SetWaitHook([&] {
        ++nHooks;
        m_clock.Advance(100);
    });
    ScriptedMailPeer silent({}, {});
    EXPECT_EQ(client.SendMail(u"127.0.0.1", silent.Port(), kFrom, kTo, u"s", u"b"), 7);
    EXPECT_EQ(nHooks, 4);
}

// Two mails on a Sunday within one tick, to a host given by name: a look-up each, an empty Date
// header (it still goes out), and a boundary of their own.
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
    EXPECT_EQ(m_sockets.m_nLookups, 2);
    EXPECT_FALSE(strBoundaries[0].empty());
    EXPECT_NE(strBoundaries[0], strBoundaries[1]);
}

// Legend: POP3 replies after greeting, USER, PASS, QUIT -> code, status, what the client sent.
TEST_F(MailClientTest, PopBeforeSmtpJudgesTheReplyStartOnly) {
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
        {"+OK only later in the line", {"+OK ready\r\n", "Hello +OK\r\n"}, 8, 1, "USER taro\r\n"},
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

// Legend: local time, bias (minutes, or unknown) -> Date text. The weekday is one off by design,
// Sunday (UTC) gives no text, the time is UTC and the offset local.
TEST(MailDate, FormatsUtcWithTheLocalOffset) {
    const struct {
        SystemTime local;
        long nBias;
        bool bKnown;
        const char* pszDate;
    } cases[] = {
        {test::MakeTime(2009, 8, 3, 9, 5, 7), -540, true, "Sun, 3 Aug 2009 00:05:07 +0900"},      // Monday
        {test::MakeTime(2009, 8, 3, 8, 59, 59), -540, true, ""},                                  // UTC Sunday
        {test::MakeTime(2010, 1, 5, 10, 0, 0), 1, true, "Mon, 5 Jan 2010 10:01:00 -0001"},       // west by a minute
        {test::MakeTime(2010, 1, 5, 10, 0, 0), 0, false, "Mon, 5 Jan 2010 10:00:00"},
    };
    for (const auto& c : cases) {
        test::ManualClock clock(c.local, c.nBias);
        clock.SetBias(c.nBias, c.bKnown);
        EXPECT_EQ(MailClient::FormatDate(clock), c.pszDate) << c.pszDate;
    }
}

// Legend: setting value -> host, port, accepted.
TEST(MailHost, SplitsHostAndPort) {
    const struct {
        const char16_t* pszValue;
        const char16_t* pszHost;
        std::uint16_t nPort;
        bool bOk;
    } cases[] = {
        {u"smtp.example.jp", u"smtp.example.jp", 25, true}, {u"smtp.example.jp:587", u"smtp.example.jp", 587, true},
        {u"10.0.0.1:", u"10.0.0.1", 25, true},              {u"host:65535", u"host", 65535, true},
        {u"host:0", u"host", 25, false},                    {u"host:65536", u"host", 25, false},
        {u"host:2x", u"host", 25, false},                   {u"", u"", 25, true},
    };
    for (const auto& c : cases) {
        std::u16string strHost;
        std::uint16_t nPort = 0;
        EXPECT_EQ(SplitMailHost(c.pszValue, kSmtpPort, strHost, nPort), c.bOk);
        EXPECT_EQ(strHost, c.pszHost);
        EXPECT_EQ(nPort, c.nPort);
    }
}

}  // namespace
}  // namespace vantrel
