// The main form: exchange between controls and settings, enable rules, the timers it owns, the
// start-up run, the exit steps, and the commands that open the list editor, the settings files and
// the settings sheet.
#include <gtest/gtest.h>

#include <filesystem>

#include "FormRig.h"

namespace vantrel {
namespace {

using test::FormRig;

// Everything the record would write, whatever its path.
std::string Snapshot(const Settings& settings, const test::TempDir& dir) {
    Settings copy = settings;
    const std::string strPath = dir.File("snapshot.tmp");
    EXPECT_TRUE(copy.Save(Utf8ToUtf16(strPath)));
    return test::ReadFileBytes(strPath);
}

// Runs fn on the sheet the next command opens modally.
void WhenSheet(FormRig& rig, std::function<void(MemorySheetHost&)> fn) {
    rig.m_ui.Post([&rig, fn] {
        if (MemorySheetHost* pSheet = rig.m_dialogs.ActiveSheet()) fn(*pSheet);
    });
}

// Ticks AUTOSEND with an interval of a minute on the sheet's page 3 and ends the sheet with nEnd.
void SheetTurnsAutoSendOn(FormRig& rig, int nEnd) {
    WhenSheet(rig, [nEnd](MemorySheetHost& sheet) {
        MemoryDialogHost& page = sheet.Page(3);
        page.SetCheck(IDC_PS_AUTOSEND, true);
        page.SendCommand(IDC_PS_AUTOSEND);
        page.SetText(IDC_PS_AUTOSENDINTERVAL, u"60000");
        page.SendCommand(nEnd);
    });
    rig.Command(IDM_SETTINGS);
}

// Check box -> the setting it stands for. Each row ticks only its own box, so a swapped or missing
// binding shows as a wrong setting.
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
    }
}

// A stored index outside the list shows no selection and is kept by ReadForm until the user picks
// a row. (An index inside it is shown: see the list editor's test below.)
TEST(MainFormExchange, StoredIndexOutsideTheListShowsNoSelectionAndIsKept) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) { settings.UrlList().SetSelectedIndex(1); }));
    EXPECT_EQ(rig.m_host.ComboGetSel(IDC_URL_LIST), -1);
    rig.Form().ReadForm();
    EXPECT_EQ(rig.FormSettings().UrlList().SelectedIndex(), 1);
    rig.m_host.ComboSetSel(IDC_URL_LIST, 0);
    rig.Form().ReadForm();
    EXPECT_EQ(rig.FormSettings().UrlList().SelectedIndex(), 0);
}

// The box on the form wins over the file for the command that follows, and nothing is saved.
TEST(MainFormExchange, SimpleCoordinatesCheckedOnTheFormApplyWithoutSaving) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) { settings.SetBool(BoolKey::LocateEasy, false); }));
    const std::string strSaved = test::ReadFileBytes(rig.m_dir.File("default.ini"));
    rig.m_host.SetCheck(IDC_LOCATEEASY, true);
    rig.Command(IDC_ACQUIRE);
    EXPECT_EQ(rig.ModuleCount("AT@LBC?"), 1) << "a CS-ID run ends after AT@K20";
    EXPECT_EQ(test::ReadFileBytes(rig.m_dir.File("default.ini")), strSaved);
}

// Timer 101 runs at the interval itself, and only while the interval is at least a minute.
TEST(MainFormTimers, AutoSendTicksAtItsIntervalOfAMinuteAtLeast) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) {
        settings.SetBool(BoolKey::AutoSend, true);
        settings.SetNumber(NumberKey::AutoSendInterval, 60000);
    }));
    const std::string kAutoLine = "<確認>:自動実行を開始します。";
    rig.Tick(59999);
    EXPECT_EQ(rig.LogCount(kAutoLine), 0);
    rig.Tick(1);
    EXPECT_EQ(rig.LogCount(kAutoLine), 1);
    EXPECT_EQ(rig.ModuleCount("AT@LBC?"), 1) << "the tick acquires";
    rig.FormSettings().SetNumber(NumberKey::AutoSendInterval, 59999);
    rig.Form().ApplySettings();
    EXPECT_FALSE(rig.m_ui.HasTimer(timer::kAutoSend));
}

