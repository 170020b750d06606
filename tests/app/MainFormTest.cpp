// The main form: the URL row picked in the combo, the auto-send timer, the start-up run, the exit
// steps, the settings files, the copy command and the settings sheet's OK.
#include <gtest/gtest.h>

#include "FormRig.h"

namespace vantrel {
namespace {

using test::FormRig;

// Opens the settings sheet, ticks AUTOSEND with an interval of a minute on its page 3 and ends
// the sheet with nEnd.
void SheetTurnsAutoSendOn(FormRig& rig, int nEnd) {
    rig.m_ui.Post([&rig, nEnd] {
        MemoryDialogHost& page = rig.m_dialogs.ActiveSheet()->Page(3);
        page.SetCheck(IDC_PS_AUTOSEND, true);
        page.SendCommand(IDC_PS_AUTOSEND);
        page.SetText(IDC_PS_AUTOSENDINTERVAL, u"60000");
        page.SendCommand(nEnd);
    });
    rig.Command(IDM_SETTINGS);
}

// A stored index outside the list shows no selection and is kept by ReadForm until the user picks
// a row, the first one included: the send goes where the user picked.
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

// Timer 101 runs at the interval itself, and only while the interval is at least a minute.
TEST(MainFormTimers, AutoSendTicksAtItsIntervalOfAMinuteAtLeast) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) {
        settings.SetBool(BoolKey::AutoSend, true);
        settings.SetNumber(NumberKey::AutoSendInterval, 60000);
    }));
    rig.Tick(59999);
    EXPECT_EQ(rig.ModuleCount("AT@LBC?"), 0);
    rig.Tick(1);
    EXPECT_EQ(rig.ModuleCount("AT@LBC?"), 1) << "the tick acquires";
    rig.FormSettings().SetNumber(NumberKey::AutoSendInterval, 59999);
    rig.Form().ApplySettings();
    EXPECT_FALSE(rig.m_ui.HasTimer(timer::kAutoSend));
}

// STARTUPALL, SUPEXIT, start-up run allowed -> acquired and sent after the loop starts, closed.
TEST(MainFormStartup, StartupRunAcquiresSendsAndClosesWithSupExit) {
    const struct {
        const char* pszLegend;
        bool bStartupAll, bSupExit, bRunAllowed, bRuns;
        int nCloses;
    } cases[] = {
        {"run and exit", true, true, true, true, 1},
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

// The settings files from the menu: the save dialog starts in the folder of the file in use and
// takes a new name; the record saved under it is that file from then on, and opening it applies it. A save that fails says which file could not be written (it once said
// nothing) and keeps the file in use.
TEST(MainFormSettings, SavedFilesAreOpenedAndAppliedAndAFailedSaveSaysSo) {
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    rig.FormSettings().SetBool(BoolKey::AutoSend, true);
    rig.FormSettings().SetNumber(NumberKey::AutoSendInterval, 60000);
    const std::u16string strOther = rig.m_dir.WideFile("other.ini");
    rig.m_fileDialogs.m_strAnswer = strOther;
    rig.Command(IDM_SAVE);
    EXPECT_EQ(rig.m_fileDialogs.m_calls.at(0).request, (FileDialogRequest{u"設定ファイルの保存", u"設定ファイル (*.ini)", u"*.ini",
                                                                         false, rig.m_dir.WidePath(), false, true}));
    rig.Command(IDM_OPEN);
    EXPECT_TRUE(rig.m_ui.HasTimer(timer::kAutoSend)) << "applied when opened";
    rig.m_fileDialogs.m_strAnswer = rig.m_dir.WideFile("missing/saved.ini");
    rig.Command(IDM_SAVE);
    EXPECT_EQ(rig.BoxCount(u"SaveSettings() Failed. [file=" + rig.m_fileDialogs.m_strAnswer + u"]"), 1);
    EXPECT_EQ(rig.FormSettings().Path(), strOther);
}

// The menu's copy puts CLIPBOARDFORMAT filled from the position on the clipboard.
TEST(MainFormHandOffs, CopyPutsTheFilledFormatOnTheClipboard) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) { settings.SetText(TextKey::ClipboardFormat, u"$nl,$el $pc"); }));
    ASSERT_TRUE(rig.Form().GetLocation().SetFromText(u"N35.39.29.157E139.44.58.500/7"));
    rig.Command(IDM_COPY);
    EXPECT_EQ(rig.m_clipboard.m_strText, u"35.39.29.157,139.44.58.500 7");
}

// EXITDISCONNECT, line up -> the calls the library sees at exit; the timers and the connection
// object are released whatever the case. (A monitor still running is stopped by the form's end.)
TEST(MainFormExit, ExitDropsTheLineOnlyWhenAskedAndAlwaysReleases) {
    const struct {
        const char* pszLegend;
        bool bExitDisconnect, bUp;
        std::vector<std::string> calls;
    } cases[] = {
        {"drop an open line", true, true, {"create", "Disconnect 3", "delete"}},
        {"keep it", false, true, {"create", "delete"}},
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
        for (std::uint32_t nTimer : {timer::kAutoSend, timer::kConnectCaption})
            EXPECT_FALSE(rig.m_ui.HasTimer(nTimer)) << c.pszLegend << " " << nTimer;
    }
}

}  // namespace
}  // namespace vantrel
