// The acquire-and-send workflow: connection steps and retries, the question before dropping the
// line, the connection-wait guard, CS-ID lookups, the channels in their order (mail in detail),
// re-entrancy, monitoring and the post-processing of a fresh position.
#include <gtest/gtest.h>

#include <mutex>

#include "FormRig.h"
#include "support/LoopbackHttpServer.h"
#include "support/ScriptedMailPeer.h"

namespace vantrel {
namespace {

using test::FormRig;
using test::ScriptedMailPeer;
using Lines = std::vector<std::string>;

constexpr char16_t kPosition[] = u"N35.39.29.000E139.44.51.000/1";
const std::string kPositionQuery = "nl=35.39.29.000&el=139.44.51.000";

std::u16string Host(std::uint16_t nPort) { return u"127.0.0.1:" + Utf8ToUtf16(std::to_string(nPort)); }

// An HTTP peer on loopback that answers every request as told and records the targets it served.
class HttpPeer {
public:
    explicit HttpPeer(std::function<void(httplib::Response&)> answer) {
        m_server.Server().Get(".*", [this, answer](const httplib::Request& request, httplib::Response& response) {
            std::lock_guard lock(m_mutex);
            m_targets.push_back(request.target);
            answer(response);
        });
        m_server.Start();
    }
    std::u16string Url(const std::string& strPath) const { return m_server.WideUrl(strPath); }
    Lines Targets() {
        std::lock_guard lock(m_mutex);
        return m_targets;
    }

private:
    std::mutex m_mutex;
    Lines m_targets;
    test::LoopbackHttpServer m_server;
};

void Accept(httplib::Response& response) { response.set_content("accepted", "text/plain"); }

void UseUrl(Settings& settings, const std::u16string& strUrl) {
    settings.UrlList().Clear();
    settings.UrlList().AddRow({u"target", strUrl, u"nl=$nl&el=$el"});
    settings.UrlList().SetSelectedIndex(0);
}

void UseMail(Settings& settings, std::uint16_t nSmtpPort) {
    settings.SetText(TextKey::HostSmtp, Host(nSmtpPort));
    settings.SetText(TextKey::FromSmtp, u"me@example.jp");
    settings.SetText(TextKey::ToSmtp, u"you@example.jp");
    settings.SetText(TextKey::HostPop, Host(test::UnusedLoopbackPort()));
    settings.SetBool(BoolKey::Pbs, false);
}

// ---- connecting ----

// RETRYCONNECT, RETRYCONNECTMAX, RETRYNOMSG, NOMSG, Connect's answers -> the progress lines of the
// connect button, in order. Mail and HTTP share the attempt rule.
TEST(WorkflowConnect, AttemptsFollowTheRetryRule) {
    const std::string kStart = "<確認>:接続を開始します。";
    const std::string kFailed = "<確認>:接続に失敗しました。";
    const struct {
        const char* pszLegend;
        bool bRetry, bRetryNoMsg, bNoMsg;
        std::int32_t nMax;
        std::deque<int> answers;
        Lines lines;
    } cases[] = {
        {"retries only in silence: one plain attempt", true, true, false, 3, {0}, {kStart, kFailed}},
        {"silent: every attempt counted", true, true, true, 2, {0, 0},
         {kStart + "(1/2回目)", kFailed, kStart + "(2/2回目)", kFailed}},
        {"RETRYNOMSG off retries with boxes too; success ends them", true, false, false, 3, {0, 1},
         {kStart + "(1/3回目)", kFailed, kStart + "(2/3回目)", "<確認>:接続に成功しました。"}},
        {"no retry", false, false, true, 3, {0}, {kStart, kFailed}},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::RetryConnect, c.bRetry);
            settings.SetNumber(NumberKey::RetryConnectMax, c.nMax);
            settings.SetBool(BoolKey::RetryNoMsg, c.bRetryNoMsg);
            settings.SetBool(BoolKey::NoMsg, c.bNoMsg);
            settings.SetText(TextKey::LogFileDir, u"");  // the program folder
        }));
        rig.m_libraries.m_conn.m_connectResults = c.answers;
        rig.m_libraries.m_conn.m_nConnectResult = 0;
        rig.Command(IDC_CONNECT);
        EXPECT_EQ(rig.LogLines({"<確認>:接続"}), c.lines) << c.pszLegend;
        // The library is told the message flags (log, and boxes unless NOMSG) and the log folder.
        EXPECT_EQ(rig.m_libraries.m_conn.m_calls.at(1),
                  "Connect 0 0 3000 " + std::string(c.bNoMsg ? "1 " : "3 ") + rig.m_dir.Path() + "/")
            << c.pszLegend;
    }
}

