#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

#include "acquire/DelayThread.h"
#include "acquire/PositionService.h"
#include "acquire/SerialPort.h"
#include "acquire/WsimMonitorSession.h"
#include "acquire/WsimSession.h"
#include "app/ConnectionManager.h"
#include "app/Reporter.h"
#include "deliver/HttpClient.h"
#include "deliver/HttpSend.h"
#include "deliver/Launchers.h"
#include "deliver/MailClient.h"
#include "settings/Settings.h"
#include "settings/SettingsPage.h"
#include "settings/SettingsUi.h"

namespace vantrel {

class Clipboard;
class DialogFactory;
class DialogHost;
class FileDialogs;
class FileSystem;
class HttpTransport;
class LibraryLoader;
class MessageFacility;
class ProcessLauncher;
class ResourceModule;
class Sockets;
class UiThread;
class WindowFinder;

// Everything the main form needs from the platform; owned by the composition root and outliving
// the form.
struct FormServices {
    Clock& clock;
    FileSystem& files;
    MessageFacility& messages;
    const ResourceModule& resources;
    UiThread& ui;
    DialogFactory& dialogs;
    const SerialContext& serial;
    HttpTransport& http;
    Sockets& sockets;
    ProcessLauncher& launcher;
    WindowFinder& windows;
    Clipboard& clipboard;
    LibraryLoader& libraries;
    FileDialogs& fileDialogs;
    std::u16string strProgramFolder;  // default.ini, cache.txt and cookies.txt live here
    std::uint32_t nMailReplyWaitMs = MailClient::kReplyTimeoutMs;  // shortened by tests
    std::uint32_t nHttpLimitMs = HttpClient::kSessionTimeout;      // shortened by tests
};

// Timers of the main window.
namespace timer {
constexpr std::uint32_t kConnectCaption = 100;  // the connect button follows the data line
constexpr std::uint32_t kAutoSend = 101;
constexpr std::uint32_t kMonitor = 102;
constexpr std::uint32_t kCaptionPeriodMs = 1000;
constexpr std::uint32_t kMonitorPeriodMs = 1000;
constexpr std::int32_t kAutoSendMinimumMs = 60000;
}  // namespace timer

// The one screen of the program (dialog template 129) and the workflow behind its commands:
// acquiring the position, sending it through the enabled channels, auto-send, monitoring and the
// data line. Every entry point runs on the UI thread and returns at once while a send or an
// acquisition is under way, because modal progress dialogs keep timers firing.
class MainForm {
public:
    MainForm(const FormServices& services, const SettingsProfile& profile, DialogHost& host);
    ~MainForm();
    MainForm(const MainForm&) = delete;
    MainForm& operator=(const MainForm&) = delete;

    // Start-up (the window's creation): builds the controls, configures the position service,
    // loads the settings file (strSettingsPath, or default.ini in the program folder) and applies
    // it only when it loads, shows it, initialises the connection, posts the start-up run and
    // starts the caption timer. bStartupRun false leaves the start-up run out (a single command
    // runs instead). False when the settings file could not be loaded.
    bool OnCreate(const std::u16string& strSettingsPath, bool bStartupRun = true);
    // Exit: reads the form back, stops the timers and monitoring, drops the line with
    // EXITDISCONNECT and releases the connection.
    void OnClose();

    // The form's commands (buttons, soft keys, menu, accelerators).
    void OnCommand(int nId);

    // Data exchange between the controls and the settings.
    void ReadForm();
    void WriteForm();
    void EnableAll(bool bEnable, std::initializer_list<int> except = {});

    // The workflow; each returns 1 to go on, 0 to stop.
    int ApplySettings();
    int EnsureAutoConnect();
    int ConnectWithRetries();
    int DisconnectAfterAutoSend();
    int AcquirePosition();
    int AcquireByCsId();
    int AcquireSimple();
    int SendPosition();
    int SendByBrowser();
    int SendByMail();
    int SendByHttp();
    int SendToMap();
    int AcquireAndSend();
    int ToggleMonitor();
    int ToggleConnection();
    void OnAutoSendTimer();
    void OnMonitorTimer();
    void OnCaptionTimer();

