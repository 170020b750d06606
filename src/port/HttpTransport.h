#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace vantrel {

// How a session reaches the network (INTERNET_OPEN_TYPE_DIRECT / _PRECONFIG / _PROXY).
enum class HttpAccess { Direct, Preconfigured, Proxy };

struct HttpSessionOptions {
    std::u16string strAgent;
    HttpAccess access = HttpAccess::Preconfigured;
    std::u16string strProxy;        // only with HttpAccess::Proxy
    std::u16string strProxyBypass;  // "<local>": names without a dot go direct; empty: nothing bypasses
};

// Session time-out options, numbered as the WinInet options they stand for.
namespace httpopt {
constexpr int kConnectTimeout = 2;
constexpr int kSendTimeout = 5;
constexpr int kReceiveTimeout = 6;
constexpr int kDataSendTimeout = 7;
constexpr int kDataReceiveTimeout = 8;
}  // namespace httpopt

// Each text part of a cracked URL must fit a buffer of this many characters, terminator included;
// a longer part fails the crack as it does on the device.
constexpr std::size_t kUrlPartCapacity = 512;

// The pieces of a cracked URL (decoded). The extra information is the query with its "?" (and a
// fragment with its "#").
struct UrlParts {
    std::u16string strScheme;
    std::u16string strHost;
    std::u16string strUser;
    std::u16string strPassword;
    std::u16string strPath;
    std::u16string strExtra;
    std::uint16_t nPort = 80;
};

// Which step of a header request failed; each has its own diagnostic.
enum class HttpStage { Connect, OpenRequest, Send };

// An answered request or opened URL: the answer headers and the body, read in chunks.
class HttpResponse {
public:
    virtual ~HttpResponse() = default;
    // The raw "Location" answer header; false (with nError) when the answer has none.
    virtual bool QueryLocation(std::u16string& strLocation, std::uint32_t& nError) = 0;
    // Up to nSize bytes of the body; nRead is 0 at its end. False (with nError) on a failure.
    virtual bool Read(void* pData, std::uint32_t nSize, std::uint32_t& nRead, std::uint32_t& nError) = 0;
};

// One open session. Error numbers are the platform's (GetLastError on Windows, CURLcode on Linux).
class HttpSession {
public:
    virtual ~HttpSession() = default;
    virtual bool SetTimeout(int nOption, std::uint32_t nMilliseconds, std::uint32_t& nError) = 0;
    // GET strObject (path and query) from host:port over HTTP/1.1, never from a cache, with the
    // extra header lines ("Name: value\r\n" each); a redirect is returned, not followed.
    virtual std::unique_ptr<HttpResponse> SendRequest(const std::u16string& strHost, std::uint16_t nPort,
                                                      const std::u16string& strObject,
                                                      const std::u16string& strHeaders, HttpStage& stage,
                                                      std::uint32_t& nError) = 0;
    // Opens a whole URL (never from a cache). Blocks; returns promptly with a failure once Abort()
    // is called from another thread.
    virtual std::unique_ptr<HttpResponse> OpenUrl(const std::u16string& strUrl, std::uint32_t& nError) = 0;
    // Thread-safe: ends a blocked OpenUrl and makes later calls fail (closing the session handle).
    virtual void Abort() = 0;
};

class HttpTransport {
public:
    virtual ~HttpTransport() = default;
    virtual std::unique_ptr<HttpSession> OpenSession(const HttpSessionOptions& options, std::uint32_t& nError) = 0;
    // Splits and decodes a URL; the port is left as given when the URL names none and its scheme
    // has no known default.
    virtual bool CrackUrl(const std::u16string& strUrl, UrlParts& parts, std::uint32_t& nError) = 0;
    // Stores a cookie for the URL's host in the program's cookie store. strData is the cookie's
    // value optionally followed by "; attribute=value" pairs (expires is honoured).
    virtual bool SetCookie(const std::u16string& strUrl, const std::u16string& strName,
                           const std::u16string& strData) = 0;
};

// The platform's HTTP stack. Cookies are kept in "cookies.txt" in strProgramFolder and sent with
// every request to the host they belong to.
std::unique_ptr<HttpTransport> CreateHttpTransport(const std::u16string& strProgramFolder);

class TextCodec;

// The program loads the HTTP stack from a library of its own at the first request, so that the
// commands that never talk HTTP start without it (it brings TLS and more with it). The library's
// one entry point, exported unmangled, makes the transport; the program's code page is handed in
// because the library keeps its own copy of that process state. Null when nVersion is not the
// version the library was built with.
constexpr int kHttpModuleVersion = 1;
constexpr char16_t kHttpModuleLibrary[] = u"vantrel-http";
constexpr char kCreateHttpTransportSymbol[] = "CreateVantrelHttpTransport";
extern "C" {
using CreateHttpTransportProc = HttpTransport* (*)(int nVersion, const char16_t* pszProgramFolder,
                                                   TextCodec* pCodePage);
}

}  // namespace vantrel