// The caption follows GetConnection once a second.
TEST(MainFormTimers, ConnectCaptionFollowsTheLine) {
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    test::ScriptedDlgConnect& conn = rig.m_libraries.m_conn;
    // Legend: the program's line up, a line someone else opened, the caption after the tick.
    const struct {
        bool bUp;
        bool bForeign;
        const char16_t* pszCaption;
    } steps[] = {{true, false, u"切断"}, {false, true, u"接続"}};
    for (const auto& step : steps) {
        conn.m_bUp = step.bUp;
        conn.m_bForeignLine = step.bForeign;
        rig.Tick(999);
        EXPECT_NE(rig.m_host.GetText(IDC_CONNECT), step.pszCaption) << "not before the second is up";
        rig.Tick(1);
        EXPECT_EQ(rig.m_host.GetText(IDC_CONNECT), step.pszCaption);
    }
}

TEST(MainFormEnable, MonitoringLeavesOnlyMonitorAndSendEnabled) {
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    rig.Command(IDC_MONITOR);
    ASSERT_TRUE(rig.m_ui.HasTimer(timer::kMonitor));
    for (int nId : {IDC_URL_LIST, IDC_CONNECT, IDC_ACQUIRE, IDC_RESULT, IDC_MONITOR, IDC_SEND})
        EXPECT_EQ(rig.m_host.IsEnabled(nId), nId == IDC_MONITOR || nId == IDC_SEND) << nId;
    rig.Command(IDC_MONITOR);
    EXPECT_FALSE(rig.m_ui.HasTimer(timer::kMonitor));
    for (int nId : {IDC_URL_LIST, IDC_ACQUIRE, IDC_MONITOR}) EXPECT_TRUE(rig.m_host.IsEnabled(nId)) << nId;
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
        EXPECT_TRUE(rig.m_module.Commands().empty()) << c.pszLegend << ": posted, not run yet";
        rig.m_ui.RunPending();
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
    }));
    rig.m_libraries.m_conn.m_bUp = true;
    rig.m_boxes.SetAnswer(mb::kIdNo);
    rig.m_ui.RunPending();
    ASSERT_TRUE(rig.Form().GetLocation().SetFromText(u"N35.39.29.000E139.44.51.000/1"));
    rig.Command(IDC_SEND);
    rig.m_ui.RunPending();
    EXPECT_EQ(rig.m_nCloses, 0);
}

// A file that cannot be loaded leaves the defaults without applying them: the message flags stay
// as they were (applying the defaults would turn boxes on and the log off). The sheet's OK then
// writes default.ini and starts auto-send.
TEST(MainFormStartup, UnreadableSettingsSkipApplySettingsUntilTheSheetSaves) {
    FormRig rig;  // no default.ini in the program folder
    rig.m_messages.SetFlags(MessageFacility::kLogToFile);
    EXPECT_FALSE(rig.CreateOnly());
    EXPECT_EQ(rig.m_messages.Flags(), MessageFacility::kLogToFile) << "flags untouched";
    EXPECT_EQ(rig.m_libraries.m_nObjects, 1) << "the connection is made anyway";
    SheetTurnsAutoSendOn(rig, IDC_OK);
    EXPECT_TRUE(rig.m_ui.HasTimer(timer::kAutoSend));
    Settings saved(rig.m_profile, *rig.m_pFiles);
    ASSERT_TRUE(saved.Load(rig.SettingsPath()));
    EXPECT_TRUE(saved.Bool(BoolKey::AutoSend));
}

// The menu's copy puts CLIPBOARDFORMAT filled from the position on the clipboard.
TEST(MainFormHandOffs, CopyPutsTheFilledFormatOnTheClipboard) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) { settings.SetText(TextKey::ClipboardFormat, u"$nl,$el $pc"); }));
    ASSERT_TRUE(rig.Form().GetLocation().SetFromText(u"N35.39.29.157E139.44.58.500/7"));
    rig.Command(IDM_COPY);
    EXPECT_EQ(rig.m_clipboard.m_strText, u"35.39.29.157,139.44.58.500 7");
}

