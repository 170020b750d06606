#include "support/SmtpSink.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "support/ScriptedMailPeer.h"

namespace vantrel::test {

namespace {
const char kPython[] = "/usr/bin/python3";
const std::string kSinkDir = VANTREL_MAIL_SINK_DIR;

// The server is ready once a connection to its port is accepted.
bool WaitUntilListening(std::uint16_t nPort, int nTimeoutMs) {
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = htons(nPort);
    for (int nWaited = 0; nWaited <= nTimeoutMs; nWaited += 20) {
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        const bool bUp = ::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
        ::close(fd);
        if (bUp) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}
}  // namespace

SmtpSink::SmtpSink() : m_nPort(UnusedLoopbackPort()) {
    if (!Available()) return;
    // No bytecode cache: it would land in the source tree.
    m_pProcess = std::make_unique<ChildProcess>(
        kPython,
        std::vector<std::string>{"-m", "aiosmtpd", "-n", "-l", "127.0.0.1:" + std::to_string(m_nPort), "-c",
                                 "mail_sink.FileSink", m_dir.Path()},
        std::vector<std::string>{"PYTHONPATH=" + kSinkDir, "LANG=C.UTF-8", "PYTHONDONTWRITEBYTECODE=1"});
    m_bReady = WaitUntilListening(m_nPort, 10000);
}

bool SmtpSink::Available() {
    static const bool bAvailable =
        access(kPython, X_OK) == 0 &&
        std::system((std::string(kPython) + " -c 'import aiosmtpd' >/dev/null 2>&1").c_str()) == 0;
    return bAvailable;
}

std::vector<std::string> SmtpSink::MessagePaths() const {
    std::vector<std::string> paths;
    for (int i = 1; access(m_dir.File("mail" + std::to_string(i) + ".eml").c_str(), F_OK) == 0; ++i)
        paths.push_back(m_dir.File("mail" + std::to_string(i) + ".eml"));
    return paths;
}

bool SmtpSink::Decode(const std::string& strMessage, std::string& strSubject, std::string& strBody) const {
    const std::string strCommand = std::string("PYTHONDONTWRITEBYTECODE=1 ") + kPython + " " + kSinkDir +
                                   "/mail_sink.py '" + strMessage + "' '" + m_dir.File("subject.txt") + "' '" +
                                   m_dir.File("body.txt") + "'";
    if (std::system(strCommand.c_str()) != 0) return false;
    strSubject = ReadFileBytes(m_dir.File("subject.txt"));
    strBody = ReadFileBytes(m_dir.File("body.txt"));
    return true;
}

}  // namespace vantrel::test