// Line state -> what the connect button does, without asking.
TEST(WorkflowConnect, ConnectButtonTogglesTheLine) {
    const struct {
        const char* pszLegend;
        bool bUp, bForeign;
        int nConnects, nDisconnects;
    } cases[] = {
        {"open", false, false, 1, 0},
        {"drop", true, false, 0, 1},
        {"someone else's line is left alone", false, true, 0, 0},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create());
        rig.m_libraries.m_conn.m_bUp = c.bUp;
        rig.m_libraries.m_conn.m_bForeignLine = c.bForeign;
        rig.Command(IDC_CONNECT);
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), c.nConnects) << c.pszLegend;
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Disconnect"), c.nDisconnects) << c.pszLegend;
        EXPECT_TRUE(rig.m_boxes.Boxes().empty()) << c.pszLegend;
    }
}

// Command, answer, Disconnect's result (2: the user cancelled) -> line dropped, module used.
TEST(WorkflowQuestion, OpenLineIsDroppedOnlyWhenTheAnswerAllows) {
    const struct {
        const char* pszLegend;
        int nCommand, nAnswer, nDisconnect;
        bool bDisconnectCalled, bModuleUsed;
    } cases[] = {
        {"acquire, No", IDC_ACQUIRE, mb::kIdNo, 1, false, false},
        {"acquire, Yes", IDC_ACQUIRE, mb::kIdYes, 1, true, true},
        {"acquire, Yes, user cancels the drop", IDC_ACQUIRE, mb::kIdYes, 2, true, false},
        {"monitor, Yes, cancelled", IDC_MONITOR, mb::kIdYes, 2, true, false},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create());
        rig.m_libraries.m_conn.m_bUp = true;
        rig.m_libraries.m_conn.m_nDisconnectResult = c.nDisconnect;
        rig.m_boxes.SetAnswer(c.nAnswer);
        rig.Command(c.nCommand);
        EXPECT_EQ(rig.BoxCount(u"接続中です。切断してもよろしいですか？"), 1) << c.pszLegend;
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Disconnect"), c.bDisconnectCalled ? 1 : 0) << c.pszLegend;
        EXPECT_EQ(!rig.m_module.Commands().empty(), c.bModuleUsed) << c.pszLegend;
        EXPECT_FALSE(rig.Form().IsMonitoring()) << c.pszLegend;
    }
}

// ---- the module and the data line take turns ----

// CONNECTWAIT 2000 ms. The guard sleeps on the form's clock, paced so that it takes real time;
// every use of the port, the line or the browser notes how long the guard had slept by then.
// Legend: settings, line up at the start, what the test does -> the uses in order, each with the
// guard's sleep so far ("Connect@2000": the whole wait was over before connecting).
TEST(ConnectionWait, TheGuardRunsBetweenModuleAndLine) {
    const struct {
        const char* pszLegend;
        void (*edit)(Settings&);
        bool bLineUp;
        void (*act)(FormRig&);
        Lines uses;
    } cases[] = {
        {"a CS-ID session, then the connect for the service",
         [](Settings& s) {
             s.SetBool(BoolKey::LocateEasy, false);
             s.SetBool(BoolKey::AutoConnect, true);
         },
         false, [](FormRig& rig) { rig.Command(IDC_ACQUIRE); }, {"port@0", "Connect@2000"}},
        {"a simple session, then the browser", [](Settings& s) { s.SetBool(BoolKey::BrowserSend, true); }, false,
         [](FormRig& rig) { rig.Command(IDC_ACQUIRE_SEND); }, {"port@0", "browser@2000"}},
        {"a disconnect, then the monitor", [](Settings&) {}, true, [](FormRig& rig) { rig.Command(IDC_MONITOR); },
         {"Disconnect@0", "port@2000"}},
        {"a send while monitoring: the port let go, the browser, the line dropped, the port again",
         [](Settings& s) { s.SetBool(BoolKey::BrowserSend, true); }, false,
         [](FormRig& rig) {
             rig.Command(IDC_MONITOR);
             ASSERT_TRUE(FormRig::WaitFor([&] { return rig.ModuleCount("AT@LBC2") >= 1; }));
             rig.m_libraries.m_conn.m_bUp = true;
             rig.Command(IDC_SEND);
         },
         {"port@0", "browser@2000", "Disconnect@2000", "port@4000"}},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetNumber(NumberKey::ConnectWait, 2000);
            c.edit(settings);
        }));
        rig.m_clock.PaceSleeps(10);
        Lines uses;
        const auto note = [&](const std::string& strUse) {
            uses.push_back(strUse + "@" + std::to_string(rig.m_clock.SleptElsewhere()));
        };
        rig.m_onSerialOpen = [&] { note("port"); };
        rig.m_libraries.m_conn.m_onCall = [&](const std::string& strCall) { note(strCall.substr(0, strCall.find(' '))); };
        rig.m_onHandOff = [&](const std::u16string&) { note("browser"); };
        rig.m_libraries.m_conn.m_bUp = c.bLineUp;
        rig.m_boxes.SetAnswer(mb::kIdYes);
        c.act(rig);
        EXPECT_EQ(uses, c.uses) << c.pszLegend;
    }
}

