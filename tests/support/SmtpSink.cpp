#include "support/SmtpSink.h"

#include <unistd.h>

#include <cstdlib>

#include "support/ScriptedMailPeer.h"

namespace vantrel::test {

namespace {
const char kPython[] = "/usr/bin/python3";
const std::string kSinkDir = VANTREL_MAIL_SINK_DIR;
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
