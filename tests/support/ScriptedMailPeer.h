#pragma once
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace vantrel::test {

// A one-connection TCP server on 127.0.0.1 that plays a script of replies and records every byte
// the client sends, so that a conversation can be compared byte for byte.
class ScriptedMailPeer {
public:
    struct Step {
        enum class Wait { Line, Data } wait = Wait::Line;  // a command line, or DATA up to "\r\n.\r\n"
        std::vector<std::string> pieces;                   // the reply, each piece sent separately
        bool bCloseAfter = false;                          // hang up after the reply
    };

    // Each reply is sent kReplyDelayMs after its command, so the client is already waiting and
    // reads it apart from the next one; pieces of one reply are spaced the same way.
    static constexpr int kReplyDelayMs = 40;

    ScriptedMailPeer(std::vector<std::string> greeting, std::vector<Step> steps);
    ~ScriptedMailPeer();
    ScriptedMailPeer(const ScriptedMailPeer&) = delete;
    ScriptedMailPeer& operator=(const ScriptedMailPeer&) = delete;

    std::uint16_t Port() const { return m_nPort; }
    // Waits for the conversation to end (the client closes) and returns what the client sent.
    std::string Transcript();

    static Step Reply(std::string strReply, bool bClose = false) { return Step{Step::Wait::Line, {std::move(strReply)}, bClose}; }
    static Step Pieces(std::vector<std::string> pieces) { return Step{Step::Wait::Line, std::move(pieces), false}; }
    static Step AfterData(std::string strReply) { return Step{Step::Wait::Data, {std::move(strReply)}, false}; }

private:
    void Run();
    bool ReceiveUntil(int fd, const std::string& strMark, std::size_t& nConsumed);
    void SendPieces(int fd, const std::vector<std::string>& pieces);

    std::vector<std::string> m_greeting;
    std::vector<Step> m_steps;
    int m_nListen = -1;
    std::uint16_t m_nPort = 0;
    std::string m_strReceived;
    std::thread m_thread;
};

// An SMTP server's side of one mail that it takes (after a "220" greeting).
inline std::vector<ScriptedMailPeer::Step> GoodSmtpSteps() {
    return {ScriptedMailPeer::Reply("250 hello\r\n"),     ScriptedMailPeer::Reply("250 Reset\r\n"),
            ScriptedMailPeer::Reply("250 Sender OK\r\n"), ScriptedMailPeer::Reply("250 Recipient OK\r\n"),
            ScriptedMailPeer::Reply("354 go ahead\r\n"),  ScriptedMailPeer::AfterData("250 Queued\r\n"),
            ScriptedMailPeer::Reply("221 Bye\r\n")};
}

// A port on 127.0.0.1 with nobody listening (bound once, then released).
std::uint16_t UnusedLoopbackPort();

}  // namespace vantrel::test
