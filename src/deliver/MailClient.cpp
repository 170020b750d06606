#include "deliver/MailClient.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <random>
#include <string_view>

#include "deliver/MailEncoding.h"
#include "port/Clock.h"
#include "settings/Format.h"

namespace vantrel {

namespace {

// A reply continues while the fourth character of its line is "-". Several lines, even several
// replies, may arrive in one read, so the line judged is the last one received: a chunk that
// already holds the final line must not wait for more (the server has nothing more to send).
bool IsContinued(const std::string& strChunk) {
    std::size_t nEnd = strChunk.size();
    if (nEnd > 0 && strChunk[nEnd - 1] == '\n') --nEnd;
    const std::size_t nFeed = nEnd > 0 ? strChunk.rfind('\n', nEnd - 1) : std::string::npos;
    const std::size_t nStart = nFeed == std::string::npos ? 0 : nFeed + 1;
    return nEnd - nStart >= 4 && strChunk[nStart + 3] == '-';
}

// The body as DATA lines. A line that begins with "." gets another "." in front (the transparency
// rule of RFC 5321), so that no text of the body, which holds whatever the position service put
// into a longitude, can end the DATA early and have its own commands run by the server. The
// handset never did this; every mail client does, and a server takes the extra "." away again.
// A lone CR or LF is sent as CR LF: servers that take either alone as a line end would otherwise
// see a line that was not stuffed.
std::string ToDataLines(std::string_view strBody) {
    std::string strLines;
    strLines.reserve(strBody.size() + strBody.size() / 16 + 1);
    bool bLineStart = true;
    for (std::size_t i = 0; i < strBody.size(); ++i) {
        const char c = strBody[i];
        if (c == '\r' || c == '\n') {
            strLines += "\r\n";
            if (c == '\r' && i + 1 < strBody.size() && strBody[i + 1] == '\n') ++i;
            bLineStart = true;
            continue;
        }
        if (bLineStart && c == '.') strLines += '.';
        strLines += c;
        bLineStart = false;
    }
    return strLines;
}

// The first three characters read as a decimal number (atoi: blanks, a sign, digits).
std::int32_t ReplyNumber(const std::string& strReply) {
    return static_cast<std::int32_t>(std::strtol(strReply.substr(0, 3).c_str(), nullptr, 10));
}

}  // namespace

bool SplitMailHost(std::u16string_view strValue, std::uint16_t nDefaultPort, std::u16string& strHost,
                   std::uint16_t& nPort) {
    nPort = nDefaultPort;
    const std::size_t nColon = strValue.rfind(u':');
    if (nColon == std::u16string_view::npos) {
        strHost.assign(strValue);
        return true;
    }
    strHost.assign(strValue.substr(0, nColon));
    const std::u16string_view strPort = strValue.substr(nColon + 1);
    if (strPort.empty()) return true;
    if (strPort.size() > 5) return false;
    unsigned nValue = 0;
    for (const char16_t c : strPort) {
        if (c < u'0' || c > u'9') return false;
        nValue = nValue * 10 + static_cast<unsigned>(c - u'0');
    }
    if (nValue == 0 || nValue > 65535) return false;
    nPort = static_cast<std::uint16_t>(nValue);
    return true;
}

MailClient::MailClient(Sockets& sockets, Clock& clock, std::uint32_t nReplyTimeoutMs)
    : m_sockets(sockets), m_clock(clock), m_nReplyTimeoutMs(nReplyTimeoutMs) {}

// The weekday is looked up one place early (Monday reads "Sun") and a Sunday, index -1, has no
// text at all; the time is UTC while the suffix is the local offset. These traits are kept on
// purpose: this is the header the handset has always sent. With no Date text the header still
// goes out, with an empty value: "Date: \r\n".
std::string MailClient::FormatDate(Clock& clock) {
    static constexpr const char16_t* kDays[] = {u"Sun", u"Mon", u"Tue", u"Wed", u"Thu", u"Fri", u"Sat"};
    static constexpr const char16_t* kMonths[] = {u"Jan", u"Feb", u"Mar", u"Apr", u"May", u"Jun",
                                                  u"Jul", u"Aug", u"Sep", u"Oct", u"Nov", u"Dec"};
    const SystemTime st = clock.UtcTime();
    const int nDayIndex = st.nDayOfWeek - 1;
    if (nDayIndex < 0 || nDayIndex > 6 || st.nMonth < 1 || st.nMonth > 12) return std::string();
    std::u16string strDate = FormatText(u"%s, %d %s %04d %02d:%02d:%02d", kDays[nDayIndex], st.nDay,
                                        kMonths[st.nMonth - 1], st.nYear, st.nHour, st.nMinute, st.nSecond);
    long nBias = 0;
    if (clock.TimeZoneBias(nBias)) {
        if (nBias == 0) {
            strDate += u" +0000";
        } else {
            const long nAbs = std::labs(nBias);
            strDate += FormatText(u" %s%02d%02d", nBias <= 0 ? u"+" : u"-", nAbs / 60, nAbs % 60);
        }
    }
    return ToMultiByte(strDate);
}

SocketHandle MailClient::ConnectHost(const std::u16string& strHost, const char* pszLabel, std::uint16_t nPort) {
    SetStep(u"ConnectHost(): LINE=%d", __LINE__);
    if (strHost.empty()) {
        Fail(mailerr::kEmptyHost, 0);
        return kInvalidSocket;
    }
    const SocketHandle hSocket = m_sockets.OpenStream();
    if (hSocket == kInvalidSocket) {
        Fail(mailerr::kSocket, m_sockets.LastError());
        return kInvalidSocket;
    }
    const std::string strNarrowHost = ToMultiByte(strHost);
    std::uint32_t nAddress = 0;
    if (!m_sockets.ParseDottedAddress(strNarrowHost, nAddress)) {
        std::string strDotted;
        if (!m_sockets.LookupHost(strNarrowHost, strDotted) || !m_sockets.ParseDottedAddress(strDotted, nAddress)) {
            Fail(mailerr::kResolve, m_sockets.LastError());
            m_sockets.Close(hSocket);
            return kInvalidSocket;
        }
    }
    if (!m_sockets.Connect(hSocket, nAddress, nPort)) {
        Fail(mailerr::kConnect, m_sockets.LastError());
        m_sockets.ShutdownBoth(hSocket);
        m_sockets.Close(hSocket);
        return kInvalidSocket;
    }
    return hSocket;
}

int MailClient::PopBeforeSmtp(const std::u16string& strHost, std::uint16_t nPort, const std::u16string& strAccount,
                              const std::u16string& strPassword) {
    m_result = MailResult();
    if (!Start()) return m_result.m_nError;
    const SocketHandle hSocket = ConnectHost(strHost, "pop3", nPort);
    if (hSocket != kInvalidSocket) RunPop(hSocket, strAccount, strPassword);
    Finish(hSocket);
    return m_result.m_nError;
}

int MailClient::SendMail(const std::u16string& strHost, std::uint16_t nPort, const std::u16string& strFrom,
                         const std::u16string& strTo, const std::u16string& strSubject,
                         const std::u16string& strBody) {
    m_result = MailResult();
    const std::string strDate = FormatDate(m_clock);
    if (!Start()) return m_result.m_nError;
    const SocketHandle hSocket = ConnectHost(strHost, "smtp", nPort);
    if (hSocket != kInvalidSocket) RunSmtp(hSocket, strDate, strFrom, strTo, strSubject, strBody);
    Finish(hSocket);
    return m_result.m_nError;
}

bool MailClient::Start() {
    const int nStart = m_sockets.Startup();
    if (nStart == Sockets::kStartOk) return true;
    if (nStart == Sockets::kStartWrongVersion) {
        m_sockets.Cleanup();
        return Fail(mailerr::kVersion, 0);
    }
    return Fail(mailerr::kStartup, m_sockets.LastError());
}

void MailClient::Finish(SocketHandle hSocket) {
    if (hSocket != kInvalidSocket) {
        m_sockets.ShutdownBoth(hSocket);
        m_sockets.Close(hSocket);
    }
    m_sockets.Cleanup();
}

// Replies are read one behind: EHLO's answer is checked after RSET has been sent, RSET's after
// MAIL FROM, and so on. Every reply is still read in order before QUIT.
bool MailClient::RunSmtp(SocketHandle h, const std::string& strDate, const std::u16string& strFrom,
                         const std::u16string& strTo, const std::u16string& strSubject,
                         const std::u16string& strBody) {
    if (!ReadSmtpReply(h)) return false;
    std::string strHostName;
    if (!m_sockets.HostName(strHostName)) strHostName.clear();
    if (!SendText(h, FormatText(u"EHLO %s\r\n", FromMultiByte(strHostName)), u"send EHLO: LINE=%d", __LINE__)) return false;
    if (!SendText(h, u"RSET\r\n", u"send RSET: LINE=%d", __LINE__) || !ReadSmtpReply(h)) return false;
    if (!SendText(h, FormatText(u"MAIL FROM:<%s>\r\n", strFrom), u"send MAIL FROM: LINE=%d", __LINE__) ||
        !ReadSmtpReply(h))
        return false;
    if (!SendText(h, FormatText(u"RCPT TO:%s\r\n", strTo), u"send RCPT TO: LINE=%d", __LINE__) || !ReadSmtpReply(h))
        return false;
    if (!SendText(h, u"DATA\r\n", u"send DATA: LINE=%d", __LINE__) || !ReadSmtpReply(h)) return false;

    const std::u16string strBoundary = FromMultiByte(NewBoundary());
    const bool bSent =
        SendText(h, FormatText(u"Date: %s\r\n", FromMultiByte(strDate)), u"send Date: LINE=%d", __LINE__) &&
        SendText(h, FormatText(u"From: %s\r\n", strFrom), u"send From: LINE=%d", __LINE__) &&
        SendText(h, FormatText(u"Subject: =?iso-2022-jp?B?%s?=\r\n", FromMultiByte(EncodeSubjectBase64(strSubject))),
                 u"send Subject: LINE=%d", __LINE__) &&
        SendText(h, FormatText(u"To: %s\r\n", strTo), u"send To: LINE=%d", __LINE__) &&
        SendText(h, u"MIME-Version: 1.0\r\n", u"send MIME-Version: LINE=%d", __LINE__) &&
        SendText(h, FormatText(u"Content-Type: MULTIPART/mixed; BOUNDARY=%s\r\n", strBoundary),
                 u"send Content-Type: LINE=%d", __LINE__) &&
        SendText(h, u"\r\n", u"send \r\n: LINE=%d", __LINE__) &&
        SendText(h, FormatText(u"--%s\r\n", strBoundary), u"send boundary: LINE=%d", __LINE__) &&
        SendText(h, u"Content-Type: TEXT/plain; charset=ISO-2022-JP\r\n", u"send Content-Type: TEXT/plain: LINE=%d",
                 __LINE__) &&
        SendText(h, u"\r\n", u"send \r\n: LINE=%d", __LINE__) &&
        SendBytes(h, ToDataLines(EncodeMailBody(strBody)), u"send body: LINE=%d", __LINE__) &&
        SendText(h, u"\r\n", u"send \r\n: LINE=%d", __LINE__) &&
        SendText(h, FormatText(u"--%s--\r\n", strBoundary), u"send boundary: LINE=%d", __LINE__) &&
        SendText(h, u".\r\n", u"send .\r\n: LINE=%d", __LINE__);
    if (!bSent || !ReadSmtpReply(h)) return false;
    return SendText(h, u"QUIT\r\n", u"send QUIT: LINE=%d", __LINE__) && ReadSmtpReply(h);
}

bool MailClient::RunPop(SocketHandle h, const std::u16string& strAccount, const std::u16string& strPassword) {
    return ReadPopReply(h) &&
           SendText(h, FormatText(u"USER %s\r\n", strAccount), u"send USER: LINE=%d", __LINE__) && ReadPopReply(h) &&
           SendText(h, FormatText(u"PASS %s\r\n", strPassword), u"send PASS: LINE=%d", __LINE__) &&
           ReadPopReply(h) && SendText(h, u"QUIT\r\n", u"send QUIT: LINE=%d", __LINE__) && ReadPopReply(h);
}

void MailClient::SetStep(std::u16string_view strFormat, int nLine) {
    m_result.m_strLastStep = FormatText(strFormat, nLine);
}

bool MailClient::SendText(SocketHandle hSocket, const std::u16string& strCommand, std::u16string_view strStep,
                          int nLine) {
    return SendBytes(hSocket, ToMultiByte(strCommand), strStep, nLine);
}

bool MailClient::SendBytes(SocketHandle hSocket, const std::string& strBytes, std::u16string_view strStep,
                           int nLine) {
    SetStep(strStep, nLine);
    if (m_sockets.Send(hSocket, strBytes.data(), static_cast<int>(strBytes.size())) < 0)
        return Fail(mailerr::kSend, m_sockets.LastError());
    return true;
}

// WaitReadable with the reply time-out; sliced when a hook must run meanwhile.
int MailClient::WaitReply(SocketHandle hSocket) {
    if (!m_fnWaitHook) return m_sockets.WaitReadable(hSocket, m_nReplyTimeoutMs);
    const std::uint32_t nStart = m_clock.TickCount();
    for (;;) {
        const std::uint32_t nElapsed = m_clock.TickCount() - nStart;
        if (nElapsed >= m_nReplyTimeoutMs) return 0;
        const int nReady = m_sockets.WaitReadable(hSocket, std::min(kWaitSliceMs, m_nReplyTimeoutMs - nElapsed));
        if (nReady != 0) return nReady;
        m_fnWaitHook();
    }
}

// One reply chunk: whatever arrives until the last byte received is a line feed, the peer closes,
// the wait runs out or the 1024-byte buffer is full.
bool MailClient::ReadChunk(SocketHandle hSocket) {
    m_result.m_strReply.clear();
    char buffer[kReplyBufferSize];
    int nTotal = 0;
    while (nTotal < kReplyBufferSize) {
        if (WaitReply(hSocket) <= 0) break;
        const int nRead = m_sockets.Receive(hSocket, buffer + nTotal, kReplyBufferSize - nTotal);
        if (nRead < 0) return Fail(mailerr::kReceive, m_sockets.LastError());
        if (nRead == 0) break;
        nTotal += nRead;
        if (buffer[nTotal - 1] == '\n') break;
    }
    m_result.m_strReply.assign(buffer, static_cast<std::size_t>(nTotal));
    m_result.m_strReplyLog += FromMultiByte(m_result.m_strReply);
    if (nTotal < 4) return Fail(mailerr::kReceive, m_sockets.LastError());
    return true;
}

bool MailClient::ReadSmtpReply(SocketHandle hSocket) {
    for (;;) {
        if (!ReadChunk(hSocket)) return false;
        m_result.m_nStatus = ReplyNumber(m_result.m_strReply);
        if (m_result.m_nStatus >= 400) return Fail(mailerr::kServerError, m_sockets.LastError());
        if (!IsContinued(m_result.m_strReply)) return true;
    }
}

// POP3 is judged by the reply's start only; "+OK" later in the line does not count.
bool MailClient::ReadPopReply(SocketHandle hSocket) {
    if (!ReadChunk(hSocket)) return false;
    const std::string& strReply = m_result.m_strReply;
    if (strReply.starts_with("-ERR")) {
        m_result.m_nStatus = -1;
        return Fail(mailerr::kServerError, m_sockets.LastError());
    }
    if (strReply.starts_with("+OK")) {
        m_result.m_nStatus = 1;
        return true;
    }
    return Fail(mailerr::kServerError, m_sockets.LastError());
}

bool MailClient::Fail(int nError, std::int32_t nLastError) {
    m_result.m_nError = nError;
    m_result.m_nLastError = nLastError;
    return false;
}

// A tick count and a per-process sequence started at a random value: two mails never share a
// boundary, even within one tick.
std::string MailClient::NewBoundary() {
    static std::atomic<std::uint32_t> s_nSequence{std::random_device()()};
    const std::uint32_t nSequence = s_nSequence.fetch_add(1) % 1000000000u;
    return ToMultiByte(FormatText(u"%010d_%09d", static_cast<std::int32_t>(m_clock.TickCount()),
                                  static_cast<std::int32_t>(nSequence)));
}

}  // namespace vantrel
