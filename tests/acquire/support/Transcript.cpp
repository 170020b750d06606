#include "Transcript.h"

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <sstream>

namespace vantrel::test {

namespace {

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string Trim(std::string_view text) {
    const std::size_t nFirst = text.find_first_not_of(" \t");
    if (nFirst == std::string_view::npos) return {};
    const std::size_t nLast = text.find_last_not_of(" \t\r");
    return std::string(text.substr(nFirst, nLast - nFirst + 1));
}

}  // namespace

bool DecodeEscapes(std::string_view text, std::string& strBytes) {
    strBytes.clear();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            strBytes.push_back(text[i]);
            continue;
        }
        if (++i >= text.size()) return false;
        switch (text[i]) {
            case 'r': strBytes.push_back('\r'); break;
            case 'n': strBytes.push_back('\n'); break;
            case 't': strBytes.push_back('\t'); break;
            case '\\': strBytes.push_back('\\'); break;
            case 'x': {
                const int nHigh = i + 1 < text.size() ? HexValue(text[i + 1]) : -1;
                const int nLow = i + 2 < text.size() ? HexValue(text[i + 2]) : -1;
                if (nHigh < 0 || nLow < 0) return false;
                strBytes.push_back(static_cast<char>(nHigh * 16 + nLow));
                i += 2;
                break;
            }
            default: return false;
        }
    }
    return true;
}

std::string EscapeBytes(std::string_view bytes) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string strText;
    for (char c : bytes) {
        const auto u = static_cast<unsigned char>(c);
        if (c == '\r') strText += "\\r";
        else if (c == '\n') strText += "\\n";
        else if (c == '\\') strText += "\\\\";
        else if (u < 0x20 || u >= 0x7F) strText += std::string("\\x") + kHex[u >> 4] + kHex[u & 15];
        else strText.push_back(c);
    }
    return strText;
}

bool Transcript::Parse(std::string_view text, Transcript& transcript, std::string& strError) {
    transcript = Transcript();
    std::istringstream in{std::string(text)};
    std::string strLine;
    for (int nLine = 1; std::getline(in, strLine); ++nLine) {
        if (!strLine.empty() && strLine.back() == '\r') strLine.pop_back();
        const auto fail = [&](const char* pszWhy) {
            strError = "line " + std::to_string(nLine) + ": " + pszWhy;
            return false;
        };
        if (Trim(strLine).empty()) continue;
        const char cKind = strLine[0];
        const std::string_view rest = strLine.size() > 2 ? std::string_view(strLine).substr(2) : std::string_view();
        if (cKind == '#') {
            const std::string strBody = Trim(std::string_view(strLine).substr(1));
            const std::size_t nColon = strBody.find(':');
            if (nColon != std::string::npos && nColon > 0 && strBody.find(' ') > nColon) {
                transcript.m_headers[strBody.substr(0, nColon)] = Trim(std::string_view(strBody).substr(nColon + 1));
            }
            continue;
        }
        if (strLine.size() >= 2 && strLine[1] != ' ') return fail("a space must follow the kind character");
        TranscriptStep step;
        if (cKind == '>' || cKind == '<') {
            step.kind = cKind == '>' ? TranscriptStep::Kind::Host : TranscriptStep::Kind::Module;
            if (!DecodeEscapes(rest, step.strBytes)) return fail("bad escape");
        } else if (cKind == '=') {
            char* pEnd = nullptr;
            const std::string strMs = Trim(rest);
            step.kind = TranscriptStep::Kind::Pause;
            step.nMs = static_cast<std::uint32_t>(std::strtoul(strMs.c_str(), &pEnd, 10));
            if (strMs.empty() || *pEnd) return fail("a pause needs milliseconds");
        } else if (cKind == '!') {
            if (Trim(rest) != "hangup") return fail("the only event is \"! hangup\"");
            step.kind = TranscriptStep::Kind::HangUp;
        } else {
            return fail("unknown line kind");
        }
        transcript.m_steps.push_back(step);
    }
    if (transcript.Header("shows").empty() || transcript.Header("expect").empty()) {
        strError = "missing \"# shows:\" or \"# expect:\" header";
        return false;
    }
    return true;
}

bool Transcript::Load(const std::string& strPath, Transcript& transcript, std::string& strError) {
    std::ifstream file(strPath, std::ios::binary);
    if (!file) {
        strError = "cannot read " + strPath;
        return false;
    }
    std::ostringstream text;
    text << file.rdbuf();
    if (!Parse(text.str(), transcript, strError)) {
        strError = strPath + ": " + strError;
        return false;
    }
    return true;
}

std::string Transcript::DataDir() {
    return VANTREL_TRANSCRIPT_DIR;
}

std::vector<std::string> Transcript::ListShipped() {
    std::vector<std::string> names;
    DIR* pDir = ::opendir(DataDir().c_str());
    if (!pDir) return names;
    while (const dirent* pEntry = ::readdir(pDir)) {
        const std::string strName = pEntry->d_name;
        if (strName.size() > 4 && strName.compare(strName.size() - 4, 4, ".log") == 0) names.push_back(strName);
    }
    ::closedir(pDir);
    std::sort(names.begin(), names.end());
    return names;
}

std::string Transcript::Header(const std::string& strKey) const {
    const auto it = m_headers.find(strKey);
    return it == m_headers.end() ? std::string() : it->second;
}

std::string Transcript::HostBytes() const {
    std::string strBytes;
    for (const TranscriptStep& step : m_steps) {
        if (step.kind == TranscriptStep::Kind::Host) strBytes += step.strBytes;
    }
    return strBytes;
}

std::string Transcript::ModuleBytes() const {
    std::string strBytes;
    for (const TranscriptStep& step : m_steps) {
        if (step.kind == TranscriptStep::Kind::Module) strBytes += step.strBytes;
    }
    return strBytes;
}

std::vector<std::string> Transcript::Answers() const {
    std::vector<std::string> answers;
    for (const TranscriptStep& step : m_steps) {
        if (step.kind == TranscriptStep::Kind::Host) answers.emplace_back();
        else if (step.kind == TranscriptStep::Kind::Module && !answers.empty()) answers.back() += step.strBytes;
    }
    return answers;
}

}  // namespace vantrel::test
