#include <curl/curl.h>

#include <cstdlib>
#include <ctime>
#include <mutex>

#include "CurlHttpSession.h"
#include "port/HttpTransport.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

constexpr char kCookieJarName[] = "cookies.txt";

void InitCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

// One decoded part of a parsed URL; false when the part is too long for the device's buffers.
bool GetPart(CURLU* pUrl, CURLUPart part, std::u16string& strOut) {
    strOut.clear();
    char* pszPart = nullptr;
    if (curl_url_get(pUrl, part, &pszPart, CURLU_URLDECODE) != CURLUE_OK) return true;  // absent
    strOut = Utf8ToUtf16(pszPart);
    curl_free(pszPart);
    return strOut.size() < kUrlPartCapacity;
}

std::u16string Trim(std::u16string_view strText) {
    while (!strText.empty() && (strText.front() == u' ' || strText.front() == u'\t')) strText.remove_prefix(1);
    while (!strText.empty() && (strText.back() == u' ' || strText.back() == u'\t')) strText.remove_suffix(1);
    return std::u16string(strText);
}

bool EqualsNoCase(std::u16string_view strA, std::u16string_view strB) {
    if (strA.size() != strB.size()) return false;
    for (std::size_t i = 0; i < strA.size(); ++i) {
        const auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; };
        if (lower(strA[i]) != lower(strB[i])) return false;
    }
    return true;
}

// Splits "value; name=value; ..." into the cookie's value and its expiry (0 for a session cookie).
// Blanks around attribute names are allowed: the program writes "expires =".
void SplitCookieData(const std::u16string& strData, std::u16string& strValue, long long& nExpires) {
    nExpires = 0;
    std::size_t nEnd = strData.find(u';');
    strValue = Trim(std::u16string_view(strData).substr(0, nEnd));
    while (nEnd != std::u16string::npos) {
        const std::size_t nStart = nEnd + 1;
        nEnd = strData.find(u';', nStart);
        const std::u16string_view strAttribute = std::u16string_view(strData).substr(
            nStart, nEnd == std::u16string::npos ? std::u16string::npos : nEnd - nStart);
        const std::size_t nEqual = strAttribute.find(u'=');
        if (nEqual == std::u16string::npos || !EqualsNoCase(Trim(strAttribute.substr(0, nEqual)), u"expires"))
            continue;
        const time_t nTime = curl_getdate(Utf16ToUtf8(Trim(strAttribute.substr(nEqual + 1))).c_str(), nullptr);
        if (nTime > 0) nExpires = nTime;
    }
}

class CurlHttpTransport final : public HttpTransport {
public:
    explicit CurlHttpTransport(const std::u16string& strProgramFolder) {
        InitCurlOnce();
        if (strProgramFolder.empty()) return;
        m_strCookieJar = Utf16ToUtf8(strProgramFolder);
        if (m_strCookieJar.back() != '/') m_strCookieJar += '/';
        m_strCookieJar += kCookieJarName;
    }

    std::unique_ptr<HttpSession> OpenSession(const HttpSessionOptions& options, std::uint32_t& nError) override {
        if (options.access == HttpAccess::Proxy && options.strProxy.empty()) {
            nError = CURLE_COULDNT_RESOLVE_PROXY;
            return nullptr;
        }
        return std::make_unique<CurlHttpSession>(options, m_strCookieJar);
    }

    bool CrackUrl(const std::u16string& strUrl, UrlParts& parts, std::uint32_t& nError) override {
        CURLU* pUrl = curl_url();
        const bool bOk = pUrl && Crack(pUrl, strUrl, parts);
        curl_url_cleanup(pUrl);
        if (!bOk) nError = CURLE_URL_MALFORMAT;
        return bOk;
    }

    bool SetCookie(const std::u16string& strUrl, const std::u16string& strName, const std::u16string& strData) override {
        UrlParts parts;
        std::uint32_t nError = 0;
        if (m_strCookieJar.empty() || strName.empty() || !CrackUrl(strUrl, parts, nError) || parts.strHost.empty())
            return false;
        std::u16string strValue;
        long long nExpires = 0;
        SplitCookieData(strData, strValue, nExpires);
        // Netscape jar line: host, subdomains, path, secure, expiry, name, value. The cookie belongs
        // to this host alone and to every path on it.
        const std::string strLine = Utf16ToUtf8(parts.strHost) + "\tFALSE\t/\tFALSE\t" + std::to_string(nExpires) +
                                    "\t" + Utf16ToUtf8(strName) + "\t" + Utf16ToUtf8(strValue);
        return WriteToJar(strLine);
    }

private:
    static bool Crack(CURLU* pUrl, const std::u16string& strUrl, UrlParts& parts) {
        const std::string strUtf8 = EscapeForRequestLine(Utf16ToUtf8(strUrl));
        if (curl_url_set(pUrl, CURLUPART_URL, strUtf8.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) return false;
        std::u16string strQuery, strFragment;
        if (!GetPart(pUrl, CURLUPART_SCHEME, parts.strScheme) || !GetPart(pUrl, CURLUPART_HOST, parts.strHost) ||
            !GetPart(pUrl, CURLUPART_USER, parts.strUser) || !GetPart(pUrl, CURLUPART_PASSWORD, parts.strPassword) ||
            !GetPart(pUrl, CURLUPART_PATH, parts.strPath) || !GetPart(pUrl, CURLUPART_QUERY, strQuery) ||
            !GetPart(pUrl, CURLUPART_FRAGMENT, strFragment))
            return false;
        parts.strExtra.clear();
        if (strUtf8.find('?') != std::string::npos) parts.strExtra = u"?" + strQuery;
        if (strUtf8.find('#') != std::string::npos) parts.strExtra += u"#" + strFragment;
        if (parts.strExtra.size() >= kUrlPartCapacity) return false;
        char* pszPort = nullptr;
        if (curl_url_get(pUrl, CURLUPART_PORT, &pszPort, CURLU_DEFAULT_PORT) == CURLUE_OK) {
            parts.nPort = static_cast<std::uint16_t>(std::strtoul(pszPort, nullptr, 10));
            curl_free(pszPort);
        }
        return true;
    }

    bool WriteToJar(const std::string& strLine) {
        std::lock_guard lock(m_mutex);
        PrepareCookieJar(m_strCookieJar);
        CURL* pCurl = curl_easy_init();
        if (!pCurl) return false;
        curl_easy_setopt(pCurl, CURLOPT_COOKIEFILE, m_strCookieJar.c_str());
        curl_easy_setopt(pCurl, CURLOPT_COOKIEJAR, m_strCookieJar.c_str());
        bool bOk = curl_easy_setopt(pCurl, CURLOPT_COOKIELIST, "RELOAD") == CURLE_OK &&
                   curl_easy_setopt(pCurl, CURLOPT_COOKIELIST, strLine.c_str()) == CURLE_OK &&
                   curl_easy_setopt(pCurl, CURLOPT_COOKIELIST, "FLUSH") == CURLE_OK;
        curl_easy_cleanup(pCurl);
        return bOk;
    }

    std::string m_strCookieJar;
    std::mutex m_mutex;
};

}  // namespace

std::unique_ptr<HttpTransport> CreateHttpTransport(const std::u16string& strProgramFolder) {
    return std::make_unique<CurlHttpTransport>(strProgramFolder);
}

}  // namespace vantrel
