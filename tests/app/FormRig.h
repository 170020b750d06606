#pragma once
#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "acquire/EmulatedModule.h"
#include "acquire/PortResolver.h"
#include "acquire/SerialPort.h"
#include "app/MainForm.h"
#include "deliver/MessageFacility.h"
#include "platform/headless/HeadlessUiThread.h"
#include "platform/headless/MemoryDialogHost.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "port/HttpTransport.h"
#include "port/PseudoTerminal.h"
#include "port/SerialDevice.h"
#include "port/Sockets.h"
#include "port/SystemInfo.h"
#include "port/ThreadPriority.h"
#include "resource.h"
#include "settings/ResourceModule.h"
#include "settings/Settings.h"
#include "settings/SettingsProfile.h"
#include "settings/TextUtil.h"
#include "support/FakeClipboard.h"
#include "support/FakeDlgConnectLoader.h"
#include "support/FakeProcessLauncher.h"
#include "support/FakeWindowFinder.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageBox.h"
#include "support/ScriptedFileDialogs.h"
#include "support/TempDir.h"

namespace vantrel::test {

// The main form as the program builds it, over real parts wherever they can run in a test: the
// emulated module on a real pseudo-terminal behind the real serial channel (on a fast clock, whose
// reader really sleeps a tenth of each wait), the real message facility writing its log into a
// temporary program folder, curl and sockets for HTTP and mail. The form and its UI loop run on a
// manual clock, so timers fire only when the test moves time. Hand-offs, windows, the clipboard
// and the data-line library are fakes that record what they were asked.
class FormRig {
public:
    explicit FormRig(EmulatorConfig config = EmulatorConfig())
        : m_module(CreatePseudoTerminal(), std::move(config)) {
        m_module.Start();
        m_resolver.SetSimulatedDevice(Utf8ToUtf16(m_module.DevicePath()));
        m_launcher.m_onStart = [this](const std::u16string& strFile) {
            if (m_onHandOff) m_onHandOff(strFile);
        };
    }
    ~FormRig() {
        m_pForm.reset();
        m_module.Stop();
    }

    // Writes default.ini into the program folder and creates the form from it as the window's
    // creation does. Returns what OnCreate returned. Every case starts from the defaults and this
    // (then its own edit): nothing sent or connected, no waits, every message logged and shown; one
    // URL and one browser.
    bool Create(const std::function<void(Settings&)>& edit = {}, bool bStartupRun = true) {
        Settings settings(m_profile, *m_pFiles);
        settings.SetBool(BoolKey::AutoConnect, false);
        settings.SetBool(BoolKey::BrowserSend, false);
        settings.SetBool(BoolKey::OutputMsgFile, true);
        settings.SetNumber(NumberKey::ConnectWait, 0);
        settings.UrlList().Clear();
        settings.UrlList().AddRow({u"local", u"http://127.0.0.1:9/send", u"nl=$nl&el=$el"});
        settings.UrlList().SetSelectedIndex(0);
        settings.BrowserList().Clear();
        settings.BrowserList().AddRow({u"test", u"/usr/bin/test-browser"});
        settings.BrowserList().SetSelectedIndex(0);
        if (edit) edit(settings);
        return settings.Save(SettingsPath()) && CreateOnly(bStartupRun);
    }
    bool CreateOnly(bool bStartupRun = true) {
        m_pForm = std::make_unique<MainForm>(Services(), m_profile, m_host);
        m_pForm->SetCloseHandler([this] { ++m_nCloses; });
        return m_pForm->OnCreate(u"", bStartupRun);
    }

    MainForm& Form() { return *m_pForm; }
    Settings& FormSettings() { return m_pForm->GetSettings(); }
    std::u16string SettingsPath() const { return m_dir.WideFile("default.ini"); }

    // Moves the form's clock and runs whatever became due.
    void Tick(std::uint32_t nMilliseconds) {
        m_clock.Advance(nMilliseconds);
        m_ui.RunPending();
    }
    void Command(int nId) { m_host.SendCommand(nId); }

