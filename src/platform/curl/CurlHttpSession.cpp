#include "CurlHttpSession.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "port/TextCodec.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

// An answer kept whole in memory; the body is handed out in the caller's chunk size.
class BufferedResponse final : public HttpResponse {
public:
    std::string m_strBody;
    std::string m_strLocation;
    bool m_bHasLocation = false;
    bool m_bSetsCookie = false;

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
        nRead = static_cast<std::uint32_t>(std::min<std::size_t>(nSize, m_strBody.size() - m_nOffset));
        std::memcpy(pData, m_strBody.data() + m_nOffset, nRead);
        m_nOffset += nRead;
        return true;
    }

private:
    std::size_t m_nOffset = 0;
};

struct Transfer {
    BufferedResponse* pResponse;
    CurlSessionState* pState;
};

size_t OnBody(char* pData, size_t nSize, size_t nCount, void* pUser) {
    static_cast<Transfer*>(pUser)->pResponse->m_strBody.append(pData, nSize * nCount);
    return nSize * nCount;
}

bool StartsWithNoCase(std::string_view strText, std::string_view strHead) {
    if (strText.size() < strHead.size()) return false;
    for (std::size_t i = 0; i < strHead.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(strText[i])) != std::tolower(static_cast<unsigned char>(strHead[i])))
            return false;
    return true;
}

// Keeps the raw Location of the last answer; an interim answer (100 Continue) starts a new set.
size_t OnHeader(char* pData, size_t nSize, size_t nCount, void* pUser) {
    BufferedResponse& response = *static_cast<Transfer*>(pUser)->pResponse;
    std::string_view strLine(pData, nSize * nCount);
    if (StartsWithNoCase(strLine, "HTTP/")) {
        response.m_bHasLocation = false;
        response.m_strLocation.clear();
    } else if (StartsWithNoCase(strLine, "Location:")) {
        strLine.remove_prefix(9);
        while (!strLine.empty() && (strLine.front() == ' ' || strLine.front() == '\t')) strLine.remove_prefix(1);
        while (!strLine.empty() && (strLine.back() == '\r' || strLine.back() == '\n' || strLine.back() == ' '))
            strLine.remove_suffix(1);
        response.m_strLocation = strLine;
        response.m_bHasLocation = true;
    } else if (StartsWithNoCase(strLine, "Set-Cookie:")) {
        response.m_bSetsCookie = true;
    }
    return nSize * nCount;
}

int OnProgress(void* pUser, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return static_cast<Transfer*>(pUser)->pState->bAborted.load() ? 1 : 0;
}

// Sockets are recorded so that Abort can shut them down: a transfer blocked in a read then returns
// at once instead of at the next progress tick.
curl_socket_t OnOpenSocket(void* pUser, curlsocktype, struct curl_sockaddr* pAddress) {
    CurlSessionState& state = *static_cast<Transfer*>(pUser)->pState;
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
    return Perform("http://" + strAuthority + strObjectUtf8, strHostUtf8, strHeaderBytes, nError);
}

std::unique_ptr<HttpResponse> CurlHttpSession::OpenUrl(const std::u16string& strUrl, std::uint32_t& nError) {
    const std::string strUrlUtf8 = EscapeForRequestLine(Utf16ToUtf8(strUrl));
    return Perform(strUrlUtf8, HostOfUrl(strUrlUtf8), std::string(), nError);
}

std::unique_ptr<HttpResponse> CurlHttpSession::Perform(const std::string& strUrl, const std::string& strHost,
                                                       const std::string& strHeaders, std::uint32_t& nError) {
    if (m_pState->bAborted) {
        nError = CURLE_ABORTED_BY_CALLBACK;
        return nullptr;
    }
    auto pResponse = std::make_unique<BufferedResponse>();
    Transfer transfer{pResponse.get(), m_pState.get()};
    CURL* pCurl = curl_easy_init();
    if (!pCurl) {
        nError = CURLE_FAILED_INIT;
        return nullptr;
    }
    curl_slist* pHeaders = HeaderList(strHeaders);
    curl_easy_setopt(pCurl, CURLOPT_URL, strUrl.c_str());
    curl_easy_setopt(pCurl, CURLOPT_USERAGENT, m_pState->strAgent.c_str());
    curl_easy_setopt(pCurl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(pCurl, CURLOPT_FOLLOWLOCATION, 0L);  // the redirect itself is the answer
    curl_easy_setopt(pCurl, CURLOPT_NOSIGNAL, 1L);        // transfers run on worker threads
    curl_easy_setopt(pCurl, CURLOPT_HTTPHEADER, pHeaders);
    curl_easy_setopt(pCurl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(m_pState->nConnectMs));
    if (m_pState->nIdleMs > 0) {
        // A socket that stays silent this long fails the transfer, like the stack's receive limit.
        curl_easy_setopt(pCurl, CURLOPT_LOW_SPEED_LIMIT, 1L);
        curl_easy_setopt(pCurl, CURLOPT_LOW_SPEED_TIME, Seconds(m_pState->nIdleMs));
    }
    if (!m_pState->strCookieJar.empty()) curl_easy_setopt(pCurl, CURLOPT_COOKIEFILE, m_pState->strCookieJar.c_str());
    SetRoute(pCurl, *m_pState, strHost);
    curl_easy_setopt(pCurl, CURLOPT_WRITEFUNCTION, OnBody);
    curl_easy_setopt(pCurl, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(pCurl, CURLOPT_HEADERFUNCTION, OnHeader);
    curl_easy_setopt(pCurl, CURLOPT_HEADERDATA, &transfer);
    curl_easy_setopt(pCurl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(pCurl, CURLOPT_XFERINFOFUNCTION, OnProgress);
    curl_easy_setopt(pCurl, CURLOPT_XFERINFODATA, &transfer);
    curl_easy_setopt(pCurl, CURLOPT_OPENSOCKETFUNCTION, OnOpenSocket);
    curl_easy_setopt(pCurl, CURLOPT_OPENSOCKETDATA, &transfer);
    curl_easy_setopt(pCurl, CURLOPT_CLOSESOCKETFUNCTION, OnCloseSocket);
    curl_easy_setopt(pCurl, CURLOPT_CLOSESOCKETDATA, m_pState.get());
    const CURLcode result = curl_easy_perform(pCurl);
    // The jar is written back (at the clean-up) only when the server set a cookie: writing it
    // seeds the random generator for the temporary file's name, which costs more than the request.
    if (!m_pState->strCookieJar.empty() && pResponse->m_bSetsCookie) {
        PrepareCookieJar(m_pState->strCookieJar);
        curl_easy_setopt(pCurl, CURLOPT_COOKIEJAR, m_pState->strCookieJar.c_str());
    }
    curl_easy_cleanup(pCurl);
    curl_slist_free_all(pHeaders);
    if (result != CURLE_OK) {
        // A shut-down socket may surface as a read error first; the cause is still the abort.
        nError = static_cast<std::uint32_t>(m_pState->bAborted ? CURLE_ABORTED_BY_CALLBACK : result);
        return nullptr;
    }
    return pResponse;
}

void CurlHttpSession::Abort() {
    std::lock_guard lock(m_pState->mutex);
    m_pState->bAborted = true;
    for (int fd : m_pState->sockets) ::shutdown(fd, SHUT_RDWR);
}

}  // namespace vantrel
