#include "app/WindowlessApp.h"

#include "app/Commands.h"
#include "app/MainForm.h"
#include "app/PlatformServices.h"
#include "deliver/MessageFacility.h"
#include "platform/headless/MemoryDialogHost.h"
#include "port/Interrupts.h"
#include "resource.h"
#include "settings/SettingsProfile.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

// The windowless program's own timer, beside the form's 100 to 102.
constexpr std::uint32_t kWatchdogTimer = 900;
constexpr std::uint32_t kWatchdogPeriodMs = 1000;

// The form's command behind each word of the command line.
int CommandId(const std::u16string& strCommand) {
    if (strCommand == u"acquire") return IDC_ACQUIRE;
    if (strCommand == u"send") return IDC_SEND;
    if (strCommand == u"acquire-send") return IDC_ACQUIRE_SEND;
    if (strCommand == u"monitor") return IDC_MONITOR;
    if (strCommand == u"connect") return IDC_CONNECT;
    if (strCommand == u"copy") return IDM_COPY;
    if (strCommand == u"new-mail") return IDM_NEWMAIL;
    return 0;
}

}  // namespace

WindowlessApp::WindowlessApp(const CommandLine& line, TextOut& out, TextOut& err)
    : m_line(line), m_out(out), m_err(err) {}

WindowlessApp::~WindowlessApp() {
    m_pForm.reset();
    m_pMainHost.reset();
    m_pPlatform.reset();
}

int WindowlessApp::Run() {
    const int nStart = Start();
    if (nStart != kExitOk) return nStart;
    PlatformServices& services = *m_pPlatform;
    services.pInterrupts->Watch([&services, this] { services.ui.Post([this] { OnInterrupt(); }); });
    services.ui.SetTimer(kWatchdogTimer, kWatchdogPeriodMs, [this] { OnWatchdog(); });
    const int nStatus = m_line.strCommand.empty() ? RunLoop() : RunCommand();
    services.ui.KillTimer(kWatchdogTimer);
    m_pForm->OnClose();
    return m_bInterrupted && !m_line.strCommand.empty() && m_line.strCommand != u"monitor" ? kExitFailed : nStatus;
}

int WindowlessApp::Start() {
    m_pPlatform = std::make_unique<PlatformServices>(m_line, m_err);
    PlatformServices& services = *m_pPlatform;
    if (!services.StartSimulatedModule()) {
        m_err << "vantrel: the emulated module could not be started (no pseudo-terminal)\n";
        return kExitFailed;
    }
    m_pMainHost = std::make_unique<MemoryDialogHost>(services.ui);
    m_pForm = std::make_unique<MainForm>(services.MakeFormServices(),
                                         PlatformSettingsProfile(services.strProgramFolder), *m_pMainHost);
    m_pForm->SetResultObserver([this](const std::u16string& strText) {
        m_out << Utf16ToUtf8(strText);
        m_out.Flush();
    });
    m_pForm->GetReporter().SetProgressEcho(
        [this](const std::u16string& strCaption, const std::u16string& strText) { EchoMessage(strCaption, strText); });
    m_pForm->SetCloseHandler([this] { platform().ui.Quit(kExitOk); });
    const bool bLoaded = m_pForm->OnCreate(m_line.strSettings, m_line.strCommand.empty());
    // After OnCreate, which loads the service URL of the string table.
    if (!m_line.strService.empty()) m_pForm->SetServiceUrl(m_line.strService);
    m_nSilentLimitMs = services.LimitFromEnvironment("VANTREL_SILENT_LIMIT_MS", kSilentLimitMs);
    if (!bLoaded && !m_line.strSettings.empty()) {
        m_err << "vantrel: cannot read the settings file '" << Utf16ToUtf8(m_line.strSettings) << "'\n";
        return kExitFailed;
    }
    return kExitOk;
}

// Progress records follow the message boxes: printed unless messages are off (NOMSG).
void WindowlessApp::EchoMessage(const std::u16string& strCaption, const std::u16string& strText) {
    if (!(platform().messages.Flags() & MessageFacility::kShowBoxes)) return;
    m_err << '<' << Utf16ToUtf8(strCaption) << ">:" << Utf16ToUtf8(strText) << '\n';
    m_err.Flush();
}

int WindowlessApp::UsePositionOption() {
    if (m_line.strPosition.empty()) return kExitOk;
    Location& location = m_pForm->GetLocation();
    location.Reset();
    if (location.SetFromText(m_line.strPosition)) return kExitOk;
    m_err << "vantrel: '" << Utf16ToUtf8(m_line.strPosition) << "' is not a position text\n";
    return kExitUsage;
}

int WindowlessApp::RunCommand() {
    if (const int nStatus = UsePositionOption(); nStatus != kExitOk) return nStatus;
    MainForm& form = *m_pForm;
    form.ReadForm();
    switch (CommandId(m_line.strCommand)) {
    case IDC_ACQUIRE: return form.AcquirePosition() ? kExitOk : kExitFailed;
    case IDC_SEND: return form.SendPosition() && form.SendFailures() == 0 ? kExitOk : kExitFailed;
    case IDC_ACQUIRE_SEND: return form.AcquireAndSend() && form.SendFailures() == 0 ? kExitOk : kExitFailed;
    case IDC_CONNECT: return form.ToggleConnection() ? kExitOk : kExitFailed;
    case IDM_COPY: return form.CopyToClipboard() ? kExitOk : NoPosition();
    case IDM_NEWMAIL: return form.GetLocation().HasPosition() && form.NewMailWithPosition() ? kExitOk : NoPosition();
    case IDC_MONITOR:
        if (!form.ToggleMonitor()) return kExitFailed;
        platform().ui.Run();
        if (form.IsMonitoring()) form.ToggleMonitor();
        return kExitOk;
    default: return kExitUsage;
    }
}

int WindowlessApp::NoPosition() {
    m_pForm->GetReporter().Warning(0, IDS_NO_POSITION);
    return kExitFailed;
}

int WindowlessApp::RunLoop() { return platform().ui.Run(); }

// Ctrl+C is the progress dialog's Cancel while one runs; otherwise it closes the program.
void WindowlessApp::OnInterrupt() {
    m_bInterrupted = true;
    if (MemoryDialogHost* pDialog = platform().dialogs.ActiveModal()) {
        m_err << "vantrel: interrupted; cancelling\n";
        pDialog->SendCommand(IDC_CANCEL);
        return;
    }
    platform().ui.Quit(kExitOk);
}

// An acquisition whose dialog has shown no progress for a minute is cancelled: nobody is there to
// see that the module stopped answering.
void WindowlessApp::OnWatchdog() {
    MemoryDialogHost* pDialog = platform().dialogs.ActiveModal();
    if (!pDialog) {
        m_nSilentMs = 0;
        return;
    }
    const std::uint64_t nChanges = pDialog->ChangeCount();
    if (nChanges != m_nWatchedChanges) {
        m_nWatchedChanges = nChanges;
        m_nSilentMs = 0;
        return;
    }
    m_nSilentMs += kWatchdogPeriodMs;
    if (m_nSilentMs < m_nSilentLimitMs) return;
    m_err << "vantrel: no answer from the module for " << std::to_string(m_nSilentLimitMs / 1000) << " s; cancelling\n";
    m_nSilentMs = 0;
    pDialog->SendCommand(IDC_CANCEL);
}

PlatformServices& WindowlessApp::platform() { return *m_pPlatform; }

}  // namespace vantrel
