#pragma once
#include <atomic>
#include <mutex>

#include "port/Clock.h"

namespace vantrel::test {

// A clock that moves only when told to (or when someone sleeps on it): local time, UTC and the
// tick counter advance together.
class ManualClock final : public Clock {
public:
    ManualClock();
    explicit ManualClock(const SystemTime& local, long nBiasMinutes = -540);

    void SetLocalTime(const SystemTime& local);
    void SetBias(long nBiasMinutes, bool bKnown = true);
    void SetTick(std::uint32_t nTick);
    void Advance(std::uint32_t nMilliseconds);

    SystemTime LocalTime() override;
    SystemTime UtcTime() override;
    bool TimeZoneBias(long& nBiasMinutes) override;
    std::uint32_t TickCount() override;
    // Advances the clock instead of waiting.
    void Sleep(std::uint32_t nMilliseconds) override;

private:
    mutable std::mutex m_mutex;
    long long m_nLocalMs = 0;  // milliseconds since 1970-01-01 00:00 local
    long m_nBias = -540;
    bool m_bBiasKnown = true;
    std::uint32_t m_nTick = 0;
};

// Calendar helpers for building fixtures: the day of the week is computed, not trusted.
SystemTime MakeTime(int nYear, int nMonth, int nDay, int nHour = 0, int nMinute = 0, int nSecond = 0);

}  // namespace vantrel::test
