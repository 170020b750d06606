#include "acquire/ModuleEmulator.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace vantrel {

namespace {

constexpr char kCrLf[] = "\r\n";
constexpr char kGarbage[] = "\x7f#%\xfe@@~";

bool Matches(const std::string& strFilter, const std::string& strCommand) {
    return !strFilter.empty() && (strFilter == "*" || strFilter == strCommand);
}

bool ParseDms(const std::string& strText, int& nDeg, int& nMin, int& nSec) {
    if (strText.size() < 2) return false;
    int nUsed = 0;
    if (std::sscanf(strText.c_str() + 1, "%d:%d:%d%n", &nDeg, &nMin, &nSec, &nUsed) != 3) return false;
    return static_cast<std::size_t>(nUsed) + 1 == strText.size();
}

}  // namespace

std::string MoveCoordinate(const std::string& strCoordinate, std::uint32_t nSeconds) {
    int nDeg = 0, nMin = 0, nSec = 0;
    if (nSeconds == 0 || !ParseDms(strCoordinate, nDeg, nMin, nSec)) return strCoordinate;
    long nTotal = (static_cast<long>(nDeg) * 60 + nMin) * 60 + nSec + static_cast<long>(nSeconds);
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%c%ld:%02ld:%02ld", strCoordinate[0], nTotal / 3600, nTotal / 60 % 60,
                  nTotal % 60);
    return buffer;
}

ModuleEmulator::ModuleEmulator(EmulatorConfig config) : m_config(std::move(config)) {}

std::vector<EmulatorOutput> ModuleEmulator::Feed(std::string_view bytes) {
    std::vector<EmulatorOutput> outputs;
    for (char c : bytes) {
        if (m_bHungUp) break;
        if (c == '\n' && m_bSkipLf) {
            m_bSkipLf = false;
            continue;
        }
        m_bSkipLf = false;
        if (c != '\r') {
            // A real command line is short; a runaway line is cut like a module's input buffer.
            if (m_strLine.size() < 256) m_strLine.push_back(c);
            continue;
        }
        m_bSkipLf = true;
        std::string strCommand;
        strCommand.swap(m_strLine);
        if (strCommand.empty()) continue;
        Answer(strCommand, outputs);
    }
    return outputs;
}

void ModuleEmulator::Answer(const std::string& strCommand, std::vector<EmulatorOutput>& outputs) {
    m_commands.push_back(strCommand);
    std::string strAnswer;
    if (m_config.bGarbageBeforeEcho) strAnswer += std::string(kGarbage) + kCrLf;
    strAnswer += strCommand + (m_config.bExtraCr ? "\r\r\n" : kCrLf);
    if (m_config.nVanishAfter != 0 && m_commands.size() >= m_config.nVanishAfter) {
        Cut(m_config.nSlowMs, strAnswer, outputs);
        outputs.push_back(EmulatorOutput{0, {}, true});
        m_bHungUp = true;
        return;
    }
    const bool bKnown = strCommand == "AT" || strCommand == "AT@K20" || strCommand == "AT@LBC1" ||
                        strCommand == "AT@LBC?" || strCommand == "AT@LBC2";
    if (!bKnown || Matches(m_config.strErrorOn, strCommand)) {
        strAnswer += "ERROR\r\n";
    } else {
        if (m_config.bGarbageInBody) strAnswer += std::string(kGarbage) + kCrLf;
        strAnswer += Body(strCommand);
        if (!Matches(m_config.strNoFinalOn, strCommand)) strAnswer += "OK\r\n";
    }
    Cut(m_config.nSlowMs, strAnswer, outputs);
}

std::string ModuleEmulator::Body(const std::string& strCommand) {
    if (strCommand == "AT@K20") {
        if (m_config.stations.empty()) return kCrLf;
        std::string strBody;
        for (const EmulatorStation& station : m_config.stations) strBody += station.strId + "," + station.strLevel + kCrLf;
        return strBody;
    }
    if (strCommand == "AT@LBC?") return PositionLines();
    return {};
}

std::string ModuleEmulator::PositionLines() {
    ++m_nReadings;
    std::string strBody;
    if (m_config.bNoFix) {
        strBody = "--:--:--\r\n--:--:--\r\n";
    } else {
        strBody = MoveCoordinate(m_config.strNorth, m_nMoved) + kCrLf + MoveCoordinate(m_config.strEast, m_nMoved) + kCrLf;
    }
    if (!m_config.strInfo.empty()) strBody += m_config.strInfo + kCrLf;
    // The reading just given still shows the old fix; the move shows from the next one on.
    if (m_config.nTrackEvery != 0 && m_nReadings % m_config.nTrackEvery == 0) ++m_nMoved;
    return strBody;
}

void ModuleEmulator::Cut(std::uint32_t nPauseMs, const std::string& strAnswer, std::vector<EmulatorOutput>& outputs) const {
    if (m_config.nFragmentBytes == 0) {
        outputs.push_back(EmulatorOutput{nPauseMs, strAnswer, false});
        return;
    }
    for (std::size_t nAt = 0; nAt < strAnswer.size(); nAt += m_config.nFragmentBytes) {
        outputs.push_back(EmulatorOutput{nAt == 0 ? nPauseMs : m_config.nFragmentPauseMs,
                                         strAnswer.substr(nAt, m_config.nFragmentBytes), false});
    }
}

}  // namespace vantrel
