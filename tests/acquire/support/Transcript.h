#pragma once
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::test {

// An AT conversation kept as data (tests/data/transcripts/*.log). One item a line:
//
//   # key: value     header; every transcript has "shows" (what it is) and "expect" (outcome)
//   # text           comment
//   > bytes          what the host sends
//   < bytes          what the module sends, one write each
//   = 200            the module pauses 200 ms before its next write
//   ! hangup         the module goes away (the far end of the line is closed)
//
// Bytes are written with the escapes \r \n \t \\ and \xHH; everything after "> " or "< " is
// taken as it stands, spaces included. Blank lines are ignored.
struct TranscriptStep {
    enum class Kind { Host, Module, Pause, HangUp };
    Kind kind = Kind::Module;
    std::string strBytes;
    std::uint32_t nMs = 0;
};

class Transcript {
public:
    // False with a reason ("line 7: unknown escape") on a malformed transcript.
    static bool Parse(std::string_view text, Transcript& transcript, std::string& strError);
    static bool Load(const std::string& strPath, Transcript& transcript, std::string& strError);
    // The directory of the shipped transcripts (tests/data/transcripts).
    static std::string DataDir();
    static std::vector<std::string> ListShipped();

    std::string Header(const std::string& strKey) const;
    const std::vector<TranscriptStep>& Steps() const { return m_steps; }
    std::string HostBytes() const;
    std::string ModuleBytes() const;
    // The module's bytes after each host write, one entry per "> " step (the answer to it).
    std::vector<std::string> Answers() const;

private:
    std::map<std::string, std::string> m_headers;
    std::vector<TranscriptStep> m_steps;
};

// Turns "\r\n" style escapes into bytes; false on a bad escape.
bool DecodeEscapes(std::string_view text, std::string& strBytes);
// The reverse, for readable failure messages.
std::string EscapeBytes(std::string_view bytes);

}  // namespace vantrel::test
