#include <ctime>
#include <memory>

#include "port/Clock.h"
#include "port/Factories.h"

namespace vantrel {

namespace {

SystemTime FromTm(const std::tm& tm, long nNanoseconds) {
    SystemTime st;
    st.nYear = tm.tm_year + 1900;
    st.nMonth = tm.tm_mon + 1;
    st.nDayOfWeek = tm.tm_wday;
    st.nDay = tm.tm_mday;
    st.nHour = tm.tm_hour;
    st.nMinute = tm.tm_min;
    st.nSecond = tm.tm_sec;
    st.nMilliseconds = static_cast<int>(nNanoseconds / 1000000);
    return st;
}

class PosixClock final : public Clock {
public:
    SystemTime LocalTime() override {
        timespec ts{};
        clock_gettime(CLOCK_REALTIME, &ts);
        std::tm tm{};
        localtime_r(&ts.tv_sec, &tm);
        return FromTm(tm, ts.tv_nsec);
    }
    SystemTime UtcTime() override {
        timespec ts{};
        clock_gettime(CLOCK_REALTIME, &ts);
        std::tm tm{};
        gmtime_r(&ts.tv_sec, &tm);
        return FromTm(tm, ts.tv_nsec);
    }
    bool TimeZoneBias(long& nBiasMinutes) override {
        const std::time_t now = std::time(nullptr);
        std::tm tm{};
        if (!localtime_r(&now, &tm)) return false;
        nBiasMinutes = -tm.tm_gmtoff / 60;
        return true;
    }
    std::uint32_t TickCount() override {
        timespec ts{};
        clock_gettime(CLOCK_MONOTONIC, &ts);
        const unsigned long long nMs = static_cast<unsigned long long>(ts.tv_sec) * 1000ULL + ts.tv_nsec / 1000000;
        return static_cast<std::uint32_t>(nMs);
    }
    void Sleep(std::uint32_t nMilliseconds) override {
        timespec ts{static_cast<time_t>(nMilliseconds / 1000), static_cast<long>(nMilliseconds % 1000) * 1000000L};
        while (nanosleep(&ts, &ts) != 0) {
        }
    }
};

}  // namespace

std::unique_ptr<Clock> CreateSystemClock() { return std::make_unique<PosixClock>(); }

}  // namespace vantrel
