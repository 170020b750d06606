#pragma once
#include <cstdint>

namespace vantrel {

// Calendar fields as the Windows SYSTEMTIME carries them: month 1-12, day of week with Sunday = 0.
struct SystemTime {
    int nYear = 0;
    int nMonth = 0;
    int nDayOfWeek = 0;
    int nDay = 0;
    int nHour = 0;
    int nMinute = 0;
    int nSecond = 0;
    int nMilliseconds = 0;
};

// Wall clock, tick counter and sleeping. Tests substitute a manual clock so that minute-long
// periods and 30 s limits are exercised without waiting.
class Clock {
public:
    virtual ~Clock() = default;
    virtual SystemTime LocalTime() = 0;
    virtual SystemTime UtcTime() = 0;
    // Minutes to add to local time to obtain UTC (Japan: -540). False when the zone is unknown.
    virtual bool TimeZoneBias(long& nBiasMinutes) = 0;
    // Milliseconds of a monotonic clock, wrapping at 2^32 like GetTickCount.
    virtual std::uint32_t TickCount() = 0;
    virtual void Sleep(std::uint32_t nMilliseconds) = 0;
};

}  // namespace vantrel
