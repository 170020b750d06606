#include "Transcript.h"

#include <dirent.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <fstream>
#include <sstream>

#include "port/PseudoTerminal.h"

namespace vantrel::test {

namespace {

std::string Trim(std::string_view text) {
    const std::size_t nFirst = text.find_first_not_of(" \t");
    if (nFirst == std::string_view::npos) return {};
    return std::string(text.substr(nFirst, text.find_last_not_of(" \t\r") - nFirst + 1));
}

// "\r", "\n", "\t", "\\" and "\xHH"; false on anything else after a backslash.
bool DecodeEscapes(std::string_view text, std::string& strBytes) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            strBytes.push_back(text[i]);
            continue;
        }
        const char c = ++i < text.size() ? text[i] : '?';
        if (c == 'r' || c == 'n' || c == 't' || c == '\\') {
            strBytes.push_back(c == 'r' ? '\r' : c == 'n' ? '\n' : c == 't' ? '\t' : '\\');
        } else if (c == 'x' && i + 2 < text.size() && std::isxdigit(static_cast<unsigned char>(text[i + 1])) &&
                   std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
            strBytes.push_back(static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16)));
            i += 2;
        } else {
            return false;
        }
    }
    return true;
}

}  // namespace

std::string EscapeBytes(std::string_view bytes) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string strText;
    for (char c : bytes) {
        const auto u = static_cast<unsigned char>(c);
        if (c == '\r') strText += "\\r";
        else if (c == '\n') strText += "\\n";
        else if (u < 0x20 || u >= 0x7F) strText += std::string("\\x") + kHex[u >> 4] + kHex[u & 15];
        else strText.push_back(c);
    }
    return strText;
}

bool Transcript::Load(const std::string& strPath, Transcript& transcript, std::string& strError) {
    transcript = Transcript();
    std::ifstream in(strPath, std::ios::binary);
    std::string strLine;
    for (int nLine = 1; std::getline(in, strLine); ++nLine) {
        strError = strPath + ":" + std::to_string(nLine) + ": ";
        if (Trim(strLine).empty()) continue;
        const std::string_view rest = strLine.size() > 2 ? std::string_view(strLine).substr(2) : std::string_view();
        TranscriptStep step;
        if (strLine[0] == '#') {
            const std::string strBody = Trim(std::string_view(strLine).substr(1));
            const std::size_t nColon = strBody.find(':');
            if (nColon != std::string::npos && strBody.find(' ') > nColon)
                transcript.m_headers[strBody.substr(0, nColon)] = Trim(std::string_view(strBody).substr(nColon + 1));
            continue;
        }
        if (strLine.size() >= 2 && strLine[1] != ' ') return strError += "a space must follow the kind", false;
        if (strLine[0] == '>' || strLine[0] == '<') {
            step.kind = strLine[0] == '>' ? TranscriptStep::Kind::Host : TranscriptStep::Kind::Module;
            if (!DecodeEscapes(rest, step.strBytes)) return strError += "bad escape", false;
        } else if (strLine[0] == '=' && !Trim(rest).empty() && Trim(rest).find_first_not_of("0123456789") == std::string::npos) {
            step.kind = TranscriptStep::Kind::Pause;
            step.nMs = static_cast<std::uint32_t>(std::stoul(Trim(rest)));
        } else if (strLine[0] == '!' && Trim(rest) == "hangup") {
            step.kind = TranscriptStep::Kind::HangUp;
        } else {
            return strError += "unknown line", false;
        }
        transcript.m_steps.push_back(step);
    }
    strError = strPath + ": ";
    if (!in.eof()) return strError += "cannot be read", false;
    if (transcript.Header("shows").empty() || transcript.Header("expect").empty())
        return strError += "missing \"# shows:\" or \"# expect:\"", false;
    return true;
}

std::string Transcript::DataDir() { return VANTREL_TRANSCRIPT_DIR; }

std::vector<std::string> Transcript::ListShipped() {
    std::vector<std::string> names;
    if (DIR* pDir = ::opendir(DataDir().c_str())) {
        while (const dirent* pEntry = ::readdir(pDir)) {
            const std::string strName = pEntry->d_name;
            if (strName.size() > 4 && strName.compare(strName.size() - 4, 4, ".log") == 0) names.push_back(strName);
        }
        ::closedir(pDir);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string Transcript::Header(const std::string& strKey) const {
    const auto it = m_headers.find(strKey);
    return it == m_headers.end() ? std::string() : it->second;
}

TranscriptPlayer::TranscriptPlayer(Transcript transcript)
    : m_transcript(std::move(transcript)), m_pTerminal(CreatePseudoTerminal()) {}

TranscriptPlayer::~TranscriptPlayer() {
    m_bStop = true;
    if (m_thread.joinable()) m_thread.join();
    m_pTerminal->Close();
}

bool TranscriptPlayer::Start() {
    if (!m_pTerminal->Open()) return false;
    m_strPath = m_pTerminal->SlavePath();
    m_thread = std::thread(&TranscriptPlayer::Play, this);
    return true;
}

bool TranscriptPlayer::WaitDone(std::uint32_t nTimeoutMs) const {
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(nTimeoutMs);
    while (!m_bDone && std::chrono::steady_clock::now() < until) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return m_bDone;
}

std::vector<std::string> TranscriptPlayer::Mismatches() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_mismatches;
}

void TranscriptPlayer::Note(const std::string& strText) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_mismatches.push_back(strText);
}

bool TranscriptPlayer::AwaitHost(const std::string& strExpected) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (m_strPending.size() < strExpected.size()) {
        if (m_bStop || std::chrono::steady_clock::now() >= until) {
            Note("host did not send " + EscapeBytes(strExpected) + ", got " + EscapeBytes(m_strPending));
            return false;
        }
        char buffer[256];
        std::uint32_t nRead = 0;
        if (!m_pTerminal->Read(buffer, sizeof buffer, nRead, 20)) return false;
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
        if (step.kind == TranscriptStep::Kind::Host && !AwaitHost(step.strBytes)) return;
        if (step.kind == TranscriptStep::Kind::Pause) std::this_thread::sleep_for(std::chrono::milliseconds(step.nMs));
        if (step.kind == TranscriptStep::Kind::HangUp) m_pTerminal->Close();
        if (step.kind == TranscriptStep::Kind::Module &&
            !m_pTerminal->Write(step.strBytes.data(), static_cast<std::uint32_t>(step.strBytes.size())))
            return;
    }
    m_bDone = true;
}

}  // namespace vantrel::test
