#include "support/ManualClock.h"

#include <chrono>

#include "port/Factories.h"

namespace vantrel::test {

namespace {

// Days since 1970-01-01 of a civil date (proleptic Gregorian).
long long DaysFromCivil(int y, int m, int d) {
    y -= m <= 2;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<long long>(doe) - 719468;
}

SystemTime FromMs(long long nMs) {
    long long nDays = nMs / 86400000;
    long long nRest = nMs % 86400000;
    if (nRest < 0) {
        nRest += 86400000;
        --nDays;
    }
    const long long z = nDays + 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    SystemTime st;
    st.nDay = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    st.nMonth = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    st.nYear = static_cast<int>(yoe + era * 400 + (st.nMonth <= 2));
    st.nDayOfWeek = static_cast<int>(((nDays % 7) + 11) % 7);  // 1970-01-01 was a Thursday
    st.nHour = static_cast<int>(nRest / 3600000);
    st.nMinute = static_cast<int>(nRest / 60000 % 60);
    st.nSecond = static_cast<int>(nRest / 1000 % 60);
    st.nMilliseconds = static_cast<int>(nRest % 1000);
    return st;
}

long long ToMs(const SystemTime& st) {
    return DaysFromCivil(st.nYear, st.nMonth, st.nDay) * 86400000 + st.nHour * 3600000LL + st.nMinute * 60000LL +
           st.nSecond * 1000LL + st.nMilliseconds;
}

}  // namespace

SystemTime MakeTime(int nYear, int nMonth, int nDay, int nHour, int nMinute, int nSecond) {
    SystemTime st;
    st.nYear = nYear;
    st.nMonth = nMonth;
    st.nDay = nDay;
    st.nHour = nHour;
    st.nMinute = nMinute;
    st.nSecond = nSecond;
    return FromMs(ToMs(st));
}

ManualClock::ManualClock() : ManualClock(MakeTime(2009, 1, 29, 12, 0, 0)) {}

ManualClock::ManualClock(const SystemTime& local, long nBiasMinutes) : m_nLocalMs(ToMs(local)), m_nBias(nBiasMinutes) {}

void ManualClock::SetLocalTime(const SystemTime& local) {
    std::lock_guard lock(m_mutex);
    m_nLocalMs = ToMs(local);
}

void ManualClock::SetBias(long nBiasMinutes, bool bKnown) {
    std::lock_guard lock(m_mutex);
    m_nBias = nBiasMinutes;
    m_bBiasKnown = bKnown;
}

void ManualClock::SetTick(std::uint32_t nTick) {
    std::lock_guard lock(m_mutex);
    m_nTick = nTick;
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
    return m_bBiasKnown;
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
