// The window program's composition on the in-memory host: the shortcuts it hands the window, where
// the window's commands go, the second start and a close during a send. The menu, the soft keys,
// the version dialog, the tray and the exit are the real window's test (tests/gui), which shows
// them as a user meets them.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>

#include "app/CommandLine.h"
#include "app/MainForm.h"
#include "app/WindowApp.h"
#include "platform/headless/HeadlessUiThread.h"
#include "platform/headless/MemoryDialogHost.h"
#include "port/Clock.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "port/WindowModule.h"
#include "resource.h"
#include "settings/SettingsProfile.h"
#include "settings/TextUtil.h"
#include "support/FakeClipboard.h"
#include "support/LoopbackHttpServer.h"
#include "support/RecordingMessageBox.h"
#include "support/ScriptedFileDialogs.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

// The headless loop, painting as a window does while a step waits: posted work and timers run.
class PaintingUiThread final : public UiThread {
public:
    explicit PaintingUiThread(Clock& clock) : m_loop(clock) {}
    void Post(std::function<void()> fn) override { m_loop.Post(std::move(fn)); }
    void SetTimer(std::uint32_t nId, std::uint32_t nPeriodMs, std::function<void()> fn) override {
        m_loop.SetTimer(nId, nPeriodMs, std::move(fn));
    }
    void KillTimer(std::uint32_t nId) override { m_loop.KillTimer(nId); }
    int RunModal() override { return m_loop.RunModal(); }
    void EndModal(int nCode) override { m_loop.EndModal(nCode); }
    void KeepPainting() override { m_loop.RunPending(); }
    int Run() override { return m_loop.Run(); }
    void Quit(int nExitCode) override { m_loop.Quit(nExitCode); }

private:
    HeadlessUiThread m_loop;
};

class FakeMainWindow final : public MainWindow {
public:
    FakeMainWindow(UiThread& ui, const MainWindowParts& layout) : m_layout(layout), m_form(ui) {}
    DialogHost& Form() override { return m_form; }
    void SetCommandHandler(std::function<void(int)> handler) override { m_fnCommand = std::move(handler); }
    void SetCloseHandler(std::function<void()> handler) override { m_fnClose = std::move(handler); }
    void Show() override {}
    void Raise() override { ++m_nRaised; }

    MainWindowParts m_layout;
    MemoryDialogHost m_form;
    std::function<void(int)> m_fnCommand;
    std::function<void()> m_fnClose;
    int m_nRaised = 0;
};

class FakeTray final : public TrayIcon {
public:
    void Show(const IconImages&, std::function<void()>) override { m_bVisible = true; }
    void Hide() override { m_bVisible = false; }
    bool IsVisible() const override { return m_bVisible; }

    std::atomic<bool> m_bVisible{false};
};

class FakeGuard final : public InstanceGuard {
public:
    bool Claim(const std::u16string&, std::function<void()> onRaise) override {
        m_fnRaise = std::move(onRaise);
        return true;
    }
    std::function<void()> m_fnRaise;
};

class FakeWindowModule final : public WindowModule {
public:
    bool Open(std::string&) override { return true; }
    UiThread& Ui() override { return m_ui; }
    DialogFactory& Dialogs() override { return m_dialogs; }
    MessageBoxHost& MessageBoxes() override { return m_boxes; }
    Clipboard& SystemClipboard() override { return m_clipboard; }
    FileDialogs& SystemFileDialogs() override { return m_fileDialogs; }
    std::unique_ptr<MainWindow> CreateMainWindow(const MainWindowParts& layout) override {
        auto pWindow = std::make_unique<FakeMainWindow>(m_ui, layout);
        m_pWindow = pWindow.get();
        return pWindow;
    }
    std::unique_ptr<TrayIcon> CreateTrayIcon() override {
        auto pTray = std::make_unique<FakeTray>();
        m_pTray = pTray.get();
        return pTray;
    }
    std::unique_ptr<InstanceGuard> CreateInstanceGuard() override {
        auto pGuard = std::make_unique<FakeGuard>();
        m_pGuard = pGuard.get();
        return pGuard;
    }
    bool IsScreenWide() const override { return false; }

    std::unique_ptr<Clock> m_pClock = CreateSystemClock();
    PaintingUiThread m_ui{*m_pClock};
    MemoryDialogFactory m_dialogs{m_ui};
    test::RecordingMessageBox m_boxes;
    test::FakeClipboard m_clipboard;
    test::ScriptedFileDialogs m_fileDialogs;
    FakeMainWindow* m_pWindow = nullptr;
    FakeTray* m_pTray = nullptr;
    FakeGuard* m_pGuard = nullptr;
};

