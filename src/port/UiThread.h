#pragma once
#include <cstdint>
#include <functional>

namespace vantrel {

// The one user-interface thread: a message loop that runs closures posted from any thread, window
// timers by id and nested modal runs. Everything that touches forms and dialogs runs on it.
class UiThread {
public:
    virtual ~UiThread() = default;

    // Queues fn to run on the loop; callable from any thread (the serial reader posts completions).
    virtual void Post(std::function<void()> fn) = 0;

    // Starts or restarts timer nId: fn runs on the loop every nPeriodMs. Like window timers, a late
    // loop fires a timer once, not once per missed period.
    virtual void SetTimer(std::uint32_t nId, std::uint32_t nPeriodMs, std::function<void()> fn) = 0;
    virtual void KillTimer(std::uint32_t nId) = 0;

    // Runs a nested loop until EndModal (for the innermost run) and returns its end code. A Quit
    // ends every modal run with the quit code.
    virtual int RunModal() = 0;
    virtual void EndModal(int nCode) = 0;

    // Lets the window paint, timers fire and posted closures run while a long step holds the thread,
    // keeping every click, key and menu back until the step is over. Called on the UI thread
    // between the slices of waits that already poll (a worker's end, the connection-wait guard, a
    // socket); what a timer may then start is up to the caller's busy flags. A loop with nothing
    // to paint may do nothing.
    virtual void KeepPainting() = 0;

    // Runs the main loop until Quit and returns the exit code.
    virtual int Run() = 0;
    virtual void Quit(int nExitCode) = 0;
};

}  // namespace vantrel
