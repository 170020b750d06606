// The acquire-and-send workflow: connection steps and retries, the question before dropping the
// line, the channels in their order, auto-connect failures, re-entrancy, monitoring and the
// post-processing of a fresh position.
#include <gtest/gtest.h>

#include <mutex>
#include <tuple>

#include "FormRig.h"
#include "support/ScriptedMailPeer.h"
#include "support/LoopbackHttpServer.h"

namespace vantrel {
namespace {

using test::FormRig;
using test::ScriptedMailPeer;

constexpr char16_t kElsewhere[] = u"N1.2.3.4E5.6.7.8/elsewhere";
const std::string kPositionQuery = "nl=35.39.29.000&el=139.44.51.000";

std::vector<std::string> Texts(const std::vector<std::u16string>& texts) {
    std::vector<std::string> out;
    for (const std::u16string& strText : texts) out.push_back(Utf16ToUtf8(strText));
    return out;
}

// A send target on loopback that records the request targets it served.
class SendTarget {
public:
    SendTarget() {
        m_server.Server().Get("/send", [this](const httplib::Request& request, httplib::Response& response) {
            std::lock_guard lock(m_mutex);
            m_targets.push_back(request.target);
            response.set_content("accepted", "text/plain");
        });
        m_server.Start();
    }
    std::u16string Url() const { return m_server.WideUrl("/send"); }
    std::vector<std::string> Targets() {
        std::lock_guard lock(m_mutex);
        return m_targets;
    }

private:
    std::mutex m_mutex;
    std::vector<std::string> m_targets;
    test::LoopbackHttpServer m_server;
};

void UseUrl(Settings& settings, const std::u16string& strUrl) {
    settings.UrlList().Clear();
    settings.UrlList().AddRow({u"target", strUrl, u"nl=$nl&el=$el"});
    settings.UrlList().SetSelectedIndex(0);
}

void UseMail(Settings& settings, std::uint16_t nPort) {
    settings.SetText(TextKey::HostSmtp, u"127.0.0.1:" + Utf8ToUtf16(std::to_string(nPort)));
    settings.SetText(TextKey::FromSmtp, u"me@example.jp");
    settings.SetText(TextKey::ToSmtp, u"you@example.jp");
    settings.SetBool(BoolKey::Pbs, false);
}

// ---- connecting ----

// RETRYCONNECT, RETRYCONNECTMAX, RETRYNOMSG, NOMSG, Connect answers -> the progress lines of
// the connect button, in order.
TEST(WorkflowConnect, AttemptsFollowTheRetryRule) {
    const std::string kStart = "<確認>:接続を開始します。";
    const std::string kFailed = "<確認>:接続に失敗しました。";
    const std::string kOk = "<確認>:接続に成功しました。";
    const struct {
        const char* pszLegend;
        bool bRetry;
        std::int32_t nMax;
        bool bRetryNoMsg;
        bool bNoMsg;
        std::deque<int> answers;
        std::vector<std::string> lines;
    } cases[] = {
        {"retries only in silence: one plain attempt", true, 3, true, false, {0, 0, 0}, {kStart, kFailed}},
        {"silent: three counted attempts",
         true,
         3,
         true,
         true,
         {0, 0, 0},
         {kStart + "(1/3回目)", kFailed, kStart + "(2/3回目)", kFailed, kStart + "(3/3回目)", kFailed}},
        {"RETRYNOMSG off retries with boxes too",
         true,
         2,
         false,
         false,
         {0, 0},
         {kStart + "(1/2回目)", kFailed, kStart + "(2/2回目)", kFailed}},
        {"no retry", false, 3, false, true, {0, 0, 0}, {kStart, kFailed}},
        {"second attempt succeeds", true, 3, false, false, {0, 1}, {kStart + "(1/3回目)", kFailed, kStart + "(2/3回目)", kOk}},
        {"a limit of one is not counted", true, 1, false, false, {0}, {kStart, kFailed}},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::RetryConnect, c.bRetry);
            settings.SetNumber(NumberKey::RetryConnectMax, c.nMax);
            settings.SetBool(BoolKey::RetryNoMsg, c.bRetryNoMsg);
            settings.SetBool(BoolKey::NoMsg, c.bNoMsg);
        }));
        rig.m_libraries.m_conn.m_connectResults = c.answers;
        rig.m_libraries.m_conn.m_nConnectResult = 0;
        rig.Command(IDC_CONNECT);
        EXPECT_EQ(rig.LogLinesStartingWith({"<確認>:接続"}), c.lines) << c.pszLegend;
        // The library is told the message flags and the log folder.
        const std::string strFlags = c.bNoMsg ? "1" : "3";
        EXPECT_EQ(rig.m_libraries.m_conn.m_calls.at(1), "Connect 0 0 3000 " + strFlags + " " + rig.m_dir.Path() + "/")
            << c.pszLegend;
    }
}

