#include <dlfcn.h>

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
        if (strNarrow.find('/') != std::string::npos) return Open(strNarrow);
        // The Windows loader looks in the program's folder before the search path; dlopen does not,
        // so that folder is tried explicitly first.
        const std::string strExe = Utf16ToUtf8(m_systemInfo.ExecutablePath());
        const std::size_t nSlash = strExe.rfind('/');
        if (nSlash != std::string::npos) {
            if (LibraryHandle hLibrary = Open(strExe.substr(0, nSlash + 1) + strNarrow)) return hLibrary;
        }
        return Open(strNarrow);
    }

    void* FindSymbol(LibraryHandle hLibrary, const char* pszSymbol) override {
        if (!hLibrary || !pszSymbol) return nullptr;
        return ::dlsym(hLibrary, pszSymbol);
    }

    void Free(LibraryHandle hLibrary) override {
        if (hLibrary) ::dlclose(hLibrary);
    }

private:
    static LibraryHandle Open(const std::string& strPath) { return ::dlopen(strPath.c_str(), RTLD_NOW | RTLD_LOCAL); }

    SystemInfo& m_systemInfo;
};

}  // namespace

std::unique_ptr<LibraryLoader> CreateLibraryLoader(SystemInfo& systemInfo) {
    return std::make_unique<PosixLibraryLoader>(systemInfo);
}

}  // namespace vantrel