// AUTOSENDISCONNECT, how the run starts -> the line the auto-connect brought up is dropped.
TEST(AutoSendDisconnect, OnlyAnAutoSendDropsTheLineAfterwards) {
    const struct {
        bool bDisconnect, bTick;
        int nDisconnects;
    } cases[] = {{true, true, 1}, {false, true, 0}, {true, false, 0}};
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::AutoSend, true);
            settings.SetNumber(NumberKey::AutoSendInterval, 60000);
            settings.SetBool(BoolKey::AutoSendDisconnect, c.bDisconnect);
            settings.SetBool(BoolKey::AutoConnect, true);
            settings.SetBool(BoolKey::HttpSend, true);
            UseUrl(settings, u"http://" + Host(test::UnusedLoopbackPort()));
        }));
        if (c.bTick) rig.Tick(60000);
        else rig.Command(IDC_ACQUIRE_SEND);
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), 1) << c.bDisconnect << c.bTick;
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Disconnect"), c.nDisconnects) << c.bDisconnect << c.bTick;
    }
}

// The monitor lets go of the port for a send; when it cannot have it back, monitoring ends and the
// form is whole again.
TEST(MonitorAfterASend, APortThatCannotBeReopenedEndsMonitoring) {
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    rig.Command(IDC_MONITOR);
    ASSERT_TRUE(FormRig::WaitFor([&] { return rig.ModuleCount("AT@LBC2") >= 1; }));
    rig.m_resolver.SetSimulatedDevice(u"/nonexistent/tty");
    rig.Command(IDC_SEND);
    EXPECT_FALSE(rig.Form().IsMonitoring());
    EXPECT_FALSE(rig.m_ui.HasTimer(timer::kMonitor));
    for (int nId : {IDC_ACQUIRE, IDC_URL_LIST, IDC_MONITOR, IDC_SEND}) EXPECT_TRUE(rig.m_host.IsEnabled(nId)) << nId;
    EXPECT_EQ(rig.Form().GetLocation().m_strNL, u"35.39.29.000") << "the send had its position";
}

// ---- CS-ID acquisition ----