// Line state -> what the connect button does.
TEST(WorkflowConnect, ConnectButtonTogglesTheLine) {
    const struct {
        const char* pszLegend;
        bool bUp;
        bool bForeign;
        std::vector<std::string> calls;
    } cases[] = {
        {"open", false, false, {"create", "Connect 0 0 3000 3 "}},
        {"drop without asking", true, false, {"create", "Disconnect 3"}},
        {"someone else's line is left alone", false, true, {"create"}},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create());
        rig.m_libraries.m_conn.m_bUp = c.bUp;
        rig.m_libraries.m_conn.m_bForeignLine = c.bForeign;
        rig.m_boxes.SetAnswer(mb::kIdNo);
        rig.Command(IDC_CONNECT);
        std::vector<std::string> calls = rig.m_libraries.m_conn.m_calls;
        for (std::string& strCall : calls)
            if (strCall.rfind("Connect", 0) == 0) strCall = strCall.substr(0, strCall.rfind(' ') + 1);
        EXPECT_EQ(calls, c.calls) << c.pszLegend;
        EXPECT_TRUE(rig.m_boxes.Boxes().empty()) << c.pszLegend;
    }
}

// ---- the question before talking to the module ----

// Command, answer, NOMSG, Disconnect's result -> question shown, line dropped, module used.
TEST(WorkflowQuestion, OpenLineIsDroppedOnlyWhenTheAnswerAllows) {
    const struct {
        const char* pszLegend;
        int nCommand;
        int nAnswer;
        bool bNoMsg;
        int nDisconnect;
        bool bBox;
        bool bDisconnectCalled;
        bool bModuleUsed;
    } cases[] = {
        {"acquire, No", IDC_ACQUIRE, mb::kIdNo, false, 1, true, false, false},
        {"acquire, Yes", IDC_ACQUIRE, mb::kIdYes, false, 1, true, true, true},
        {"acquire, Yes, user cancels the drop", IDC_ACQUIRE, mb::kIdYes, false, 2, true, true, false},
        {"acquire, silent: answered Yes", IDC_ACQUIRE, mb::kIdNo, true, 1, false, true, true},
        {"acquire-send, No", IDC_ACQUIRE_SEND, mb::kIdNo, false, 1, true, false, false},
        {"monitor, No", IDC_MONITOR, mb::kIdNo, false, 1, true, false, false},
        {"monitor, Yes, cancelled", IDC_MONITOR, mb::kIdYes, false, 2, true, true, false},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::NoMsg, c.bNoMsg);
            settings.SetBool(BoolKey::GmmSend, true);
        }));
        rig.m_libraries.m_conn.m_bUp = true;
        rig.m_libraries.m_conn.m_nDisconnectResult = c.nDisconnect;
        rig.m_boxes.SetAnswer(c.nAnswer);
        ASSERT_TRUE(rig.Form().GetLocation().SetFromText(kElsewhere));
        rig.Command(c.nCommand);
        const int nBoxes = rig.BoxCount(u"接続中です。切断してもよろしいですか？");
        EXPECT_EQ(nBoxes, c.bBox ? 1 : 0) << c.pszLegend;
        if (nBoxes) {
            EXPECT_EQ(rig.m_boxes.Boxes()[0].strCaption, u"確認");
            EXPECT_EQ(rig.m_boxes.Boxes()[0].nFlags, mb::kYesNo);
        }
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Disconnect"), c.bDisconnectCalled ? 1 : 0) << c.pszLegend;
        EXPECT_EQ(!rig.ModuleCommands().empty(), c.bModuleUsed) << c.pszLegend;
        if (!c.bModuleUsed) {
            EXPECT_TRUE(rig.m_libraries.m_conn.m_bUp) << c.pszLegend << ": the line stays up";
            EXPECT_EQ(rig.Form().GetLocation().m_strNL, u"1.2.3.4") << c.pszLegend << ": the position stays";
            EXPECT_TRUE(rig.m_handOffs.empty()) << c.pszLegend << ": nothing is sent";
            EXPECT_FALSE(rig.Form().IsMonitoring()) << c.pszLegend;
        } else {
            EXPECT_EQ(rig.Form().GetLocation().m_strNL, u"35.39.29.000") << c.pszLegend;
        }
    }
}