// EXITDISCONNECT, line up, monitoring -> the calls the library sees at exit; the timers and the
// library are released and the form is read back whatever the case.
TEST(MainFormExit, ExitDropsTheLineOnlyWhenAskedAndAlwaysReleases) {
    const struct {
        const char* pszLegend;
        bool bExitDisconnect;
        bool bUp;
        bool bMonitor;
        std::vector<std::string> calls;
    } cases[] = {
        {"drop an open line", true, true, false, {"create", "Disconnect 3", "delete"}},
        {"keep it", false, true, false, {"create", "delete"}},
        {"nothing to drop; the monitor stops", true, false, true, {"create", "delete"}},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([&](Settings& settings) {
            settings.SetBool(BoolKey::ExitDisconnect, c.bExitDisconnect);
            settings.SetBool(BoolKey::AutoSend, true);
            settings.SetNumber(NumberKey::AutoSendInterval, 60000);
        }));
        if (c.bMonitor) rig.Command(IDC_MONITOR);
        rig.m_libraries.m_conn.m_bUp = c.bUp;
        rig.m_host.SetCheck(IDC_HTTPSEND, true);
        rig.Form().OnClose();
        EXPECT_EQ(rig.m_libraries.m_conn.m_calls, c.calls) << c.pszLegend;
        EXPECT_EQ(rig.m_libraries.m_nLoaded, 0) << c.pszLegend;
        for (std::uint32_t nTimer : {timer::kAutoSend, timer::kConnectCaption, timer::kMonitor})
            EXPECT_FALSE(rig.m_ui.HasTimer(nTimer)) << c.pszLegend << " " << nTimer;
        EXPECT_FALSE(rig.Form().IsMonitoring()) << c.pszLegend;
        EXPECT_TRUE(rig.FormSettings().Bool(BoolKey::HttpSend)) << c.pszLegend;
    }
}

// ---- the settings commands ----

// The editor opens on the row picked on the form (read first); on OK the list, its index and the
// drop-down follow. The browser list's button opens the browser list's editor.
TEST(SettingsCommands, ListEditorsOpenOnTheFormsRowAndRefreshIt) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) { settings.UrlList().AddRow({u"second", u"http://127.0.0.1:9/two", u""}); }));
    rig.m_host.ComboSetSel(IDC_URL_LIST, 1);
    int nOpenedOn = -2;
    bool bBrowserEditor = false;
    rig.m_ui.Post([&] {
        MemoryDialogHost& editor = *rig.m_dialogs.ActiveModal();
        nOpenedOn = editor.ListGetSel(IDC_LE_LIST);
        editor.SetText(IDC_LE_TITLE, u"third");
        editor.SetText(IDC_LE_INPUT, u"http://127.0.0.1:9/three");
        editor.SendCommand(IDC_LE_ADD);
        editor.SendCommand(IDC_OK);
    });
    rig.Command(IDC_URL_EDIT);
    EXPECT_EQ(nOpenedOn, 1);
    EXPECT_EQ(rig.m_host.ComboGetSel(IDC_URL_LIST), 2);
    rig.m_ui.Post([&] {
        bBrowserEditor = rig.m_dialogs.ActiveModal()->IsVisible(IDC_LE_BROWSE);
        rig.m_dialogs.ActiveModal()->SendCommand(IDC_CANCEL);
    });
    rig.Command(IDC_BROWSER_EDIT);
    EXPECT_TRUE(bBrowserEditor);
}