// CSIDCACHE, station cached, AUTOCONNECT and its result, service answers -> service asked,
// position found, the error shown, the line connected, the answer stored.
TEST(WorkflowCsId, CacheThenServiceBehindAutoConnect) {
    const std::u16string kCsId = u"0A12F3C4/34,0A12F3B8/21";
    const struct {
        const char* pszLegend;
        bool bCache, bCached, bAutoConnect;
        int nConnectResult;
        bool bServiceAnswers, bAsked, bFound;
        const char16_t* pszError;
        int nConnects;
    } cases[] = {
        {"cache hit needs neither line nor service", true, true, true, 0, true, false, true, nullptr, 0},
        {"cache miss: connect, ask, store", true, false, true, 1, true, true, true, nullptr, 1},
        {"cache miss, auto-connect fails", true, false, true, 0, true, false, false, u"自動接続に失敗しました。", 1},
        {"no cache: the service fails", false, false, false, 0, false, true, false, u"位置情報の取得に失敗しました。", 0},
        {"no cache: the service answers", false, false, false, 0, true, true, true, nullptr, 0},
    };
    for (const auto& c : cases) {
        HttpPeer service([&](httplib::Response& response) {
            response.status = c.bServiceAnswers ? 302 : 500;
            if (c.bServiceAnswers) response.set_header("Location", "http://127.0.0.1/map?pos=N35.39.29.157E139.44.58.500");
        });
        FormRig rig;
        test::WriteFileBytes(rig.m_dir.File("cache.txt"),
                             std::string("\xff\xfe", 2) + ToUtf16LeBytes(c.bCached ? u"0A12F3C4,pos=N35.39.29.157E139.44.58.500\r\n"
                                                                                   : u"99999999,pos=N1.1.1.1E2.2.2.2\r\n"));
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::LocateEasy, false);
            settings.SetBool(BoolKey::CsidCache, c.bCache);
            settings.SetBool(BoolKey::AutoConnect, c.bAutoConnect);
        }));
        rig.Form().SetServiceUrl(service.Url("/loc1/location"));
        rig.m_libraries.m_conn.m_nConnectResult = c.nConnectResult;
        rig.Command(IDC_ACQUIRE);
        EXPECT_EQ(!service.Targets().empty(), c.bAsked) << c.pszLegend;
        EXPECT_EQ(rig.Form().ResultText(), c.bFound ? kCsId + u"\r\nN35.39.29.157E139.44.58.500\r\n" : u"")
            << c.pszLegend;
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), c.nConnects) << c.pszLegend;
        EXPECT_EQ(rig.m_boxes.Boxes().empty(), c.pszError == nullptr) << c.pszLegend;
        if (c.pszError) {
            EXPECT_EQ(rig.BoxCount(c.pszError), 1) << c.pszLegend;
        }
        const std::string strCache = test::ReadUtf16File(rig.m_dir.File("cache.txt"));
        EXPECT_EQ(strCache.find("0A12F3C4") != std::string::npos, c.bCached || (c.bCache && c.bFound))
            << c.pszLegend << ": a new answer is stored";
    }
}

// ---- the channels ----

// Which peer is broken, AUTOCONNECT, a line someone else opened -> every enabled channel still
// runs (the browser first, the map last); mail and HTTP, which need the line, each report 3017
// when the auto-connect fails; only what failed counts as failed.
TEST(WorkflowChannels, EachChannelStandsOnItsOwn) {
    const struct {
        const char* pszLegend;
        bool bMailWorks, bHttpWorks, bAutoConnect, bForeignLine;
        int nNoLine, nFailures;  // 3017 boxes (one failed connect each), channels failed
    } cases[] = {
        {"all work", true, true, false, false, 0, 0},
        {"HTTP refused", true, false, false, false, 0, 1},
        {"mail refused", false, true, false, false, 0, 1},
        {"the auto-connect fails for mail and for HTTP", false, true, true, false, 2, 2},
        {"a line someone else opened serves", true, true, true, true, 0, 0},
    };
    for (const auto& c : cases) {
        HttpPeer target(Accept);
        std::unique_ptr<ScriptedMailPeer> pPeer;
        if (c.bMailWorks) pPeer = std::make_unique<ScriptedMailPeer>(Lines{"220 ready\r\n"}, test::GoodSmtpSteps());
        const std::u16string strUrl = c.bHttpWorks ? target.Url("/send") : u"http://" + Host(test::UnusedLoopbackPort()) + u"/send";
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            for (BoolKey key : {BoolKey::BrowserSend, BoolKey::MailSend, BoolKey::HttpSend, BoolKey::GmmSend})
                settings.SetBool(key, true);
            settings.SetBool(BoolKey::AutoConnect, c.bAutoConnect);
            UseUrl(settings, strUrl);
            UseMail(settings, pPeer ? pPeer->Port() : test::UnusedLoopbackPort());
        }));
        rig.m_libraries.m_conn.m_nConnectResult = 0;
        rig.m_libraries.m_conn.m_bForeignLine = c.bForeignLine;
        rig.Command(IDC_ACQUIRE_SEND);
        const std::string strSendUrl = Utf16ToUtf8(strUrl) + "?" + kPositionQuery;
        std::vector<std::u16string> handOffs = {u"open " + std::u16string(FormRig::kBrowser) + u" | " + Utf8ToUtf16(strSendUrl),
                                                u"open geo:35.661284,139.744293 | "};
        EXPECT_EQ(rig.m_handOffs, handOffs) << c.pszLegend << ": browser first, map last";
        EXPECT_EQ(target.Targets(), c.bHttpWorks && !c.nNoLine ? Lines{"/send?" + kPositionQuery} : Lines{}) << c.pszLegend;
        if (pPeer) {
            EXPECT_NE(pPeer->Transcript().find("RCPT TO:you@example.jp\r\n"), std::string::npos) << c.pszLegend;
        }
        EXPECT_EQ(rig.BoxCount(u"自動接続に失敗しました。"), c.nNoLine) << c.pszLegend;
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), c.nNoLine) << c.pszLegend;
        EXPECT_EQ(rig.Form().SendFailures(), c.nFailures) << c.pszLegend;
    }
}