// ---- CS-ID acquisition ----

// A position service on loopback that redirects every lookup to one position, or fails them all.
class ServiceTarget {
public:
    ServiceTarget() {
        m_server.Server().Get("/loc1/location", [this](const httplib::Request&, httplib::Response& response) {
            std::lock_guard lock(m_mutex);
            ++m_nRequests;
            if (!m_bAnswer) {
                response.status = 500;
                return;
            }
            response.status = 302;
            response.set_header("Location", "http://127.0.0.1/map?pos=N35.39.29.157E139.44.58.500");
        });
        m_server.Start();
    }
    std::u16string Url() const { return m_server.WideUrl("/loc1/location"); }
    int Requests() {
        std::lock_guard lock(m_mutex);
        return m_nRequests;
    }
    bool m_bAnswer = true;

private:
    std::mutex m_mutex;
    int m_nRequests = 0;
    test::LoopbackHttpServer m_server;
};

// CSIDCACHE, station cached, AUTOCONNECT and its result, service answers -> service asked,
// position found, the error shown, the line connected.
TEST(WorkflowCsId, CacheThenServiceBehindAutoConnect) {
    const std::u16string kCsId = u"0A12F3C4/34,0A12F3B8/21";
    const struct {
        const char* pszLegend;
        bool bCache;
        bool bCached;
        bool bAutoConnect;
        int nConnectResult;
        bool bServiceAnswers;
        bool bAsked;
        bool bFound;
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
        ServiceTarget service;
        service.m_bAnswer = c.bServiceAnswers;
        FormRig rig;
        const std::string kMark("\xff\xfe", 2);
        test::WriteFileBytes(rig.m_dir.File("cache.txt"),
                             kMark + ToUtf16LeBytes(c.bCached ? u"0A12F3C4,pos=N35.39.29.157E139.44.58.500\r\n"
                                                       : u"99999999,pos=N1.1.1.1E2.2.2.2\r\n"));
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::LocateEasy, false);
            settings.SetBool(BoolKey::CsidCache, c.bCache);
            settings.SetBool(BoolKey::AutoConnect, c.bAutoConnect);
        }));
        rig.Form().SetServiceUrl(service.Url());
        rig.m_libraries.m_conn.m_nConnectResult = c.nConnectResult;
        rig.Command(IDC_ACQUIRE);
        EXPECT_EQ(rig.Form().CsId(), kCsId) << c.pszLegend;
        EXPECT_EQ(service.Requests() > 0, c.bAsked) << c.pszLegend;
        EXPECT_EQ(rig.Form().GetLocation().m_strNL, c.bFound ? u"35.39.29.157" : u"") << c.pszLegend;
        EXPECT_EQ(rig.Form().ResultText(), c.bFound ? kCsId + u"\r\nN35.39.29.157E139.44.58.500\r\n" : u"")
            << c.pszLegend;
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), c.nConnects) << c.pszLegend;
        if (c.pszError) {
            EXPECT_EQ(rig.BoxCount(c.pszError), 1) << c.pszLegend;
        } else {
            EXPECT_TRUE(rig.m_boxes.Boxes().empty()) << c.pszLegend;
        }
        const std::string strCache = test::ReadUtf16File(rig.m_dir.File("cache.txt"));
        EXPECT_EQ(strCache.find("0A12F3C4") != std::string::npos, c.bCached || (c.bCache && c.bFound))
            << c.pszLegend << ": a new answer is stored";
    }
}