// One run of the window program in a program folder of its own (no settings file unless a test
// writes one), driven by closures posted to its loop before it starts.
class WindowAppTest : public ::testing::Test {
protected:
    void SetUp() override { setenv("VANTREL_HOME", m_home.Path().c_str(), 1); }
    void TearDown() override { unsetenv("VANTREL_HOME"); }

    // Runs the program; each step is posted in turn once the window is up.
    int Run(std::vector<std::function<void()>> steps) {
        for (auto& step : steps) m_module.m_ui.Post(std::move(step));
        m_pApp = std::make_unique<WindowApp>(m_line, m_err, &m_module);
        return m_pApp->Run();
    }
    FakeMainWindow& Window() { return *m_module.m_pWindow; }

    test::TempDir m_home;
    CommandLine m_line;
    StringTextOut m_err;
    FakeWindowModule m_module;
    std::unique_ptr<WindowApp> m_pApp;
};

// A second start raises the window; the menu's save asks the window's own file dialog and writes
// what the form shows. The shortcuts come from accelerator table 2. (The menu, the soft keys,
// Ctrl+A, the tray and the exit are the real window's test's.)
TEST_F(WindowAppTest, MenuCommandsAndShortcutsReachTheFormThroughTheWindow) {
    m_module.m_fileDialogs.m_strAnswer = m_home.WideFile("chosen.ini");
    ASSERT_EQ(Run({[&] {
                       Window().m_form.SetCheck(IDC_HTTPSEND, true);
                       m_module.m_pGuard->m_fnRaise();
                       Window().m_fnCommand(IDM_SAVE);
                       Window().m_fnCommand(IDM_EXIT);
                   }}),
              0);
    std::vector<std::pair<std::u16string, int>> shortcuts;
    for (const Shortcut& shortcut : Window().m_layout.shortcuts) shortcuts.emplace_back(shortcut.strKeys, shortcut.nCommand);
    EXPECT_EQ(shortcuts, (std::vector<std::pair<std::u16string, int>>{
                             {u"Ctrl+A", IDM_VERSION}, {u"Ctrl+Q", IDM_EXIT}, {u"Ctrl+O", IDM_OPEN}, {u"Ctrl+S", IDM_SAVE}}));
    EXPECT_EQ(Window().m_nRaised, 1);
    EXPECT_NE(test::ReadUtf16File(m_home.File("chosen.ini")).find("HTTPSEND=TRUE"), std::string::npos);
}

// A close that comes while a send waits (the window paints, and takes requests, meanwhile) waits
// for the send: the exit steps must not pull anything from under it.
TEST_F(WindowAppTest, CloseDuringASendWaitsForItsEnd) {
    test::LoopbackHttpServer server;
    std::atomic<bool> bTrayDuringRequest{false};
    server.Server().Get("/send", [&](const httplib::Request&, httplib::Response& response) {
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        bTrayDuringRequest = m_module.m_pTray->IsVisible();
        response.set_content("accepted", "text/plain");
    });
    server.Start();
    const std::unique_ptr<FileSystem> pFiles = CreateFileSystem();
    Settings settings(PlatformSettingsProfile(m_home.WidePath()), *pFiles);
    settings.SetBool(BoolKey::AutoConnect, false);
    settings.SetBool(BoolKey::BrowserSend, false);
    settings.SetBool(BoolKey::HttpSend, true);
    settings.SetBool(BoolKey::NoMsg, true);
    settings.UrlList().AddRow({u"local", server.WideUrl("/send"), u""});
    settings.UrlList().SetSelectedIndex(static_cast<int>(settings.UrlList().RowCount()) - 1);
    ASSERT_TRUE(settings.Save(m_home.WideFile("default.ini")));
    bool bBusyAtClose = false;
    ASSERT_EQ(Run({[&] {
                       m_pApp->Form()->GetLocation().SetFromText(u"N35.39.29.000E139.44.51.000/1");
                       // Queued behind the click; it runs while the send waits for the server.
                       m_module.m_ui.Post([&] {
                           bBusyAtClose = m_pApp->Form()->IsBusy();
                           Window().m_fnClose();
                       });
                       Window().m_form.SendCommand(IDC_SEND);
                   }}),
              0);
    EXPECT_TRUE(bBusyAtClose);
    EXPECT_TRUE(bTrayDuringRequest);
    EXPECT_EQ(m_pApp->Form()->SendFailures(), 0);
    EXPECT_FALSE(m_module.m_pTray->IsVisible());
}

}  // namespace
}  // namespace vantrel
