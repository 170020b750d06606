#include "CurlHttpSession.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "port/TextCodec.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

// The plain fetch follows redirects as InternetOpenUrl does; a loop ends after this many.
constexpr long kMaxRedirects = 30;
// The longest wait for the network between two looks at the abort flag.
constexpr int kPollMs = 100;

bool StartsWithNoCase(std::string_view strText, std::string_view strHead) {
    if (strText.size() < strHead.size()) return false;
    for (std::size_t i = 0; i < strHead.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(strText[i])) != std::tolower(static_cast<unsigned char>(strHead[i])))
            return false;
    return true;
}

// One transfer on a multi handle of its own, driven by whoever waits on it: first the opener up to
// the answer's headers, then the reader of the body, which may be another thread (never both at
// once). Received body bytes wait here until they are read.
class CurlResponse final : public HttpResponse {
public:
    CurlResponse(std::shared_ptr<CurlSessionState> pState, bool bFollow)
        : m_pState(std::move(pState)), m_bFollow(bFollow) {}
    ~CurlResponse() override {
        if (m_pMulti && m_pCurl) curl_multi_remove_handle(m_pMulti, m_pCurl);
        // The jar is written back (at the clean-up) only when the server set a cookie: writing it
        // seeds the random generator for the temporary file's name, which costs more than the request.
        if (m_pCurl && m_bSetsCookie && !m_pState->strCookieJar.empty()) {
            PrepareCookieJar(m_pState->strCookieJar);
            curl_easy_setopt(m_pCurl, CURLOPT_COOKIEJAR, m_pState->strCookieJar.c_str());
        }
        if (m_pCurl) curl_easy_cleanup(m_pCurl);
        if (m_pMulti) curl_multi_cleanup(m_pMulti);
        curl_slist_free_all(m_pHeaders);
    }

    CURL* Easy() { return m_pCurl; }
    CurlSessionState& State() { return *m_pState; }

