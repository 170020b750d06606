#include "TranscriptPlayer.h"

#include <chrono>

#include "port/PseudoTerminal.h"

namespace vantrel::test {

TranscriptPlayer::TranscriptPlayer(Transcript transcript, ReplayOptions options)
    : m_transcript(std::move(transcript)), m_options(options), m_pTerminal(CreatePseudoTerminal()) {}

TranscriptPlayer::~TranscriptPlayer() { Stop(); }

bool TranscriptPlayer::Start() {
    if (!m_pTerminal->Open()) return false;
    m_strPath = m_pTerminal->SlavePath();
    m_thread = std::thread(&TranscriptPlayer::Play, this);
    return true;
}

void TranscriptPlayer::Stop() {
    m_bStop = true;
    if (m_thread.joinable()) m_thread.join();
    m_pTerminal->Close();
}

bool TranscriptPlayer::WaitDone(std::uint32_t nTimeoutMs) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(nTimeoutMs);
    while (!m_bDone && std::chrono::steady_clock::now() < until) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return m_bDone;
}

std::vector<std::string> TranscriptPlayer::Mismatches() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_mismatches;
}

std::string TranscriptPlayer::Received() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_strReceived;
}

void TranscriptPlayer::Note(const std::string& strText) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_mismatches.push_back(strText);
}

bool TranscriptPlayer::AwaitHost(const std::string& strExpected) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(m_options.nHostWaitMs);
    while (m_strPending.size() < strExpected.size()) {
        if (m_bStop || std::chrono::steady_clock::now() >= until) {
            Note("host did not send " + EscapeBytes(strExpected) + ", got " + EscapeBytes(m_strPending));
            return false;
        }
        char buffer[256];
        std::uint32_t nRead = 0;
        if (!m_pTerminal->Read(buffer, sizeof buffer, nRead, 20)) return false;
        std::lock_guard<std::mutex> lock(m_mutex);
        m_strReceived.append(buffer, nRead);
        m_strPending.append(buffer, nRead);
    }
    const std::string strGot = m_strPending.substr(0, strExpected.size());
    m_strPending.erase(0, strExpected.size());
    if (strGot != strExpected) Note("host sent " + EscapeBytes(strGot) + ", expected " + EscapeBytes(strExpected));
    return true;
}

void TranscriptPlayer::Play() {
    for (const TranscriptStep& step : m_transcript.Steps()) {
        if (m_bStop) return;
        switch (step.kind) {
            case TranscriptStep::Kind::Host:
                if (!AwaitHost(step.strBytes)) return;
                break;
            case TranscriptStep::Kind::Pause:
                std::this_thread::sleep_for(std::chrono::milliseconds(step.nMs));
                break;
            case TranscriptStep::Kind::HangUp:
                m_pTerminal->Close();
                m_bDone = true;
                return;
            case TranscriptStep::Kind::Module: {
                const std::size_t nPiece = m_options.nFragmentBytes ? m_options.nFragmentBytes : step.strBytes.size();
                for (std::size_t nAt = 0; nAt < step.strBytes.size(); nAt += nPiece) {
                    if (nAt > 0 && m_options.nFragmentPauseMs) {
                        std::this_thread::sleep_for(std::chrono::milliseconds(m_options.nFragmentPauseMs));
                    }
                    const std::string strPiece = step.strBytes.substr(nAt, nPiece);
                    if (!m_pTerminal->Write(strPiece.data(), static_cast<std::uint32_t>(strPiece.size()))) return;
                }
                break;
            }
        }
    }
    m_bDone = true;
}

}  // namespace vantrel::test
