#pragma once
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <mutex>

#include "port/UiThread.h"

namespace vantrel {

class Clock;

// The windowless message loop: posted closures and timers on whatever thread runs the loop, timed
// by the injected clock. With the system clock it is the windowless program's loop; with a manual
// clock a test moves time and calls Wake (or RunPending) to fire the timers that became due.
class HeadlessUiThread final : public UiThread {
public:
    explicit HeadlessUiThread(Clock& clock);

    void Post(std::function<void()> fn) override;
    void SetTimer(std::uint32_t nId, std::uint32_t nPeriodMs, std::function<void()> fn) override;
    void KillTimer(std::uint32_t nId) override;
    int RunModal() override;
    void EndModal(int nCode) override;
    // Nothing to paint; timers wait for the loop, as the windowless program has always had them.
    void KeepPainting() override {}
    int Run() override;
    void Quit(int nExitCode) override;

    // Runs every posted closure and due timer without waiting; returns how many ran.
    int RunPending();
    // Makes a waiting loop look at the clock again (a manual clock has been advanced).
    void Wake();
    bool HasTimer(std::uint32_t nId) const;

private:
    struct Timer {
        std::uint32_t nPeriod;
        std::uint32_t nDue;
        std::function<void()> fn;
    };
    struct Frame {
        bool bEnded = false;
        int nCode = 0;
    };

    // Runs one piece of work; with bWait it sleeps until work arrives or a timer may be due.
    bool RunOnce(bool bWait);

    Clock& m_clock;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_posts;
    std::map<std::uint32_t, Timer> m_timers;
    std::list<Frame> m_frames;
    bool m_bWoken = false;
    bool m_bQuit = false;
    int m_nExitCode = 0;
};

}  // namespace vantrel
