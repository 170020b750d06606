// The settings sheet: what each page shows and reads, its enable rules, and OK and キャンセル
// acting on the whole sheet.
#include <gtest/gtest.h>

#include <variant>

#include "settings/Format.h"
#include "settings/SettingsPage.h"
#include "settings/SettingsSheet.h"
#include "UiRig.h"
#include "dlgstyles.h"

namespace vantrel {
namespace {

using Key = std::variant<BoolKey, NumberKey, TextKey>;

// Every control of the eight pages and the option it edits.
const struct {
    int nId;
    Key key;
} kControls[] = {
    {IDC_PA_STARTUPALL, BoolKey::StartupAll}, {IDC_PA_SUPEXIT, BoolKey::SupExit},
    {IDC_PA_EXITDISCONNECT, BoolKey::ExitDisconnect}, {IDC_PA_CONNECTWAIT, NumberKey::ConnectWait},
    {IDC_PA_CSIDCACHE, BoolKey::CsidCache}, {IDC_PA_CREATECOOKIE, BoolKey::CreateCookie},
    {IDC_PA_EPGETCNT, NumberKey::EpGetCnt}, {IDC_PU_PBS, BoolKey::Pbs},
    {IDC_PU_HOSTPOP, TextKey::HostPop}, {IDC_PU_ACCOUNTPOP, TextKey::AccountPop},
    {IDC_PU_PASSWORDPOP, TextKey::PasswordPop}, {IDC_PM_HOSTSMTP, TextKey::HostSmtp},
    {IDC_PM_FROMSMTP, TextKey::FromSmtp}, {IDC_PM_TOSMTP, TextKey::ToSmtp},
    {IDC_PM_SUBJECTSMTP, TextKey::SubjectSmtp}, {IDC_PM_BODYSMTP, TextKey::BodySmtp},
    {IDC_PS_AUTOSEND, BoolKey::AutoSend}, {IDC_PS_AUTOSENDINTERVAL, NumberKey::AutoSendInterval},
    {IDC_PS_MONCHKSEND, BoolKey::MonChkSend}, {IDC_PS_AUTOSENDISCONNECT, BoolKey::AutoSendDisconnect},
    {IDC_PG_NOMSG, BoolKey::NoMsg}, {IDC_PG_OUTPUTMSGFILE, BoolKey::OutputMsgFile},
    {IDC_PG_LOGFILEDIR, TextKey::LogFileDir}, {IDC_PR_RETRYCONNECT, BoolKey::RetryConnect},
    {IDC_PR_RETRYCONNECTMAX, NumberKey::RetryConnectMax}, {IDC_PR_RETRYSENDMAIL, BoolKey::RetrySendMail},
    {IDC_PR_RETRYSENDMAILMAX, NumberKey::RetrySendMailMax}, {IDC_PR_RETRYHTTPSEND, BoolKey::RetryHttpSend},
    {IDC_PR_RETRYHTTPSENDMAX, NumberKey::RetryHttpSendMax}, {IDC_PR_RETRYNOMSG, BoolKey::RetryNoMsg},
    {IDC_PL_OUTPUTPOSLOGFILE, BoolKey::OutputPosLogFile}, {IDC_PL_POSLOGDIR, TextKey::PosLogDir},
    {IDC_PL_POSLOGMAXSIZE, NumberKey::PosLogMaxSize}, {IDC_PL_POSLOGFORMAT, TextKey::PosLogFormat},
    {IDC_PF_CLIPBOARDFORMAT, TextKey::ClipboardFormat},
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
// value that belongs to another: option i holds 100 + i or "old<i>", the user types 200 + i or "new<i>".
TEST_F(SheetTest, EachNumberAndTextBoxShowsAndReadsItsOwnOption) {
    Settings& settings = m_rig.m_settings;
    const auto value = [](const Key& key, std::size_t i, bool bNew) {
        if (std::holds_alternative<NumberKey>(key)) return FormatText(u"%d", (bNew ? 200 : 100) + static_cast<int>(i));
        return FormatText(bNew ? u"new%d" : u"old%d", static_cast<int>(i));
    };
    for (std::size_t i = 0; i < std::size(kControls); ++i) {
        if (const auto* pKey = std::get_if<NumberKey>(&kControls[i].key)) settings.SetNumber(*pKey, 100 + static_cast<int>(i));
        if (const auto* pKey = std::get_if<TextKey>(&kControls[i].key)) settings.SetText(*pKey, value(*pKey, i, false));
    }
    OpenSheet();
    for (std::size_t i = 0; i < std::size(kControls); ++i) {
        const auto& [nId, key] = kControls[i];
        if (std::holds_alternative<BoolKey>(key)) continue;
        // A box limited to digits would refuse the letters that the reading rule is made for.
        EXPECT_EQ(PageOf(nId).Description(nId).nStyle & ES_NUMBER, 0u) << nId;
        EXPECT_EQ(PageOf(nId).GetText(nId), value(key, i, false)) << nId;
        Type(nId, value(key, i, true));
    }
    EXPECT_EQ(PageOf(IDC_PM_BODYSMTP).TextLimit(IDC_PM_BODYSMTP), 4096);
    Press(IDC_OK, IDC_PF_CLIPBOARDFORMAT);
    EXPECT_EQ(m_pHost->EndCode(), endcode::kOk);
    for (std::size_t i = 0; i < std::size(kControls); ++i) {
        const auto& [nId, key] = kControls[i];
        if (std::holds_alternative<BoolKey>(key)) continue;
        const auto* pNumber = std::get_if<NumberKey>(&key);
        EXPECT_EQ(pNumber ? FormatText(u"%d", settings.Number(*pNumber)) : settings.Text(std::get<TextKey>(key)).Wide(),
                  value(key, i, true)) << nId;
    }
}

// One box ticked at a time: each box shows its own option, and unticking it and OK leaves every
// option false only if every box is read into its own.
TEST_F(SheetTest, EachCheckBoxShowsAndReadsItsOwnOption) {
    for (const auto& ticked : kControls) {
        if (!std::holds_alternative<BoolKey>(ticked.key)) continue;
        for (const auto& [nId, key] : kControls)
            if (const auto* pKey = std::get_if<BoolKey>(&key)) m_rig.m_settings.SetBool(*pKey, nId == ticked.nId);
        OpenSheet();
        for (const auto& [nId, key] : kControls) {
            if (!std::holds_alternative<BoolKey>(key)) continue;
            EXPECT_EQ(PageOf(nId).GetCheck(nId), nId == ticked.nId) << nId << " with " << ticked.nId << " ticked";
        }
        Click(ticked.nId, false);
        Press(IDC_OK, ticked.nId);
        for (const auto& [nId, key] : kControls) {
            const auto* pKey = std::get_if<BoolKey>(&key);
            EXPECT_TRUE(!pKey || !m_rig.m_settings.Bool(*pKey)) << nId << " after unticking " << ticked.nId;
        }
    }
}

// The edges of reading on OK: a governed control is greyed on opening while its box is off;
// unticking "起動時に実行" disables "そのまま終了" but leaves its tick, which is saved; a number
// is read from its first ten characters as the leading decimal (the reading rule's own test has
// the rest) without any message; a cleared text is stored empty and shown empty next time. OK on
// any page reads every page: the tests above press it on one page for boxes on all eight;
// キャンセル reads none.
TEST_F(SheetTest, OkReadsDisabledBoxesLongNumbersAndClearedTextsCancelNothing) {
    Settings& settings = m_rig.m_settings;
    settings.SetBool(BoolKey::StartupAll, true);
    settings.SetBool(BoolKey::SupExit, true);
    settings.SetText(TextKey::ToSmtp, u"someone@example.org");
    OpenSheet();
    EXPECT_FALSE(PageOf(IDC_PS_AUTOSENDINTERVAL).IsEnabled(IDC_PS_AUTOSENDINTERVAL)) << "greyed on opening";
    Click(IDC_PA_STARTUPALL, false);
    EXPECT_FALSE(PageOf(IDC_PA_SUPEXIT).IsEnabled(IDC_PA_SUPEXIT));
    Type(IDC_PS_AUTOSENDINTERVAL, u"123456789012");
    Type(IDC_PM_TOSMTP, u"");
    Press(IDC_OK, IDC_PA_STARTUPALL);
    EXPECT_TRUE(settings.Bool(BoolKey::SupExit));
    EXPECT_EQ(settings.Number(NumberKey::AutoSendInterval), 1234567890);
    EXPECT_TRUE(settings.Text(TextKey::ToSmtp).IsEmpty());
    EXPECT_TRUE(m_rig.m_boxes.Boxes().empty());

    OpenSheet();
    EXPECT_EQ(PageOf(IDC_PM_TOSMTP).GetText(IDC_PM_TOSMTP), u"");
    Type(IDC_PU_HOSTPOP, u"pop.example.org");
    Click(IDC_PS_AUTOSEND, true);
    EXPECT_FALSE(m_pHost->IsClosed()) << "a click on a box leaves the sheet open";
    Press(IDC_CANCEL, IDC_PF_CLIPBOARDFORMAT);
    EXPECT_EQ(m_pHost->EndCode(), endcode::kCancel);
    EXPECT_NE(settings.Text(TextKey::HostPop).Wide(), u"pop.example.org");
    EXPECT_FALSE(settings.Bool(BoolKey::AutoSend));
}

}  // namespace
}  // namespace vantrel
