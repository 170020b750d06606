// The acquire-and-send workflow: the connect button and the question before dropping the line,
// the connection-wait guard, the channels (mail in detail), re-entrancy, monitoring and the
// post-processing of a fresh position.
#include <gtest/gtest.h>

#include <atomic>

#include "FormRig.h"
#include "support/LoopbackHttpServer.h"
#include "support/ScriptedMailPeer.h"

namespace vantrel {
namespace {

using test::FormRig;
using test::ScriptedMailPeer;
using Lines = std::vector<std::string>;

constexpr char16_t kPosition[] = u"N35.39.29.000E139.44.51.000/1";

std::u16string Host(std::uint16_t nPort) { return u"127.0.0.1:" + Utf8ToUtf16(std::to_string(nPort)); }

// An HTTP peer on loopback that accepts every request and counts them.
struct HttpPeer {
    HttpPeer() {
        m_server.Server().Get(".*", [this](const httplib::Request&, httplib::Response& response) {
            ++m_nRequests;
            response.set_content("accepted", "text/plain");
        });
        m_server.Start();
    }
    std::atomic<int> m_nRequests{0};
    test::LoopbackHttpServer m_server;
};

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

// Command, the line (the program's own or someone else's), the answer to "drop it?", Disconnect's
// result (2: the user cancelled) -> Connect and Disconnect calls, whether the module was used.
// The connect button itself never asks; acquiring and monitoring ask first.
TEST(WorkflowLine, AnOpenLineIsDroppedOnlyWhenTheAnswerAllows) {
    const struct {
        const char* pszLegend;
        int nCommand;
        bool bUp, bForeign;
        int nAnswer, nDisconnect;
        int nConnects, nDisconnects;
        bool bAsked, bModuleUsed;
    } cases[] = {
        {"connect button opens the line", IDC_CONNECT, false, false, mb::kIdYes, 1, 1, 0, false, false},
        {"connect button drops its own line", IDC_CONNECT, true, false, mb::kIdYes, 1, 0, 1, false, false},
        {"acquire, No", IDC_ACQUIRE, true, false, mb::kIdNo, 1, 0, 0, true, false},
        {"acquire, Yes", IDC_ACQUIRE, true, false, mb::kIdYes, 1, 0, 1, true, true},
        {"acquire, Yes, user cancels the drop", IDC_ACQUIRE, true, false, mb::kIdYes, 2, 0, 1, true, false},
        {"monitor, Yes, cancelled", IDC_MONITOR, true, false, mb::kIdYes, 2, 0, 1, true, false},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create());
        rig.m_libraries.m_conn.m_bUp = c.bUp;
        rig.m_libraries.m_conn.m_bForeignLine = c.bForeign;
        rig.m_libraries.m_conn.m_nDisconnectResult = c.nDisconnect;
        rig.m_boxes.SetAnswer(c.nAnswer);
        rig.Command(c.nCommand);
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), c.nConnects) << c.pszLegend;
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Disconnect"), c.nDisconnects) << c.pszLegend;
        EXPECT_EQ(rig.BoxCount(u"接続中です。切断してもよろしいですか？"), c.bAsked ? 1 : 0) << c.pszLegend;
        EXPECT_EQ(!rig.m_module.Commands().empty(), c.bModuleUsed) << c.pszLegend;
    }
}

// ---- the module and the data line take turns ----

// CONNECTWAIT 2000 ms. The guard sleeps on the form's clock, paced so that it takes real time;
// every use of the port, the line or the browser notes how long the guard had slept by then.
// Legend: CS-ID or simple coordinates, line up at the start, monitoring started first (then the
// line comes up), the command -> the uses in order, each with the guard's sleep so far
// ("Connect@2000": the whole wait was over before connecting).
TEST(ConnectionWait, TheGuardRunsBetweenModuleAndLine) {
    const struct {
        const char* pszLegend;
        bool bCsId, bLineUp, bMonitorFirst;
        int nCommand;
        Lines uses;
    } cases[] = {
        {"a CS-ID session, then the connect for the service", true, false, false, IDC_ACQUIRE,
         {"port@0", "Connect@2000"}},
        {"a disconnect, then the monitor", false, true, false, IDC_MONITOR, {"Disconnect@0", "port@2000"}},
        {"a send while monitoring: the port let go, the browser, the line dropped, the port again", false, false,
         true, IDC_SEND, {"port@0", "browser@2000", "Disconnect@2000", "port@4000"}},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetNumber(NumberKey::ConnectWait, 2000);
            settings.SetBool(BoolKey::LocateEasy, !c.bCsId);
            settings.SetBool(BoolKey::AutoConnect, true);
            settings.SetBool(BoolKey::BrowserSend, true);
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
        if (c.bMonitorFirst) {
            rig.Command(IDC_MONITOR);
            ASSERT_TRUE(FormRig::WaitFor([&] { return rig.ModuleCount("AT@LBC2") >= 1; }));
            rig.m_libraries.m_conn.m_bUp = true;
        }
        rig.Command(c.nCommand);
        EXPECT_EQ(uses, c.uses) << c.pszLegend;
    }
}

