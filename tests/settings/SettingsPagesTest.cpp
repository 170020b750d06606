// The settings sheet: what each page shows and reads, its enable rules, and OK and キャンセル
// acting on the whole sheet.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <variant>

#include "settings/Format.h"
#include "settings/SettingsPage.h"
#include "settings/SettingsSheet.h"
#include "UiRig.h"
#include "dlgstyles.h"

namespace vantrel {
namespace {

using Key = std::variant<BoolKey, NumberKey, TextKey>;

// Every control of the eight pages, the option it edits and the characters its box takes.
const struct {
    int nId;
    Key key;
    int nLimit;
} kControls[] = {
    {IDC_PA_STARTUPALL, BoolKey::StartupAll, 0}, {IDC_PA_SUPEXIT, BoolKey::SupExit, 0},
    {IDC_PA_EXITDISCONNECT, BoolKey::ExitDisconnect, 0}, {IDC_PA_CONNECTWAIT, NumberKey::ConnectWait, 10},
    {IDC_PA_CSIDCACHE, BoolKey::CsidCache, 0}, {IDC_PA_CREATECOOKIE, BoolKey::CreateCookie, 0},
    {IDC_PA_EPGETCNT, NumberKey::EpGetCnt, 10}, {IDC_PU_PBS, BoolKey::Pbs, 0},
    {IDC_PU_HOSTPOP, TextKey::HostPop, 512}, {IDC_PU_ACCOUNTPOP, TextKey::AccountPop, 512},
    {IDC_PU_PASSWORDPOP, TextKey::PasswordPop, 512}, {IDC_PM_HOSTSMTP, TextKey::HostSmtp, 1024},
    {IDC_PM_FROMSMTP, TextKey::FromSmtp, 512}, {IDC_PM_TOSMTP, TextKey::ToSmtp, 512},
    {IDC_PM_SUBJECTSMTP, TextKey::SubjectSmtp, 1024}, {IDC_PM_BODYSMTP, TextKey::BodySmtp, 4096},
    {IDC_PS_AUTOSEND, BoolKey::AutoSend, 0}, {IDC_PS_AUTOSENDINTERVAL, NumberKey::AutoSendInterval, 10},
    {IDC_PS_MONCHKSEND, BoolKey::MonChkSend, 0}, {IDC_PS_AUTOSENDISCONNECT, BoolKey::AutoSendDisconnect, 0},
    {IDC_PG_NOMSG, BoolKey::NoMsg, 0}, {IDC_PG_OUTPUTMSGFILE, BoolKey::OutputMsgFile, 0},
    {IDC_PG_LOGFILEDIR, TextKey::LogFileDir, 260}, {IDC_PR_RETRYCONNECT, BoolKey::RetryConnect, 0},
    {IDC_PR_RETRYCONNECTMAX, NumberKey::RetryConnectMax, 10}, {IDC_PR_RETRYSENDMAIL, BoolKey::RetrySendMail, 0},
    {IDC_PR_RETRYSENDMAILMAX, NumberKey::RetrySendMailMax, 10}, {IDC_PR_RETRYHTTPSEND, BoolKey::RetryHttpSend, 0},
    {IDC_PR_RETRYHTTPSENDMAX, NumberKey::RetryHttpSendMax, 10}, {IDC_PR_RETRYNOMSG, BoolKey::RetryNoMsg, 0},
    {IDC_PL_OUTPUTPOSLOGFILE, BoolKey::OutputPosLogFile, 0}, {IDC_PL_POSLOGDIR, TextKey::PosLogDir, 260},
    {IDC_PL_POSLOGMAXSIZE, NumberKey::PosLogMaxSize, 10}, {IDC_PL_POSLOGFORMAT, TextKey::PosLogFormat, 260},
    {IDC_PF_CLIPBOARDFORMAT, TextKey::ClipboardFormat, 4096},
};

// Governed control -> the check boxes of which any one enables it.
const std::map<int, std::set<int>> kEnableRules = {
    {IDC_PA_SUPEXIT, {IDC_PA_STARTUPALL}},
    {IDC_PU_HOSTPOP, {IDC_PU_PBS}},
    {IDC_PU_ACCOUNTPOP, {IDC_PU_PBS}},
    {IDC_PU_PASSWORDPOP, {IDC_PU_PBS}},
    {IDC_PS_AUTOSENDINTERVAL, {IDC_PS_AUTOSEND}},
    {IDC_PS_AUTOSENDISCONNECT, {IDC_PS_AUTOSEND, IDC_PS_MONCHKSEND}},
    {IDC_PG_LOGFILEDIR, {IDC_PG_OUTPUTMSGFILE}},
    {IDC_PR_RETRYCONNECTMAX, {IDC_PR_RETRYCONNECT}},
    {IDC_PR_RETRYSENDMAILMAX, {IDC_PR_RETRYSENDMAIL}},
    {IDC_PR_RETRYHTTPSENDMAX, {IDC_PR_RETRYHTTPSEND}},
    {IDC_PL_POSLOGDIR, {IDC_PL_OUTPUTPOSLOGFILE}},
    {IDC_PL_POSLOGMAXSIZE, {IDC_PL_OUTPUTPOSLOGFILE}},
    {IDC_PL_POSLOGFORMAT, {IDC_PL_OUTPUTPOSLOGFILE}},
};

// One sheet on the rig's record, opened but not run: the user acts on its pages directly.
class SheetTest : public testing::Test {
protected:
    void OpenSheet() {
        m_pHost = std::make_unique<MemorySheetHost>(m_rig.m_ui);
        m_pSheet = std::make_unique<SettingsSheet>(*m_pHost, m_rig.m_services, m_registry, m_rig.m_settings);
        m_pSheet->Open();
    }
    // The page holding a control (OK and キャンセル: the first page).
    MemoryDialogHost& PageOf(int nId) {
        for (int i = 0; i < m_pHost->PageCount(); ++i)
            if (m_pHost->Page(i).HasControl(nId)) return m_pHost->Page(i);
        ADD_FAILURE() << "no page holds " << nId;
        return m_pHost->Page(0);
    }
    void Click(int nId, bool bChecked) {
        PageOf(nId).SetCheck(nId, bChecked);
        PageOf(nId).SendCommand(nId);
    }
    void Type(int nId, const std::u16string& strText) { PageOf(nId).SetText(nId, strText); }
    // The sheet's buttons, pressed on the page of control nOnPage.
    void Press(int nButton, int nOnPage) { PageOf(nOnPage).SendCommand(nButton); }

