#include "settings/SettingsPage.h"

#include "app/DialogTemplate.h"
#include "port/FileSystem.h"
#include "resource.h"
#include "settings/Format.h"
#include "settings/FolderPicker.h"
#include "settings/SettingsSheet.h"
#include "settings/TextUtil.h"

namespace vantrel {

bool PageRegistry::Bind(DialogHost& host, SettingsPage* pPage) {
    std::u16string strName = FormatText(u"PPage_%d", static_cast<int>(m_bindings.size()));
    if (!host.SetProperty(strName, pPage)) return false;
    m_bindings.push_back({host.Handle(), std::move(strName)});
    return true;
}

SettingsPage* PageRegistry::Find(const DialogHost& host) const {
    for (const Binding& binding : m_bindings)
        if (binding.hWnd == host.Handle())
            if (void* pPage = host.GetProperty(binding.strName)) return static_cast<SettingsPage*>(pPage);
    return nullptr;
}

SettingsPage::SettingsPage(std::uint16_t nTemplateId, Settings& settings, const SettingsUiServices& services)
    : m_nTemplateId(nTemplateId), m_settings(settings), m_services(services) {}

void SettingsPage::Create(DialogHost& host, PageRegistry& registry, SettingsSheet& sheet) {
    CreateControls(m_services.resources, m_nTemplateId, host);
    if (!registry.Bind(host, this)) return;
    m_pHost = &host;
    m_pSheet = &sheet;
    host.SetCommandHandler([&registry, &host](int nId, int nNotify) {
        if (nNotify != command::kClicked) return;  // typing in a box changes nothing until OK
        if (SettingsPage* pPage = registry.Find(host)) pPage->OnCommand(nId);
    });
    OnInitControls();
    Exchange(Direction::ToControls);
}

void SettingsPage::OnCommand(int nId) {
    if (nId == IDC_OK) m_pSheet->PressButton(sheetbutton::kOk);
    if (nId == IDC_CANCEL) m_pSheet->PressButton(sheetbutton::kCancel);
}

LayoutPage::LayoutPage(const PageLayout& layout, Settings& settings, const SettingsUiServices& services)
    : SettingsPage(layout.nTemplateId, settings, services), m_layout(layout) {}

void LayoutPage::OnInitControls() {
    for (const PageControl& control : m_layout.controls)
        if (control.nLimit > 0) Host().SetTextLimit(control.nId, control.nLimit);
}

namespace {

// Reads one control into the record, or shows the record's value in it.
struct ToSettings {
    DialogHost& host;
    Settings& settings;
    const PageControl& control;
    void operator()(BoolKey key) const { settings.SetBool(key, host.GetCheck(control.nId)); }
    // Leading digits, as _wtol reads them: "12abc" is 12, letters alone 0. No range is checked.
    void operator()(NumberKey key) const {
        settings.SetNumber(key, WtoL(host.GetText(control.nId).substr(0, LayoutPage::kNumberChars)));
    }
    void operator()(TextKey key) const {
        settings.SetText(key, host.GetText(control.nId).substr(0, static_cast<std::size_t>(control.nLimit)));
    }
};

struct ToControls {
    DialogHost& host;
    const Settings& settings;
    const PageControl& control;
    void operator()(BoolKey key) const { host.SetCheck(control.nId, settings.Bool(key)); }
    void operator()(NumberKey key) const {
        host.SetText(control.nId, FormatText(u"%ld", static_cast<long>(settings.Number(key))));
    }
    // An empty value leaves the box as the template made it.
    void operator()(TextKey key) const {
        if (!settings.Text(key).IsEmpty()) host.SetText(control.nId, settings.Text(key).Wide());
    }
};

}  // namespace

void LayoutPage::Exchange(Direction direction) {
    for (const PageControl& control : m_layout.controls) {
        if (direction == Direction::ToSettings) std::visit(ToSettings{Host(), Record(), control}, control.key);
        else std::visit(ToControls{Host(), Record(), control}, control.key);
    }
    if (direction == Direction::ToControls) ApplyEnableRules();
}

// A disabled check box keeps its state, and that state is read like any other.
void LayoutPage::ApplyEnableRules() {
    for (const PageControl& control : m_layout.controls) {
        if (control.nGovernor == 0) continue;
        const bool bOn = Host().GetCheck(control.nGovernor) || (control.nGovernor2 != 0 && Host().GetCheck(control.nGovernor2));
        Host().Enable(control.nId, bOn);
    }
}

void LayoutPage::OnCommand(int nId) {
    for (const FolderButton& button : m_layout.folderButtons) {
        if (button.nButton != nId) continue;
        PickFolderInto(button.nEdit);
        return;
    }
    SettingsPage::OnCommand(nId);
    ApplyEnableRules();
}

// The folder comes back with a trailing separator, as the default log folders have it, so that
// a file name can be appended as it stands.
void LayoutPage::PickFolderInto(int nEdit) {
    std::u16string strFolder = Host().GetText(nEdit);
    bool bSubfolders = false;
    if (!PickFolder(Services(), Host().Handle(), strFolder, bSubfolders)) return;
    Host().SetText(nEdit, strFolder + Services().files.Separator());
}

namespace {

constexpr PageControl kAction[] = {
    {IDC_PA_STARTUPALL, BoolKey::StartupAll},
    {IDC_PA_SUPEXIT, BoolKey::SupExit, 0, IDC_PA_STARTUPALL},
    {IDC_PA_EXITDISCONNECT, BoolKey::ExitDisconnect},
    {IDC_PA_CONNECTWAIT, NumberKey::ConnectWait, 10},
    {IDC_PA_CSIDCACHE, BoolKey::CsidCache},
    {IDC_PA_CREATECOOKIE, BoolKey::CreateCookie},
    {IDC_PA_EPGETCNT, NumberKey::EpGetCnt, 10},
};
constexpr PageControl kAuth[] = {
    {IDC_PU_PBS, BoolKey::Pbs},
    {IDC_PU_HOSTPOP, TextKey::HostPop, 512, IDC_PU_PBS},
    {IDC_PU_ACCOUNTPOP, TextKey::AccountPop, 512, IDC_PU_PBS},
    {IDC_PU_PASSWORDPOP, TextKey::PasswordPop, 512, IDC_PU_PBS},
};
constexpr PageControl kMail[] = {
    {IDC_PM_HOSTSMTP, TextKey::HostSmtp, 1024},     {IDC_PM_FROMSMTP, TextKey::FromSmtp, 512},
    {IDC_PM_TOSMTP, TextKey::ToSmtp, 512},          {IDC_PM_SUBJECTSMTP, TextKey::SubjectSmtp, 1024},
    {IDC_PM_BODYSMTP, TextKey::BodySmtp, 4096},
};
constexpr PageControl kAutoSend[] = {
    {IDC_PS_AUTOSEND, BoolKey::AutoSend},
    {IDC_PS_AUTOSENDINTERVAL, NumberKey::AutoSendInterval, 10, IDC_PS_AUTOSEND},
    {IDC_PS_MONCHKSEND, BoolKey::MonChkSend},
    {IDC_PS_AUTOSENDISCONNECT, BoolKey::AutoSendDisconnect, 0, IDC_PS_AUTOSEND, IDC_PS_MONCHKSEND},
};
constexpr PageControl kMessage[] = {
    {IDC_PG_NOMSG, BoolKey::NoMsg},
    {IDC_PG_OUTPUTMSGFILE, BoolKey::OutputMsgFile},
    {IDC_PG_LOGFILEDIR, TextKey::LogFileDir, 260, IDC_PG_OUTPUTMSGFILE},
};
constexpr FolderButton kMessageFolder[] = {{IDC_PG_BROWSE, IDC_PG_LOGFILEDIR}};
constexpr PageControl kRetry[] = {
    {IDC_PR_RETRYCONNECT, BoolKey::RetryConnect},
    {IDC_PR_RETRYCONNECTMAX, NumberKey::RetryConnectMax, 10, IDC_PR_RETRYCONNECT},
    {IDC_PR_RETRYSENDMAIL, BoolKey::RetrySendMail},
    {IDC_PR_RETRYSENDMAILMAX, NumberKey::RetrySendMailMax, 10, IDC_PR_RETRYSENDMAIL},
    {IDC_PR_RETRYHTTPSEND, BoolKey::RetryHttpSend},
    {IDC_PR_RETRYHTTPSENDMAX, NumberKey::RetryHttpSendMax, 10, IDC_PR_RETRYHTTPSEND},
    {IDC_PR_RETRYNOMSG, BoolKey::RetryNoMsg},
};
constexpr PageControl kPosLog[] = {
    {IDC_PL_OUTPUTPOSLOGFILE, BoolKey::OutputPosLogFile},
    {IDC_PL_POSLOGDIR, TextKey::PosLogDir, 260, IDC_PL_OUTPUTPOSLOGFILE},
    {IDC_PL_POSLOGMAXSIZE, NumberKey::PosLogMaxSize, 10, IDC_PL_OUTPUTPOSLOGFILE},
    {IDC_PL_POSLOGFORMAT, TextKey::PosLogFormat, 260, IDC_PL_OUTPUTPOSLOGFILE},
};
constexpr FolderButton kPosLogFolder[] = {{IDC_PL_BROWSE, IDC_PL_POSLOGDIR}};
constexpr PageControl kFunction[] = {
    {IDC_PF_CLIPBOARDFORMAT, TextKey::ClipboardFormat, 4096},
};

constexpr PageLayout kLayouts[] = {
    {IDD_PAGE_ACTION, kAction, {}},    {IDD_PAGE_AUTH, kAuth, {}},
    {IDD_PAGE_MAIL, kMail, {}},        {IDD_PAGE_AUTOSEND, kAutoSend, {}},
    {IDD_PAGE_MESSAGE, kMessage, kMessageFolder}, {IDD_PAGE_RETRY, kRetry, {}},
    {IDD_PAGE_POSLOG, kPosLog, kPosLogFolder},    {IDD_PAGE_FUNCTION, kFunction, {}},
};

}  // namespace

std::span<const PageLayout> SettingsPageLayouts() { return kLayouts; }

}  // namespace vantrel