// ---- the channels ----

// Which channel is broken -> every enabled channel still runs, in the order browser, mail, HTTP,
// map, and only the broken one counts as failed.
TEST(WorkflowChannels, ChannelsRunInOrderAndAFailureStopsOnlyItself) {
    const struct {
        const char* pszLegend;
        bool bMailWorks;
        bool bHttpWorks;
    } cases[] = {{"all work", true, true}, {"HTTP refused", true, false}, {"mail refused", false, true}};
    for (const auto& c : cases) {
        SendTarget target;
        std::unique_ptr<ScriptedMailPeer> pPeer;
        std::uint16_t nMailPort = test::UnusedLoopbackPort();
        if (c.bMailWorks) {
            pPeer = std::make_unique<ScriptedMailPeer>(std::vector<std::string>{"220 ready\r\n"}, test::GoodSmtpSteps());
            nMailPort = pPeer->Port();
        }
        const std::u16string strUrl =
            c.bHttpWorks ? target.Url()
                         : u"http://127.0.0.1:" + Utf8ToUtf16(std::to_string(test::UnusedLoopbackPort())) + u"/send";
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            for (BoolKey key : {BoolKey::BrowserSend, BoolKey::MailSend, BoolKey::HttpSend, BoolKey::GmmSend})
                settings.SetBool(key, true);
            UseUrl(settings, strUrl);
            UseMail(settings, nMailPort);
        }));
        rig.Command(IDC_ACQUIRE_SEND);

        std::vector<std::string> expected = {"<確認>:ブラウザを起動します。", "<確認>:メール送信を開始します。"};
        if (c.bMailWorks)
            expected.push_back("<確認>:メール送信に成功しました。");
        else
            expected.insert(expected.end(), {"<エラー>:接続に失敗しました。(111)", "<確認>:メール送信に失敗しました。"});
        expected.insert(expected.end(), {"<確認>:HTTP送信を開始します。", "<確認>:インターネットへデータを送信します。"});
        if (c.bHttpWorks)
            expected.insert(expected.end(), {"<確認>:accepted", "<確認>:HTTP送信に成功しました。"});
        else
            expected.push_back("<確認>:HTTP送信に失敗しました。");
        const auto lines = rig.LogLinesStartingWith({"<確認>:ブラウザ", "<確認>:メール", "<エラー>:接続", "<確認>:HTTP",
                                                     "<確認>:インターネット", "<確認>:accepted"});
        EXPECT_EQ(lines, expected) << c.pszLegend;

        const std::string strSendUrl = Utf16ToUtf8(strUrl) + "?" + kPositionQuery;
        EXPECT_EQ(Texts(rig.m_handOffs), (std::vector<std::string>{"open " + Utf16ToUtf8(FormRig::kBrowser) + " | " + strSendUrl,
                                                                   "open geo:35.661284,139.744293 | "}))
            << c.pszLegend << ": browser first, map last";
        EXPECT_EQ(target.Targets(), c.bHttpWorks ? std::vector<std::string>{"/send?" + kPositionQuery}
                                                 : std::vector<std::string>{})
            << c.pszLegend;
        if (pPeer) {
            EXPECT_NE(pPeer->Transcript().find("RCPT TO:you@example.jp\r\n"), std::string::npos);
        }
        EXPECT_EQ(rig.Form().SendFailures(), (c.bMailWorks ? 0 : 1) + (c.bHttpWorks ? 0 : 1)) << c.pszLegend;
    }
}