    test::UiRig m_rig;
    PageRegistry m_registry;
    std::unique_ptr<MemorySheetHost> m_pHost;
    std::unique_ptr<SettingsSheet> m_pSheet;
};

// Distinct values everywhere, so that a control bound to the wrong option shows or stores a
// value that belongs to another.
TEST_F(SheetTest, EachNumberAndTextBoxShowsAndReadsItsOwnOption) {
    Settings& settings = m_rig.m_settings;
    int i = 0;
    for (const auto& control : kControls) {
        ++i;
        if (const auto* pKey = std::get_if<NumberKey>(&control.key)) settings.SetNumber(*pKey, 100 + i);
        if (const auto* pKey = std::get_if<TextKey>(&control.key)) settings.SetText(*pKey, FormatText(u"old%d", i));
    }
    OpenSheet();
    i = 0;
    for (const auto& control : kControls) {
        ++i;
        if (std::holds_alternative<BoolKey>(control.key)) continue;
        const bool bNumber = std::holds_alternative<NumberKey>(control.key);
        // A box limited to digits would refuse the letters that the reading rule is made for.
        EXPECT_EQ(PageOf(control.nId).Description(control.nId).nStyle & ES_NUMBER, 0u) << control.nId;
        EXPECT_EQ(PageOf(control.nId).TextLimit(control.nId), control.nLimit) << control.nId;
        EXPECT_EQ(PageOf(control.nId).GetText(control.nId), FormatText(bNumber ? u"%d" : u"old%d", bNumber ? 100 + i : i))
            << control.nId;
        Type(control.nId, FormatText(bNumber ? u"%d" : u"new%d", bNumber ? 200 + i : i));
    }
    Press(IDC_OK, IDC_PF_CLIPBOARDFORMAT);
    EXPECT_EQ(m_pHost->EndCode(), endcode::kOk);
    i = 0;
    for (const auto& control : kControls) {
        ++i;
        if (const auto* pKey = std::get_if<NumberKey>(&control.key)) {
            EXPECT_EQ(settings.Number(*pKey), 200 + i) << control.nId;
        } else if (const auto* pText = std::get_if<TextKey>(&control.key)) {
            EXPECT_EQ(settings.Text(*pText).Wide(), FormatText(u"new%d", i)) << control.nId;
        }
    }
}

// One box ticked at a time. Each box shows its own option; a governed control is enabled exactly
// while one of its boxes is ticked, on opening and after a click, and every other control, the
// "参照" buttons included, stays enabled; unticking the box and OK leaves every option false
// only if every box is read into its own.
TEST_F(SheetTest, EachCheckBoxShowsReadsAndGovernsItsOwn) {
    std::vector<int> always = {IDC_PG_BROWSE, IDC_PL_BROWSE};
    for (const auto& control : kControls)
        if (!kEnableRules.count(control.nId)) always.push_back(control.nId);
    const auto expectStates = [&](const std::string& strWhen) {
        for (const auto& [nId, boxes] : kEnableRules) {
            bool bOn = false;
            for (int nBox : boxes) bOn = bOn || PageOf(nBox).GetCheck(nBox);
            EXPECT_EQ(PageOf(nId).IsEnabled(nId), bOn) << nId << " " << strWhen;
        }
        for (int nId : always) EXPECT_TRUE(PageOf(nId).IsEnabled(nId)) << nId << " " << strWhen;
    };
    for (const auto& ticked : kControls) {
        if (!std::holds_alternative<BoolKey>(ticked.key)) continue;
        for (const auto& control : kControls)
            if (const auto* pKey = std::get_if<BoolKey>(&control.key)) m_rig.m_settings.SetBool(*pKey, control.nId == ticked.nId);
        OpenSheet();
        for (const auto& control : kControls) {
            if (!std::holds_alternative<BoolKey>(control.key)) continue;
            EXPECT_EQ(PageOf(control.nId).GetCheck(control.nId), control.nId == ticked.nId) << ticked.nId << " shown";
        }
        expectStates("opened with " + std::to_string(ticked.nId));
        Click(ticked.nId, false);
        expectStates("after unticking " + std::to_string(ticked.nId));
        Press(IDC_OK, ticked.nId);
        for (const auto& control : kControls) {
            const auto* pKey = std::get_if<BoolKey>(&control.key);
            EXPECT_TRUE(!pKey || !m_rig.m_settings.Bool(*pKey)) << control.nId << " after unticking " << ticked.nId;
        }
    }
}

// The edges of reading on OK: unticking "起動時に実行" disables "そのまま終了" but leaves its tick,
// which is saved; a number is read from its first ten characters as the leading decimal (the
// reading rule's own test has the rest) without any message; a cleared text is stored empty and
// shown empty next time.
TEST_F(SheetTest, OkReadsDisabledBoxesLongNumbersAndClearedTexts) {
    Settings& settings = m_rig.m_settings;
    settings.SetBool(BoolKey::StartupAll, true);
    settings.SetBool(BoolKey::SupExit, true);
    settings.SetText(TextKey::ToSmtp, u"someone@example.org");
    OpenSheet();
    Click(IDC_PA_STARTUPALL, false);
    Type(IDC_PS_AUTOSENDINTERVAL, u"123456789012");
    Type(IDC_PM_TOSMTP, u"");
    Press(IDC_OK, IDC_PA_STARTUPALL);
    EXPECT_FALSE(settings.Bool(BoolKey::StartupAll));
    EXPECT_TRUE(settings.Bool(BoolKey::SupExit));
    EXPECT_EQ(settings.Number(NumberKey::AutoSendInterval), 1234567890);
    EXPECT_TRUE(settings.Text(TextKey::ToSmtp).IsEmpty());
    EXPECT_TRUE(m_rig.m_boxes.Boxes().empty());
    OpenSheet();
    EXPECT_EQ(PageOf(IDC_PM_TOSMTP).GetText(IDC_PM_TOSMTP), u"");
}

// OK on any page reads every page: the tests above press it on one page for boxes on all eight.
TEST_F(SheetTest, CancelReadsNoPage) {
    OpenSheet();
    Type(IDC_PU_HOSTPOP, u"pop.example.org");
    Click(IDC_PS_AUTOSEND, true);
    EXPECT_FALSE(m_pHost->IsClosed()) << "a click on a box leaves the sheet open";
    Press(IDC_CANCEL, IDC_PF_CLIPBOARDFORMAT);
    EXPECT_EQ(m_pHost->EndCode(), endcode::kCancel);
    EXPECT_NE(m_rig.m_settings.Text(TextKey::HostPop).Wide(), u"pop.example.org");
    EXPECT_FALSE(m_rig.m_settings.Bool(BoolKey::AutoSend));
}

// "参照" opens the picker on the folder in "保存先" and puts the choice there with a separator.
TEST_F(SheetTest, BrowseButtonsPutTheChosenFolderIntoTheirBox) {
    std::filesystem::create_directories(m_rig.m_dir.File("logs/old"));
    const std::u16string strLogs = m_rig.m_dir.WideFile("logs");
    const struct {
        int nButton;
        int nBox;
    } buttons[] = {{IDC_PG_BROWSE, IDC_PG_LOGFILEDIR}, {IDC_PL_BROWSE, IDC_PL_POSLOGDIR}};
    for (const auto& b : buttons) {
        OpenSheet();
        Type(b.nBox, strLogs + u"/");
        std::u16string strShown;
        m_rig.WhenModal([&](MemoryDialogHost& picker) {
            const TreeItem logs = picker.TreeSelection(IDC_FP_TREE);
            strShown = picker.TreeText(IDC_FP_TREE, logs);
            picker.ExpandTreeItem(IDC_FP_TREE, logs);
            picker.TreeSelect(IDC_FP_TREE, picker.TreeChildren(IDC_FP_TREE, logs).at(0));
            picker.SendCommand(IDC_OK);
        });
        PageOf(b.nButton).SendCommand(b.nButton);
        EXPECT_EQ(strShown, u"logs") << b.nButton;
        EXPECT_EQ(PageOf(b.nBox).GetText(b.nBox), strLogs + u"/old/") << b.nButton;

        m_rig.WhenModal([](MemoryDialogHost& picker) { picker.SendCommand(IDC_CANCEL); });
        PageOf(b.nButton).SendCommand(b.nButton);
        EXPECT_EQ(PageOf(b.nBox).GetText(b.nBox), strLogs + u"/old/") << b.nButton << " cancelled";
    }
}

}  // namespace
}  // namespace vantrel
