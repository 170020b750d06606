#pragma once
#include <memory>
#include <string>

#include "acquire/EmulatedModule.h"
#include "acquire/PortResolver.h"
#include "acquire/SerialPort.h"
#include "app/WindowModuleLoader.h"
#include "deliver/MessageFacility.h"
#include "platform/headless/CancelledFileDialogs.h"
#include "platform/headless/ConsoleMessageBox.h"
#include "platform/headless/HeadlessUiThread.h"
#include "platform/headless/MemoryDialogHost.h"
#include "port/FileDialogs.h"
#include "port/TextOut.h"

namespace vantrel {

class Clock;
class FileSystem;
class HttpTransport;
class Interrupts;
class LibraryLoader;
class ProcessLauncher;
class SerialDevice;
class Sockets;
class SystemInfo;
class TextCodec;
class ThreadPriority;
class WindowFinder;
class WindowModule;
struct CommandLine;
struct FormServices;

// Message boxes go to the console until a window takes them over.
class MessageBoxRoute final : public MessageBoxHost {
public:
    explicit MessageBoxRoute(MessageBoxHost& target) : m_pTarget(&target) {}
    void SetTarget(MessageBoxHost& target) { m_pTarget = &target; }
    int Show(WindowHandle hOwner, const std::u16string& strText, const std::u16string& strCaption,
             std::uint32_t nFlags) override {
        return m_pTarget->Show(hOwner, strText, strCaption, nFlags);
    }

private:
    MessageBoxHost* m_pTarget;
};

// File dialogs answer "cancelled" until a window takes them over.
class FileDialogRoute final : public FileDialogs {
public:
    explicit FileDialogRoute(FileDialogs& target) : m_pTarget(&target) {}
    void SetTarget(FileDialogs& target) { m_pTarget = &target; }
    bool ChooseOpenFile(WindowHandle hOwner, const FileDialogRequest& request, std::u16string& strPath) override {
        return m_pTarget->ChooseOpenFile(hOwner, request, strPath);
    }
    bool ChooseSaveFile(WindowHandle hOwner, const FileDialogRequest& request, std::u16string& strPath) override {
        return m_pTarget->ChooseSaveFile(hOwner, request, strPath);
    }

private:
    FileDialogs* m_pTarget;
};

// Every platform service of one run, created once by the composition root and handed to whatever
// needs it. Installs the code page for the run's lifetime. The UI is the headless one unless a
// window module is attached; the toolkit is loaded only for the window or a copy.
struct PlatformServices {
    // messageSink receives the console's message boxes (standard error).
    PlatformServices(const CommandLine& line, TextOut& messageSink);
    ~PlatformServices();
    PlatformServices(const PlatformServices&) = delete;
    PlatformServices& operator=(const PlatformServices&) = delete;

    // Starts the emulated module when the port is "sim"; false when it cannot start.
    bool StartSimulatedModule();
    // The window module's UI thread, dialogs, message boxes and file dialogs in place of the
    // headless ones.
    void AttachWindow(WindowModule& module);
    UiThread& Ui() { return *m_pUi; }
    DialogFactory& Dialogs() { return *m_pDialogs; }
    FormServices MakeFormServices();
    // A wait in milliseconds that a test run shortens through the environment: the variable's
    // positive value, else nDefault.
    std::uint32_t LimitFromEnvironment(const char* pszName, std::uint32_t nDefault) const;

    std::unique_ptr<Clock> pClock;
    std::unique_ptr<FileSystem> pFiles;
    std::unique_ptr<SystemInfo> pSystem;
    std::unique_ptr<LibraryLoader> pLibraries;
    std::unique_ptr<TextCodec> pCodec;
    ConsoleMessageBox consoleBoxes;
    MessageBoxRoute boxes;
    MessageFacility messages;
    std::u16string strProgramFolder;
    std::unique_ptr<ThreadPriority> pPriority;
    PortResolver resolver;
    std::unique_ptr<EmulatedModule> pModule;
    SerialContext serial;
    std::unique_ptr<HttpTransport> pHttp;
    std::unique_ptr<Sockets> pSockets;
    std::unique_ptr<ProcessLauncher> pLauncher;
    std::unique_ptr<WindowFinder> pWindows;
    WindowModuleLoader windowModule;
    ModuleClipboard clipboard;
    CancelledFileDialogs noFileDialogs;  // without a window nobody chooses a file
    FileDialogRoute platformFileDialogs;
    std::unique_ptr<FileDialogs> pFileDialogs;  // the replacement library first
    std::unique_ptr<Interrupts> pInterrupts;
    HeadlessUiThread ui;
    MemoryDialogFactory dialogs;

private:
    UiThread* m_pUi = &ui;
    DialogFactory* m_pDialogs = &dialogs;
};

}  // namespace vantrel