// A form holding a position, sending by mail only, with every mail setting filled in.
void PrepareMail(FormRig& rig, const std::function<void(Settings&)>& edit) {
    ASSERT_TRUE(rig.Create([&](Settings& settings) {
        settings.SetBool(BoolKey::MailSend, true);
        UseMail(settings, test::UnusedLoopbackPort());
        edit(settings);
    }));
    ASSERT_TRUE(rig.Form().GetLocation().SetFromText(kPosition));
}

// The setting emptied (and PBS) -> the warning; nothing is connected or sent.
TEST(MailChannel, MissingSettingsAreWarnedInOrder) {
    const struct {
        std::vector<TextKey> emptied;
        bool bPbs;
        const char16_t* pszWarning;
    } cases[] = {
        {{TextKey::HostSmtp, TextKey::FromSmtp}, false, u"送信サーバーのホスト名が設定されていません。"},
        {{TextKey::FromSmtp, TextKey::ToSmtp}, false, u"送信者のメールアドレスが設定されていません。"},
        {{TextKey::ToSmtp, TextKey::HostPop}, true, u"送信先が設定されていません。"},
        {{TextKey::HostPop}, true, u"受信サーバーのホスト名が設定されていません。"},
    };
    for (const auto& c : cases) {
        FormRig rig;
        PrepareMail(rig, [&](Settings& settings) {
            for (TextKey key : c.emptied) settings.SetText(key, u"");
            settings.SetBool(BoolKey::Pbs, c.bPbs);
            settings.SetBool(BoolKey::AutoConnect, true);
        });
        rig.Command(IDC_SEND);
        ASSERT_EQ(rig.m_boxes.Boxes().size(), 1u) << Utf16ToUtf8(c.pszWarning);
        EXPECT_EQ(rig.m_boxes.Boxes()[0].strText, c.pszWarning);
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), 0);
        EXPECT_EQ(rig.Form().SendFailures(), 1);
    }
}

// PBS with a POP server that accepts the log-in (or refuses it), an SMTP server that takes the
// mail (or none), RETRYSENDMAIL, RETRYSENDMAILMAX -> the mail lines of the log, errors named by
// what failed. Every row runs silently, where retries happen.
TEST(MailChannel, PopBeforeSmtpAndAttempts) {
    const std::string kStart = "<確認>:メール送信を開始します。";
    const std::string kPop = "<確認>:POP before SMTPを開始します。";
    const std::string kFailed = "<確認>:メール送信に失敗しました。";
    const std::string kSent = "<確認>:メール送信に成功しました。";
    const struct {
        const char* pszLegend;
        const char* pszPop;  // the reply to PASS; null: no POP before SMTP
        bool bSmtp, bRetry;
        std::int32_t nMax;
        Lines lines;
    } cases[] = {
        {"POP, then SMTP; success ends the attempts", "+OK\r\n", true, true, 2,
         {kStart + "(1/2回目)", kPop, "<確認>:POP before SMTPに成功しました。", kSent}},
        {"a refused log-in skips that attempt's SMTP", "-ERR denied\r\n", true, false, 3,
         {kStart, kPop, "error: POP refused", kFailed}},
        {"every failed attempt is reported", nullptr, false, true, 2,
         {kStart + "(1/2回目)", "error: no server", kFailed, kStart + "(2/2回目)", "error: no server", kFailed}},
    };
    for (const auto& c : cases) {
        std::unique_ptr<ScriptedMailPeer> pPop, pSmtp;
        if (c.pszPop)
            pPop = std::make_unique<ScriptedMailPeer>(
                Lines{"+OK ready\r\n"}, std::vector<ScriptedMailPeer::Step>{ScriptedMailPeer::Reply("+OK\r\n"),
                                                                          ScriptedMailPeer::Reply(c.pszPop),
                                                                          ScriptedMailPeer::Reply("+OK bye\r\n")});
        if (c.bSmtp) pSmtp = std::make_unique<ScriptedMailPeer>(Lines{"220 ready\r\n"}, test::GoodSmtpSteps());
        FormRig rig;
        PrepareMail(rig, [&](Settings& settings) {
            settings.SetBool(BoolKey::Pbs, pPop != nullptr);
            if (pPop) settings.SetText(TextKey::HostPop, Host(pPop->Port()));
            if (pSmtp) settings.SetText(TextKey::HostSmtp, Host(pSmtp->Port()));
            settings.SetText(TextKey::AccountPop, u"taro");
            settings.SetBool(BoolKey::RetrySendMail, c.bRetry);
            settings.SetNumber(NumberKey::RetrySendMailMax, c.nMax);
            settings.SetBool(BoolKey::NoMsg, true);
        });
        rig.Command(IDC_SEND);
        Lines lines = rig.LogLines({"<確認>:メール", "<確認>:POP", "<エラー>:"});
        for (std::string& strLine : lines)
            if (strLine.starts_with("<エラー>:"))
                strLine = strLine.find("[+ERR]") != std::string::npos ? "error: POP refused"
                          : strLine.find("(111)") != std::string::npos ? "error: no server"
                                                                       : strLine;
        EXPECT_EQ(lines, c.lines) << c.pszLegend;
        if (pPop) {
            EXPECT_EQ(pPop->Transcript().rfind("USER taro\r\n", 0), 0u) << c.pszLegend;
        }
        EXPECT_EQ(rig.Form().SendFailures(), c.lines.back() == kSent ? 0 : 1) << c.pszLegend;
    }
}

