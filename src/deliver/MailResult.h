#pragma once
#include <cstdint>
#include <string>

namespace vantrel {

// Error codes of the mail client. 1 and 2 come only from WinSock's start-up; 9 is never set.
namespace mailerr {
constexpr int kNone = 0;
constexpr int kStartup = 1;
constexpr int kVersion = 2;
constexpr int kEmptyHost = 3;
constexpr int kSocket = 4;
constexpr int kResolve = 5;
constexpr int kSend = 6;
constexpr int kReceive = 7;
constexpr int kServerError = 8;
constexpr int kConnect = 10;
}  // namespace mailerr

// What the mail client leaves behind after an operation, for the failure report.
struct MailResult {
    int m_nError = mailerr::kNone;
    std::int32_t m_nLastError = 0;   // the socket error number at the failure
    std::u16string m_strLastStep;    // label of the last step begun, "send EHLO: LINE=%d" style
    std::string m_strReply;          // the last reply chunk received, as the server sent it
    std::u16string m_strReplyLog;    // every reply of the operation, in order
    std::int32_t m_nStatus = 0;      // SMTP reply number; POP3: 1 after "+OK", -1 after "-ERR"
};

}  // namespace vantrel
