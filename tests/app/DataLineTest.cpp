// The module and the data line take turns: the connection-wait guard between them, the line
// dropped after an auto-send, the monitor giving the port back for a send, and a program without
// a data-line library.
#include <gtest/gtest.h>

#include "FormRig.h"
#include "support/ScriptedMailPeer.h"

namespace vantrel {
namespace {

using test::FormRig;

constexpr std::int32_t kWait = 2000;

int Count(const std::vector<std::string>& commands, const std::string& strCommand) {
    return static_cast<int>(std::count(commands.begin(), commands.end(), strCommand));
}

// CONNECTWAIT 2000 ms. The guard sleeps on the form's clock, paced so that it takes real time;
// every use of the port, the line or the browser notes how long the guard had slept by then.
// Legend: settings, line up at the start, what the test does -> the uses in order, each with the
// guard's sleep so far ("connect@2000": the whole wait was over before connecting).
TEST(ConnectionWait, TheGuardRunsBetweenModuleAndLine) {
    const struct {
        const char* pszLegend;
        void (*edit)(Settings&);
        bool bLineUp;
        void (*act)(FormRig&);
        std::vector<std::string> uses;
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
        {"a disconnect, then a connect", [](Settings&) {}, true,
         [](FormRig& rig) {
             rig.Command(IDC_CONNECT);
             rig.Command(IDC_CONNECT);
         },
         {"Disconnect@0", "Connect@2000"}},
        {"a send while monitoring: the port let go, the browser, the line dropped, the port again",
         [](Settings& s) { s.SetBool(BoolKey::BrowserSend, true); }, false,
         [](FormRig& rig) {
             rig.Command(IDC_MONITOR);
             ASSERT_TRUE(FormRig::WaitFor([&] { return Count(rig.ModuleCommands(), "AT@LBC2") >= 1; }));
             rig.m_libraries.m_conn.m_bUp = true;
             rig.Command(IDC_SEND);
         },
         {"port@0", "browser@2000", "Disconnect@2000", "port@4000"}},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetNumber(NumberKey::ConnectWait, kWait);
            c.edit(settings);
        }));
        rig.m_clock.PaceSleeps(10);
        std::vector<std::string> uses;
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

// Legend: AUTOSENDISCONNECT, how the run starts -> the line the auto-connect brought up is dropped.
TEST(AutoSendDisconnect, OnlyAnAutoSendDropsTheLineAfterwards) {
    const struct {
        bool bDisconnect;
        bool bTick;
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
            settings.UrlList().Clear();
            settings.UrlList().AddRow({u"t", u"http://127.0.0.1:" + Utf8ToUtf16(std::to_string(test::UnusedLoopbackPort())), u""});
            settings.UrlList().SetSelectedIndex(0);
        }));
        if (c.bTick) rig.Tick(60000);
        else rig.Command(IDC_ACQUIRE_SEND);
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), 1) << c.bDisconnect << c.bTick;
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Disconnect"), c.nDisconnects) << c.bDisconnect << c.bTick;
        EXPECT_EQ(rig.m_libraries.m_conn.m_bUp, c.nDisconnects == 0);
    }
}

// The monitor lets go of the port for a send; when it cannot have it back, monitoring ends and the
// form is whole again.
TEST(MonitorAfterASend, APortThatCannotBeReopenedEndsMonitoring) {
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    rig.Command(IDC_MONITOR);
    ASSERT_TRUE(FormRig::WaitFor([&] { return Count(rig.ModuleCommands(), "AT@LBC2") >= 1; }));
    rig.m_resolver.SetSimulatedDevice(u"/nonexistent/tty");
    rig.Command(IDC_SEND);
    EXPECT_FALSE(rig.Form().IsMonitoring());
    EXPECT_FALSE(rig.m_ui.HasTimer(timer::kMonitor));
    for (int nId : {IDC_ACQUIRE, IDC_CONNECT, IDC_URL_LIST, IDC_MONITOR, IDC_SEND}) EXPECT_TRUE(rig.m_host.IsEnabled(nId)) << nId;
    EXPECT_EQ(rig.Form().GetLocation().m_strNL, u"35.39.29.000") << "the send had its position";
    EXPECT_EQ(rig.m_boxes.Boxes().back().strText.rfind(u"CreateFile failed: /nonexistent/tty", 0), 0u);
}

// Without the data-line library the program runs on: the connect button and auto-connect find
// no line to bring up.
TEST(NoDataLineLibrary, StartUpContinuesAndConnectingFails) {
    FormRig rig;
    rig.m_libraries.m_bPresent = false;
    ASSERT_TRUE(rig.Create([](Settings& settings) {
        settings.SetBool(BoolKey::AutoConnect, true);
        settings.SetBool(BoolKey::HttpSend, true);
    }));
    rig.Tick(1000);
    EXPECT_EQ(rig.m_host.GetText(IDC_CONNECT), u"接続");
    rig.Command(IDC_CONNECT);
    EXPECT_EQ(rig.LogLinesStartingWith({"<確認>:接続"}),
              (std::vector<std::string>{"<確認>:接続を開始します。", "<確認>:接続に失敗しました。"}));
    ASSERT_TRUE(rig.Form().GetLocation().SetFromText(u"N35.39.29.000E139.44.51.000/1"));
    rig.Command(IDC_SEND);
    EXPECT_EQ(rig.BoxCount(u"自動接続に失敗しました。"), 1);
    EXPECT_EQ(rig.m_libraries.m_nLoaded, 0);
}

}  // namespace
}  // namespace vantrel
