// The main form's commands that open the list editor, the settings files and the settings sheet.
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

// Runs fn on the dialog the next command opens modally.
void WhenModal(FormRig& rig, std::function<void(MemoryDialogHost&)> fn) {
    rig.m_ui.Post([&rig, fn] {
        if (MemoryDialogHost* pDialog = rig.m_dialogs.ActiveModal()) fn(*pDialog);
    });
}

void WhenSheet(FormRig& rig, std::function<void(MemorySheetHost&)> fn) {
    rig.m_ui.Post([&rig, fn] {
        if (MemorySheetHost* pSheet = rig.m_dialogs.ActiveSheet()) fn(*pSheet);
    });
}

// The editor opens on the row picked on the form (read first); on OK the list, its index and the
// drop-down follow; the browser list's キャンセル changes nothing.
TEST(SettingsCommands, ListEditorsStoreOnOkOnly) {
    FormRig rig;
    ASSERT_TRUE(rig.Create([](Settings& settings) {
        settings.UrlList().AddRow({u"second", u"http://127.0.0.1:9/two", u""});
    }));
    rig.m_host.ComboSetSel(IDC_URL_LIST, 1);
    int nOpenedOn = -2;
    WhenModal(rig, [&](MemoryDialogHost& editor) {
        nOpenedOn = editor.ListGetSel(IDC_LE_LIST);
        editor.SetText(IDC_LE_TITLE, u"third");
        editor.SetText(IDC_LE_INPUT, u"http://127.0.0.1:9/three");
        editor.SendCommand(IDC_LE_ADD);
        editor.SendCommand(IDC_OK);
    });
    rig.Command(IDC_URL_EDIT);
    EXPECT_EQ(nOpenedOn, 1);
    const SettingsList& urls = rig.FormSettings().UrlList();
    ASSERT_EQ(urls.RowCount(), 3u);
    EXPECT_EQ(urls.Cell(2, 0), u"third");
    EXPECT_EQ(urls.SelectedIndex(), 2);
    EXPECT_EQ(rig.m_host.ComboCount(IDC_URL_LIST), 3);
    EXPECT_EQ(rig.m_host.ComboGetSel(IDC_URL_LIST), 2);

    const std::string strBefore = Snapshot(rig.FormSettings(), rig.m_dir);
    WhenModal(rig, [](MemoryDialogHost& editor) {
        EXPECT_TRUE(editor.IsVisible(IDC_LE_BROWSE)) << "the browser list's editor";
        editor.SendCommand(IDC_LE_DELETE);
        editor.SendCommand(IDC_CANCEL);
    });
    rig.Command(IDC_BROWSER_EDIT);
    EXPECT_EQ(Snapshot(rig.FormSettings(), rig.m_dir), strBefore);
}

TEST(SettingsCommands, OpeningAFileLoadsAppliesAndShowsIt) {
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    const std::u16string strOther = rig.m_dir.WideFile("other.ini");
    {
        Settings other(rig.m_profile, *rig.m_pFiles);
        rig.Baseline(other);
        other.UrlList().AddRow({u"elsewhere", u"http://127.0.0.1:9/else", u""});
        other.SetBool(BoolKey::AutoSend, true);
        other.SetNumber(NumberKey::AutoSendInterval, 60000);
        ASSERT_TRUE(other.Save(strOther));
    }
    rig.m_fileDialogs.m_strAnswer = strOther;
    rig.Command(IDM_OPEN);
    ASSERT_EQ(rig.m_fileDialogs.m_calls.size(), 1u);
    const auto& call = rig.m_fileDialogs.m_calls[0];
    EXPECT_FALSE(call.bSave);
    // Starting in the folder of default.ini, an existing file required.
    EXPECT_EQ(call.request, (FileDialogRequest{u"設定ファイルの選択", u"設定ファイル (*.ini)", u"*.ini", false,
                                               rig.m_dir.WidePath(), true, false}));
    EXPECT_EQ(rig.FormSettings().Path(), strOther);
    EXPECT_TRUE(rig.m_ui.HasTimer(timer::kAutoSend)) << "applied";
    EXPECT_EQ(rig.m_host.ComboCount(IDC_URL_LIST), 2) << "shown";
}

// Whatever the dialog answers, a file that does not load changes nothing: record, path, timers,
// form.
TEST(SettingsCommands, AFileThatDoesNotLoadLeavesEverythingAsItWas) {
    const struct {
        const char* pszLegend;
        const char* pszFile;  // the file chosen; null: the dialog was cancelled
        bool bCreate;         // created empty
    } cases[] = {
        {"cancelled", nullptr, false},
        {"missing", "missing.ini", false},
        {"empty", "empty.ini", true},
    };
    for (const auto& c : cases) {
        FormRig rig;
        ASSERT_TRUE(rig.Create([](Settings& settings) { settings.SetBool(BoolKey::AutoSend, false); }));
        rig.m_host.SetCheck(IDC_MAILSEND, true);  // read in before the dialog, as every command does
        rig.Form().ReadForm();
        const std::string strBefore = Snapshot(rig.FormSettings(), rig.m_dir);
        if (c.bCreate) test::WriteFileBytes(rig.m_dir.File(c.pszFile), "");
        rig.m_fileDialogs.m_strAnswer = c.pszFile ? rig.m_dir.WideFile(c.pszFile) : u"";
        rig.Command(IDM_OPEN);
        EXPECT_EQ(Snapshot(rig.FormSettings(), rig.m_dir), strBefore) << c.pszLegend;
        EXPECT_EQ(rig.FormSettings().Path(), rig.SettingsPath()) << c.pszLegend;
        EXPECT_TRUE(rig.m_host.GetCheck(IDC_MAILSEND)) << c.pszLegend;
    }
}

