#pragma once
#include <memory>
#include <string>

#include "port/HttpTransport.h"
#include "port/LibraryLoader.h"
#include "port/TextOut.h"

namespace vantrel {

class TextCodec;

// The HTTP stack, loaded from its library at the first call, so that a command that never talks
// HTTP starts without it. When the library cannot be loaded every call fails as a stack that
// cannot start does, and the reason goes to err once.
class LazyHttpTransport final : public HttpTransport {
public:
    // The error number of a call that found no stack (CURLE_FAILED_INIT, as the stack reports a
    // failed start).
    static constexpr std::uint32_t kNoStack = 2;

    LazyHttpTransport(LibraryLoader& libraries, std::u16string strProgramFolder, TextCodec& codePage,
                      TextOut& err);
    ~LazyHttpTransport() override;

    std::unique_ptr<HttpSession> OpenSession(const HttpSessionOptions& options, std::uint32_t& nError) override;
    bool CrackUrl(const std::u16string& strUrl, UrlParts& parts, std::uint32_t& nError) override;
    bool SetCookie(const std::u16string& strUrl, const std::u16string& strName, const std::u16string& strData) override;

private:
    HttpTransport* Stack();

    LibraryLoader& m_libraries;
    std::u16string m_strProgramFolder;
    TextCodec& m_codePage;
    TextOut& m_err;
    std::unique_ptr<HttpTransport> m_pStack;
    bool m_bTried = false;
};

}  // namespace vantrel
