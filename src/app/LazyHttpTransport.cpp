#include "app/LazyHttpTransport.h"

#include "settings/TextUtil.h"

namespace vantrel {

LazyHttpTransport::LazyHttpTransport(LibraryLoader& libraries, std::u16string strProgramFolder, TextCodec& codePage,
                                     TextOut& err)
    : m_libraries(libraries), m_strProgramFolder(std::move(strProgramFolder)), m_codePage(codePage), m_err(err) {}

// The library stays loaded: a worker abandoned on a time-out may still be inside it.
LazyHttpTransport::~LazyHttpTransport() = default;

HttpTransport* LazyHttpTransport::Stack() {
    if (m_bTried) return m_pStack.get();
    m_bTried = true;
    const std::u16string strFile = m_libraries.FileName(kHttpModuleLibrary);
    const LibraryHandle hLibrary = m_libraries.Load(strFile);
    const auto pCreate = hLibrary ? reinterpret_cast<CreateHttpTransportProc>(
                                        m_libraries.FindSymbol(hLibrary, kCreateHttpTransportSymbol))
                                  : nullptr;
    if (pCreate) m_pStack.reset(pCreate(kHttpModuleVersion, m_strProgramFolder.c_str(), &m_codePage));
    if (!m_pStack) {
        const std::u16string strReason = hLibrary ? u"not a library of this vantrel" : m_libraries.LastError();
        m_err << "vantrel: no HTTP: " << Utf16ToUtf8(strFile) << " cannot be used"
              << (strReason.empty() ? "" : ": " + Utf16ToUtf8(strReason)) << '\n';
    }
    return m_pStack.get();
}

std::unique_ptr<HttpSession> LazyHttpTransport::OpenSession(const HttpSessionOptions& options, std::uint32_t& nError) {
    HttpTransport* pStack = Stack();
    if (pStack) return pStack->OpenSession(options, nError);
    nError = kNoStack;
    return nullptr;
}

bool LazyHttpTransport::CrackUrl(const std::u16string& strUrl, UrlParts& parts, std::uint32_t& nError) {
    HttpTransport* pStack = Stack();
    if (pStack) return pStack->CrackUrl(strUrl, parts, nError);
    nError = kNoStack;
    return false;
}

bool LazyHttpTransport::SetCookie(const std::u16string& strUrl, const std::u16string& strName,
                                  const std::u16string& strData) {
    HttpTransport* pStack = Stack();
    return pStack && pStack->SetCookie(strUrl, strName, strData);
}

}  // namespace vantrel