// Channels that need the line -> 3017 once per such channel; the browser and the map do not ask.
TEST(WorkflowChannels, AutoConnectFailureIsReportedOncePerChannelThatNeedsTheLine) {
    const struct {
        const char* pszLegend;
        bool bMail;
        bool bHttp;
        bool bForeignLine;
        int nBoxes;
        int nConnects;
    } cases[] = {
        {"mail and HTTP", true, true, false, 2, 2},
        {"HTTP only", false, true, false, 1, 1},
        {"line already up elsewhere", true, true, true, 0, 0},
    };
    for (const auto& c : cases) {
        SendTarget target;
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::AutoConnect, true);
            settings.SetBool(BoolKey::BrowserSend, true);
            settings.SetBool(BoolKey::GmmSend, true);
            settings.SetBool(BoolKey::MailSend, c.bMail);
            settings.SetBool(BoolKey::HttpSend, c.bHttp);
            UseUrl(settings, target.Url());
            UseMail(settings, test::UnusedLoopbackPort());
        }));
        rig.m_libraries.m_conn.m_nConnectResult = 0;
        rig.m_libraries.m_conn.m_bForeignLine = c.bForeignLine;
        rig.Command(IDC_ACQUIRE_SEND);
        EXPECT_EQ(rig.BoxCount(u"自動接続に失敗しました。"), c.nBoxes) << c.pszLegend;
        EXPECT_EQ(rig.LogCount("<エラー>:自動接続に失敗しました。"), c.nBoxes) << c.pszLegend;
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), c.nConnects) << c.pszLegend;
        for (const auto& box : rig.m_boxes.Boxes())
            if (box.strText == u"自動接続に失敗しました。") {
                EXPECT_EQ(box.nFlags, mb::kIconHand);
            }
        EXPECT_EQ(rig.m_handOffs.size(), 2u) << c.pszLegend << ": browser and map still run";
        EXPECT_EQ(target.Targets().size(), c.bForeignLine && c.bHttp ? 1u : 0u) << c.pszLegend;
    }
}

// ---- re-entrancy ----

