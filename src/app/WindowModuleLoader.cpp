#include "app/WindowModuleLoader.h"

#include "port/WindowModule.h"
#include "settings/TextUtil.h"

namespace vantrel {

WindowModuleLoader::WindowModuleLoader(LibraryLoader& libraries) : m_libraries(libraries) {}

// The library stays loaded: the toolkit's own threads and exit handlers outlive the module object.
WindowModuleLoader::~WindowModuleLoader() = default;

WindowModule* WindowModuleLoader::Open(std::string& strError) {
    if (!m_bTried) {
        m_bTried = true;
        if (WindowModule* pModule = Load(m_strError)) m_bOpen = pModule->Open(m_strError);
    }
    strError = m_strError;
    return m_bOpen ? m_pModule.get() : nullptr;
}

WindowModule* WindowModuleLoader::Load(std::string& strError) {
    const std::u16string strFile = m_libraries.FileName(kWindowModuleLibrary);
    const std::string strName = Utf16ToUtf8(strFile);
    m_hLibrary = m_libraries.Load(strFile);
    if (!m_hLibrary) {
        const std::string strReason = Utf16ToUtf8(m_libraries.LastError());
        strError = "the window module " + strName + " cannot be loaded" + (strReason.empty() ? "" : ": " + strReason);
        return nullptr;
    }
    const auto pCreate =
        reinterpret_cast<CreateWindowModuleProc>(m_libraries.FindSymbol(m_hLibrary, kCreateWindowModuleSymbol));
    if (!pCreate) {
        strError = "the window module " + strName + " has no entry point " + kCreateWindowModuleSymbol;
        return nullptr;
    }
    m_pModule.reset(pCreate(kWindowModuleVersion));
    if (!m_pModule) strError = "the window module " + strName + " belongs to another version of vantrel";
    return m_pModule.get();
}

bool ModuleClipboard::SetUnicodeText(const std::u16string& strText) {
    std::string strError;
    WindowModule* pModule = m_loader.Open(strError);
    if (!pModule) {
        m_err << "vantrel: no clipboard: " << strError << '\n';
        return false;
    }
    return pModule->SystemClipboard().SetUnicodeText(strText);
}

}  // namespace vantrel
