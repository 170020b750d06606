#pragma once
#include <memory>
#include <ostream>
#include <string>

#include "acquire/EmulatedModule.h"
#include "acquire/PortResolver.h"
#include "acquire/SerialPort.h"
#include "deliver/MessageFacility.h"
#include "platform/headless/ConsoleMessageBox.h"
#include "platform/headless/HeadlessUiThread.h"
#include "platform/headless/MemoryDialogHost.h"

namespace vantrel {

class Clipboard;
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
struct CommandLine;
struct FormServices;

// Every platform service of one run, created once by the composition root and handed to whatever
// needs it. Installs the code page for the run's lifetime.
struct PlatformServices {
    // messageSink receives the console's message boxes (standard error).
    PlatformServices(const CommandLine& line, std::ostream& messageSink);
    ~PlatformServices();
    PlatformServices(const PlatformServices&) = delete;
    PlatformServices& operator=(const PlatformServices&) = delete;

    // Starts the emulated module when the port is "sim"; false when it cannot start.
    bool StartSimulatedModule();
    FormServices MakeFormServices();

    std::unique_ptr<Clock> pClock;
    std::unique_ptr<FileSystem> pFiles;
    std::unique_ptr<SystemInfo> pSystem;
    std::unique_ptr<TextCodec> pCodec;
    ConsoleMessageBox consoleBoxes;
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
    std::unique_ptr<Clipboard> pClipboard;
    std::unique_ptr<LibraryLoader> pLibraries;
    std::unique_ptr<Interrupts> pInterrupts;
    HeadlessUiThread ui;
    MemoryDialogFactory dialogs;
};

}  // namespace vantrel