// ---- re-entrancy ----

// Where the second request arrives -> it is dropped: no 8000 line, no second acquisition or send.
TEST(WorkflowBusy, TicksAndPressesDuringARunAreDropped) {
    const std::string kAutoLine = "<確認>:自動実行を開始します。";
    const auto autoSend = [](BoolKey channel) {
        return [channel](Settings& settings) {
            settings.SetBool(BoolKey::AutoSend, true);
            settings.SetNumber(NumberKey::AutoSendInterval, 60000);
            settings.SetBool(channel, true);
        };
    };
    // During a send: the browser hand-off runs inside SendPosition with the busy flag set.
    {
        FormRig rig;
        ASSERT_TRUE(rig.Create(autoSend(BoolKey::BrowserSend)));
        int nInside = 0;
        rig.m_onHandOff = [&](const std::u16string&) {
            if (nInside++) return;
            rig.Tick(60000);  // timer 101 fires here
            for (int nId : {IDC_ACQUIRE_SEND, IDC_SEND, IDC_ACQUIRE, IDC_MONITOR, IDC_CONNECT}) rig.Command(nId);
        };
        rig.Command(IDC_ACQUIRE_SEND);
        EXPECT_EQ(nInside, 1) << "during a send";
        EXPECT_EQ(rig.LogCount(kAutoLine), 0) << "during a send";
        EXPECT_EQ(rig.ModuleCount("AT@LBC?"), 1) << "during a send";
        EXPECT_FALSE(rig.Form().IsMonitoring());
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), 0);
        EXPECT_FALSE(rig.Form().IsBusy());
    }
    // During an acquisition: the progress dialog's loop lets timers and clicks in.
    {
        EmulatorConfig config;
        config.nSlowMs = 300;
        FormRig rig(config);
        ASSERT_TRUE(rig.Create(autoSend(BoolKey::GmmSend)));
        std::thread intruder([&rig] {
            FormRig::WaitFor([&rig] { return !rig.m_module.Commands().empty(); });
            rig.m_clock.Advance(60000);
            rig.m_ui.Post([&rig] { rig.Command(IDC_ACQUIRE_SEND); });
            rig.m_ui.Post([&rig] { rig.Command(IDC_ACQUIRE); });
            rig.m_ui.Wake();
        });
        rig.Command(IDC_ACQUIRE_SEND);
        intruder.join();
        rig.m_ui.RunPending();  // whatever was still queued runs now, after the run
        EXPECT_EQ(rig.LogCount(kAutoLine), 0) << "during an acquisition";
        EXPECT_EQ(rig.ModuleCount("AT@LBC?"), 1) << "during an acquisition";
        EXPECT_EQ(rig.m_handOffs.size(), 1u) << "during an acquisition";
    }
}

// ---- monitoring ----

