#include "platform/headless/HeadlessUiThread.h"

#include <algorithm>
#include <chrono>

#include "port/Clock.h"

namespace vantrel {

namespace {

// A manual clock may be moved without a Wake; the loop re-reads the clock at least this often.
constexpr std::int32_t kMaxWaitMs = 50;

// Tick arithmetic wraps at 2^32 like GetTickCount.
std::int32_t Until(std::uint32_t nDue, std::uint32_t nNow) { return static_cast<std::int32_t>(nDue - nNow); }

}  // namespace

HeadlessUiThread::HeadlessUiThread(Clock& clock) : m_clock(clock) {}

void HeadlessUiThread::Post(std::function<void()> fn) {
    {
        std::lock_guard lock(m_mutex);
        m_posts.push_back(std::move(fn));
    }
    m_wake.notify_all();
}

void HeadlessUiThread::SetTimer(std::uint32_t nId, std::uint32_t nPeriodMs, std::function<void()> fn) {
    const std::uint32_t nNow = m_clock.TickCount();
    {
        std::lock_guard lock(m_mutex);
        m_timers[nId] = Timer{nPeriodMs, nNow + nPeriodMs, std::move(fn)};
    }
    m_wake.notify_all();
}

void HeadlessUiThread::KillTimer(std::uint32_t nId) {
    std::lock_guard lock(m_mutex);
    m_timers.erase(nId);
}

bool HeadlessUiThread::HasTimer(std::uint32_t nId) const {
    std::lock_guard lock(m_mutex);
    return m_timers.count(nId) != 0;
}

int HeadlessUiThread::RunModal() {
    std::list<Frame>::iterator itFrame;
    {
        std::lock_guard lock(m_mutex);
        itFrame = m_frames.insert(m_frames.end(), Frame{});
    }
    for (;;) {
        {
            std::lock_guard lock(m_mutex);
            if (itFrame->bEnded || m_bQuit) {
                const int nCode = itFrame->bEnded ? itFrame->nCode : m_nExitCode;
                m_frames.erase(itFrame);
                return nCode;
            }
        }
        RunOnce(true);
    }
}

void HeadlessUiThread::EndModal(int nCode) {
    {
        std::lock_guard lock(m_mutex);
        const auto it = std::find_if(m_frames.rbegin(), m_frames.rend(), [](const Frame& f) { return !f.bEnded; });
        if (it == m_frames.rend()) return;
        it->bEnded = true;
        it->nCode = nCode;
    }
    m_wake.notify_all();
}

int HeadlessUiThread::Run() {
    for (;;) {
        {
            std::lock_guard lock(m_mutex);
            if (m_bQuit) return m_nExitCode;
        }
        RunOnce(true);
    }
}

void HeadlessUiThread::Quit(int nExitCode) {
    {
        std::lock_guard lock(m_mutex);
        m_bQuit = true;
        m_nExitCode = nExitCode;
    }
    m_wake.notify_all();
}

int HeadlessUiThread::RunPending() {
    int nRan = 0;
    while (RunOnce(false)) ++nRan;
    return nRan;
}

void HeadlessUiThread::Wake() {
    {
        std::lock_guard lock(m_mutex);
        m_bWoken = true;
    }
    m_wake.notify_all();
}

bool HeadlessUiThread::RunOnce(bool bWait) {
    std::unique_lock lock(m_mutex);
    if (!m_posts.empty()) {
        std::function<void()> fn = std::move(m_posts.front());
        m_posts.pop_front();
        lock.unlock();
        fn();
        return true;
    }
    const std::uint32_t nNow = m_clock.TickCount();
    std::int32_t nWait = kMaxWaitMs;
    for (auto& [nId, timer] : m_timers) {
        const std::int32_t nLeft = Until(timer.nDue, nNow);
        if (nLeft <= 0) {
            timer.nDue = nNow + timer.nPeriod;
            std::function<void()> fn = timer.fn;  // the handler may kill or reset its own timer
            lock.unlock();
            fn();
            return true;
        }
        nWait = std::min(nWait, nLeft);
    }
    if (!bWait) return false;
    m_wake.wait_for(lock, std::chrono::milliseconds(nWait), [this] { return !m_posts.empty() || m_bWoken || m_bQuit; });
    m_bWoken = false;
    return false;
}

}  // namespace vantrel
