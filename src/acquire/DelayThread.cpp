#include "acquire/DelayThread.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>

#include "port/Clock.h"

namespace vantrel {

struct DelayThread::Sleeper {
    std::mutex mutex;
    std::condition_variable ended;
    std::atomic<bool> bCancel{false};
    bool bEnded = false;

    bool WaitEnded(std::uint32_t nMilliseconds) {
        std::unique_lock<std::mutex> lock(mutex);
        return ended.wait_for(lock, std::chrono::milliseconds(nMilliseconds), [this] { return bEnded; });
    }
};

namespace {

// Sleeps on the program's clock (so a manual clock in tests makes it instant) in short steps,
// each followed by a look at the cancel flag.
constexpr std::uint32_t kSleepStepMs = 20;

void Sleep(std::shared_ptr<DelayThread::Sleeper> pSleeper, Clock* pClock, std::uint32_t nMilliseconds) {
    while (nMilliseconds > 0 && !pSleeper->bCancel) {
        const std::uint32_t nStep = std::min(nMilliseconds, kSleepStepMs);
        pClock->Sleep(nStep);
        nMilliseconds -= nStep;
    }
    std::lock_guard<std::mutex> lock(pSleeper->mutex);
    pSleeper->bEnded = true;
    pSleeper->ended.notify_all();
}

}  // namespace

DelayThread::DelayThread(Clock& clock) : m_clock(clock) {}

DelayThread::~DelayThread() {
    if (!m_thread.joinable()) return;
    m_pSleeper->bCancel = true;
    // A cancelled sleeper ends within one step; waiting for it keeps it off the clock afterwards.
    if (m_pSleeper->WaitEnded(kWaitSliceMs)) {
        Forget();
    } else {
        Abandon();
    }
}

bool DelayThread::Start(std::uint32_t nMilliseconds) {
    if (m_thread.joinable()) Wait(1);
    m_nDelay = nMilliseconds;
    auto pSleeper = std::make_shared<Sleeper>();
    try {
        m_thread = std::thread(Sleep, pSleeper, &m_clock, nMilliseconds);
    } catch (const std::system_error&) {
        return false;
    }
    m_pSleeper = std::move(pSleeper);
    return true;
}

bool DelayThread::IsRunning() {
    if (!m_thread.joinable()) return false;
    {
        std::lock_guard<std::mutex> lock(m_pSleeper->mutex);
        if (!m_pSleeper->bEnded) return true;
    }
    Forget();
    return false;
}

void DelayThread::Wait(std::uint32_t nLimitMs) {
    if (!m_thread.joinable()) return;
    const std::uint32_t nStart = m_clock.TickCount();
    for (;;) {
        const std::uint32_t nElapsed = m_clock.TickCount() - nStart;
        const std::uint32_t nLeft = nElapsed < nLimitMs ? nLimitMs - nElapsed : 0;
        if (m_pSleeper->WaitEnded(std::max<std::uint32_t>(1, std::min(kWaitSliceMs, nLeft)))) {
            Forget();
            return;
        }
        if (m_clock.TickCount() - nStart >= nLimitMs) {
            Abandon();
            return;
        }
        if (m_fnWaitHook) m_fnWaitHook();
        m_clock.Sleep(1);
    }
}

void DelayThread::Forget() {
    m_thread.join();
    m_pSleeper.reset();
}

void DelayThread::Abandon() {
    m_pSleeper->bCancel = true;
    m_thread.detach();
    m_pSleeper.reset();
}

}  // namespace vantrel
