// The acquire-and-send workflow of the main form: connection steps, acquisition, post-processing,
// the channels in their fixed order, auto-send and monitoring.
#include "acquire/AcquisitionDialog.h"
#include "app/MainForm.h"
#include "deliver/MailErrorText.h"
#include "deliver/MessageFacility.h"
#include "location/Placeholders.h"
#include "port/DialogHost.h"
#include "port/FileSystem.h"
#include "port/UiThread.h"
#include "resource.h"
#include "settings/Format.h"

namespace vantrel {

// ---- settings and the connection-wait guard ----

int MainForm::ApplySettings() {
    std::uint32_t nFlags = 0;
    if (m_settings.Bool(BoolKey::OutputMsgFile)) nFlags |= MessageFacility::kLogToFile;
    if (!m_settings.Bool(BoolKey::NoMsg)) nFlags |= MessageFacility::kShowBoxes;
    m_services.messages.SetFlags(nFlags);
    const std::u16string& strLogDir = m_settings.Text(TextKey::LogFileDir).Wide();
    m_services.messages.SetLogFolder(strLogDir.empty() ? m_services.strProgramFolder : strLogDir);
    m_service.ClearCache();
    if (m_settings.Bool(BoolKey::CsidCache)) m_service.LoadCache(ProgramFile(IDS_CACHE_FILE));
    m_services.ui.KillTimer(timer::kAutoSend);
    const std::int32_t nInterval = m_settings.Number(NumberKey::AutoSendInterval);
    // A shorter interval leaves auto-send silently off.
    if (m_settings.Bool(BoolKey::AutoSend) && nInterval >= timer::kAutoSendMinimumMs)
        m_services.ui.SetTimer(timer::kAutoSend, static_cast<std::uint32_t>(nInterval), [this] { OnAutoSendTimer(); });
    return 1;
}

std::uint32_t MainForm::ConnectWait() const {
    const std::int32_t nWait = m_settings.Number(NumberKey::ConnectWait);
    return nWait > 0 ? static_cast<std::uint32_t>(nWait) : 0;
}

// The module cannot serve the serial session and the data line at once: after releasing either,
// at least CONNECTWAIT ms pass before the other is used.
void MainForm::StartGuard() { m_waitGuard.Start(ConnectWait()); }

void MainForm::WaitGuard() {
    if (m_waitGuard.IsRunning()) m_waitGuard.Wait(ConnectWait());
}

int MainForm::DropLine() {
    const int nResult = m_conn.Disconnect();  // 2: the user cancelled
    if (nResult == 1) StartGuard();
    return nResult;
}

// Retries happen only in silent operation when RETRYNOMSG asks so.
int MainForm::Attempts(bool bRetry, std::int32_t nMax) const {
    if (!bRetry) return 1;
    if (m_settings.Bool(BoolKey::RetryNoMsg) && !m_settings.Bool(BoolKey::NoMsg)) return 1;
    return nMax;
}

// ---- connection steps ----

int MainForm::ConnectWithRetries() {
    WaitGuard();
    const int n = Attempts(m_settings.Bool(BoolKey::RetryConnect), m_settings.Number(NumberKey::RetryConnectMax));
    for (int i = 0; i < n; ++i) {
        m_reporter.LogProgressCounted(IDS_PROGRESS_CONNECT_START, i, n);
        if (m_conn.Connect() == 1) {
            m_reporter.LogProgress(IDS_PROGRESS_CONNECT_OK);
            return 1;
        }
        m_reporter.LogProgress(IDS_PROGRESS_CONNECT_FAILED);
    }
    return 0;
}

int MainForm::EnsureAutoConnect() {
    if (!m_settings.Bool(BoolKey::AutoConnect)) return 1;
    m_reporter.LogProgress(IDS_PROGRESS_AUTOCONNECT_CHECK);
    if (m_conn.IsConnected() || ConnectWithRetries()) {
        m_reporter.LogProgress(IDS_PROGRESS_AUTOCONNECT_OK);
        return 1;
    }
    m_reporter.LogProgress(IDS_PROGRESS_AUTOCONNECT_FAILED);
    m_reporter.Error(Owner(), IDS_AUTOCONNECT_FAILED);
    return 0;
}

int MainForm::DisconnectAfterAutoSend() {
    if (m_settings.Bool(BoolKey::AutoSendDisconnect) && m_conn.GetConnection()) DropLine();
    return 1;
}

int MainForm::ToggleConnection() {
    if (m_bBusy || m_bAcquiring) return 0;
    ReadForm();
    if (m_conn.GetConnection()) return DropLine() == 1 ? 1 : 0;
    if (m_conn.IsConnected()) return 1;
    return ConnectWithRetries();
}

// ---- acquisition ----

int MainForm::AcquirePosition() {
    m_bAcquiring = true;
    m_reporter.LogProgress(IDS_PROGRESS_CSID);
    int nResult = 0;
    // The module cannot report a position while the data line is up.
    const bool bLineFree = !m_conn.GetConnection() ||
                           (m_reporter.Ask(Owner(), IDS_ASK_DISCONNECT) == mb::kIdYes && DropLine() != 2);
    if (bLineFree) nResult = m_settings.Bool(BoolKey::LocateEasy) ? AcquireSimple() : AcquireByCsId();
    m_bAcquiring = false;
    return nResult;
}

int MainForm::RunWsimAcquisition(int nMode, std::u16string& strResult) {
    m_nMode = nMode;
    const AcquisitionRequest request{nMode, m_settings.Number(NumberKey::EpGetCnt), Settings::kWsimRetryMax};
    const int nEnd = RunAcquisition(m_services.dialogs, Owner(), m_services.ui, m_wsim, m_services.messages,
                                    m_services.resources, request, strResult);
    // A failed acquisition leaves the port as it was; release it so that the monitor's own port,
    // an exclusive open, can be had.
    if (nEnd != AcquisitionDialog::kEndSuccess && m_wsim.OpenedPort()) m_wsim.Stop();
    return nEnd;
}

int MainForm::AcquireByCsId() {
    std::u16string strCsId;
    if (RunWsimAcquisition(mode::kCsId, strCsId) != AcquisitionDialog::kEndSuccess) return 0;
    StartGuard();
    m_strCsId = strCsId;
    GetLocation().Reset();
    std::u16string strLog, strReply;
    const HttpRoute route;
    if (m_settings.Bool(BoolKey::CsidCache)) {
        m_reporter.LogProgress(IDS_PROGRESS_CACHE_SEARCH);
        if (!m_service.LookupCache(m_strCsId, strLog, strReply)) {
            if (!EnsureAutoConnect()) return 0;
            m_reporter.LogProgress(IDS_PROGRESS_CACHE_UPDATE);
            if (!m_service.LookupServiceAndUpdate(route, m_strCsId, strLog, strReply)) {
                m_reporter.Error(Owner(), IDS_LOCATION_FAILED);
                return 0;
            }
            // The position stands; the cache on disk stays as it was, and the user is told why
            // the next run will ask the service again.
            const std::u16string strCache = ProgramFile(IDS_CACHE_FILE);
            if (!m_service.SaveCache(strCache))
                m_reporter.ErrorText(Owner(), FormatText(u"SaveCache() Failed. [file=%s]", strCache));
        }
    } else {
        if (!EnsureAutoConnect()) return 0;
        if (!m_service.LookupService(route, m_strCsId, strLog, strReply)) {
            m_reporter.Error(Owner(), IDS_LOCATION_FAILED);
            return 0;
        }
    }
    return PostProcess(m_strCsId);
}

int MainForm::AcquireSimple() {
    std::u16string strText;
    if (m_bMonitoring) {
        strText = m_monitor.LatestText();  // the running monitor session supplies the position
    } else {
        if (RunWsimAcquisition(mode::kSimple, strText) != AcquisitionDialog::kEndSuccess) return 0;
        StartGuard();
    }
    Location& location = GetLocation();
    location.Reset();
    if (!location.SetFromText(strText)) {
        m_reporter.Error(Owner(), IDS_LOCATION_FAILED);
        return 0;
    }
    return PostProcess(strText);
}

int MainForm::PostProcess(const std::u16string& strRaw) {
    const Location& location = GetLocation();
    if (m_settings.Bool(BoolKey::CreateCookie)) {
        std::u16string strUrl;
        if (!CurrentUrl(strUrl)) m_reporter.Warning(Owner(), IDS_NO_URL);
        else if (!m_httpSend.CreateLocationCookie(strUrl, location.m_strNL, location.m_strEL))
            m_reporter.Warning(Owner(), IDS_COOKIE_FAILED);
    }
    if (m_settings.Bool(BoolKey::OutputPosLogFile)) {
        std::u16string strLine;
        ExpandPlaceholders(location, m_services.clock, m_settings.Text(TextKey::PosLogFormat).Wide(), strLine);
        const std::int32_t nLimit = m_settings.Number(NumberKey::PosLogMaxSize);
        m_services.messages.WritePositionLog(strLine, u"pos", m_settings.Text(TextKey::PosLogDir).Wide(),
                                             nLimit > 0 ? static_cast<std::uint32_t>(nLimit) : 0);
    }
    AppendResult(strRaw + u"\r\n" + FormatText(u"N%sE%s", location.m_strNL, location.m_strEL) + u"\r\n");
    WriteForm();
    return 1;
}

int MainForm::AcquireAndSend() {
    if (m_bBusy || m_bAcquiring) return 0;
    ReadForm();
    if (!AcquirePosition()) return 0;
    return SendPosition();
}

// ---- sending ----

// Only a missing row is "no URL": a row whose address is empty goes on and fails where the URL is
// used (3011 for the send URL, 3016 for the cookie).
bool MainForm::CurrentUrl(std::u16string& strUrl) const {
    const SettingsList& list = m_settings.UrlList();
    if (!list.HasSelection()) return false;
    strUrl = list.SelectedCell(Settings::kUrlAddress);
    return true;
}

// The selected URL row filled with the position; each missing piece is reported as it is found.
bool MainForm::BuildUrl(std::u16string& strUrl) {
    std::u16string strBase;
    if (!CurrentUrl(strBase)) {
        m_reporter.Warning(Owner(), IDS_NO_URL);
        return false;
    }
    if (!GetLocation().HasPosition()) {
        m_reporter.Warning(Owner(), IDS_NO_POSITION);
        return false;
    }
    const std::u16string strTemplate = m_settings.UrlList().SelectedCell(Settings::kUrlTemplate);
    if (!m_httpSend.BuildSendUrl(GetLocation(), strBase, strTemplate, strUrl)) {
        m_reporter.Error(Owner(), IDS_SEND_DATA_FAILED);
        return false;
    }
    return true;
}

HandOffSettings MainForm::HandOff() const {
    return {m_settings.Bool(BoolKey::GmmSend), m_settings.Text(TextKey::ClipboardFormat).Wide()};
}

int MainForm::SendPosition() {
    if (m_bBusy || m_bAcquiring) return 0;
    m_bBusy = true;
    ReadForm();
    if (m_bMonitoring) {
        m_host.Enable(IDC_MONITOR, false);
        m_host.Enable(IDC_SEND, false);
        if (!AcquireSimple()) {
            m_host.Enable(IDC_MONITOR, true);
            m_host.Enable(IDC_SEND, true);
            m_bBusy = false;
            return 0;
        }
        // The data line needs the module: the monitor lets go of it while the channels run.
        StopMonitorSession();
        StartGuard();
    }
    // Each channel stands on its own: a failure does not stop the ones after it.
    m_nSendFailures = 0;
    for (int (MainForm::*pChannel)() : {&MainForm::SendByBrowser, &MainForm::SendByMail, &MainForm::SendByHttp,
                                        &MainForm::SendToMap})
        if (!(this->*pChannel)()) ++m_nSendFailures;
    if (m_bMonitoring) {
        if (m_conn.GetConnection()) DropLine();
        WaitGuard();
        if (!StartMonitorSession()) {
            m_bMonitoring = false;
            m_services.ui.KillTimer(timer::kMonitor);
            EnableAll(true);
        }
        m_host.Enable(IDC_MONITOR, true);
        m_host.Enable(IDC_SEND, true);
    }
    if (m_bStartupRun && m_settings.Bool(BoolKey::SupExit)) PostClose();
    m_bBusy = false;
    return 1;
}

int MainForm::SendByBrowser() {
    if (!m_settings.Bool(BoolKey::BrowserSend)) return 1;
    m_reporter.LogProgress(IDS_PROGRESS_BROWSER);
    std::u16string strUrl;
    if (!BuildUrl(strUrl)) return 0;
    const SettingsList& browsers = m_settings.BrowserList();
    if (browsers.HasSelection()) {
        WaitGuard();
        m_launchers.OpenWithShell(browsers.SelectedCell(Settings::kBrowserFile), strUrl);
    }
    return 1;
}

int MainForm::SendByMail() {
    if (!m_settings.Bool(BoolKey::MailSend)) return 1;
    const Location& location = GetLocation();
    if (!location.HasPosition()) {
        m_reporter.Warning(Owner(), IDS_NO_POSITION);
        return 0;
    }
    const std::u16string& strSmtp = m_settings.Text(TextKey::HostSmtp).Wide();
    const std::u16string& strPop = m_settings.Text(TextKey::HostPop).Wide();
    const bool bPbs = m_settings.Bool(BoolKey::Pbs);
    std::uint32_t nMissing = 0;
    if (strSmtp.empty()) nMissing = IDS_NO_SMTP_HOST;
    else if (m_settings.Text(TextKey::FromSmtp).IsEmpty()) nMissing = IDS_NO_SENDER;
    else if (m_settings.Text(TextKey::ToSmtp).IsEmpty()) nMissing = IDS_NO_RECIPIENT;
    else if (bPbs && strPop.empty()) nMissing = IDS_NO_POP_HOST;
    std::u16string strSmtpHost, strPopHost;
    std::uint16_t nSmtpPort = kSmtpPort, nPopPort = kPopPort;
    if (nMissing == 0 && !SplitMailHost(strSmtp, kSmtpPort, strSmtpHost, nSmtpPort)) nMissing = IDS_NO_SMTP_HOST;
    if (nMissing == 0 && bPbs && !SplitMailHost(strPop, kPopPort, strPopHost, nPopPort)) nMissing = IDS_NO_POP_HOST;
    if (nMissing != 0) {
        m_reporter.Warning(Owner(), nMissing);
        return 0;
    }
    if (!EnsureAutoConnect()) return 0;
    std::u16string strSubject, strBody;
    ExpandPlaceholders(location, m_services.clock, m_settings.Text(TextKey::SubjectSmtp).Wide(), strSubject);
    ExpandPlaceholders(location, m_services.clock, m_settings.Text(TextKey::BodySmtp).Wide(), strBody);
    const int n = Attempts(m_settings.Bool(BoolKey::RetrySendMail), m_settings.Number(NumberKey::RetrySendMailMax));
    for (int i = 0; i < n; ++i) {
        m_reporter.LogProgressCounted(IDS_PROGRESS_MAIL_START, i, n);
        int nCode = 0;
        if (bPbs) {
            m_reporter.LogProgress(IDS_PROGRESS_POP_START);
            nCode = m_mail.PopBeforeSmtp(strPopHost, nPopPort, m_settings.Text(TextKey::AccountPop).Wide(),
                                         m_settings.Text(TextKey::PasswordPop).Wide());
            if (nCode == 0) m_reporter.LogProgress(IDS_PROGRESS_POP_DONE);
        }
        if (nCode == 0)
            nCode = m_mail.SendMail(strSmtpHost, nSmtpPort, m_settings.Text(TextKey::FromSmtp).Wide(),
                                    m_settings.Text(TextKey::ToSmtp).Wide(), strSubject, strBody);
        if (nCode == 0) {
            m_reporter.LogProgress(IDS_MAIL_SENT);
            return 1;
        }
        m_reporter.ErrorText(Owner(), ComposeMailErrorText(m_mail.Result(), m_services.resources));
        m_reporter.LogProgress(IDS_PROGRESS_MAIL_FAILED);
    }
    return 0;
}

int MainForm::SendByHttp() {
    if (!m_settings.Bool(BoolKey::HttpSend)) return 1;
    std::u16string strUrl;
    if (!BuildUrl(strUrl)) return 0;
    if (!EnsureAutoConnect()) return 0;
    const int n = Attempts(m_settings.Bool(BoolKey::RetryHttpSend), m_settings.Number(NumberKey::RetryHttpSendMax));
    for (int i = 0; i < n; ++i) {
        m_reporter.LogProgressCounted(IDS_PROGRESS_HTTP_START, i, n);
        m_reporter.LogProgress(IDS_PROGRESS_HTTP_SENDING);
        std::u16string strBody, strLocation;
        if (m_http.Fetch(strUrl, HttpRoute(), u"", u"", strBody, strLocation)) {
            m_reporter.Notice(Owner(), strBody);
            m_reporter.LogProgress(IDS_HTTP_SENT);
            return 1;
        }
        m_reporter.LogProgress(IDS_PROGRESS_HTTP_FAILED);
    }
    return 0;
}

int MainForm::SendToMap() {
    // Hand the position to a running map first; launch one only when that did not happen.
    if (m_launchers.SendMapSearch(Owner(), GetLocation(), HandOff()) != 0) return 1;
    return m_launchers.LaunchMapWithUrl(Owner(), GetLocation(), HandOff());
}

int MainForm::CopyToClipboard() {
    if (!GetLocation().HasPosition()) return 0;
    return m_launchers.CopyPositionToClipboard(GetLocation(), HandOff()) ? 1 : 0;
}

int MainForm::NewMailWithPosition() {
    NewMail mail;
    mail.strTo = m_settings.Text(TextKey::ToSmtp).Wide();
    mail.strSubject = m_settings.Text(TextKey::SubjectSmtp).Wide();
    ExpandPlaceholders(GetLocation(), m_services.clock, m_settings.Text(TextKey::BodySmtp).Wide(), mail.strBody);
    m_launchers.LaunchNewMail(mail);
    return 1;
}

// ---- unattended modes ----

void MainForm::OnAutoSendTimer() {
    if (m_bBusy || m_bAcquiring) return;
    m_reporter.LogProgress(IDS_PROGRESS_AUTOSEND);
    if (!m_bMonitoring) AcquireAndSend();
    else SendPosition();
    DisconnectAfterAutoSend();
}

bool MainForm::StartMonitorSession() { return m_monitor.StartMonitor(m_nMode); }

void MainForm::StopMonitorSession() {
    m_monitor.StopMonitor();
    m_monitor.Close();
}

int MainForm::ToggleMonitor() {
    if (m_bBusy || m_bAcquiring) return 0;
    ReadForm();
    if (m_bMonitoring) {
        m_services.ui.KillTimer(timer::kMonitor);
        StopMonitorSession();
        m_bMonitoring = false;
        EnableAll(true);
        return 1;
    }
    if (m_conn.GetConnection()) {
        if (m_reporter.Ask(Owner(), IDS_ASK_DISCONNECT) != mb::kIdYes) return 0;
        // Whatever became of the line, the module needs its pause unless the user cancelled.
        if (m_conn.Disconnect() == 2) return 0;
        StartGuard();
    }
    WaitGuard();
    if (!StartMonitorSession()) return 0;
    m_bMonitoring = true;
    EnableAll(false, {IDC_MONITOR, IDC_SEND});
    m_services.ui.SetTimer(timer::kMonitor, timer::kMonitorPeriodMs, [this] { OnMonitorTimer(); });
    return 1;
}

void MainForm::OnMonitorTimer() {
    if (!m_bMonitoring || m_bMonitorTick) return;
    m_bMonitorTick = true;
    const std::u16string strText = m_monitor.LatestText();
    Location parsed;
    if (!strText.empty() && strText != m_strLastMonitor && parsed.SetFromText(strText)) {
        AppendResult(FormatText(u"New Location\r\nN:%s\r\nE:%s\r\nPC:%s\r\n", parsed.m_strNL, parsed.m_strEL,
                                parsed.m_strInfo));
        WriteForm();
        m_strLastMonitor = strText;
        if (m_settings.Bool(BoolKey::MonChkSend) && !m_bBusy) {
            m_reporter.LogProgress(IDS_PROGRESS_MONITOR_SEND);
            SendPosition();
            DisconnectAfterAutoSend();
        }
    }
    m_bMonitorTick = false;
}

}  // namespace vantrel