// MONCHKSEND -> a new reading is shown as a notice (and sent with MONCHKSEND); the same reading
// again writes nothing. The module moves its fix every second reading.
TEST(WorkflowMonitor, ChangedReadingsAreShownAndSentOnlyWithMonChkSend) {
    for (bool bMonChkSend : {false, true}) {
        EmulatorConfig config;
        config.nTrackEvery = 2;
        FormRig rig(config);
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::MonChkSend, bMonChkSend);
            settings.SetBool(BoolKey::BrowserSend, true);
        }));
        // Waits for the module's nth reading, then lets the form's timer see it.
        const auto reading = [&rig](int n) {
            ASSERT_TRUE(FormRig::WaitFor([&] { return rig.ModuleCount("AT@LBC2") >= n; }));
            rig.Tick(1000);
        };
        rig.Command(IDC_MONITOR);
        reading(1);
        const std::u16string kFirst = u"New Location\r\nN:35.39.29.000\r\nE:139.44.51.000\r\nPC:1\r\n";
        EXPECT_EQ(rig.Form().ResultText().substr(0, kFirst.size()), kFirst) << bMonChkSend;
        EXPECT_EQ(rig.m_host.GetText(IDC_RESULT), rig.Form().ResultText());
        EXPECT_EQ(rig.LogCount("<確認>:座標変更を送信します。"), bMonChkSend ? 1 : 0);
        EXPECT_TRUE(rig.Form().IsMonitoring()) << "the monitor session is back after the send";

        const std::u16string strBefore = rig.Form().ResultText();
        const std::uint64_t nChanges = rig.m_host.ChangeCount();
        reading(2);
        EXPECT_EQ(rig.Form().ResultText(), strBefore) << bMonChkSend << ": the same reading writes nothing";
        EXPECT_EQ(rig.m_host.ChangeCount(), nChanges) << bMonChkSend;

        reading(3);
        const std::u16string kSecond = u"New Location\r\nN:35.39.30.000\r\nE:139.44.52.000\r\nPC:1\r\n";
        EXPECT_NE(rig.Form().ResultText().find(kSecond, strBefore.size()), std::u16string::npos) << bMonChkSend;
        EXPECT_EQ(rig.m_handOffs.size(), bMonChkSend ? 2u : 0u);
    }
}

// ---- post-processing ----

// A fresh position makes the cookie, the entry of the position log and the result text.
// POSLOGMAXSIZE 0 is no limit; any other is passed on (the arithmetic is the message facility's).
TEST(WorkflowPostProcess, FreshPositionMakesCookieLogEntryAndResultText) {
    FormRig rig;
    // The cookie expires a year from now; a jar drops cookies that expired already.
    rig.m_clock.SetLocalTime(CreateSystemClock()->LocalTime());
    ASSERT_TRUE(rig.Create([](Settings& settings) {
        settings.SetBool(BoolKey::CreateCookie, true);
        settings.SetBool(BoolKey::OutputPosLogFile, true);
        settings.SetText(TextKey::PosLogFormat, u"$nl/$el");
        settings.SetNumber(NumberKey::PosLogMaxSize, 0);
    }));
    rig.Command(IDC_ACQUIRE);
    const std::string kEntry = "35.39.29.000/139.44.51.000\r\n";
    EXPECT_EQ(test::ReadUtf16File(rig.DayFile("pos")), kEntry);
    const std::u16string kOne = std::u16string(kPosition) + u"\r\nN35.39.29.000E139.44.51.000\r\n";
    EXPECT_EQ(rig.m_host.GetText(IDC_RESULT), kOne);
    EXPECT_TRUE(rig.m_host.IsCaretAtEnd(IDC_RESULT));
    const std::string strCookies = test::ReadFileBytes(rig.m_dir.File("cookies.txt"));
    EXPECT_NE(strCookies.find("\tlocation\t35.39.29.000,139.44.51.000"), std::string::npos) << strCookies;
    EXPECT_TRUE(rig.m_boxes.Boxes().empty());
    rig.FormSettings().SetNumber(NumberKey::PosLogMaxSize, 1);
    rig.Command(IDC_ACQUIRE);
    EXPECT_EQ(rig.Form().ResultText(), kOne + kOne) << "each position is appended";
    EXPECT_EQ(test::ReadUtf16File(rig.DayFile("pos")), kEntry) << "a limit of one byte holds";
}

}  // namespace
}  // namespace vantrel
