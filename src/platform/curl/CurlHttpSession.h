#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "port/HttpTransport.h"

namespace vantrel {

// What a session shares with the transfers running on it. Held by shared pointer so that a worker
// thread that outlives its caller still finds it.
struct CurlSessionState {
    std::string strAgent;
    HttpAccess access = HttpAccess::Preconfigured;
    std::string strProxy;
    bool bBypassLocal = false;
    std::string strCookieJar;
    std::uint32_t nConnectMs = 0;
    std::uint32_t nIdleMs = 0;  // the longest of the send and receive limits
    std::atomic<bool> bAborted{false};
    std::mutex mutex;           // guards the socket set against Abort
    std::set<int> sockets;
};

// A WinInet-shaped session over libcurl: a request or an opened URL returns once the answer's
// headers are in, as HttpSendRequest and InternetOpenUrl do, and its body is then read from the
// network chunk by chunk, so a body that fails part-way fails the read, not the request.
class CurlHttpSession final : public HttpSession {
public:
    CurlHttpSession(const HttpSessionOptions& options, const std::string& strCookieJar);
    ~CurlHttpSession() override;

    bool SetTimeout(int nOption, std::uint32_t nMilliseconds, std::uint32_t& nError) override;
    std::unique_ptr<HttpResponse> SendRequest(const std::u16string& strHost, std::uint16_t nPort,
                                              const std::u16string& strObject, const std::u16string& strHeaders,
                                              HttpStage& stage, std::uint32_t& nError) override;
    std::unique_ptr<HttpResponse> OpenUrl(const std::u16string& strUrl, std::uint32_t& nError) override;
    void Abort() override;

private:
    std::unique_ptr<HttpResponse> Perform(const std::string& strUrl, const std::string& strHost,
                                          const std::string& strHeaders, bool bFollow, std::uint32_t& nError);

    std::shared_ptr<CurlSessionState> m_pState;
};

// The jar holds the position cookie and whatever servers set: its owner alone may read it, whatever
// the umask. libcurl keeps the mode of a jar it rewrites, so the file is made private (created
// empty if missing) before a transfer may write it.
void PrepareCookieJar(const std::string& strJar);

// Percent-encodes what may not stand in a request line (controls, blank, bytes above 0x7E) and
// leaves everything else, as the device's stack does with an already decoded object name.
std::string EscapeForRequestLine(const std::string& strText);

}  // namespace vantrel
