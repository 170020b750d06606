// Serial channel benchmarks, a plain harness (wall and CPU time are what matter, not ns/op):
//   (a) one simple-coordinate round against the emulated module, next to the protocol floor;
//   (b) CPU used by an open, idle port (the reader's 10 ms polling).
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "acquire/EmulatedModule.h"
#include "acquire/SerialPort.h"
#include "deliver/MessageFacility.h"
#include "port/Clock.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "port/MessageBoxHost.h"
#include "port/PseudoTerminal.h"
#include "port/SerialDevice.h"
#include "port/TextCodec.h"
#include "port/ThreadPriority.h"
#include "settings/ResourceModule.h"
#include "settings/TextUtil.h"

namespace {

using namespace vantrel;
using Clock_ = std::chrono::steady_clock;

class PrintingBox final : public MessageBoxHost {
public:
    int Show(WindowHandle, const std::u16string& strText, const std::u16string&, std::uint32_t) override {
        std::fprintf(stderr, "message: %s\n", Utf16ToUtf8(strText).c_str());
        return mb::kIdOk;
    }
};

// Completes an answer the way the AT session does: on a buffer ending in "OK\r\n".
class AnswerWaiter final : public SerialListener {
public:
    void OnReceive(const std::u16string& strText) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_strBuffer += strText;
        if (m_strBuffer.size() >= 4 && m_strBuffer.compare(m_strBuffer.size() - 4, 4, u"OK\r\n") == 0) m_done.notify_all();
    }
    void Clear() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_strBuffer.clear();
    }
    bool Wait(std::size_t& nBytes) {
        std::unique_lock<std::mutex> lock(m_mutex);
        const bool bDone = m_done.wait_for(lock, std::chrono::seconds(5), [this] {
            return m_strBuffer.size() >= 4 && m_strBuffer.compare(m_strBuffer.size() - 4, 4, u"OK\r\n") == 0;
        });
        nBytes = m_strBuffer.size();
        return bDone;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_done;
    std::u16string m_strBuffer;
};

struct Services {
    std::unique_ptr<TextCodec> pCodec = CreateAnsiCodec();
    std::unique_ptr<Clock> pClock = CreateSystemClock();
    std::unique_ptr<FileSystem> pFiles = CreateFileSystem();
    PrintingBox boxes;
    MessageFacility facility{*pClock, *pFiles, boxes, ResourceModule::Program()};
    std::unique_ptr<ThreadPriority> pPriority = CreateThreadPriority();
    Services() { SetAnsiCodePage(pCodec.get()); }
    ~Services() { SetAnsiCodePage(nullptr); }
    SerialContext Context() { return SerialContext{*pClock, facility, *pPriority, CreateSerialDevice, nullptr}; }
};

struct Command {
    const char* pszLine;
    std::uint32_t nReadDelay;
};

// The read delays the W-SIM session sets in simple-coordinate mode.
constexpr Command kRound[] = {{"AT@K20\r\n", 300}, {"AT@LBC1\r\n", 300}, {"AT@LBC?\r\n", 1000}, {"AT@LBC2\r\n", 0}};

int RoundBenchmark(Services& services, int nRounds) {
    EmulatedModule module(CreatePseudoTerminal());  // paced at 9600 baud
    if (!module.Start()) return 1;
    AnswerWaiter waiter;
    SerialPort port(services.Context());
    port.SetListener(&waiter);
    if (!port.Open(Utf8ToUtf16(module.DevicePath()))) return 1;
    std::vector<double> walls;
    double dFloorMs = 0;
    for (int nRound = 0; nRound < nRounds; ++nRound) {
        std::size_t nBytes = 0;
        double dDelays = 0;
        const auto start = Clock_::now();
        for (const Command& command : kRound) {
            waiter.Clear();
            port.SetReadDelay(command.nReadDelay);
            std::uint32_t nWritten = 0;
            const int nLength = static_cast<int>(std::strlen(command.pszLine));
            std::size_t nAnswer = 0;
            if (!port.write_scc(command.pszLine, nLength, nWritten) || !waiter.Wait(nAnswer)) {
                std::fprintf(stderr, "round %d: %s got no complete answer\n", nRound, command.pszLine);
                return 1;
            }
            nBytes += static_cast<std::size_t>(nLength) + nAnswer;
            dDelays += command.nReadDelay;
        }
        walls.push_back(std::chrono::duration<double, std::milli>(Clock_::now() - start).count());
        // 10 bits a byte (start, 8 data, stop) at 9600 baud, both directions.
        dFloorMs = dDelays + static_cast<double>(nBytes) * 10.0 * 1000.0 / 9600.0;
    }
    port.closePort();
    std::sort(walls.begin(), walls.end());
    const double dMedian = walls[walls.size() / 2];
    std::printf("simple-coordinate round: median %.1f ms (min %.1f, max %.1f, %d rounds)\n", dMedian, walls.front(),
                walls.back(), nRounds);
    std::printf("protocol floor:          %.1f ms (read delays 1600 ms + bytes both ways at 9600 baud)\n", dFloorMs);
    std::printf("ratio:                   %.3f (target <= 1.10)\n", dMedian / dFloorMs);
    return dMedian / dFloorMs <= 1.10 ? 0 : 3;
}

double CpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

int IdleBenchmark(Services& services, int nSeconds) {
    // A bare pseudo-terminal: no serving thread, so the reader is the only thing running.
    std::unique_ptr<PseudoTerminal> pTerminal = CreatePseudoTerminal();
    if (!pTerminal->Open()) return 1;
    SerialPort port(services.Context());
    if (!port.Open(Utf8ToUtf16(pTerminal->SlavePath()))) return 1;
    const double dCpuStart = CpuSeconds();
    const auto start = Clock_::now();
    std::this_thread::sleep_for(std::chrono::seconds(nSeconds));
    const double dWall = std::chrono::duration<double>(Clock_::now() - start).count();
    const double dCpu = CpuSeconds() - dCpuStart;
    port.closePort();
    const double dPercent = 100.0 * dCpu / dWall;
    std::printf("idle open port:          %.3f s CPU in %.1f s = %.2f %% of one core (target < 1 %%)\n", dCpu, dWall, dPercent);
    return dPercent < 1.0 ? 0 : 3;
}

}  // namespace

int main(int argc, char** argv) {
    int nRounds = 5;
    int nIdleSeconds = 10;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--rounds") == 0) nRounds = std::max(1, std::atoi(argv[i + 1]));
        if (std::strcmp(argv[i], "--idle-seconds") == 0) nIdleSeconds = std::max(1, std::atoi(argv[i + 1]));
    }
    Services services;
    const int nRound = RoundBenchmark(services, nRounds);
    const int nIdle = IdleBenchmark(services, nIdleSeconds);
    return nRound != 0 ? nRound : nIdle;
}