    bool Start(curl_slist* pHeaders, std::uint32_t& nError) {
        m_pHeaders = pHeaders;
        m_pCurl = curl_easy_init();
        m_pMulti = curl_multi_init();
        if (!m_pCurl || !m_pMulti) {
            nError = CURLE_FAILED_INIT;
            return false;
        }
        curl_easy_setopt(m_pCurl, CURLOPT_HTTPHEADER, m_pHeaders);
        curl_easy_setopt(m_pCurl, CURLOPT_WRITEFUNCTION, OnBody);
        curl_easy_setopt(m_pCurl, CURLOPT_WRITEDATA, this);
        curl_easy_setopt(m_pCurl, CURLOPT_HEADERFUNCTION, OnHeader);
        curl_easy_setopt(m_pCurl, CURLOPT_HEADERDATA, this);
        // A proxy's answer to CONNECT is not the server's answer.
        curl_easy_setopt(m_pCurl, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
        if (m_bFollow) {
            curl_easy_setopt(m_pCurl, CURLOPT_FOLLOWLOCATION, 1L);
            curl_easy_setopt(m_pCurl, CURLOPT_MAXREDIRS, kMaxRedirects);
            curl_easy_setopt(m_pCurl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
        } else {
            curl_easy_setopt(m_pCurl, CURLOPT_FOLLOWLOCATION, 0L);  // the redirect itself is the answer
        }
        return true;
    }

    // Runs the transfer until the final answer's headers are in. False (with nError) when it
    // ended before them; a failure later belongs to the body and is reported by Read.
    bool WaitForHeaders(std::uint32_t& nError) {
        if (curl_multi_add_handle(m_pMulti, m_pCurl) != CURLM_OK) {
            nError = CURLE_FAILED_INIT;
            return false;
        }
        Drive([this] { return m_bHeadersDone; });
        if (m_bHeadersDone || m_result == CURLE_OK) return true;
        nError = ErrorCode();
        return false;
    }

    bool QueryLocation(std::u16string& strLocation, std::uint32_t& nError) override {
        if (!m_bHasLocation) {
            // No CURLcode means "header missing"; this one names an answer that lacks what was expected.
            nError = CURLE_WEIRD_SERVER_REPLY;
            return false;
        }
        strLocation.clear();
        AnsiCodePage().ToWide(m_strLocation, strLocation);
        return true;
    }

    bool Read(void* pData, std::uint32_t nSize, std::uint32_t& nRead, std::uint32_t& nError) override {
        nRead = 0;
        Drive([this] { return m_nOffset < m_strPending.size(); });
        if (m_nOffset == m_strPending.size()) {
            if (m_result == CURLE_OK) return true;  // the end of the body
            nError = ErrorCode();
            return false;
        }
        nRead = static_cast<std::uint32_t>(std::min<std::size_t>(nSize, m_strPending.size() - m_nOffset));
        std::memcpy(pData, m_strPending.data() + m_nOffset, nRead);
        m_nOffset += nRead;
        if (m_nOffset == m_strPending.size()) {
            m_strPending.clear();
            m_nOffset = 0;
        }
        return true;
    }

private:
    // Lets the transfer run until fnReady holds or it has ended.
    template <class Ready>
    void Drive(Ready fnReady) {
        while (!m_bDone && !fnReady()) {
            int nRunning = 0;
            curl_multi_perform(m_pMulti, &nRunning);
            int nQueued = 0;
            while (CURLMsg* pMessage = curl_multi_info_read(m_pMulti, &nQueued)) {
                if (pMessage->msg != CURLMSG_DONE) continue;
                m_bDone = true;
                m_result = pMessage->data.result;
            }
            if (!m_bDone && !fnReady()) curl_multi_poll(m_pMulti, nullptr, 0, kPollMs, nullptr);
        }
    }

    // A shut-down socket may surface as a read error first; the cause is still the abort.
    std::uint32_t ErrorCode() const {
        return static_cast<std::uint32_t>(m_pState->bAborted ? CURLE_ABORTED_BY_CALLBACK : m_result);
    }

    static size_t OnBody(char* pData, size_t nSize, size_t nCount, void* pUser) {
        auto& response = *static_cast<CurlResponse*>(pUser);
        response.m_bHeadersDone = true;
        response.m_strPending.append(pData, nSize * nCount);
        return nSize * nCount;
    }

    // Keeps the raw Location of the last answer. The headers are done at the blank line of the
    // final answer: not an interim one (1xx), nor a redirect that is about to be followed.
    static size_t OnHeader(char* pData, size_t nSize, size_t nCount, void* pUser) {
        auto& response = *static_cast<CurlResponse*>(pUser);
        std::string_view strLine(pData, nSize * nCount);
        if (StartsWithNoCase(strLine, "HTTP/")) {
            response.m_bHasLocation = false;
            response.m_strLocation.clear();
            const std::size_t nBlank = strLine.find(' ');
            response.m_nStatus = nBlank == std::string_view::npos ? 0 : std::atoi(std::string(strLine.substr(nBlank + 1, 3)).c_str());
        } else if (StartsWithNoCase(strLine, "Location:")) {
            strLine.remove_prefix(9);
            while (!strLine.empty() && (strLine.front() == ' ' || strLine.front() == '\t')) strLine.remove_prefix(1);
            while (!strLine.empty() && (strLine.back() == '\r' || strLine.back() == '\n' || strLine.back() == ' '))
                strLine.remove_suffix(1);
            response.m_strLocation = strLine;
            response.m_bHasLocation = true;
        } else if (StartsWithNoCase(strLine, "Set-Cookie:")) {
            response.m_bSetsCookie = true;
        } else if (strLine == "\r\n" || strLine == "\n") {
            const bool bInterim = response.m_nStatus < 200;
            const bool bFollowed = response.m_bFollow && response.m_bHasLocation && response.m_nStatus >= 300 &&
                                   response.m_nStatus < 400 && response.m_nStatus != 304;
            if (!bInterim && !bFollowed) response.m_bHeadersDone = true;
        }
        return nSize * nCount;
    }

    std::shared_ptr<CurlSessionState> m_pState;
    bool m_bFollow;
    CURL* m_pCurl = nullptr;
    CURLM* m_pMulti = nullptr;
    curl_slist* m_pHeaders = nullptr;
    std::string m_strPending;
    std::size_t m_nOffset = 0;
    std::string m_strLocation;
    bool m_bHasLocation = false;
    bool m_bSetsCookie = false;
    int m_nStatus = 0;
    bool m_bHeadersDone = false;
    bool m_bDone = false;
    CURLcode m_result = CURLE_OK;
};

int OnProgress(void* pUser, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return static_cast<CurlResponse*>(pUser)->State().bAborted.load() ? 1 : 0;
}

// Sockets are recorded so that Abort can shut them down: a transfer blocked in a read then returns
// at once instead of at the next progress tick.
curl_socket_t OnOpenSocket(void* pUser, curlsocktype, struct curl_sockaddr* pAddress) {
    CurlSessionState& state = static_cast<CurlResponse*>(pUser)->State();
    std::lock_guard lock(state.mutex);
    if (state.bAborted) return CURL_SOCKET_BAD;
    const int fd = ::socket(pAddress->family, pAddress->socktype | SOCK_CLOEXEC, pAddress->protocol);
    if (fd >= 0) state.sockets.insert(fd);
    return fd;
}

int OnCloseSocket(void* pUser, curl_socket_t fd) {
    CurlSessionState& state = *static_cast<CurlSessionState*>(pUser);
    std::lock_guard lock(state.mutex);
    state.sockets.erase(fd);
    return ::close(fd);
}

// "<local>" lets names without a dot (intranet hosts) go around the proxy.
bool IsLocalName(const std::string& strHost) { return strHost.find('.') == std::string::npos; }

std::string HostOfUrl(const std::string& strUrl) {
    std::string strHost;
    CURLU* pUrl = curl_url();
    char* pszHost = nullptr;
    if (curl_url_set(pUrl, CURLUPART_URL, strUrl.c_str(), 0) == CURLUE_OK &&
        curl_url_get(pUrl, CURLUPART_HOST, &pszHost, 0) == CURLUE_OK) {
        strHost = pszHost;
        curl_free(pszHost);
    }
    curl_url_cleanup(pUrl);
    return strHost;
}

void SetRoute(CURL* pCurl, const CurlSessionState& state, const std::string& strHost) {
    switch (state.access) {
    case HttpAccess::Direct:
        curl_easy_setopt(pCurl, CURLOPT_PROXY, "");  // ignore proxies named in the environment
        break;
    case HttpAccess::Preconfigured:
        break;  // the environment's proxy settings are the machine's preconfigured ones
    case HttpAccess::Proxy:
        curl_easy_setopt(pCurl, CURLOPT_PROXY, state.bBypassLocal && IsLocalName(strHost) ? "" : state.strProxy.c_str());
        break;
    }
}

curl_slist* HeaderList(const std::string& strHeaders) {
    curl_slist* pList = nullptr;
    std::size_t nStart = 0;
    while (nStart < strHeaders.size()) {
        std::size_t nEnd = strHeaders.find("\r\n", nStart);
        if (nEnd == std::string::npos) nEnd = strHeaders.size();
        if (nEnd > nStart) pList = curl_slist_append(pList, strHeaders.substr(nStart, nEnd - nStart).c_str());
        nStart = nEnd + 2;
    }
    return pList;
}

long Seconds(std::uint32_t nMilliseconds) { return static_cast<long>((nMilliseconds + 999) / 1000); }

}  // namespace

void PrepareCookieJar(const std::string& strJar) {
    const int fd = ::open(strJar.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return;
    ::fchmod(fd, 0600);
    ::close(fd);
}

std::string EscapeForRequestLine(const std::string& strText) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string strOut;
    for (unsigned char c : strText) {
        if (c <= 0x20 || c >= 0x7F) {
            strOut += '%';
            strOut += kHex[c >> 4];
            strOut += kHex[c & 0xF];
        } else {
            strOut += static_cast<char>(c);
        }
    }
    return strOut;
}

CurlHttpSession::CurlHttpSession(const HttpSessionOptions& options, const std::string& strCookieJar)
    : m_pState(std::make_shared<CurlSessionState>()) {
    m_pState->strAgent = Utf16ToUtf8(options.strAgent);
    m_pState->access = options.access;
    m_pState->strProxy = Utf16ToUtf8(options.strProxy);
    m_pState->bBypassLocal = options.strProxyBypass == u"<local>";
    m_pState->strCookieJar = strCookieJar;
}

CurlHttpSession::~CurlHttpSession() = default;

bool CurlHttpSession::SetTimeout(int nOption, std::uint32_t nMilliseconds, std::uint32_t& nError) {
    switch (nOption) {
    case httpopt::kConnectTimeout:
        m_pState->nConnectMs = nMilliseconds;
        return true;
    case httpopt::kSendTimeout:
    case httpopt::kReceiveTimeout:
    case httpopt::kDataSendTimeout:
    case httpopt::kDataReceiveTimeout:
        m_pState->nIdleMs = std::max(m_pState->nIdleMs, nMilliseconds);
        return true;
    default:
        nError = CURLE_UNKNOWN_OPTION;
        return false;
    }
}

std::unique_ptr<HttpResponse> CurlHttpSession::SendRequest(const std::u16string& strHost, std::uint16_t nPort,
                                                           const std::u16string& strObject,
                                                           const std::u16string& strHeaders, HttpStage& stage,
                                                           std::uint32_t& nError) {
    const std::string strHostUtf8 = Utf16ToUtf8(strHost);
    if (strHostUtf8.empty()) {
        stage = HttpStage::Connect;
        nError = CURLE_URL_MALFORMAT;
        return nullptr;
    }
    const bool bIpv6 = strHostUtf8.find(':') != std::string::npos && strHostUtf8.front() != '[';
    const std::string strAuthority = (bIpv6 ? "[" + strHostUtf8 + "]" : strHostUtf8) + ":" + std::to_string(nPort);
    std::string strObjectUtf8 = EscapeForRequestLine(Utf16ToUtf8(strObject));
    if (strObjectUtf8.empty() || strObjectUtf8.front() != '/') strObjectUtf8.insert(0, "/");
    std::string strHeaderBytes;
    AnsiCodePage().ToNarrow(strHeaders, strHeaderBytes);
    stage = HttpStage::Send;
    return Perform("http://" + strAuthority + strObjectUtf8, strHostUtf8, strHeaderBytes, false, nError);
}

std::unique_ptr<HttpResponse> CurlHttpSession::OpenUrl(const std::u16string& strUrl, std::uint32_t& nError) {
    const std::string strUrlUtf8 = EscapeForRequestLine(Utf16ToUtf8(strUrl));
    return Perform(strUrlUtf8, HostOfUrl(strUrlUtf8), std::string(), true, nError);
}

std::unique_ptr<HttpResponse> CurlHttpSession::Perform(const std::string& strUrl, const std::string& strHost,
                                                       const std::string& strHeaders, bool bFollow,
                                                       std::uint32_t& nError) {
    if (m_pState->bAborted) {
        nError = CURLE_ABORTED_BY_CALLBACK;
        return nullptr;
    }
    auto pResponse = std::make_unique<CurlResponse>(m_pState, bFollow);
    if (!pResponse->Start(HeaderList(strHeaders), nError)) return nullptr;
    CURL* pCurl = pResponse->Easy();
    curl_easy_setopt(pCurl, CURLOPT_URL, strUrl.c_str());
    curl_easy_setopt(pCurl, CURLOPT_USERAGENT, m_pState->strAgent.c_str());
    curl_easy_setopt(pCurl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(pCurl, CURLOPT_NOSIGNAL, 1L);  // transfers run on worker threads
    curl_easy_setopt(pCurl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(m_pState->nConnectMs));
    if (m_pState->nIdleMs > 0) {
        // A socket that stays silent this long fails the transfer, like the stack's receive limit.
        curl_easy_setopt(pCurl, CURLOPT_LOW_SPEED_LIMIT, 1L);
        curl_easy_setopt(pCurl, CURLOPT_LOW_SPEED_TIME, Seconds(m_pState->nIdleMs));
    }
    if (!m_pState->strCookieJar.empty()) curl_easy_setopt(pCurl, CURLOPT_COOKIEFILE, m_pState->strCookieJar.c_str());
    SetRoute(pCurl, *m_pState, strHost);
    curl_easy_setopt(pCurl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(pCurl, CURLOPT_XFERINFOFUNCTION, OnProgress);
    curl_easy_setopt(pCurl, CURLOPT_XFERINFODATA, pResponse.get());
    curl_easy_setopt(pCurl, CURLOPT_OPENSOCKETFUNCTION, OnOpenSocket);
    curl_easy_setopt(pCurl, CURLOPT_OPENSOCKETDATA, pResponse.get());
    curl_easy_setopt(pCurl, CURLOPT_CLOSESOCKETFUNCTION, OnCloseSocket);
    curl_easy_setopt(pCurl, CURLOPT_CLOSESOCKETDATA, m_pState.get());
    if (!pResponse->WaitForHeaders(nError)) return nullptr;
    return pResponse;
}

void CurlHttpSession::Abort() {
    std::lock_guard lock(m_pState->mutex);
    m_pState->bAborted = true;
    for (int fd : m_pState->sockets) ::shutdown(fd, SHUT_RDWR);
}

}  // namespace vantrel
