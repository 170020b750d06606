// The main form: exchange between controls and settings, enable rules, the timers it owns, the
// start-up run and the exit steps.
#include <gtest/gtest.h>

#include "FormRig.h"

namespace vantrel {
namespace {

using test::FormRig;

constexpr int kAllControls[] = {IDC_URL_LABEL, IDC_URL_LIST,   IDC_URL_EDIT,   IDC_BROWSER_LABEL, IDC_BROWSER_LIST,
                                IDC_BROWSER_EDIT, IDC_CONNECT, IDC_AUTOCONNECT, IDC_ACQUIRE,   IDC_LOCATEEASY,
                                IDC_BROWSERSEND, IDC_MAILSEND, IDC_HTTPSEND,    IDC_GMMSEND,   IDC_MONITOR,
                                IDC_SEND,      IDC_ACQUIRE_SEND, IDC_RESULT};

// Check box -> the setting it stands for. Each row checks only its own box, so a swapped or
// missing binding shows as a wrong setting.
TEST(MainFormExchange, EachCheckBoxReadsIntoItsOwnSetting) {
    const struct {
        int nId;
        BoolKey key;
    } bindings[] = {
        {IDC_AUTOCONNECT, BoolKey::AutoConnect}, {IDC_LOCATEEASY, BoolKey::LocateEasy},
        {IDC_BROWSERSEND, BoolKey::BrowserSend}, {IDC_MAILSEND, BoolKey::MailSend},
        {IDC_HTTPSEND, BoolKey::HttpSend},       {IDC_GMMSEND, BoolKey::GmmSend},
    };
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    for (const auto& row : bindings) {
        for (const auto& other : bindings) rig.m_host.SetCheck(other.nId, other.nId == row.nId);
        rig.Form().ReadForm();
        for (const auto& other : bindings)
            EXPECT_EQ(rig.FormSettings().Bool(other.key), other.nId == row.nId) << row.nId << " read into " << other.nId;
        // And back: WriteForm shows exactly that one setting.
        for (const auto& other : bindings) rig.m_host.SetCheck(other.nId, false);
        rig.Form().WriteForm();
        for (const auto& other : bindings) EXPECT_EQ(rig.m_host.GetCheck(other.nId), other.nId == row.nId) << row.nId;
    }
}

// Stored index, rows -> combo selection shown, index kept after ReadForm with that selection.
TEST(MainFormExchange, StoredIndexOutsideTheListShowsNoSelectionAndIsKept) {
    const struct {
        const char* pszLegend;
        int nStored;
        int nShown;
    } cases[] = {
        {"inside", 1, 1},
        {"one past the end", 2, -1},
        {"far beyond", 9, -1},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.UrlList().AddRow({u"second", u"http://127.0.0.1:9/two", u""});
            settings.UrlList().SetSelectedIndex(c.nStored);
        }));
        EXPECT_EQ(rig.m_host.ComboCount(IDC_URL_LIST), 2) << c.pszLegend;
        EXPECT_EQ(rig.m_host.ComboGetSel(IDC_URL_LIST), c.nShown) << c.pszLegend;
        rig.Form().ReadForm();
        EXPECT_EQ(rig.FormSettings().UrlList().SelectedIndex(), c.nStored) << c.pszLegend;
        // Until the user picks a row.
        rig.m_host.ComboSetSel(IDC_URL_LIST, 0);
        rig.Form().ReadForm();
        EXPECT_EQ(rig.FormSettings().UrlList().SelectedIndex(), 0) << c.pszLegend;
    }
}

// The box on the form wins over the file for the command that follows, and nothing is saved.
TEST(MainFormExchange, SimpleCoordinatesCheckedOnTheFormApplyWithoutSaving) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) { settings.SetBool(BoolKey::LocateEasy, false); }));
    const std::string strSaved = test::ReadFileBytes(rig.m_dir.File("default.ini"));
    EXPECT_FALSE(rig.m_host.GetCheck(IDC_LOCATEEASY));
    rig.m_host.SetCheck(IDC_LOCATEEASY, true);
    rig.Command(IDC_ACQUIRE);
    EXPECT_TRUE(rig.ModuleHeard("AT@LBC?")) << "a CS-ID run ends after AT@K20";
    EXPECT_TRUE(rig.Form().GetLocation().HasPosition());
    EXPECT_EQ(test::ReadFileBytes(rig.m_dir.File("default.ini")), strSaved);
}

// Timer 101 exists exactly when AUTOSEND is on and the interval is at least a minute.
TEST(MainFormTimers, AutoSendTimerNeedsAMinuteAtLeast) {
    const struct {
        bool bAutoSend;
        std::int32_t nInterval;
        bool bTimer;
    } cases[] = {
        {true, 59999, false}, {true, 60000, true}, {false, 60000, false},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::AutoSend, c.bAutoSend);
            settings.SetNumber(NumberKey::AutoSendInterval, c.nInterval);
        }));
        EXPECT_EQ(rig.m_ui.HasTimer(timer::kAutoSend), c.bTimer) << c.bAutoSend << " " << c.nInterval;
    }
}