// Where the second request arrives -> it is dropped: no 8000 line, no second acquisition or send.
TEST(WorkflowBusy, TicksAndPressesDuringARunAreDropped) {
    const std::string kAutoLine = "<確認>:自動実行を開始します。";
    // During a send: the browser hand-off runs inside SendPosition with the busy flag set.
    {
        FormRig rig;
        ASSERT_TRUE(rig.Create([](Settings& settings) {
            settings.SetBool(BoolKey::AutoSend, true);
            settings.SetNumber(NumberKey::AutoSendInterval, 60000);
            settings.SetBool(BoolKey::BrowserSend, true);
        }));
        int nInside = 0;
        rig.m_onHandOff = [&](const std::u16string&) {
            if (nInside++) return;
            EXPECT_TRUE(rig.Form().IsBusy());
            rig.Tick(60000);  // timer 101 fires here
            rig.Command(IDC_ACQUIRE_SEND);
            rig.Command(IDC_SEND);
            rig.Command(IDC_ACQUIRE);
            rig.Command(IDC_MONITOR);
            rig.Command(IDC_CONNECT);
        };
        rig.Command(IDC_ACQUIRE_SEND);
        EXPECT_EQ(nInside, 1) << "during a send";
        EXPECT_EQ(rig.LogCount(kAutoLine), 0) << "during a send";
        EXPECT_EQ(rig.LogCount("<確認>:CSIDを取得します。"), 1) << "during a send";
        EXPECT_FALSE(rig.Form().IsMonitoring());
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), 0);
        EXPECT_FALSE(rig.Form().IsBusy());
    }
    // During an acquisition: the progress dialog's loop lets timers and clicks in.
    {
        EmulatorConfig config;
        config.nSlowMs = 300;
        FormRig rig(config);
        ASSERT_TRUE(rig.Create([](Settings& settings) {
            settings.SetBool(BoolKey::AutoSend, true);
            settings.SetNumber(NumberKey::AutoSendInterval, 60000);
            settings.SetBool(BoolKey::GmmSend, true);
        }));
        std::thread intruder([&rig] {
            FormRig::WaitFor([&rig] { return !rig.ModuleCommands().empty(); });
            rig.m_clock.Advance(60000);
            rig.m_ui.Post([&rig] { rig.Command(IDC_ACQUIRE_SEND); });
            rig.m_ui.Post([&rig] { rig.Command(IDC_ACQUIRE); });
            rig.m_ui.Wake();
        });
        rig.Command(IDC_ACQUIRE_SEND);
        intruder.join();
        rig.m_ui.RunPending();  // whatever was still queued runs now, after the run
        EXPECT_EQ(rig.LogCount(kAutoLine), 0) << "during an acquisition";
        int nQueries = 0;
        for (const std::string& strCommand : rig.ModuleCommands()) nQueries += strCommand == "AT@LBC?";
        EXPECT_EQ(nQueries, 1) << "during an acquisition";
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
        auto polls = [&rig] {
            int n = 0;
            for (const std::string& strCommand : rig.ModuleCommands()) n += strCommand == "AT@LBC2";
            return n;
        };
        rig.Command(IDC_MONITOR);
        ASSERT_TRUE(rig.Form().IsMonitoring());
        rig.Tick(1000);  // no reading yet: nothing to show
        EXPECT_EQ(rig.Form().ResultText(), u"");

        ASSERT_TRUE(FormRig::WaitFor([&] { return polls() >= 1; }));
        rig.Tick(1000);
        const std::u16string kFirst = u"New Location\r\nN:35.39.29.000\r\nE:139.44.51.000\r\nPC:1\r\n";
        EXPECT_EQ(rig.Form().ResultText().substr(0, kFirst.size()), kFirst) << bMonChkSend;
        EXPECT_EQ(rig.m_host.GetText(IDC_RESULT), rig.Form().ResultText());
        EXPECT_EQ(rig.m_handOffs.size(), bMonChkSend ? 1u : 0u);
        EXPECT_EQ(rig.LogCount("<確認>:座標変更を送信します。"), bMonChkSend ? 1 : 0);
        EXPECT_TRUE(rig.Form().IsMonitoring()) << "the monitor session is back after the send";

        ASSERT_TRUE(FormRig::WaitFor([&] { return polls() >= 2; }));
        const std::u16string strBefore = rig.Form().ResultText();
        const std::uint64_t nChanges = rig.m_host.ChangeCount();
        rig.Tick(1000);
        EXPECT_EQ(rig.Form().ResultText(), strBefore) << bMonChkSend << ": the same reading writes nothing";
        EXPECT_EQ(rig.m_host.ChangeCount(), nChanges) << bMonChkSend;

        ASSERT_TRUE(FormRig::WaitFor([&] { return polls() >= 3; }));
        rig.Tick(1000);
        const std::u16string kSecond = u"New Location\r\nN:35.39.30.000\r\nE:139.44.52.000\r\nPC:1\r\n";
        EXPECT_NE(rig.Form().ResultText().find(kSecond, strBefore.size()), std::u16string::npos) << bMonChkSend;
        EXPECT_EQ(rig.m_handOffs.size(), bMonChkSend ? 2u : 0u);
        rig.Command(IDC_MONITOR);
        EXPECT_FALSE(rig.Form().IsMonitoring());
    }
}

// ---- post-processing ----

// Entries already in the day's file, POSLOGMAXSIZE -> entries after one more acquisition (the
// limit's own arithmetic is the message facility's). An entry of "$nl/$el" is 52 bytes.
TEST(WorkflowPostProcess, PositionLogHonoursItsLimit) {
    const std::u16string kEntry = u"35.39.29.000/139.44.51.000\r\n";
    const struct {
        int nBefore;
        std::int32_t nLimit;
        int nAfter;
    } cases[] = {{1, 0, 2}, {1, 110, 1}, {0, 1, 0}};
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::OutputPosLogFile, true);
            settings.SetText(TextKey::PosLogFormat, u"$nl/$el");
            settings.SetNumber(NumberKey::PosLogMaxSize, c.nLimit);
        }));
        if (c.nBefore) test::WriteFileBytes(rig.DayFile("pos"), std::string("\xff\xfe", 2) + ToUtf16LeBytes(kEntry));
        rig.Command(IDC_ACQUIRE);
        ASSERT_TRUE(rig.Form().GetLocation().HasPosition());
        std::u16string strExpected;
        for (int i = 0; i < c.nAfter; ++i) strExpected += kEntry;
        EXPECT_EQ(test::ReadUtf16File(rig.DayFile("pos")), Utf16ToUtf8(strExpected)) << c.nLimit;
    }
}

