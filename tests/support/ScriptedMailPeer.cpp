#include "support/ScriptedMailPeer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

namespace vantrel::test {

namespace {

int ListenOnLoopback(std::uint16_t& nPort) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t nLength = sizeof addr;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || ::listen(fd, 1) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &nLength) != 0)
        throw std::runtime_error("cannot listen on 127.0.0.1");
    nPort = ntohs(addr.sin_port);
    return fd;
}

void Pause() { std::this_thread::sleep_for(std::chrono::milliseconds(ScriptedMailPeer::kReplyDelayMs)); }

}  // namespace

ScriptedMailPeer::ScriptedMailPeer(std::vector<std::string> greeting, std::vector<Step> steps)
    : m_greeting(std::move(greeting)), m_steps(std::move(steps)) {
    m_nListen = ListenOnLoopback(m_nPort);
    m_thread = std::thread([this] { Run(); });
}

ScriptedMailPeer::~ScriptedMailPeer() {
    if (m_thread.joinable()) {
        ::shutdown(m_nListen, SHUT_RDWR);  // frees an accept that never got its client
        m_thread.join();
    }
    ::close(m_nListen);
}

std::string ScriptedMailPeer::Transcript() {
    if (m_thread.joinable()) m_thread.join();
    return m_strReceived;
}

void ScriptedMailPeer::Run() {
    const int fd = ::accept(m_nListen, nullptr, nullptr);
    if (fd < 0) return;
    // A client that stops talking must not hang the test run.
    timeval limit{10, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    SendPieces(fd, m_greeting);
    bool bOpen = true;
    std::size_t nConsumed = 0;
    for (std::size_t i = 0; bOpen && i < m_steps.size(); ++i) {
        bOpen = ReceiveUntil(fd, m_steps[i].wait == Step::Wait::Line ? "\n" : "\r\n.\r\n", nConsumed);
        if (!bOpen) break;
        Pause();
        SendPieces(fd, m_steps[i].pieces);
        bOpen = !m_steps[i].bCloseAfter;
    }
    if (bOpen) ReceiveUntil(fd, std::string(1, '\0') + "end", nConsumed);  // to the client's close
    ::close(fd);
}

bool ScriptedMailPeer::ReceiveUntil(int fd, const std::string& strMark, std::size_t& nConsumed) {
    for (;;) {
        const std::size_t nFound = m_strReceived.find(strMark, nConsumed);
        if (nFound != std::string::npos) {
            nConsumed = nFound + strMark.size();
            return true;
        }
        char buffer[4096];
        const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
        if (n <= 0) return false;
        m_strReceived.append(buffer, static_cast<std::size_t>(n));
    }
}

void ScriptedMailPeer::SendPieces(int fd, const std::vector<std::string>& pieces) {
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (i > 0) Pause();
        ::send(fd, pieces[i].data(), pieces[i].size(), MSG_NOSIGNAL);
    }
}

std::uint16_t UnusedLoopbackPort() {
    std::uint16_t nPort = 0;
    const int fd = ListenOnLoopback(nPort);
    ::close(fd);
    return nPort;
}

}  // namespace vantrel::test
