#pragma once
#include <memory>
#include <string>

namespace vantrel {

class SystemInfo;

// Opaque handle of a loaded library; null means none.
using LibraryHandle = void*;

// Libraries loaded at run time (LoadLibraryW / GetProcAddress / FreeLibrary).
class LibraryLoader {
public:
    virtual ~LibraryLoader() = default;
    // The platform's file name for a library's base name ("DlgConnect" -> "DlgConnect.dll" on
    // Windows, "libdlgconnect.so" on Linux).
    virtual std::u16string FileName(const std::u16string& strBaseName) const = 0;
    // A bare file name is looked for beside the executable first, then along the platform's library
    // search path; a name with a folder is loaded as given. Null when it cannot be loaded.
    virtual LibraryHandle Load(const std::u16string& strName) = 0;
    // Why the last Load failed, in the platform's words; empty when it gives no reason.
    virtual std::u16string LastError() const { return {}; }
    // Null when the library does not export pszSymbol.
    virtual void* FindSymbol(LibraryHandle hLibrary, const char* pszSymbol) = 0;
    virtual void Free(LibraryHandle hLibrary) = 0;
};

std::unique_ptr<LibraryLoader> CreateLibraryLoader(SystemInfo& systemInfo);

}  // namespace vantrel