// Applying a shorter interval later kills the running timer; the period is the interval itself.
TEST(MainFormTimers, AutoSendTicksAtItsIntervalAndReapplyingCanStopIt) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) {
        settings.SetBool(BoolKey::AutoSend, true);
        settings.SetNumber(NumberKey::AutoSendInterval, 60000);
    }));
    const std::string kAutoLine = "<確認>:自動実行を開始します。";
    rig.Tick(59999);
    EXPECT_EQ(rig.LogCount(kAutoLine), 0);
    EXPECT_TRUE(rig.ModuleCommands().empty());
    rig.Tick(1);
    EXPECT_EQ(rig.LogCount(kAutoLine), 1);
    EXPECT_TRUE(rig.ModuleHeard("AT@LBC?")) << "the tick acquires";
    rig.FormSettings().SetNumber(NumberKey::AutoSendInterval, 59999);
    rig.Form().ApplySettings();
    EXPECT_FALSE(rig.m_ui.HasTimer(timer::kAutoSend));
}

// NOMSG, OUTPUTMSGFILE -> the message facility's flags word.
TEST(MainFormTimers, ApplySettingsSetsTheMessageFlagsAndLogFolder) {
    const struct {
        bool bNoMsg;
        bool bLog;
        std::uint32_t nFlags;
    } cases[] = {{false, false, 2}, {true, true, 1}};
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::NoMsg, c.bNoMsg);
            settings.SetBool(BoolKey::OutputMsgFile, c.bLog);
            settings.SetText(TextKey::LogFileDir, u"");
        }));
        EXPECT_EQ(rig.m_messages.Flags(), c.nFlags);
        // An empty LOGFILEDIR means the program folder.
        EXPECT_EQ(rig.m_messages.LogFolder(), rig.m_dir.WidePath() + u"/");
    }
}

// The caption follows GetConnection once a second and is written only when it changes.
TEST(MainFormTimers, ConnectCaptionFollowsTheLine) {
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    EXPECT_TRUE(rig.m_ui.HasTimer(timer::kConnectCaption));
    test::ScriptedDlgConnect& conn = rig.m_libraries.m_conn;
    const struct {
        bool bUp;
        bool bForeign;
        const char16_t* pszCaption;
    } steps[] = {
        {false, false, u"接続"},
        {true, false, u"切断"},
        {true, false, u"切断"},
        {false, true, u"接続"},  // a line someone else opened is not the program's connection
        {false, false, u"接続"},
    };
    for (const auto& step : steps) {
        conn.m_bUp = step.bUp;
        conn.m_bForeignLine = step.bForeign;
        rig.Tick(999);
        const std::u16string strBefore = rig.m_host.GetText(IDC_CONNECT);
        const std::uint64_t nChanges = rig.m_host.ChangeCount();
        rig.Tick(1);
        EXPECT_EQ(rig.m_host.GetText(IDC_CONNECT), step.pszCaption);
        EXPECT_EQ(rig.m_host.ChangeCount() != nChanges, strBefore != step.pszCaption) << "written only on a change";
    }
}

TEST(MainFormEnable, MonitoringLeavesOnlyMonitorAndSendEnabled) {
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    rig.Command(IDC_MONITOR);
    ASSERT_TRUE(rig.Form().IsMonitoring());
    EXPECT_TRUE(rig.m_ui.HasTimer(timer::kMonitor));
    for (int nId : kAllControls)
        EXPECT_EQ(rig.m_host.IsEnabled(nId), nId == IDC_MONITOR || nId == IDC_SEND) << nId;
    rig.Command(IDC_MONITOR);
    EXPECT_FALSE(rig.Form().IsMonitoring());
    EXPECT_FALSE(rig.m_ui.HasTimer(timer::kMonitor));
    for (int nId : kAllControls) EXPECT_TRUE(rig.m_host.IsEnabled(nId)) << nId;
}

// STARTUPALL, SUPEXIT, start-up run allowed -> acquired and sent after the loop starts, closed.
TEST(MainFormStartup, StartupRunAcquiresSendsAndClosesWithSupExit) {
    const struct {
        const char* pszLegend;
        bool bStartupAll;
        bool bSupExit;
        bool bRunAllowed;
        bool bRuns;
        int nCloses;
    } cases[] = {
        {"run and exit", true, true, true, true, 1},
        {"run and stay", true, false, true, true, 0},
        {"no start-up run", false, true, true, false, 0},
        {"a single command instead", true, true, false, false, 0},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create(
            [&](Settings& settings) {
                settings.SetBool(BoolKey::StartupAll, c.bStartupAll);
                settings.SetBool(BoolKey::SupExit, c.bSupExit);
                settings.SetBool(BoolKey::GmmSend, true);
            },
            c.bRunAllowed));
        // Posted, not run: nothing happens before the loop turns.
        EXPECT_TRUE(rig.ModuleCommands().empty()) << c.pszLegend;
        rig.m_ui.RunPending();
        EXPECT_EQ(rig.ModuleHeard("AT@LBC?"), c.bRuns) << c.pszLegend;
        EXPECT_EQ(rig.m_handOffs.size(), c.bRuns ? 1u : 0u) << c.pszLegend << ": the map hand-off is the send";
        EXPECT_EQ(rig.m_nCloses, c.nCloses) << c.pszLegend;
    }
}

