#pragma once
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Transcript.h"

namespace vantrel {
class PseudoTerminal;
}

namespace vantrel::test {

// Plays the module's side of a transcript on a real pseudo-terminal: waits for each host line,
// then writes the module's bytes, optionally cut into fragments with pauses, so the host's real
// serial stack sees them as separate reads.
//
//   TranscriptPlayer player(transcript, {.nFragmentBytes = 3, .nFragmentPauseMs = 15});
//   ASSERT_TRUE(player.Start());
//   port.Open(Utf8ToUtf16(player.DevicePath()));   ... send the "> " lines ...
//   EXPECT_TRUE(player.WaitDone(5000));
//   EXPECT_TRUE(player.Mismatches().empty());
struct ReplayOptions {
    std::uint32_t nFragmentBytes = 0;    // 0: each "< " line is one write
    std::uint32_t nFragmentPauseMs = 0;  // pause before every fragment after the first
    std::uint32_t nHostWaitMs = 5000;    // how long to wait for each "> " line
};

class TranscriptPlayer {
public:
    explicit TranscriptPlayer(Transcript transcript, ReplayOptions options = ReplayOptions());
    ~TranscriptPlayer();

    bool Start();
    std::string DevicePath() const { return m_strPath; }
    // True once every step has been played (a hang-up included).
    bool WaitDone(std::uint32_t nTimeoutMs);
    void Stop();
    // Host bytes that differed from the transcript, or did not come, escaped for reading.
    std::vector<std::string> Mismatches() const;
    std::string Received() const;

private:
    void Play();
    bool AwaitHost(const std::string& strExpected);
    void Note(const std::string& strText);

    Transcript m_transcript;
    ReplayOptions m_options;
    std::unique_ptr<PseudoTerminal> m_pTerminal;
    std::string m_strPath;
    std::thread m_thread;
    std::atomic<bool> m_bStop{false};
    std::atomic<bool> m_bDone{false};
    mutable std::mutex m_mutex;
    std::string m_strReceived;
    std::string m_strPending;  // host bytes read but not yet matched
    std::vector<std::string> m_mismatches;
};

}  // namespace vantrel::test
