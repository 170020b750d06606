#pragma once
#include <cstdint>
#include <memory>

#include "app/CommandLine.h"
#include "port/TextOut.h"

namespace vantrel {

class MainForm;
class MainWindow;
class TrayIcon;
class InstanceGuard;
class WindowModule;
struct PlatformServices;

// The program with its window: the main form on the window module's widgets under the title of
// string 1, the soft-key bar (1016 on the left, menu 102 on the right), accelerator table 2, the
// notification icon and one instance per user (string 2). Start-up and exit keep the order of the
// device's program: single-instance check, window, form, icon; the exit steps when the window
// closes.
class WindowApp {
public:
    // The app's own timer beside the form's 100 to 102: retries a close that came while a step ran.
    static constexpr std::uint32_t kCloseRetryTimer = 901;
    static constexpr std::uint32_t kCloseRetryMs = 200;

    // pModule stands in for the window module library (tests); null loads the library.
    WindowApp(const CommandLine& line, TextOut& err, WindowModule* pModule = nullptr);
    ~WindowApp();

    // The exit status: 0 after the window closed or another instance was asked to show its own,
    // 1 when there is no window to show or the settings file named cannot be read.
    int Run();

    // What the run has built, for whoever drives it (tests); null before it is built.
    MainForm* Form() { return m_pForm.get(); }
    TrayIcon* Tray() { return m_pTray.get(); }

private:
    int Start();
    void OnCommand(int nId);
    void ShowVersion();
    void RequestClose();

    const CommandLine& m_line;
    TextOut& m_err;
    WindowModule* m_pModule;
    std::unique_ptr<PlatformServices> m_pPlatform;
    std::unique_ptr<InstanceGuard> m_pInstance;
    std::unique_ptr<MainWindow> m_pWindow;
    std::unique_ptr<MainForm> m_pForm;
    std::unique_ptr<TrayIcon> m_pTray;
    bool m_bClosing = false;
};

}  // namespace vantrel
