#pragma once
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace vantrel {
class PseudoTerminal;
}

namespace vantrel::test {

// An AT conversation kept as data (tests/data/transcripts/*.log, whose README gives the format):
// headers "# key: value", host lines "> ", module writes "< ", pauses "= ms" and "! hangup".
struct TranscriptStep {
    enum class Kind { Host, Module, Pause, HangUp };
    Kind kind = Kind::Module;
    std::string strBytes;
    std::uint32_t nMs = 0;
};

class Transcript {
public:
    // False with a reason ("line 7: bad escape") on a malformed or unreadable transcript.
    static bool Load(const std::string& strPath, Transcript& transcript, std::string& strError);
    // The names of the shipped transcripts, sorted, and the folder they are in.
    static std::vector<std::string> ListShipped();
    static std::string DataDir();

    std::string Header(const std::string& strKey) const;
    const std::vector<TranscriptStep>& Steps() const { return m_steps; }

private:
    std::map<std::string, std::string> m_headers;
    std::vector<TranscriptStep> m_steps;
};

// Bytes made readable for failure messages ("\r\n", "\xFE").
std::string EscapeBytes(std::string_view bytes);

// Plays the module's side of a transcript on a real pseudo-terminal, as recorded: waits for each
// host line, then writes each "< " line with one write, pausing and hanging up where it says so.
class TranscriptPlayer {
public:
    explicit TranscriptPlayer(Transcript transcript);
    ~TranscriptPlayer();

    bool Start();
    std::string DevicePath() const { return m_strPath; }
    // True once every step has been played (a hang-up included).
    bool WaitDone(std::uint32_t nTimeoutMs) const;
    // Host bytes that differed from the transcript, or did not come, escaped for reading.
    std::vector<std::string> Mismatches() const;

private:
    void Play();
    bool AwaitHost(const std::string& strExpected);
    void Note(const std::string& strText);

    Transcript m_transcript;
    std::unique_ptr<PseudoTerminal> m_pTerminal;
    std::string m_strPath;
    std::thread m_thread;
    std::atomic<bool> m_bStop{false};
    std::atomic<bool> m_bDone{false};
    mutable std::mutex m_mutex;
    std::string m_strPending;  // host bytes read but not yet matched
    std::vector<std::string> m_mismatches;
};

}  // namespace vantrel::test