// The dialog cancelled, or a file that does not load -> nothing changes: record, path, form. A
// file that loads is applied and shown.
TEST(SettingsCommands, OpeningAFileLoadsAppliesAndShowsIt) {
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    rig.m_host.SetCheck(IDC_MAILSEND, true);  // read in before the dialog, as every command does
    rig.Form().ReadForm();
    const std::string strBefore = Snapshot(rig.FormSettings(), rig.m_dir);
    for (const std::u16string& strAnswer : {std::u16string(), rig.m_dir.WideFile("missing.ini")}) {
        rig.m_fileDialogs.m_strAnswer = strAnswer;
        rig.Command(IDM_OPEN);
        EXPECT_EQ(Snapshot(rig.FormSettings(), rig.m_dir), strBefore) << Utf16ToUtf8(strAnswer);
        EXPECT_EQ(rig.FormSettings().Path(), rig.SettingsPath());
        EXPECT_TRUE(rig.m_host.GetCheck(IDC_MAILSEND));
    }
    // Starting in the folder of default.ini, an existing file required.
    EXPECT_EQ(rig.m_fileDialogs.m_calls.at(0).request, (FileDialogRequest{u"設定ファイルの選択", u"設定ファイル (*.ini)", u"*.ini",
                                                                         false, rig.m_dir.WidePath(), true, false}));
    EXPECT_FALSE(rig.m_fileDialogs.m_calls[0].bSave);

    const std::u16string strOther = rig.m_dir.WideFile("other.ini");
    Settings other(rig.m_profile, *rig.m_pFiles);
    rig.Baseline(other);
    other.UrlList().AddRow({u"elsewhere", u"http://127.0.0.1:9/else", u""});
    other.SetBool(BoolKey::AutoSend, true);
    other.SetNumber(NumberKey::AutoSendInterval, 60000);
    ASSERT_TRUE(other.Save(strOther));
    rig.m_fileDialogs.m_strAnswer = strOther;
    rig.Command(IDM_OPEN);
    EXPECT_EQ(rig.FormSettings().Path(), strOther);
    EXPECT_TRUE(rig.m_ui.HasTimer(timer::kAutoSend)) << "applied";
    EXPECT_EQ(rig.m_host.ComboCount(IDC_URL_LIST), 2) << "shown";
}

TEST(SettingsCommands, SavingWritesTheFormAndRecordToTheChosenFile) {
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    rig.m_host.SetCheck(IDC_HTTPSEND, true);
    std::filesystem::create_directory(rig.m_dir.File("sub"));
    const std::u16string strSaved = rig.m_dir.WideFile("sub/saved.ini");
    rig.m_fileDialogs.m_strAnswer = strSaved;
    rig.Command(IDM_SAVE);
    EXPECT_TRUE(rig.m_fileDialogs.m_calls.at(0).bSave);
    FileDialogRequest expected{u"設定ファイルの保存", u"設定ファイル (*.ini)", u"*.ini", false, rig.m_dir.WidePath(), false, true};
    EXPECT_EQ(rig.m_fileDialogs.m_calls.at(0).request, expected);
    Settings saved(rig.m_profile, *rig.m_pFiles);
    ASSERT_TRUE(saved.Load(strSaved));
    EXPECT_TRUE(saved.Bool(BoolKey::HttpSend)) << "the form was read first";
    EXPECT_EQ(rig.FormSettings().Path(), strSaved);

    rig.m_fileDialogs.m_strAnswer = rig.m_dir.WideFile("missing/saved.ini");
    rig.Command(IDM_SAVE);
    expected.strInitialFolder = rig.m_dir.WideFile("sub");
    EXPECT_EQ(rig.m_fileDialogs.m_calls.at(1).request, expected) << "the folder of the file now in use";
    EXPECT_EQ(rig.BoxCount(u"SaveSettings() Failed. [file=" + rig.m_fileDialogs.m_strAnswer + u"]"), 1);
    EXPECT_EQ(rig.FormSettings().Path(), strSaved) << "a failed save keeps the file in use";
}

// The sheet's キャンセル touches neither the record nor the file (its OK: see the start-up test
// above, where it brings auto-send back).
TEST(SettingsCommands, TheSheetsCancelChangesNothing) {
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    const std::string strFile = test::ReadFileBytes(rig.m_dir.File("default.ini"));
    const std::string strRecord = Snapshot(rig.FormSettings(), rig.m_dir);
    SheetTurnsAutoSendOn(rig, IDC_CANCEL);
    EXPECT_EQ(test::ReadFileBytes(rig.m_dir.File("default.ini")), strFile);
    EXPECT_EQ(Snapshot(rig.FormSettings(), rig.m_dir), strRecord);
    EXPECT_FALSE(rig.m_ui.HasTimer(timer::kAutoSend));
}

}  // namespace
}  // namespace vantrel
