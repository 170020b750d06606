#pragma once
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "acquire/SerialPort.h"
#include "acquire/WsimLog.h"

namespace vantrel {

// The acquisition mode shared by the workflow, the acquisition dialog and the monitor.
namespace mode {
constexpr int kCsId = 0;
constexpr int kSimple = 1;
constexpr int kMonitor = 3;  // the monitor loop runs while the mode stays at this value
}  // namespace mode

// Timing of the monitor. The step and limit have no key in the settings file; the interval is
// the module's pause between position reads.
struct MonitorTiming {
    std::uint32_t nStepMs = 100;
    std::uint32_t nLimitMs = 5000;
    std::uint32_t nIntervalMs = 3000;
};

// The blocking AT session of the monitor thread: each send waits, in steps on the clock, until the
// answer is complete or the limit has passed. Keeps its own port open while monitoring runs.
class WsimMonitorSession final : public SerialListener {
public:
    explicit WsimMonitorSession(const SerialContext& context);
    ~WsimMonitorSession() override;

    // Empties the buffer and opens "COM1:" 9600 8N1 unless already open; true when open.
    bool Open();
    // Closes the port (closePort); the monitor must be stopped first.
    void Close();
    bool IsOpen() const { return m_serial.IsOpen(); }

    bool SendLbc1(std::uint32_t nStepMs, std::uint32_t nLimitMs);
    bool SendLbcQuery(std::uint32_t nStepMs, std::uint32_t nLimitMs);
    bool SendLbc2(std::uint32_t nStepMs, std::uint32_t nLimitMs);
    // As WsimSession::Identify, with identifiers 1, 3, 4 and 5 only.
    int Identify(std::u16string& strResponse);

    void OnReceive(const std::u16string& strText) override;

    // Sets nMode to mode::kMonitor, opens the port and starts the monitor thread, which polls the
    // module until nMode changes. False (the port closed again) when the port or the thread fails.
    bool StartMonitor(std::atomic<int>& nMode, const MonitorTiming& timing = MonitorTiming());
    // Moves nMode off kMonitor (to kSimple) and waits for the thread; the port stays open.
    void StopMonitor();
    bool IsMonitoring() const { return m_thread.joinable(); }

    // The latest combined position text the monitor read; bumps with every successful read, so
    // that the reader can tell a new reading of the same place from no reading.
    std::u16string LatestText() const;
    std::uint32_t ReadingCount() const;

    SerialPort& Serial() { return m_serial; }

private:
    bool SendAndWait(std::string_view strCommand, std::uint32_t nStepMs, std::uint32_t nLimitMs);
    void MonitorLoop(std::atomic<int>* pMode, MonitorTiming timing);
    void PollOnce(const MonitorTiming& timing);
    void Pause(std::atomic<int>* pMode, const MonitorTiming& timing);

    SerialPort m_serial;
    Clock& m_clock;
    WsimLog m_log;
    std::atomic<bool> m_bComplete{false};
    mutable std::mutex m_mutex;  // the buffer (reader thread) and the latest reading (UI thread)
    std::u16string m_strResponse;
    std::u16string m_strLatest;
    std::uint32_t m_nReadings = 0;
    std::atomic<int>* m_pMode = nullptr;
    std::thread m_thread;
};

}  // namespace vantrel
