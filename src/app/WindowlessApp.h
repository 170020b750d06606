#pragma once
#include <cstdint>
#include <memory>

#include "app/CommandLine.h"
#include "port/TextOut.h"

namespace vantrel {

class MainForm;
class MemoryDialogHost;
struct PlatformServices;

// The program without a window: the main form on in-memory controls, driven by one command of the
// command line or by the windowless run (start-up run and auto-send until interrupted). Results go
// to out, messages to err as "<caption>:text". Nobody is there to press Cancel: an interrupt, or an
// acquisition that shows no progress for kSilentLimitMs, cancels the progress dialog.
// A test run shortens that minute through VANTREL_SILENT_LIMIT_MS.
class WindowlessApp {
public:
    static constexpr std::uint32_t kSilentLimitMs = 60000;

    WindowlessApp(const CommandLine& line, TextOut& out, TextOut& err);
    ~WindowlessApp();

    // The exit status: 0 when the command did its work, 1 when it failed.
    int Run();

private:
    int Start();
    int RunCommand();
    int RunLoop();
    int UsePositionOption();
    int NoPosition();
    void OnInterrupt();
    void OnWatchdog();
    void EchoMessage(const std::u16string& strCaption, const std::u16string& strText);
    PlatformServices& platform();

    const CommandLine& m_line;
    TextOut& m_out;
    TextOut& m_err;
    std::unique_ptr<PlatformServices> m_pPlatform;
    std::unique_ptr<MemoryDialogHost> m_pMainHost;
    std::unique_ptr<MainForm> m_pForm;
    bool m_bInterrupted = false;
    bool m_bLoopRunning = false;
    std::uint64_t m_nWatchedChanges = 0;
    std::uint32_t m_nSilentMs = 0;
    std::uint32_t m_nSilentLimitMs = kSilentLimitMs;
};

}  // namespace vantrel
