#include <dlfcn.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "port/LibraryLoader.h"
#include "port/SystemInfo.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

std::u16string ToLower(const std::u16string& strText) {
    std::u16string strLower = strText;
    for (char16_t& c : strLower)
        if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c - u'A' + u'a');
    return strLower;
}

class PosixLibraryLoader final : public LibraryLoader {
public:
    explicit PosixLibraryLoader(SystemInfo& systemInfo) : m_systemInfo(systemInfo) {}

    std::u16string FileName(const std::u16string& strBaseName) const override {
        return u"lib" + ToLower(strBaseName) + u".so";
    }

    LibraryHandle Load(const std::u16string& strName) override {
        if (strName.empty()) return nullptr;
        const std::string strNarrow = Utf16ToUtf8(strName);
        m_strError.clear();
        if (strNarrow.find('/') != std::string::npos) return Open(strNarrow);
        // The Windows loader looks in the program's folder before the search path; dlopen does not,
        // so that folder is tried explicitly first.
        const std::string strExe = Utf16ToUtf8(m_systemInfo.ExecutablePath());
        const std::size_t nSlash = strExe.rfind('/');
        if (nSlash != std::string::npos) {
            // A copy beside the executable (the build tree) or in the installed program's own
            // library folder is the one meant, even when it does not load. The installed folder is
            // named here rather than left to the run path: dlopen reads the run path of the object
            // that calls it, and a sanitizer or any other library that wraps dlopen is that caller.
            const std::string strFolder = strExe.substr(0, nSlash + 1);
            for (const std::string& strCandidate :
                 {strFolder + strNarrow, strFolder + VANTREL_INSTALLED_LIBRARY_DIR "/" + strNarrow})
                if (::access(strCandidate.c_str(), F_OK) == 0) return Open(strCandidate);
        }
        return Open(strNarrow);
    }

    std::u16string LastError() const override { return Utf8ToUtf16(m_strError); }

    void* FindSymbol(LibraryHandle hLibrary, const char* pszSymbol) override {
        if (!hLibrary || !pszSymbol) return nullptr;
        return ::dlsym(hLibrary, pszSymbol);
    }

    void Free(LibraryHandle hLibrary) override {
        if (hLibrary) ::dlclose(hLibrary);
    }

private:
    // Functions are bound at their first call, as for the system's own programs: binding all of a
    // library as large as the HTTP stack's at once would cost more than the request it serves.
    LibraryHandle Open(const std::string& strPath) {
        LibraryHandle hLibrary = ::dlopen(strPath.c_str(), RTLD_LAZY | RTLD_LOCAL);
        if (!hLibrary) {
            const char* pszError = ::dlerror();
            m_strError = pszError ? pszError : "cannot load " + strPath;
        }
        return hLibrary;
    }

    SystemInfo& m_systemInfo;
    std::string m_strError;
};

}  // namespace

std::unique_ptr<LibraryLoader> CreateLibraryLoader(SystemInfo& systemInfo) {
    return std::make_unique<PosixLibraryLoader>(systemInfo);
}

}  // namespace vantrel