    // The day file of the manual clock's date: "<yyyymmdd>.<suffix>" in the program folder.
    std::string DayFile(const char* pszSuffix) {
        const SystemTime now = m_clock.LocalTime();
        char szName[32];
        std::snprintf(szName, sizeof szName, "%04d%02d%02d.%s", now.nYear, now.nMonth, now.nDay, pszSuffix);
        return m_dir.File(szName);
    }
    // Today's message log as lines "<caption>:text" starting with one of the prefixes, in order.
    // A message may hold line breaks of its own; a new one starts with "[hh:mm:ss] ".
    std::vector<std::string> LogLines(const std::vector<std::string>& prefixes = {""}) {
        static const std::regex kStamp(R"((^|\r\n)\[\d\d:\d\d:\d\d\] )");
        const std::string strLog = ReadUtf16File(DayFile("log"));
        std::vector<std::string> lines;
        for (std::sregex_token_iterator it(strLog.begin(), strLog.end(), kStamp, -1), end; it != end; ++it) {
            std::string strLine = *it;
            if (strLine.ends_with("\r\n")) strLine.resize(strLine.size() - 2);
            if (!strLine.empty() && std::any_of(prefixes.begin(), prefixes.end(),
                                                [&](const std::string& strPrefix) { return strLine.starts_with(strPrefix); }))
                lines.push_back(strLine);
        }
        return lines;
    }
    int BoxCount(const std::u16string& strText) const {
        const auto& boxes = m_boxes.Boxes();
        return static_cast<int>(std::count_if(boxes.begin(), boxes.end(), [&](const auto& box) { return box.strText == strText; }));
    }
    int ModuleCount(const std::string& strCommand) const {
        const std::vector<std::string> commands = m_module.Commands();
        return static_cast<int>(std::count(commands.begin(), commands.end(), strCommand));
    }

    // Polls in real time; false when the condition did not come true within nLimitMs.
    static bool WaitFor(const std::function<bool()>& condition, int nLimitMs = 10000) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(nLimitMs);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return true;
    }

    FormServices Services() {
        return FormServices{m_clock,   *m_pFiles, m_messages, ResourceModule::Program(), m_ui,        m_dialogs,
                            m_serial,  *m_pHttp,  *m_pSockets, m_launcher,               m_windows,   m_clipboard,
                            m_libraries, m_fileDialogs, m_dir.WidePath()};
    }

    TempDir m_dir;  // the program folder: default.ini, cache.txt, cookies.txt, the logs
    ManualClock m_clock;
    std::unique_ptr<FileSystem> m_pFiles = CreateFileSystem();
    std::unique_ptr<SystemInfo> m_pSystem = CreateSystemInfo();
    std::unique_ptr<ThreadPriority> m_pPriority = CreateThreadPriority();
    RecordingMessageBox m_boxes;
    MessageFacility m_messages{m_clock, *m_pFiles, m_boxes, ResourceModule::Program()};
    HeadlessUiThread m_ui{m_clock};
    MemoryDialogFactory m_dialogs{m_ui};
    MemoryDialogHost m_host{m_ui};
    EmulatedModule m_module;
    PortResolver m_resolver{PortResolver::kSimulated, *m_pSystem};
    FastClock m_serialClock;
    std::function<void()> m_onSerialOpen;  // runs before every attempt at opening the module's port
    SerialContext m_serial{m_serialClock, m_messages, *m_pPriority,
                           [this] {
                               if (m_onSerialOpen) m_onSerialOpen();
                               return CreateSerialDevice();
                           },
                           &m_resolver};
    std::unique_ptr<HttpTransport> m_pHttp = CreateHttpTransport(m_dir.WidePath());
    std::unique_ptr<Sockets> m_pSockets = CreateSockets();
    std::vector<std::u16string> m_handOffs;  // browser and map starts, in order
    FakeProcessLauncher m_launcher{HandOffStyle::Desktop, &m_handOffs};
    FakeWindowFinder m_windows{m_clock};
    FakeClipboard m_clipboard;
    FakeDlgConnectLoader m_libraries;
    ScriptedFileDialogs m_fileDialogs;
    SettingsProfile m_profile = LinuxSettingsProfile(m_dir.WidePath());
    std::function<void(const std::u16string&)> m_onHandOff;  // runs inside a hand-off (mid-send)
    int m_nCloses = 0;
    std::unique_ptr<MainForm> m_pForm;
};

}  // namespace vantrel::test
