#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TempDir.h"

namespace vantrel::test {

// aiosmtpd (/usr/bin/python3, Debian python3-aiosmtpd) storing what it receives as mail1.eml,
// mail2.eml, ... in a folder of its own; stopped when the object goes.
class SmtpSink {
public:
    SmtpSink();
    static bool Available();
    std::uint16_t Port() const { return m_nPort; }
    bool Ready() const { return m_bReady; }
    std::vector<std::string> MessagePaths() const;
    // Subject and text body of a stored message as a mail program decodes them (UTF-8).
    bool Decode(const std::string& strMessage, std::string& strSubject, std::string& strBody) const;

private:
    TempDir m_dir;
    std::uint16_t m_nPort;
    std::unique_ptr<ChildProcess> m_pProcess;
    bool m_bReady = false;
};

}  // namespace vantrel::test
