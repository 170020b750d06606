// The SMTP and POP3 servers' replies, read through the sockets seam. The first byte picks the
// dialogue and how the bytes arrive: "S"/"P" (SMTP/POP3) one line per receive, "s"/"p" as much
// as each receive asks for. The rest is everything the server sends; after it the server is
// silent, which the client sees as a wait that ran out. With "B" the rest is instead the mail body
// (UTF-8), sent to a server that accepts everything: whatever the body holds, the DATA must end
// only where the client ends it.
#include <algorithm>

#include "deliver/MailClient.h"
#include "deliver/MailErrorText.h"
#include "settings/ResourceModule.h"
#include "settings/TextUtil.h"
#include "support/FuzzSupport.h"

using namespace vantrel;

namespace {

class ScriptedServer final : public Sockets {
public:
    ScriptedServer(std::string_view script, bool bLineByLine) : m_script(script), m_bLineByLine(bLineByLine) {}

    const std::string& Sent() const { return m_strSent; }

    int Startup() override { return kStartOk; }
    void Cleanup() override {}
    SocketHandle OpenStream() override { return 3; }
    bool ParseDottedAddress(const std::string& strHost, std::uint32_t& nAddress) override {
        nAddress = 0x0100007F;
        return true;
    }
    bool LookupHost(const std::string&, std::string&) override { return false; }
    bool Connect(SocketHandle, std::uint32_t, std::uint16_t) override { return true; }
    int Send(SocketHandle, const char* pData, int nLength) override {
        m_strSent.append(pData, static_cast<std::size_t>(nLength));
        return nLength;
    }
    int Receive(SocketHandle, char* pBuffer, int nLength) override {
        std::size_t nTake = std::min(m_script.size(), static_cast<std::size_t>(nLength));
        const std::size_t nFeed = m_script.find('\n');
        if (m_bLineByLine && nFeed != std::string_view::npos) nTake = std::min(nTake, nFeed + 1);
        std::copy_n(m_script.data(), nTake, pBuffer);
        m_script.remove_prefix(nTake);
        return static_cast<int>(nTake);
    }
    int WaitReadable(SocketHandle, std::uint32_t) override { return m_script.empty() ? 0 : 1; }
    void ShutdownBoth(SocketHandle) override {}
    void Close(SocketHandle) override {}
    bool HostName(std::string& strName) override {
        strName = "handset";
        return true;
    }
    std::int32_t LastError() override { return 0; }

private:
    std::string_view m_script;
    bool m_bLineByLine;
    std::string m_strSent;
};

// What aiosmtpd answered on loopback to the client's dialogue.
constexpr std::string_view kAcceptingServer =
    "220 localhost Python SMTP 1.4.3\r\n250-localhost\r\n250-8BITMIME\r\n250 HELP\r\n250 OK\r\n250 OK\r\n"
    "250 OK\r\n354 End data with <CR><LF>.<CR><LF>\r\n250 OK\r\n221 Bye\r\n";

// The body a server reads: a line holding only "." ends the DATA, whether the server takes CR LF
// or a lone LF as the line end. The client's own end, ".\r\n" before QUIT, must be the first.
void CheckDataEndsOnlyAtItsEnd(const std::string& strSent) {
    constexpr std::string_view kEnd = "\r\n.\r\nQUIT\r\n";
    const std::size_t nData = strSent.find("DATA\r\n");
    FUZZ_CHECK(nData != std::string::npos && strSent.ends_with(kEnd));
    const std::size_t nEnd = strSent.size() - kEnd.size();
    FUZZ_CHECK(strSent.find("\r\n.\r\n", nData) == nEnd);
    FUZZ_CHECK(strSent.find("\n.\n", nData) == std::string::npos);
}

int SendBody(std::string_view body) {
    ScriptedServer server(kAcceptingServer, true);
    fuzz::FixedClock clock;
    MailClient client(server, clock, 1000);
    FUZZ_CHECK(client.SendMail(u"127.0.0.1", kSmtpPort, u"from@example.com", u"<to@example.com>", u"位置",
                               Utf8ToUtf16(body)) == mailerr::kNone);
    CheckDataEndsOnlyAtItsEnd(server.Sent());
    return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    if (nSize == 0) return 0;
    const char cMode = static_cast<char>(pData[0]);
    if (cMode == 'B') return SendBody(fuzz::Bytes(pData + 1, nSize - 1));
    ScriptedServer server(fuzz::Bytes(pData + 1, nSize - 1), cMode == 'S' || cMode == 'P');
    fuzz::FixedClock clock;
    MailClient client(server, clock, 1000);
    const int nError = cMode == 'P' || cMode == 'p'
                           ? client.PopBeforeSmtp(u"127.0.0.1", kPopPort, u"user", u"secret")
                           : client.SendMail(u"127.0.0.1", kSmtpPort, u"from@example.com", u"<to@example.com>",
                                             u"位置 $nl", u"N35.39.29.157E139.44.58.500\r\n地図");
    // Sending never fails here, so only the replies can end the dialogue; success means it ran to
    // its end.
    FUZZ_CHECK(nError == mailerr::kNone || nError == mailerr::kReceive || nError == mailerr::kServerError);
    if (nError == mailerr::kNone) FUZZ_CHECK(server.Sent().ends_with("QUIT\r\n"));
    ComposeMailErrorText(client.Result(), ResourceModule::Program());
    ComposeMailDebugTrace(client.Result());
    return 0;
}