TEST(WorkflowPostProcess, FreshPositionMakesCookieAndResultText) {
    FormRig rig;
    // The cookie expires a year from now; a jar drops cookies that expired already.
    rig.m_clock.SetLocalTime(rig.m_pSystemClock->LocalTime());
    ASSERT_TRUE(rig.Create([](Settings& settings) {
        settings.SetBool(BoolKey::CreateCookie, true);
        UseUrl(settings, u"http://127.0.0.1:9/send");
    }));
    rig.Command(IDC_ACQUIRE);
    const std::u16string kOne = u"N35.39.29.000E139.44.51.000/1\r\nN35.39.29.000E139.44.51.000\r\n";
    EXPECT_EQ(rig.Form().ResultText(), kOne);
    EXPECT_EQ(rig.m_host.GetText(IDC_RESULT), kOne);
    EXPECT_TRUE(rig.m_host.IsCaretAtEnd(IDC_RESULT));
    EXPECT_NE(test::ReadFileBytes(rig.m_dir.File("cookies.txt")).find("\tlocation\t35.39.29.000,139.44.51.000"),
              std::string::npos) << test::ReadFileBytes(rig.m_dir.File("cookies.txt"));
    EXPECT_TRUE(rig.m_boxes.Boxes().empty());
    rig.Command(IDC_ACQUIRE);
    EXPECT_EQ(rig.Form().ResultText(), kOne + kOne) << "each position is appended";
}

// The selected URL row -> the box of the cookie, the browser and the HTTP channel, in that order.
// Only a missing row is "no URL"; a row whose address is empty fails to make the cookie or to
// build the send URL.
TEST(WorkflowPostProcess, MissingRowAndEmptyAddressAreToldApart) {
    using Box = std::tuple<std::u16string, std::u16string, std::uint32_t>;
    const Box kNoUrl{u"送信先のURLを指定してください。", u"警告", mb::kIconExclamation};
    const struct {
        const char* pszLegend;
        bool bRowExists;
        std::vector<Box> boxes;
    } cases[] = {
        {"no row selected", false, {kNoUrl, kNoUrl, kNoUrl}},
        {"empty address",
         true,
         {{u"Cookieの作成に失敗しました。", u"警告", mb::kIconExclamation},
          {u"送信データの作成に失敗しました。", u"エラー", mb::kIconHand},
          {u"送信データの作成に失敗しました。", u"エラー", mb::kIconHand}}},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::CreateCookie, true);
            UseUrl(settings, u"");
            if (!c.bRowExists) settings.UrlList().SetSelectedIndex(5);
        }));
        rig.Command(IDC_ACQUIRE);
        EXPECT_FALSE(rig.Form().ResultText().empty()) << c.pszLegend << ": the position is still shown";
        for (int nChannel : {IDC_BROWSERSEND, IDC_HTTPSEND}) {
            rig.m_host.SetCheck(IDC_BROWSERSEND, nChannel == IDC_BROWSERSEND);
            rig.m_host.SetCheck(IDC_HTTPSEND, nChannel == IDC_HTTPSEND);
            rig.Command(IDC_SEND);
        }
        std::vector<Box> boxes;
        for (const auto& box : rig.m_boxes.Boxes()) boxes.emplace_back(box.strText, box.strCaption, box.nFlags);
        EXPECT_EQ(boxes, c.boxes) << c.pszLegend;
    }
}

}  // namespace
}  // namespace vantrel
