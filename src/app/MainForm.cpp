// The main form: its controls, the exchange between them and the settings, the command dispatch,
// start-up and exit. The workflow behind the commands is in Workflow.cpp.
#include "app/MainForm.h"

#include <algorithm>

#include "app/DialogTemplate.h"
#include "deliver/MessageFacility.h"
#include "port/DialogHost.h"
#include "port/FileDialogs.h"
#include "port/FileSystem.h"
#include "port/UiThread.h"
#include "resource.h"
#include "settings/Format.h"
#include "settings/ListEditor.h"
#include "settings/SettingsSheet.h"

namespace vantrel {

namespace {

// The check boxes of the form and the settings they stand for.
struct CheckBinding {
    int nId;
    BoolKey key;
};
constexpr CheckBinding kChecks[] = {
    {IDC_AUTOCONNECT, BoolKey::AutoConnect}, {IDC_LOCATEEASY, BoolKey::LocateEasy},
    {IDC_BROWSERSEND, BoolKey::BrowserSend}, {IDC_MAILSEND, BoolKey::MailSend},
    {IDC_HTTPSEND, BoolKey::HttpSend},       {IDC_GMMSEND, BoolKey::GmmSend},
};

// Written beside the file first, a failed save leaves the file as it was; the user is told, since
// what is on screen is then not what a next start reads.
void SaveOrTell(Settings& settings, Reporter& reporter, WindowHandle hOwner, const std::u16string& strPath) {
    if (!settings.Save(strPath)) reporter.ErrorText(hOwner, FormatText(u"SaveSettings() Failed. [file=%s]", strPath));
}

}  // namespace

MainForm::MainForm(const FormServices& services, const SettingsProfile& profile, DialogHost& host)
    : m_services(services),
      m_host(host),
      m_settings(profile, services.files, services.resources),
      m_reporter(services.messages, services.resources),
      m_http(services.http, services.messages, services.clock),
      m_httpSend(services.http, services.clock),
      m_service(m_http, services.files),
      m_mail(services.sockets, services.clock, services.nMailReplyWaitMs),
      m_launchers(services.launcher, services.windows, services.clipboard, services.clock, services.messages),
      m_conn(services.libraries, services.messages),
      m_wsim(services.serial),
      m_monitor(services.serial),
      m_waitGuard(services.clock) {
    m_http.SetSessionTimeout(services.nHttpLimitMs);
    m_http.SetWorkerLimits(services.nHttpLimitMs, HttpClient::kWorkerPoll);
    // Long steps block the form, but the window goes on painting while they wait.
    const auto fnPaint = [&ui = services.ui] { ui.KeepPainting(); };
    m_http.SetWaitHook(fnPaint);
    m_mail.SetWaitHook(fnPaint);
    m_waitGuard.SetWaitHook(fnPaint);
}

MainForm::~MainForm() {
    m_services.ui.KillTimer(timer::kMonitor);
    if (m_monitor.IsMonitoring()) m_monitor.StopMonitor();
}

WindowHandle MainForm::Owner() const { return m_host.Handle(); }

std::u16string MainForm::ProgramFile(std::uint32_t nNameId) const {
    std::u16string strPath = m_services.strProgramFolder;
    if (!strPath.empty() && strPath.back() != m_services.files.Separator()) strPath += m_services.files.Separator();
    return strPath + m_reporter.Text(nNameId);
}

bool MainForm::OnCreate(const std::u16string& strSettingsPath, bool bStartupRun) {
    // Nothing may run while the form is being built.
    m_bBusy = m_bAcquiring = true;
    CreateControls(m_services.resources, IDD_MAINFORM, m_host);
    m_host.SetCommandHandler([this](int nId, int) { OnCommand(nId); });
    m_service.LoadTemplates(m_services.resources);
    m_httpSend.LoadDefaultTemplate(m_services.resources);
    const bool bLoaded = strSettingsPath.empty() ? m_settings.LoadDefault(m_services.strProgramFolder)
                                                 : m_settings.Load(strSettingsPath);
    // An unreadable file leaves the defaults in force without applying them, so no auto-send
    // timer runs until the settings are saved again.
    if (bLoaded) ApplySettings();
    WriteForm();
    m_conn.Init();
    m_bBusy = m_bAcquiring = false;
    if (bStartupRun && m_settings.Bool(BoolKey::StartupAll)) {
        m_bStartupRun = true;
        // SUPEXIT closes after this run's send only; a run that stopped before sending must not
        // make a later send close the program.
        m_services.ui.Post([this] {
            OnCommand(IDC_ACQUIRE_SEND);
            m_bStartupRun = false;
        });
    }
    m_services.ui.SetTimer(timer::kConnectCaption, timer::kCaptionPeriodMs, [this] { OnCaptionTimer(); });
    return bLoaded;
}

void MainForm::OnClose() {
    ReadForm();
    m_services.ui.KillTimer(timer::kAutoSend);
    m_services.ui.KillTimer(timer::kConnectCaption);
    if (m_bMonitoring) {
        m_services.ui.KillTimer(timer::kMonitor);
        StopMonitorSession();
        m_bMonitoring = false;
    }
    if (m_settings.Bool(BoolKey::ExitDisconnect) && m_conn.GetConnection()) DropLine();
    m_conn.Release();
}

void MainForm::PostClose() {
    if (m_fnClose) m_services.ui.Post(m_fnClose);
}

void MainForm::OnCommand(int nId) {
    switch (nId) {
    case IDC_ACQUIRE:
        if (m_bBusy || m_bAcquiring) return;
        ReadForm();
        AcquirePosition();
        return;
    case IDC_SEND: SendPosition(); return;
    case IDC_ACQUIRE_SEND: AcquireAndSend(); return;
    case IDC_MONITOR: ToggleMonitor(); return;
    case IDC_CONNECT: ToggleConnection(); return;
    case IDM_COPY: ReadForm(); CopyToClipboard(); return;
    case IDM_NEWMAIL: ReadForm(); NewMailWithPosition(); return;
    case IDM_EXIT: PostClose(); return;
    case IDC_URL_EDIT:
    case IDC_BROWSER_EDIT: EditList(nId); return;
    case IDM_OPEN: OpenSettingsFile(); return;
    case IDM_SAVE: SaveSettingsFile(); return;
    case IDM_SETTINGS: ShowSettingsSheet(); return;
    default: return;  // the version box comes with the window
    }
}

SettingsUiServices MainForm::UiServices() const {
    return SettingsUiServices{m_services.dialogs, m_services.files, m_services.fileDialogs, m_services.messages,
                              m_services.resources};
}

void MainForm::EditList(int nId) {
    if (m_bBusy) return;
    ReadForm();
    // On OK the editor stores its rows and its selected row (-1 for none) in the list itself.
    if (nId == IDC_URL_EDIT) vantrel::EditList(UiServices(), Owner(), m_settings.UrlList(), ListEditor::kUrlList);
    else vantrel::EditList(UiServices(), Owner(), m_settings.BrowserList(), ListEditor::kBrowserList);
    WriteForm();
}

// Where the file dialogs start: the folder of the settings file in use, else the program folder.
std::u16string MainForm::SettingsFolder() const {
    const std::u16string& strPath = m_settings.Path();
    const std::size_t nCut = strPath.rfind(m_services.files.Separator());
    if (nCut == std::u16string::npos) return m_services.strProgramFolder;
    return strPath.substr(0, nCut == 0 ? 1 : nCut);
}

void MainForm::OpenSettingsFile() {
    if (m_bBusy) return;
    ReadForm();
    const FileDialogRequest request{u"設定ファイルの選択", u"設定ファイル (*.ini)", u"*.ini", false, SettingsFolder(), true, false};
    std::u16string strPath;
    if (!m_services.fileDialogs.ChooseOpenFile(Owner(), request, strPath)) return;
    // A file that cannot be read leaves the record as it was, so nothing is applied.
    if (!m_settings.Load(strPath)) return;
    ApplySettings();
    WriteForm();
}

void MainForm::SaveSettingsFile() {
    if (m_bBusy) return;
    ReadForm();
    const FileDialogRequest request{u"設定ファイルの保存", u"設定ファイル (*.ini)", u"*.ini", false, SettingsFolder(), false, true};
    std::u16string strPath;
    if (m_services.fileDialogs.ChooseSaveFile(Owner(), request, strPath)) SaveOrTell(m_settings, m_reporter, Owner(), strPath);
}

// Saving here is what brings auto-send back after a start-up whose settings file did not load:
// the file then exists for the next start.
void MainForm::ShowSettingsSheet() {
    if (m_bBusy) return;
    ReadForm();
    if (RunSettingsSheet(UiServices(), Owner(), m_pages, m_settings) != endcode::kOk) return;
    ApplySettings();
    SaveOrTell(m_settings, m_reporter, Owner(),
               m_settings.Path().empty() ? m_settings.DefaultFilePath(m_services.strProgramFolder) : m_settings.Path());
}

void MainForm::FillCombo(int nId, const SettingsList& list) {
    m_host.ComboReset(nId);
    for (std::size_t i = 0; i < list.RowCount(); ++i) m_host.ComboAdd(nId, list.Cell(i, 0));
    if (list.HasSelection()) m_host.ComboSetSel(nId, list.SelectedIndex());
}

void MainForm::ReadCombo(int nId, SettingsList& list) {
    // No selection, or one outside the list, keeps the stored index.
    const int nSel = m_host.ComboGetSel(nId);
    if (nSel >= 0 && static_cast<std::size_t>(nSel) < list.RowCount()) list.SetSelectedIndex(nSel);
}

void MainForm::ReadForm() {
    ReadCombo(IDC_URL_LIST, m_settings.UrlList());
    ReadCombo(IDC_BROWSER_LIST, m_settings.BrowserList());
    for (const CheckBinding& check : kChecks) m_settings.SetBool(check.key, m_host.GetCheck(check.nId));
}

void MainForm::WriteForm() {
    FillCombo(IDC_URL_LIST, m_settings.UrlList());
    FillCombo(IDC_BROWSER_LIST, m_settings.BrowserList());
    for (const CheckBinding& check : kChecks) m_host.SetCheck(check.nId, m_settings.Bool(check.key));
    m_host.SetText(IDC_RESULT, m_strResult);
    m_host.CaretToEnd(IDC_RESULT);
}

void MainForm::EnableAll(bool bEnable, std::initializer_list<int> except) {
    static constexpr int kControls[] = {IDC_URL_LABEL, IDC_URL_LIST,   IDC_URL_EDIT,     IDC_BROWSER_LABEL,
                                        IDC_BROWSER_LIST, IDC_BROWSER_EDIT, IDC_CONNECT, IDC_AUTOCONNECT,
                                        IDC_ACQUIRE,   IDC_LOCATEEASY, IDC_BROWSERSEND,  IDC_MAILSEND,
                                        IDC_HTTPSEND,  IDC_GMMSEND,    IDC_MONITOR,      IDC_SEND,
                                        IDC_ACQUIRE_SEND, IDC_RESULT};
    for (int nId : kControls) {
        const bool bExcepted = std::find(except.begin(), except.end(), nId) != except.end();
        m_host.Enable(nId, bExcepted ? !bEnable : bEnable);
    }
}

void MainForm::AppendResult(const std::u16string& strText) {
    m_strResult += strText;
    if (m_fnResultObserver) m_fnResultObserver(strText);
}

void MainForm::OnCaptionTimer() {
    const std::u16string strCaption = m_reporter.Text(m_conn.GetConnection() ? IDS_DISCONNECT : IDS_CONNECT);
    if (m_host.GetText(IDC_CONNECT) != strCaption) m_host.SetText(IDC_CONNECT, strCaption);
}

}  // namespace vantrel
