#include "app/WindowApp.h"

#include "app/Commands.h"
#include "app/IconResource.h"
#include "app/MainForm.h"
#include "app/MenuResource.h"
#include "app/PlatformServices.h"
#include "app/VersionDialog.h"
#include "port/DialogHost.h"
#include "port/Interrupts.h"
#include "port/UiThread.h"
#include "port/WindowModule.h"
#include "resource.h"
#include "settings/ResourceModule.h"
#include "settings/SettingsProfile.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

// The window texts are loaded with buffers of 100 characters, as on the device.
std::u16string LoadText(std::uint32_t nId) {
    char16_t szBuffer[100];
    const int nLength = ResourceModule::Program().LoadStringText(nId, szBuffer, 100);
    return std::u16string(szBuffer, static_cast<std::size_t>(nLength));
}

// The right soft key pops up the first pop-up of the menu resource.
std::vector<MenuEntry> SoftKeyMenu(std::vector<MenuEntry> entries) {
    if (!entries.empty() && !entries.front().children.empty()) return std::move(entries.front().children);
    return entries;
}

MainWindowParts WindowSpec() {
    const ResourceModule& resources = ResourceModule::Program();
    MainWindowParts parts;
    parts.strTitle = LoadText(IDS_APP_TITLE);
    parts.icon = LoadIcon(resources, IDI_APP);
    parts.strLeftKey = LoadText(IDS_SOFTKEY_SEND);
    parts.nLeftCommand = IDC_ACQUIRE_SEND;
    parts.strRightKey = LoadText(IDS_SOFTKEY_MENU);
    parts.rightMenu = SoftKeyMenu(LoadMenu(resources, IDR_MENU));
    parts.shortcuts = LoadShortcuts(resources, IDR_ACCELERATOR);
    return parts;
}

}  // namespace

WindowApp::WindowApp(const CommandLine& line, TextOut& err, WindowModule* pModule)
    : m_line(line), m_err(err), m_pModule(pModule) {}

// The form goes before the window that hosts its controls, and both before the module's UI.
WindowApp::~WindowApp() {
    m_pTray.reset();
    m_pForm.reset();
    m_pWindow.reset();
    m_pInstance.reset();
    m_pPlatform.reset();
}

int WindowApp::Run() {
    const int nStart = Start();
    if (nStart != kExitOk || !m_pForm) return nStart;
    return m_pPlatform->Ui().Run();
}

int WindowApp::Start() {
    m_pPlatform = std::make_unique<PlatformServices>(m_line, m_err);
    PlatformServices& services = *m_pPlatform;
    if (!m_pModule) {
        std::string strError;
        m_pModule = services.windowModule.Open(strError);
        if (!m_pModule) {
            m_err << "vantrel: no window: " << strError << "\n(vantrel --windowless runs without one)\n";
            return kExitFailed;
        }
    }
    services.AttachWindow(*m_pModule);
    const MainWindowParts parts = WindowSpec();
    // A second start only brings the first one's window to the front.
    m_pInstance = m_pModule->CreateInstanceGuard();
    if (!m_pInstance->Claim(LoadText(IDS_WINDOW_CLASS), [this] {
            if (m_pWindow) m_pWindow->Raise();
        }))
        return kExitOk;
    if (!services.StartSimulatedModule()) {
        m_err << "vantrel: the emulated module could not be started (no pseudo-terminal)\n";
        return kExitFailed;
    }
    m_pWindow = m_pModule->CreateMainWindow(parts);
    m_pWindow->SetCommandHandler([this](int nId) { OnCommand(nId); });
    m_pWindow->SetCloseHandler([this] { RequestClose(); });
    m_pForm = std::make_unique<MainForm>(services.MakeFormServices(),
                                         PlatformSettingsProfile(services.strProgramFolder), m_pWindow->Form());
    m_pForm->SetCloseHandler([this] { RequestClose(); });
    const bool bLoaded = m_pForm->OnCreate(m_line.strSettings);
    // After OnCreate, which loads the service URL of the string table.
    if (!m_line.strService.empty()) m_pForm->SetServiceUrl(m_line.strService);
    if (!bLoaded && !m_line.strSettings.empty()) {
        m_err << "vantrel: cannot read the settings file '" << Utf16ToUtf8(m_line.strSettings) << "'\n";
        m_pForm->OnClose();
        m_pForm.reset();
        return kExitFailed;
    }
    m_pTray = m_pModule->CreateTrayIcon();
    m_pTray->Show(parts.icon, [this] { m_pWindow->Raise(); });
    m_pWindow->Show();
    // A termination request closes the window as the close box does, exit steps included.
    services.pInterrupts->Watch([&ui = services.Ui(), this] { ui.Post([this] { RequestClose(); }); });
    return kExitOk;
}

void WindowApp::OnCommand(int nId) {
    if (nId == IDM_VERSION) ShowVersion();
    else m_pForm->OnCommand(nId);
}

void WindowApp::ShowVersion() {
    const VersionText text{LoadText(IDS_APP_TITLE), u"Version " + Utf8ToUtf16(VANTREL_VERSION),
                           u"Build " + Utf8ToUtf16(VANTREL_BUILD_DATE)};
    RunVersionDialog(m_pPlatform->Dialogs(), m_pWindow->Form().Handle(), ResourceModule::Program(),
                     m_pModule->IsScreenWide(), text);
}

// The exit steps must not pull the connection or the port from under a step that is still running
// (the window paints, and takes close requests, while a step waits): such a close is retried.
void WindowApp::RequestClose() {
    if (m_bClosing || !m_pForm) return;
    UiThread& ui = m_pPlatform->Ui();
    if (m_pForm->IsBusy() || m_pForm->IsAcquiring()) {
        ui.SetTimer(kCloseRetryTimer, kCloseRetryMs, [this] { RequestClose(); });
        return;
    }
    m_bClosing = true;
    ui.KillTimer(kCloseRetryTimer);
    m_pTray->Hide();
    m_pForm->OnClose();
    ui.Quit(kExitOk);
}

}  // namespace vantrel
