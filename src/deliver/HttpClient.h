#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "port/HttpTransport.h"

namespace vantrel {

class Clock;
class MessageFacility;

// How a request reaches the network: the connection management's choice between direct access and
// the device's preconfigured settings, or an explicit proxy (optionally bypassed for local names).
struct HttpRoute {
    bool bDirect = true;
    std::u16string strProxy;
    bool bBypassLocal = false;
};

// Cracks a URL into its decoded parts; the port is 80 unless the URL or its scheme says otherwise.
// False (with the stack's error number) when the URL cannot be cracked.
bool ParseUrl(HttpTransport& transport, const std::u16string& strUrl, UrlParts& parts, std::uint32_t& nError);

// The one place the program talks HTTP. Each Fetch opens and closes its own session; a failure is
// shown once, as an English diagnostic naming the failing call, through the message facility.
class HttpClient {
public:
    static constexpr std::uint32_t kSessionTimeout = 30000;
    static constexpr std::uint32_t kWorkerTimeout = 30000;
    static constexpr std::uint32_t kWorkerPoll = 100;
    static constexpr std::uint32_t kChunkSize = 1024;

    HttpClient(HttpTransport& transport, MessageFacility& messages, Clock& clock);

    // The limit and poll step of the plain fetch's worker, and the session's own time-outs
    // (shortened by tests).
    void SetWorkerLimits(std::uint32_t nTimeout, std::uint32_t nPollInterval);
    void SetSessionTimeout(std::uint32_t nTimeout) { m_nSessionTimeout = nTimeout; }
    // Runs between the poll steps of the worker's wait (the window keeps painting meanwhile).
    void SetWaitHook(std::function<void()> fnHook) { m_fnWaitHook = std::move(fnHook); }

    // An empty strHeaderTemplate selects the plain fetch (on a worker, under the time limit);
    // otherwise a GET with the formatted extra headers whose success is the presence of a
    // Location answer header, returned in strLocation. strBody receives the answer body.
    bool Fetch(const std::u16string& strUrl, bool bDirect, const std::u16string& strProxy, bool bBypassLocal,
               const std::u16string& strHeaderTemplate, const std::u16string& strHeaderArgument,
               std::u16string& strBody, std::u16string& strLocation);
    bool Fetch(const std::u16string& strUrl, const HttpRoute& route, const std::u16string& strHeaderTemplate,
               const std::u16string& strHeaderArgument, std::u16string& strBody, std::u16string& strLocation) {
        return Fetch(strUrl, route.bDirect, route.strProxy, route.bBypassLocal, strHeaderTemplate, strHeaderArgument,
                     strBody, strLocation);
    }

    HttpTransport& Transport() const { return m_transport; }

private:
    bool HeaderRequest(HttpSession& session, const std::u16string& strUrl, const std::u16string& strHeaders,
                       std::u16string& strBody, std::u16string& strLocation, std::u16string& strMessage);
    bool PlainFetch(std::shared_ptr<HttpSession>& pSession, const std::u16string& strUrl, std::u16string& strBody,
                    std::u16string& strMessage);

    HttpTransport& m_transport;
    MessageFacility& m_messages;
    Clock& m_clock;
    std::uint32_t m_nSessionTimeout = kSessionTimeout;
    std::uint32_t m_nWorkerTimeout = kWorkerTimeout;
    std::uint32_t m_nWorkerPoll = kWorkerPoll;
    std::function<void()> m_fnWaitHook;
};

}  // namespace vantrel