// AUTOSENDISCONNECT, how the run starts (the auto-send tick or the button) -> the line the
// auto-connect brought up is dropped only after an auto-send. The library is told the message
// flags (log and boxes) and the log folder (LOGFILEDIR empty: the program folder).
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
            UseUrl(settings, u"http://" + Host(test::UnusedLoopbackPort()) + u"/send");
            settings.SetText(TextKey::LogFileDir, u"");
        }));
        if (c.bTick) rig.Tick(60000);
        else rig.Command(IDC_ACQUIRE_SEND);
        EXPECT_EQ(rig.m_libraries.m_conn.m_calls.at(1), "Connect 0 0 3000 3 " + rig.m_dir.Path() + "/");
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
    for (int nId : {IDC_ACQUIRE, IDC_URL_LIST, IDC_MONITOR, IDC_SEND}) EXPECT_TRUE(rig.m_host.IsEnabled(nId)) << nId;
}

// ---- the channels ----

// An auto-connect that fails, or a line someone else opened -> every enabled channel still runs;
// mail and HTTP, which need the line, each report 3017 when the auto-connect fails; only what
// failed counts as failed.
TEST(WorkflowChannels, EachChannelStandsOnItsOwn) {
    const struct {
        const char* pszLegend;
        bool bMailWorks, bAutoConnect, bForeignLine;
        int nNoLine, nFailures;  // 3017 boxes (one failed connect each), channels failed
    } cases[] = {
        {"the auto-connect fails for mail and for HTTP", false, true, false, 2, 2},
        {"a line someone else opened serves", true, true, true, 0, 0},
    };
    for (const auto& c : cases) {
        HttpPeer target;
        std::unique_ptr<ScriptedMailPeer> pPeer;
        if (c.bMailWorks) pPeer = std::make_unique<ScriptedMailPeer>(Lines{"220 ready\r\n"}, test::GoodSmtpSteps());
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            for (BoolKey key : {BoolKey::BrowserSend, BoolKey::MailSend, BoolKey::HttpSend, BoolKey::GmmSend})
                settings.SetBool(key, true);
            settings.SetBool(BoolKey::AutoConnect, c.bAutoConnect);
            UseUrl(settings, target.m_server.WideUrl("/send"));
            UseMail(settings, pPeer ? pPeer->Port() : test::UnusedLoopbackPort());
        }));
        rig.m_libraries.m_conn.m_nConnectResult = 0;
        rig.m_libraries.m_conn.m_bForeignLine = c.bForeignLine;
        rig.Command(IDC_ACQUIRE_SEND);
        EXPECT_EQ(rig.m_handOffs.size(), 2u) << c.pszLegend << ": the browser and the map";
        EXPECT_EQ(target.m_nRequests, c.nNoLine ? 0 : 1) << c.pszLegend;
        EXPECT_EQ(rig.BoxCount(u"自動接続に失敗しました。"), c.nNoLine) << c.pszLegend;
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

// The setting emptied (and PBS) -> the warning, the first missing one only; nothing is connected
// or sent.
TEST(MailChannel, MissingSettingsAreWarnedInOrder) {
    const struct {
        std::vector<TextKey> emptied;
        bool bPbs;
        std::u16string strWarning;
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
        ASSERT_EQ(rig.m_boxes.Boxes().size(), 1u) << Utf16ToUtf8(c.strWarning);
        EXPECT_EQ(rig.m_boxes.Boxes()[0].strText, c.strWarning);
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), 0);
    }
}

