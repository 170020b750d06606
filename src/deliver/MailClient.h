#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "deliver/MailResult.h"
#include "port/Sockets.h"

namespace vantrel {

class Clock;

constexpr std::uint16_t kSmtpPort = 25;
constexpr std::uint16_t kPopPort = 110;

// Splits a server setting "host" or "host:port". No port (or an empty one) gives nDefaultPort.
// False when the text after the last ":" is not a port number 1-65535; strHost is still set.
bool SplitMailHost(std::u16string_view strValue, std::uint16_t nDefaultPort, std::u16string& strHost,
                   std::uint16_t& nPort);

// A small synchronous SMTP client with an optional POP3 log-in before it ("POP before SMTP"):
// one connection per operation, a fixed command order, and an error code with the last step's
// label left behind for the failure report. It blocks the calling thread for the whole dialogue.
// Texts are wide and go out in the ANSI code page; subject and body in ISO-2022-JP.
class MailClient {
public:
    // A silent server is noticed only by the connection closing, hence the long wait for a reply.
    static constexpr std::uint32_t kReplyTimeoutMs = 1000u * 1000u;
    static constexpr int kReplyBufferSize = 1024;
    // With a wait hook the reply wait is cut into slices of this length, the hook running between.
    static constexpr std::uint32_t kWaitSliceMs = 100;

    MailClient(Sockets& sockets, Clock& clock, std::uint32_t nReplyTimeoutMs = kReplyTimeoutMs);

    // A connected TCP socket, or kInvalidSocket with the error code set. pszLabel names the service
    // ("smtp", "pop3"); the port alone selects it. The caller has started the sockets layer.
    SocketHandle ConnectHost(const std::u16string& strHost, const char* pszLabel, std::uint16_t nPort);

    // USER, PASS and QUIT on the POP3 server. 0 on success, else the error code.
    int PopBeforeSmtp(const std::u16string& strHost, std::uint16_t nPort, const std::u16string& strAccount,
                      const std::u16string& strPassword);

    // One MIME mail with a single ISO-2022-JP text part. Subject and body are the expanded texts;
    // strTo goes into RCPT TO as configured, without added angle brackets. 0 on success, else the
    // error code.
    int SendMail(const std::u16string& strHost, std::uint16_t nPort, const std::u16string& strFrom,
                 const std::u16string& strTo, const std::u16string& strSubject, const std::u16string& strBody);

    // Runs between the slices of a reply wait (the window keeps painting during the dialogue).
    void SetWaitHook(std::function<void()> fnHook) { m_fnWaitHook = std::move(fnHook); }

    const MailResult& Result() const { return m_result; }
    int ErrorCode() const { return m_result.m_nError; }
    std::int32_t LastError() const { return m_result.m_nLastError; }
    const std::u16string& LastStep() const { return m_result.m_strLastStep; }
    const std::string& Reply() const { return m_result.m_strReply; }
    const std::u16string& ReplyLog() const { return m_result.m_strReplyLog; }
    std::int32_t Status() const { return m_result.m_nStatus; }

    // The Date header's value for the clock's present UTC time; empty on a Sunday (see .cpp).
    static std::string FormatDate(Clock& clock);

private:
    bool Start();
    void Finish(SocketHandle hSocket);
    bool RunSmtp(SocketHandle hSocket, const std::string& strDate, const std::u16string& strFrom,
                 const std::u16string& strTo, const std::u16string& strSubject, const std::u16string& strBody);
    bool RunPop(SocketHandle hSocket, const std::u16string& strAccount, const std::u16string& strPassword);

    void SetStep(std::u16string_view strFormat, int nLine);
    bool SendText(SocketHandle hSocket, const std::u16string& strCommand, std::u16string_view strStep, int nLine);
    bool SendBytes(SocketHandle hSocket, const std::string& strBytes, std::u16string_view strStep, int nLine);
    int WaitReply(SocketHandle hSocket);
    bool ReadChunk(SocketHandle hSocket);
    bool ReadSmtpReply(SocketHandle hSocket);
    bool ReadPopReply(SocketHandle hSocket);
    bool Fail(int nError, std::int32_t nLastError);
    std::string NewBoundary();

    Sockets& m_sockets;
    Clock& m_clock;
    std::uint32_t m_nReplyTimeoutMs;
    MailResult m_result;
    std::function<void()> m_fnWaitHook;
};

}  // namespace vantrel
