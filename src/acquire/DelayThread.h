#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

namespace vantrel {

class Clock;

// A thread whose whole work is to sleep: a cancellable timer that other code can ask "still
// running?" or wait for with a limit. The connection-wait guard is one.
//
// A sleeper that overruns a Wait limit is cancelled and abandoned (std::thread cannot be
// terminated): it owns its state and ends at its next slice without touching this object.
class DelayThread {
public:
    static constexpr std::uint32_t kWaitSliceMs = 500;

    explicit DelayThread(Clock& clock);
    ~DelayThread();
    DelayThread(const DelayThread&) = delete;
    DelayThread& operator=(const DelayThread&) = delete;

    bool Start(std::uint32_t nMilliseconds);
    bool IsRunning();
    // Returns once the sleeper has ended or nLimitMs have passed (by the tick counter), never
    // later than the limit; the sleeper is abandoned in the second case.
    void Wait(std::uint32_t nLimitMs);
    std::uint32_t Delay() const { return m_nDelay; }
    // Runs between the slices of Wait (the window keeps painting while the guard is waited for).
    void SetWaitHook(std::function<void()> fnHook) { m_fnWaitHook = std::move(fnHook); }

    struct Sleeper;

private:
    void Forget();
    void Abandon();

    Clock& m_clock;
    std::uint32_t m_nDelay = 5000;
    std::shared_ptr<Sleeper> m_pSleeper;
    std::thread m_thread;
    std::function<void()> m_fnWaitHook;
};

}  // namespace vantrel