// PBS with a POP server that accepts the log-in (or refuses it), an SMTP server that takes the
// mail (or none), NOMSG, RETRYSENDMAILMAX -> the mail progress lines of the log. RETRYSENDMAIL and
// RETRYNOMSG are on: attempts are retried and counted only in silent operation.
TEST(MailChannel, PopBeforeSmtpAndAttempts) {
    const std::string kStart = "<確認>:メール送信を開始します。";
    const std::string kPop = "<確認>:POP before SMTPを開始します。";
    const std::string kFailed = "<確認>:メール送信に失敗しました。";
    const std::string kSent = "<確認>:メール送信に成功しました。";
    const struct {
        const char* pszLegend;
        const char* pszPop;  // the reply to PASS; null: no POP before SMTP
        bool bSmtp, bSilent;
        std::int32_t nMax;
        Lines lines;
    } cases[] = {
        {"POP, then SMTP; success ends the attempts", "+OK\r\n", true, true, 2,
         {kStart + "(1/2回目)", kPop, "<確認>:POP before SMTPに成功しました。", kSent}},
        {"a refused log-in skips that attempt's SMTP; with boxes, one attempt", "-ERR denied\r\n", true, false, 3,
         {kStart, kPop, kFailed}},
        {"every failed attempt is reported", nullptr, false, true, 2,
         {kStart + "(1/2回目)", kFailed, kStart + "(2/2回目)", kFailed}},
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
            settings.SetBool(BoolKey::RetrySendMail, true);
            settings.SetBool(BoolKey::RetryNoMsg, true);
            settings.SetNumber(NumberKey::RetrySendMailMax, c.nMax);
            settings.SetBool(BoolKey::NoMsg, c.bSilent);
        });
        rig.Command(IDC_SEND);
        EXPECT_EQ(rig.LogLines({"<確認>:メール", "<確認>:POP"}), c.lines) << c.pszLegend;
        EXPECT_EQ(rig.Form().SendFailures(), c.lines.back() == kSent ? 0 : 1) << c.pszLegend;
    }
}

// ---- re-entrancy ----

// Auto-send every minute by browser: the tick, and any button, that arrive during a run are
// dropped: no 8000 line, no second acquisition or send.
TEST(WorkflowBusy, TicksAndPressesDuringARunAreDropped) {
    EmulatorConfig config;
    config.nSlowMs = 300;
    FormRig rig(config);
    ASSERT_TRUE(rig.Create([](Settings& settings) {
        settings.SetBool(BoolKey::AutoSend, true);
        settings.SetNumber(NumberKey::AutoSendInterval, 60000);
        settings.SetBool(BoolKey::BrowserSend, true);
    }));
    const std::string kAutoLine = "<確認>:自動実行を開始します。";
    // During an acquisition: the progress dialog's loop lets timers and clicks in.
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
    EXPECT_EQ(std::ranges::count(rig.LogLines(), kAutoLine), 0) << "during an acquisition";
    EXPECT_EQ(rig.ModuleCount("AT@LBC?"), 1) << "during an acquisition: no second run, so no second send";
    // During a send: the browser hand-off runs inside SendPosition with the busy flag set.
    int nInside = 0;
    rig.m_onHandOff = [&](const std::u16string&) {
        if (nInside++) return;
        rig.Tick(60000);  // timer 101 fires here
        for (int nId : {IDC_ACQUIRE_SEND, IDC_SEND, IDC_ACQUIRE, IDC_MONITOR, IDC_CONNECT}) rig.Command(nId);
    };
    rig.Command(IDC_SEND);
    EXPECT_EQ(nInside, 1) << "during a send";
    EXPECT_EQ(std::ranges::count(rig.LogLines(), kAutoLine), 0) << "during a send";
    EXPECT_EQ(rig.ModuleCount("AT@LBC?"), 1) << "during a send";
    EXPECT_FALSE(rig.Form().IsMonitoring());
    EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), 0);
    EXPECT_FALSE(rig.Form().IsBusy());
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
        EXPECT_EQ(rig.m_host.GetText(IDC_RESULT).substr(0, kFirst.size()), kFirst) << bMonChkSend;
        const std::u16string strBefore = rig.Form().ResultText();
        reading(2);
        EXPECT_EQ(rig.Form().ResultText(), strBefore) << bMonChkSend << ": the same reading writes nothing";
        reading(3);
        const std::u16string kSecond = u"New Location\r\nN:35.39.30.000\r\nE:139.44.52.000\r\nPC:1\r\n";
        EXPECT_NE(rig.Form().ResultText().find(kSecond, strBefore.size()), std::u16string::npos) << bMonChkSend;
        EXPECT_EQ(rig.m_handOffs.size(), bMonChkSend ? 2u : 0u);
        rig.Command(IDC_MONITOR);
        EXPECT_TRUE(rig.m_host.IsEnabled(IDC_ACQUIRE)) << "monitoring off gives the form back";
    }
}

// ---- post-processing ----

// A fresh position makes the entry of the position log and the result text. (The cookie it makes
// travels with the program's HTTP send, tested end to end; the log's size limit is the message
// facility's.)
TEST(WorkflowPostProcess, FreshPositionMakesLogEntryAndResultText) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) {
        settings.SetBool(BoolKey::OutputPosLogFile, true);
        settings.SetText(TextKey::PosLogFormat, u"$nl/$el");
    }));
    rig.Command(IDC_ACQUIRE);
    EXPECT_EQ(test::ReadUtf16File(rig.DayFile("pos")), "35.39.29.000/139.44.51.000\r\n");
    EXPECT_EQ(rig.m_host.GetText(IDC_RESULT), std::u16string(kPosition) + u"\r\nN35.39.29.000E139.44.51.000\r\n");
}

}  // namespace
}  // namespace vantrel