    // The hand-offs of the menu: the clipboard and a new mail with the position.
    int CopyToClipboard();
    int NewMailWithPosition();

    // The list editor on the URL list (IDC_URL_EDIT) or the browser list (IDC_BROWSER_EDIT).
    void EditList(int nId);
    // The menu's settings files and settings sheet.
    void OpenSettingsFile();
    void SaveSettingsFile();
    void ShowSettingsSheet();

    // Where WM_CLOSE goes (the application closes the window); posted, never called directly.
    void SetCloseHandler(std::function<void()> fnClose) { m_fnClose = std::move(fnClose); }
    // Receives every piece appended to the result text (the windowless program prints it).
    void SetResultObserver(std::function<void(const std::u16string&)> fnObserver) {
        m_fnResultObserver = std::move(fnObserver);
    }
    // Another position service than string 5000 (--service).
    void SetServiceUrl(const std::u16string& strUrl) { m_service.SetServiceUrl(strUrl); }

    Settings& GetSettings() { return m_settings; }
    Location& GetLocation() { return m_service.GetLocation(); }
    Reporter& GetReporter() { return m_reporter; }
    HttpClient& GetHttpClient() { return m_http; }
    const std::u16string& ResultText() const { return m_strResult; }
    const std::u16string& CsId() const { return m_strCsId; }
    bool IsBusy() const { return m_bBusy; }
    bool IsAcquiring() const { return m_bAcquiring; }
    bool IsMonitoring() const { return m_bMonitoring; }
    // Channels that failed in the last SendPosition (enabled channels only).
    int SendFailures() const { return m_nSendFailures; }

private:
    WindowHandle Owner() const;
    std::u16string ProgramFile(std::uint32_t nNameId) const;
    int Attempts(bool bRetry, std::int32_t nMax) const;
    std::uint32_t ConnectWait() const;
    void StartGuard();
    void WaitGuard();
    int DropLine();  // the connection's Disconnect; a dropped line (1) starts the guard
    int RunWsimAcquisition(int nMode, std::u16string& strResult);
    int PostProcess(const std::u16string& strRaw);
    bool CurrentUrl(std::u16string& strUrl) const;  // the selected URL row's address
    bool BuildUrl(std::u16string& strUrl);  // warns about what is missing
    HandOffSettings HandOff() const;
    void AppendResult(const std::u16string& strText);
    void PostClose();
    bool StartMonitorSession();
    void StopMonitorSession();
    void FillCombo(int nId, const SettingsList& list);
    void ReadCombo(int nId, SettingsList& list);
    SettingsUiServices UiServices() const;
    std::u16string SettingsFolder() const;

    FormServices m_services;
    DialogHost& m_host;
    Settings m_settings;
    Reporter m_reporter;
    HttpClient m_http;
    HttpSend m_httpSend;
    PositionService m_service;
    MailClient m_mail;
    Launchers m_launchers;
    ConnectionManager m_conn;
    PageRegistry m_pages;  // every settings page bound while the program runs
    WsimSession m_wsim;
    WsimMonitorSession m_monitor;
    DelayThread m_waitGuard;
    std::atomic<int> m_nMode{0};  // shared with the monitor thread

    bool m_bBusy = false;
    bool m_bAcquiring = false;
    bool m_bMonitoring = false;
    bool m_bMonitorTick = false;
    bool m_bStartupRun = false;
    int m_nSendFailures = 0;
    std::u16string m_strLastMonitor;
    std::u16string m_strCsId;
    std::u16string m_strResult;
    std::function<void()> m_fnClose;
    std::function<void(const std::u16string&)> m_fnResultObserver;
};

}  // namespace vantrel