// SUPEXIT closes after the start-up run's send only: a start-up run that stopped before sending
// (here the user kept the line) must not make a later send close the program.
TEST(MainFormStartup, SupExitBelongsToTheStartupRunOnly) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) {
        settings.SetBool(BoolKey::StartupAll, true);
        settings.SetBool(BoolKey::SupExit, true);
        settings.SetBool(BoolKey::GmmSend, true);
    }));
    rig.m_libraries.m_conn.m_bUp = true;
    rig.m_boxes.SetAnswer(mb::kIdNo);
    rig.m_ui.RunPending();
    EXPECT_TRUE(rig.ModuleCommands().empty());
    ASSERT_TRUE(rig.Form().GetLocation().SetFromText(u"N35.39.29.000E139.44.51.000/1"));
    rig.Command(IDC_SEND);
    EXPECT_EQ(rig.m_handOffs.size(), 1u);
    rig.m_ui.RunPending();
    EXPECT_EQ(rig.m_nCloses, 0);
}

// A file that cannot be loaded leaves the defaults without applying them: the message flags stay
// as they were (applying the defaults would turn boxes on and the log off).
TEST(MainFormStartup, UnreadableSettingsSkipApplySettings) {
    FormRig rig;  // no default.ini in the program folder
    rig.m_messages.SetFlags(MessageFacility::kLogToFile);
    EXPECT_FALSE(rig.CreateOnly());
    EXPECT_EQ(rig.m_messages.Flags(), MessageFacility::kLogToFile) << "flags untouched";
    EXPECT_TRUE(rig.m_ui.HasTimer(timer::kConnectCaption));
    EXPECT_EQ(rig.m_libraries.m_nObjects, 1) << "the connection is made anyway";
}

// The menu's copy: the clipboard gets CLIPBOARDFORMAT filled from the position, and nothing
// without a position.
TEST(MainFormHandOffs, CopyPutsTheFilledFormatOnTheClipboard) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) { settings.SetText(TextKey::ClipboardFormat, u"$nl,$el $pc"); }));
    rig.Command(IDM_COPY);
    EXPECT_EQ(rig.m_clipboard.m_nSets, 0);
    ASSERT_TRUE(rig.Form().GetLocation().SetFromText(u"N35.39.29.157E139.44.58.500/7"));
    rig.Command(IDM_COPY);
    EXPECT_EQ(rig.m_clipboard.m_strText, u"35.39.29.157,139.44.58.500 7");
}

// EXITDISCONNECT, line up, Disconnect's answer -> the calls the library sees at exit.
TEST(MainFormExit, ExitDropsTheLineOnlyWhenAskedAndAlwaysReleases) {
    const struct {
        const char* pszLegend;
        bool bExitDisconnect;
        bool bUp;
        std::vector<std::string> calls;
    } cases[] = {
        {"drop an open line", true, true, {"create", "Disconnect 3", "delete"}},
        {"keep it", false, true, {"create", "delete"}},
        {"nothing to drop", true, false, {"create", "delete"}},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::ExitDisconnect, c.bExitDisconnect);
            settings.SetBool(BoolKey::AutoSend, true);
            settings.SetNumber(NumberKey::AutoSendInterval, 60000);
        }));
        rig.m_libraries.m_conn.m_bUp = c.bUp;
        rig.Form().OnClose();
        EXPECT_EQ(rig.m_libraries.m_conn.m_calls, c.calls) << c.pszLegend;
        EXPECT_EQ(rig.m_libraries.m_nObjects, 0) << c.pszLegend;
        EXPECT_EQ(rig.m_libraries.m_nLoaded, 0) << c.pszLegend;
        EXPECT_FALSE(rig.m_ui.HasTimer(timer::kAutoSend)) << c.pszLegend;
        EXPECT_FALSE(rig.m_ui.HasTimer(timer::kConnectCaption)) << c.pszLegend;
    }
}

// Exit reads the form back first and stops a running monitor.
TEST(MainFormExit, ExitReadsTheFormAndStopsMonitoring) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) { settings.SetBool(BoolKey::ExitDisconnect, true); }));
    rig.Command(IDC_MONITOR);
    ASSERT_TRUE(rig.Form().IsMonitoring());
    rig.m_host.SetCheck(IDC_HTTPSEND, true);
    rig.Form().OnClose();
    EXPECT_FALSE(rig.Form().IsMonitoring());
    EXPECT_FALSE(rig.m_ui.HasTimer(timer::kMonitor));
    EXPECT_TRUE(rig.FormSettings().Bool(BoolKey::HttpSend));
}

}  // namespace
}  // namespace vantrel
