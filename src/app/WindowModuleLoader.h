#pragma once
#include <memory>
#include <string>

#include "port/Clipboard.h"
#include "port/LibraryLoader.h"
#include "port/TextOut.h"

namespace vantrel {

class WindowModule;

// Loads the window module (the toolkit side, a library beside the executable) the first time a
// display is needed and keeps it for the rest of the run: a toolkit is never unloaded.
class WindowModuleLoader {
public:
    explicit WindowModuleLoader(LibraryLoader& libraries);
    ~WindowModuleLoader();
    WindowModuleLoader(const WindowModuleLoader&) = delete;
    WindowModuleLoader& operator=(const WindowModuleLoader&) = delete;

    // The module with its display open, or null with the reason in strError; a failure is not
    // tried again.
    WindowModule* Open(std::string& strError);
    bool IsLoaded() const { return m_pModule != nullptr; }

private:
    WindowModule* Load(std::string& strError);

    LibraryLoader& m_libraries;
    LibraryHandle m_hLibrary = nullptr;
    std::unique_ptr<WindowModule> m_pModule;
    bool m_bTried = false;
    bool m_bOpen = false;
    std::string m_strError;
};

// The clipboard of the window module, loaded at the first copy, so that a windowless command
// loads no toolkit unless it copies. Why a copy failed goes to err.
class ModuleClipboard final : public Clipboard {
public:
    ModuleClipboard(WindowModuleLoader& loader, TextOut& err) : m_loader(loader), m_err(err) {}
    bool SetUnicodeText(const std::u16string& strText) override;

private:
    WindowModuleLoader& m_loader;
    TextOut& m_err;
};

}  // namespace vantrel
