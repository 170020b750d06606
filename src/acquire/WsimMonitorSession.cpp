#include "acquire/WsimMonitorSession.h"

#include <algorithm>
#include <system_error>

#include "acquire/WsimParsers.h"
#include "port/Clock.h"

namespace vantrel {

namespace {

constexpr char16_t kPortName[] = u"COM1:";

// Identifiers the blocking session knows; it has no entry for the bare "AT@K".
int MonitorIdentifier(int nId) { return nId == wsim::kK ? wsim::kUnknown : nId; }

}  // namespace

WsimMonitorSession::WsimMonitorSession(const SerialContext& context)
    : m_serial(context), m_clock(context.clock), m_log(&context.messages) {
    m_serial.SetListener(this);
}

WsimMonitorSession::~WsimMonitorSession() {
    StopMonitor();
    m_serial.SetListener(nullptr);
    m_serial.Close();
}

bool WsimMonitorSession::Open() {
    {
        std::lock_guard lock(m_mutex);
        m_strResponse.clear();
    }
    return m_serial.IsOpen() || m_serial.Open(kPortName, LineSettings());
}

void WsimMonitorSession::Close() { m_serial.closePort(); }

bool WsimMonitorSession::SendAndWait(std::string_view strCommand, std::uint32_t nStepMs, std::uint32_t nLimitMs) {
    m_bComplete = false;
    {
        std::lock_guard lock(m_mutex);
        m_strResponse.clear();
    }
    if (!m_serial.IsOpen()) return false;
    std::uint32_t nWritten = 0;
    if (!m_serial.write_scc(strCommand.data(), static_cast<int>(strCommand.size()), nWritten)) return false;
    std::uint32_t nElapsed = 0;
    while (!m_bComplete) {
        m_clock.Sleep(nStepMs);
        nElapsed += nStepMs;
        if (m_bComplete) break;
        if (nElapsed >= nLimitMs) return false;
    }
    return true;
}

bool WsimMonitorSession::SendLbc1(std::uint32_t nStepMs, std::uint32_t nLimitMs) {
    return SendAndWait("AT@LBC1\r\n", nStepMs, nLimitMs);
}

bool WsimMonitorSession::SendLbcQuery(std::uint32_t nStepMs, std::uint32_t nLimitMs) {
    return SendAndWait("AT@LBC?\r\n", nStepMs, nLimitMs);
}

bool WsimMonitorSession::SendLbc2(std::uint32_t nStepMs, std::uint32_t nLimitMs) {
    return SendAndWait("AT@LBC2\r\n", nStepMs, nLimitMs);
}

int WsimMonitorSession::Identify(std::u16string& strResponse) {
    {
        std::lock_guard lock(m_mutex);
        strResponse = std::move(m_strResponse);
        m_strResponse.clear();
    }
    return MonitorIdentifier(IdentifyAnswer(strResponse));
}

void WsimMonitorSession::OnReceive(const std::u16string& strText) {
    std::lock_guard lock(m_mutex);
    m_strResponse += strText;
    if (IsAnswerComplete(m_strResponse)) m_bComplete = true;
}

bool WsimMonitorSession::StartMonitor(std::atomic<int>& nMode, const MonitorTiming& timing) {
    if (m_thread.joinable()) return false;
    nMode = mode::kMonitor;
    if (!Open()) return false;
    m_pMode = &nMode;
    try {
        m_thread = std::thread(&WsimMonitorSession::MonitorLoop, this, &nMode, timing);
    } catch (const std::system_error&) {
        m_pMode = nullptr;
        m_serial.closePort();
        return false;
    }
    return true;
}

void WsimMonitorSession::StopMonitor() {
    if (m_pMode && *m_pMode == mode::kMonitor) *m_pMode = mode::kSimple;
    if (m_thread.joinable()) m_thread.join();
    m_pMode = nullptr;
}

void WsimMonitorSession::MonitorLoop(std::atomic<int>* pMode, MonitorTiming timing) {
    while (*pMode == mode::kMonitor) {
        PollOnce(timing);
        Pause(pMode, timing);
    }
}

void WsimMonitorSession::PollOnce(const MonitorTiming& timing) {
    if (SendLbc1(timing.nStepMs, timing.nLimitMs) && SendLbcQuery(timing.nStepMs, timing.nLimitMs)) {
        std::u16string strResponse, strText;
        if (Identify(strResponse) == wsim::kLbcQuery && ParseSimpleCoordinates(strResponse, strText, &m_log)) {
            std::lock_guard lock(m_mutex);
            m_strLatest = strText;
            ++m_nReadings;
        }
    }
    SendLbc2(timing.nStepMs, timing.nLimitMs);  // ends positioning; its outcome changes nothing
}

// The pause between polls, cut into steps so that stopping the monitor is not held up by it.
void WsimMonitorSession::Pause(std::atomic<int>* pMode, const MonitorTiming& timing) {
    const std::uint32_t nSlice = std::max<std::uint32_t>(timing.nStepMs, 1);
    for (std::uint32_t nSlept = 0; nSlept < timing.nIntervalMs && *pMode == mode::kMonitor; nSlept += nSlice)
        m_clock.Sleep(std::min(nSlice, timing.nIntervalMs - nSlept));
}

std::u16string WsimMonitorSession::LatestText() const {
    std::lock_guard lock(m_mutex);
    return m_strLatest;
}

std::uint32_t WsimMonitorSession::ReadingCount() const {
    std::lock_guard lock(m_mutex);
    return m_nReadings;
}

}  // namespace vantrel
