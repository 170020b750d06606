#include "support/ManualClock.h"

#include <chrono>
#include <ctime>

#include "port/Factories.h"

namespace vantrel::test {

namespace {

// The calendar arithmetic is the C library's, treating local time as if it were UTC.
SystemTime FromMs(long long nMs) {
    const long long nRest = ((nMs % 1000) + 1000) % 1000;
    const std::time_t nSeconds = static_cast<std::time_t>((nMs - nRest) / 1000);
    std::tm tm{};
    ::gmtime_r(&nSeconds, &tm);
    return SystemTime{tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_wday, tm.tm_mday,
                      tm.tm_hour,        tm.tm_min,     tm.tm_sec,  static_cast<int>(nRest)};
}

long long ToMs(const SystemTime& st) {
    std::tm tm{};
    tm.tm_year = st.nYear - 1900;
    tm.tm_mon = st.nMonth - 1;
    tm.tm_mday = st.nDay;
    tm.tm_hour = st.nHour;
    tm.tm_min = st.nMinute;
    tm.tm_sec = st.nSecond;
    return static_cast<long long>(::timegm(&tm)) * 1000 + st.nMilliseconds;
}

}  // namespace

SystemTime MakeTime(int nYear, int nMonth, int nDay, int nHour, int nMinute, int nSecond) {
    return FromMs(ToMs(SystemTime{nYear, nMonth, 0, nDay, nHour, nMinute, nSecond, 0}));
}

ManualClock::ManualClock() : ManualClock(MakeTime(2009, 1, 29, 12, 0, 0)) {}

ManualClock::ManualClock(const SystemTime& local, long nBiasMinutes) : m_nLocalMs(ToMs(local)), m_nBias(nBiasMinutes) {}

void ManualClock::SetLocalTime(const SystemTime& local) {
    std::lock_guard lock(m_mutex);
    m_nLocalMs = ToMs(local);
}

void ManualClock::Advance(std::uint32_t nMilliseconds) {
    std::lock_guard lock(m_mutex);
    m_nLocalMs += nMilliseconds;
    m_nTick += nMilliseconds;
}

SystemTime ManualClock::LocalTime() {
    std::lock_guard lock(m_mutex);
    return FromMs(m_nLocalMs);
}

SystemTime ManualClock::UtcTime() {
    std::lock_guard lock(m_mutex);
    return FromMs(m_nLocalMs + m_nBias * 60000LL);
}

bool ManualClock::TimeZoneBias(long& nBiasMinutes) {
    std::lock_guard lock(m_mutex);
    nBiasMinutes = m_nBias;
    return true;
}

std::uint32_t ManualClock::TickCount() {
    std::lock_guard lock(m_mutex);
    return m_nTick;
}

void ManualClock::Sleep(std::uint32_t nMilliseconds) {
    if (const std::uint32_t nPace = m_nPace) std::this_thread::sleep_for(std::chrono::microseconds(1000ull * nMilliseconds / nPace));
    Advance(nMilliseconds);
    if (std::this_thread::get_id() != m_owner) m_nSleptElsewhere += nMilliseconds;
}

FastClock::FastClock() : m_pSystem(CreateSystemClock()) {}
FastClock::~FastClock() = default;
SystemTime FastClock::LocalTime() { return m_pSystem->LocalTime(); }
SystemTime FastClock::UtcTime() { return m_pSystem->UtcTime(); }
bool FastClock::TimeZoneBias(long& nBiasMinutes) { return m_pSystem->TimeZoneBias(nBiasMinutes); }

std::uint32_t FastClock::TickCount() {
    const auto since = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::microseconds>(since).count() / 100);
}

void FastClock::Sleep(std::uint32_t nMilliseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(100ull * nMilliseconds));
}

}  // namespace vantrel::test
