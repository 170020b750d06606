#pragma once
#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

#include "port/Clock.h"

namespace vantrel::test {

// A clock that moves only when told to (or when someone sleeps on it): local time, UTC and the
// tick counter advance together.
class ManualClock final : public Clock {
public:
    ManualClock();
    explicit ManualClock(const SystemTime& local, long nBiasMinutes = -540);

    void SetLocalTime(const SystemTime& local);
    void Advance(std::uint32_t nMilliseconds);

    SystemTime LocalTime() override;
    SystemTime UtcTime() override;
    bool TimeZoneBias(long& nBiasMinutes) override;
    std::uint32_t TickCount() override;
    // Advances the clock instead of waiting (after a real nMilliseconds / nPace ms once PaceSleeps
    // has been called, so that a sleeping thread can be overtaken by the thread that created the
    // clock).
    void Sleep(std::uint32_t nMilliseconds) override;
    void PaceSleeps(std::uint32_t nPace) { m_nPace = nPace; }
    // Milliseconds slept by threads other than the one that created the clock.
    std::uint32_t SleptElsewhere() const { return m_nSleptElsewhere; }

private:
    const std::thread::id m_owner = std::this_thread::get_id();
    std::atomic<std::uint32_t> m_nPace{0};
    std::atomic<std::uint32_t> m_nSleptElsewhere{0};
    mutable std::mutex m_mutex;
    long long m_nLocalMs = 0;  // milliseconds since 1970-01-01 00:00 local
    long m_nBias = -540;
    std::uint32_t m_nTick = 0;
};

// The system's time with every sleep cut to a tenth and a tick counter running ten times as fast:
// polls, read delays and pauses keep their order and proportions at a tenth of the cost.
class FastClock final : public Clock {
public:
    FastClock();
    ~FastClock() override;
    SystemTime LocalTime() override;
    SystemTime UtcTime() override;
    bool TimeZoneBias(long& nBiasMinutes) override;
    std::uint32_t TickCount() override;
    void Sleep(std::uint32_t nMilliseconds) override;

private:
    std::unique_ptr<Clock> m_pSystem;
};

// Calendar helpers for building fixtures: the day of the week is computed, not trusted.
SystemTime MakeTime(int nYear, int nMonth, int nDay, int nHour = 0, int nMinute = 0, int nSecond = 0);

}  // namespace vantrel::test
