#include "deliver/HttpClient.h"

#include <cstring>

#include "deliver/MessageFacility.h"
#include "deliver/WorkerThread.h"
#include "port/TextCodec.h"
#include "settings/Format.h"

namespace vantrel {

namespace {

// The session time-outs in the order the stack expects them set.
constexpr int kTimeoutOptions[] = {httpopt::kConnectTimeout, httpopt::kReceiveTimeout, httpopt::kSendTimeout,
                                   httpopt::kDataSendTimeout, httpopt::kDataReceiveTimeout};

HttpSessionOptions SessionOptions(bool bDirect, const std::u16string& strProxy, bool bBypassLocal) {
    HttpSessionOptions options;
    options.strAgent = u"vantrel";
    if (!strProxy.empty()) {
        options.access = HttpAccess::Proxy;
        options.strProxy = strProxy;
        if (bBypassLocal) options.strProxyBypass = u"<local>";
    } else {
        options.access = bDirect ? HttpAccess::Direct : HttpAccess::Preconfigured;
    }
    return options;
}

// Each chunk is taken as a NUL-terminated text in the device's code page. A multi-byte character
// split by a chunk boundary is not repaired: the services answer in short ASCII text.
bool ReadBody(HttpResponse& response, std::u16string& strBody, std::uint32_t& nError) {
    char buffer[HttpClient::kChunkSize + 1];
    for (;;) {
        std::memset(buffer, 0, sizeof buffer);
        std::uint32_t nRead = 0;
        if (!response.Read(buffer, HttpClient::kChunkSize, nRead, nError)) return false;
        if (nRead == 0) return true;
        std::u16string strChunk;
        AnsiCodePage().ToWide(std::string_view(buffer, std::strlen(buffer)), strChunk);
        strBody += strChunk;
    }
}

int OpenUrlOnWorker(WorkerRecord& record) {
    std::shared_ptr<HttpSession> pSession;
    std::u16string strUrl;
    {
        std::lock_guard lock(record.mutex);
        pSession = record.pSession;
        strUrl = record.strUrl;
    }
    std::uint32_t nError = 0;
    std::unique_ptr<HttpResponse> pResponse = pSession ? pSession->OpenUrl(strUrl, nError) : nullptr;
    std::lock_guard lock(record.mutex);
    if (pResponse)
        record.pResult = std::move(pResponse);
    else
        record.nLastError = nError;
    return 0;
}

}  // namespace

bool ParseUrl(HttpTransport& transport, const std::u16string& strUrl, UrlParts& parts, std::uint32_t& nError) {
    parts = UrlParts();
    parts.nPort = 80;
    return transport.CrackUrl(strUrl, parts, nError);
}

HttpClient::HttpClient(HttpTransport& transport, MessageFacility& messages, Clock& clock)
    : m_transport(transport), m_messages(messages), m_clock(clock) {}

void HttpClient::SetWorkerLimits(std::uint32_t nTimeout, std::uint32_t nPollInterval) {
    m_nWorkerTimeout = nTimeout;
    m_nWorkerPoll = nPollInterval;
}

bool HttpClient::Fetch(const std::u16string& strUrl, bool bDirect, const std::u16string& strProxy, bool bBypassLocal,
                       const std::u16string& strHeaderTemplate, const std::u16string& strHeaderArgument,
                       std::u16string& strBody, std::u16string& strLocation) {
    std::uint32_t nError = 0;
    std::shared_ptr<HttpSession> pSession =
        m_transport.OpenSession(SessionOptions(bDirect, strProxy, bBypassLocal), nError);
    std::u16string strMessage;
    bool bOk = false;
    if (!pSession) {
        strMessage = FormatText(u"InternetOpen() Failed. (Wininet Error:%d)", nError);
    } else {
        for (int nOption : kTimeoutOptions) pSession->SetTimeout(nOption, m_nSessionTimeout, nError);
        if (strHeaderTemplate.empty())
            bOk = PlainFetch(pSession, strUrl, strBody, strMessage);
        else
            bOk = HeaderRequest(*pSession, strUrl, FormatText(strHeaderTemplate, strHeaderArgument), strBody,
                                strLocation, strMessage);
    }
    pSession.reset();
    if (!bOk) m_messages.ShowMessage(0, strMessage, caption::kDefault, mb::kIconHand);
    return bOk;
}

bool HttpClient::HeaderRequest(HttpSession& session, const std::u16string& strUrl, const std::u16string& strHeaders,
                               std::u16string& strBody, std::u16string& strLocation, std::u16string& strMessage) {
    UrlParts parts;
    std::uint32_t nError = 0;
    if (!ParseUrl(m_transport, strUrl, parts, nError)) {
        strMessage = FormatText(u"ParseUrl() Failed. (Wininet Error:%d)", nError);
        return false;
    }
    HttpStage stage = HttpStage::Send;
    const std::unique_ptr<HttpResponse> pResponse =
        session.SendRequest(parts.strHost, parts.nPort, parts.strPath + parts.strExtra, strHeaders, stage, nError);
    if (!pResponse) {
        if (stage == HttpStage::Connect)
            strMessage = FormatText(u"InternetConnect() Failed. (Wininet Error:%d)", nError);
        else if (stage == HttpStage::OpenRequest)
            strMessage = FormatText(u"HttpOpenRequest() Failed. (Wininet Error:%d)", nError);
        else
            strMessage = FormatText(u"HttpSendRequest() Failed. (Wininet Error:%d)\nHeader:%s\nHeaderLength:%d", nError,
                                    strHeaders, static_cast<int>(strHeaders.size()));
        return false;
    }
    // With redirects not followed, the redirect target itself is the answer; the body is read for
    // the caller but does not decide success.
    bool bOk = false;
    std::u16string strFound;
    if (pResponse->QueryLocation(strFound, nError)) {
        strLocation = strFound;
        bOk = true;
    } else {
        strMessage = FormatText(u"HttpQueryInfo() Failed. (Wininet Error:%d)", nError);
    }
    strBody.clear();
    if (!ReadBody(*pResponse, strBody, nError))
        strMessage = FormatText(u"InternetReadFile() Failed. (Wininet Error:%d)", nError);
    return bOk;
}

bool HttpClient::PlainFetch(std::shared_ptr<HttpSession>& pSession, const std::u16string& strUrl,
                            std::u16string& strBody, std::u16string& strMessage) {
    WorkerThread worker(m_clock, OpenUrlOnWorker);
    if (worker.Start(pSession, strUrl) != 0) {
        strMessage = FormatText(u"InternetOpenUrl() Failed. (Wininet Error:%d)[hostname=%s]", worker.LastError(), strUrl);
        return false;
    }
    pSession.reset();  // lent to the worker until the run is over
    worker.SetTimeout(m_nWorkerTimeout);
    const int nRun = worker.Run(m_nWorkerPoll, m_fnWaitHook);
    pSession = worker.TakeSession();
    bool bOk = false;
    if (nRun == 0) {
        const std::unique_ptr<HttpResponse> pResponse = worker.TakeResult();
        std::uint32_t nError = 0;
        if (!pResponse) {
            strMessage =
                FormatText(u"InternetOpenUrl() Failed. (Wininet Error:%d)[hostname=%s]", worker.LastError(), strUrl);
        } else {
            strBody.clear();
            bOk = ReadBody(*pResponse, strBody, nError);
            if (!bOk) strMessage = FormatText(u"InternetReadFile() Failed. (Wininet Error:%d)[hostname=%s]", nError, strUrl);
        }
    } else if (nRun == -1) {
        strMessage = FormatText(u"InternetOpenUrl() Failed. WorkerThread Operation Timt out. (LastError:%d)[hostname=%s]",
                                worker.LastError(), strUrl);
    } else {
        strMessage = FormatText(
            u"InternetOpenUrl() Failed. WorkerThread Execute Error. (ThreadError:%d, LastError:%d)[hostname=%s]",
            worker.ExitCode(), worker.LastError(), strUrl);
    }
    return bOk;
}

}  // namespace vantrel