TEST(SettingsCommands, SavingWritesTheFormAndRecordToTheChosenFile) {
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    rig.m_host.SetCheck(IDC_HTTPSEND, true);
    std::filesystem::create_directory(rig.m_dir.File("sub"));
    const std::u16string strSaved = rig.m_dir.WideFile("sub/saved.ini");
    rig.m_fileDialogs.m_strAnswer = strSaved;
    rig.Command(IDM_SAVE);
    const auto& call = rig.m_fileDialogs.m_calls.at(0);
    EXPECT_TRUE(call.bSave);
    FileDialogRequest expected{u"設定ファイルの保存", u"設定ファイル (*.ini)", u"*.ini", false, rig.m_dir.WidePath(), false, true};
    EXPECT_EQ(call.request, expected);
    Settings saved(rig.m_profile, *rig.m_pFiles);
    ASSERT_TRUE(saved.Load(strSaved));
    EXPECT_TRUE(saved.Bool(BoolKey::HttpSend)) << "the form was read first";
    EXPECT_EQ(rig.FormSettings().Path(), strSaved);

    rig.m_fileDialogs.m_strAnswer.clear();
    rig.Command(IDM_SAVE);
    EXPECT_EQ(rig.FormSettings().Path(), strSaved) << "cancelled";
    expected.strInitialFolder = rig.m_dir.WideFile("sub");
    EXPECT_EQ(rig.m_fileDialogs.m_calls.at(1).request, expected) << "the folder of the file now in use";

    rig.m_fileDialogs.m_strAnswer = rig.m_dir.WideFile("missing/saved.ini");
    rig.Command(IDM_SAVE);
    ASSERT_FALSE(rig.m_boxes.Boxes().empty()) << "a failed save says so";
    EXPECT_EQ(rig.m_boxes.Boxes().back().strText, u"SaveSettings() Failed. [file=" + rig.m_fileDialogs.m_strAnswer + u"]");
    EXPECT_EQ(rig.FormSettings().Path(), strSaved) << "a failed save keeps the file in use";
}

// The sheet's OK applies and saves; its キャンセル touches neither the record nor the file.
TEST(SettingsCommands, TheSheetAppliesAndSavesOnOkOnly) {
    FormRig rig;
    ASSERT_TRUE(rig.Create());
    const std::string strFile = test::ReadFileBytes(rig.m_dir.File("default.ini"));
    const std::string strRecord = Snapshot(rig.FormSettings(), rig.m_dir);
    WhenSheet(rig, [](MemorySheetHost& sheet) {
        MemoryDialogHost& page = sheet.Page(3);
        page.SetCheck(IDC_PS_AUTOSEND, true);
        page.SendCommand(IDC_PS_AUTOSEND);
        page.SetText(IDC_PS_AUTOSENDINTERVAL, u"60000");
        sheet.Page(0).SendCommand(IDC_CANCEL);
    });
    rig.Command(IDM_SETTINGS);
    EXPECT_EQ(test::ReadFileBytes(rig.m_dir.File("default.ini")), strFile);
    EXPECT_EQ(Snapshot(rig.FormSettings(), rig.m_dir), strRecord);
    EXPECT_FALSE(rig.m_ui.HasTimer(timer::kAutoSend));

    WhenSheet(rig, [](MemorySheetHost& sheet) {
        EXPECT_EQ(sheet.PageTitle(3), u"自動送信");
        MemoryDialogHost& page = sheet.Page(3);
        page.SetCheck(IDC_PS_AUTOSEND, true);
        page.SendCommand(IDC_PS_AUTOSEND);
        page.SetText(IDC_PS_AUTOSENDINTERVAL, u"60000");
        page.SendCommand(IDC_OK);
    });
    rig.Command(IDM_SETTINGS);
    EXPECT_TRUE(rig.m_ui.HasTimer(timer::kAutoSend));
    const std::string strSaved = test::ReadUtf16File(rig.m_dir.File("default.ini"));
    EXPECT_NE(strSaved.find("AUTOSEND=TRUE\r\nAUTOSENDINTERVAL=60000\r\n"), std::string::npos) << strSaved;
}

// Without a settings file at start-up nothing is applied; the sheet's OK writes default.ini and
// starts auto-send.
TEST(SettingsCommands, TheSheetBringsAutoSendBackAfterAFailedStartUpLoad) {
    FormRig rig;
    ASSERT_FALSE(rig.CreateOnly());
    WhenSheet(rig, [](MemorySheetHost& sheet) {
        MemoryDialogHost& page = sheet.Page(3);
        page.SetCheck(IDC_PS_AUTOSEND, true);
        page.SetText(IDC_PS_AUTOSENDINTERVAL, u"60000");
        page.SendCommand(IDC_OK);
    });
    rig.Command(IDM_SETTINGS);
    EXPECT_TRUE(rig.m_ui.HasTimer(timer::kAutoSend));
    Settings saved(rig.m_profile, *rig.m_pFiles);
    ASSERT_TRUE(saved.Load(rig.SettingsPath()));
    EXPECT_TRUE(saved.Bool(BoolKey::AutoSend));
}

}  // namespace
}  // namespace vantrel
