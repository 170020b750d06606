#pragma once
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>

#include "port/UiThread.h"

class QEventLoop;
class QObject;

namespace vantrel {

// The UI thread on Qt's event loop. Construct it on the thread that owns the QApplication; that
// thread is the UI thread. Post may be called from any thread; the other operations called from
// another thread are handed to the UI thread and take effect there.
//
// Timers are Qt timers by id: a period below 10 ms is raised to 10 ms (the window-timer minimum),
// and a loop that comes late fires a timer once. Every modal run is a nested event loop, so paint,
// input, posted closures and timers all go on while it runs. A Quit ends every modal run with the
// quit code and ends Run; a run started after the Quit returns the quit code at once. Run is the
// application's own loop (QCoreApplication::exec), so call it instead of exec; a loop ended from
// outside (QCoreApplication::exit, which Qt calls when the last window closes unless told not to)
// counts as a Quit with its code.
class QtUiThread final : public UiThread {
public:
    QtUiThread();
    ~QtUiThread() override;

    void Post(std::function<void()> fn) override;
    void SetTimer(std::uint32_t nId, std::uint32_t nPeriodMs, std::function<void()> fn) override;
    void KillTimer(std::uint32_t nId) override;
    int RunModal() override;
    void EndModal(int nCode) override;
    // Paint, timers, posted closures and the desktop's requests; clicks and keys wait in Qt's queue.
    void KeepPainting() override;
    int Run() override;
    void Quit(int nExitCode) override;

    // A modal run that its owner ends by id, whatever runs nested inside it: dialogs and message
    // boxes use these, so that closing one never ends another. The id is stored through pnRun
    // before the run blocks.
    using RunId = std::uint64_t;
    int RunModal(RunId* pnRun);
    void EndRun(RunId nRun, int nCode);

    bool IsQuitting() const { return m_bQuit; }
    bool HasTimer(std::uint32_t nId) const { return m_timers.count(nId) != 0; }
    bool OnUiThread() const;

private:
    class Context;
    struct Frame {
        RunId nId = 0;
        bool bModal = true;
        QEventLoop* pLoop = nullptr;
        bool bEnded = false;
        int nCode = 0;
    };
    struct Timer {
        int nQtId = 0;
        std::function<void()> fn;
    };

    int RunLoop(std::list<Frame>::iterator itFrame);
    void OnQtTimer(int nQtId);

    std::unique_ptr<Context> m_pContext;
    std::map<std::uint32_t, Timer> m_timers;
    std::list<Frame> m_frames;  // the main run is a frame too, outermost
    RunId m_nNextRun = 1;
    bool m_bInExec = false;
    bool m_bQuit = false;
    int m_nExitCode = 0;
};

}  // namespace vantrel
