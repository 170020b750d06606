#include "acquire/EmulatedModule.h"

#include <algorithm>
#include <chrono>

#include "port/PseudoTerminal.h"

namespace vantrel {

namespace {

constexpr std::uint32_t kReadWaitMs = 20;
// A serial line hands bytes over a few at a time; pacing in pieces of this size keeps the host
// seeing the answer grow as it would on the wire.
constexpr std::size_t kPacingPiece = 8;

}  // namespace

EmulatedModule::EmulatedModule(std::unique_ptr<PseudoTerminal> pTerminal, EmulatorConfig config)
    : m_pTerminal(std::move(pTerminal)), m_emulator(std::move(config)) {}

EmulatedModule::~EmulatedModule() { Stop(); }

bool EmulatedModule::Start() {
    if (m_thread.joinable() || !m_pTerminal->Open()) return false;
    m_strPath = m_pTerminal->SlavePath();
    m_bStop = false;
    m_thread = std::thread(&EmulatedModule::Serve, this);
    return true;
}

void EmulatedModule::Stop() {
    m_bStop = true;
    if (m_thread.joinable()) m_thread.join();
    m_pTerminal->Close();
}

std::vector<std::string> EmulatedModule::Commands() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_emulator.Commands();
}

void EmulatedModule::Serve() {
    char buffer[256];
    while (!m_bStop) {
        std::uint32_t nRead = 0;
        if (!m_pTerminal->Read(buffer, sizeof buffer, nRead, kReadWaitMs)) break;
        if (nRead == 0) continue;
        std::vector<EmulatorOutput> outputs;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            outputs = m_emulator.Feed(std::string_view(buffer, nRead));
        }
        for (const EmulatorOutput& output : outputs) {
            if (!Send(output)) {
                m_bHungUp = true;
                m_pTerminal->Close();
                return;
            }
        }
    }
}

bool EmulatedModule::Send(const EmulatorOutput& output) {
    if (!PauseUnlessStopped(output.nPauseMs) || output.bHangUp) return false;
    const std::uint32_t nBaud = m_emulator.Config().nBaudRate;
    if (nBaud == 0) return m_pTerminal->Write(output.strBytes.data(), static_cast<std::uint32_t>(output.strBytes.size()));
    // Each piece leaves when the line would have finished sending the bytes before it.
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t nAt = 0; nAt < output.strBytes.size(); nAt += kPacingPiece) {
        const std::size_t nSize = std::min(kPacingPiece, output.strBytes.size() - nAt);
        if (!m_pTerminal->Write(output.strBytes.data() + nAt, static_cast<std::uint32_t>(nSize))) return false;
        const auto due = start + std::chrono::microseconds((nAt + nSize) * 10ULL * 1000000ULL / nBaud);
        std::this_thread::sleep_until(due);
        if (m_bStop) return false;
    }
    return true;
}

bool EmulatedModule::PauseUnlessStopped(std::uint32_t nMilliseconds) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(nMilliseconds);
    while (!m_bStop && std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(
            until - std::chrono::steady_clock::now(), std::chrono::milliseconds(10)));
    }
    return !m_bStop;
}

}  // namespace vantrel
