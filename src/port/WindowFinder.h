#pragma once
#include <cstdint>
#include <memory>
#include <string>

#include "port/MessageBoxHost.h"

namespace vantrel {

// Other programs' top-level windows, addressed the Win32 way: by class and title, driven by posted
// WM_COMMAND messages. Platforms without such windows find nothing, at once.
class WindowFinder {
public:
    virtual ~WindowFinder() = default;
    // FindWindowW; 0 when there is no such window.
    virtual WindowHandle Find(const std::u16string& strClass, const std::u16string& strTitle) = 0;
    // PostMessageW(WM_COMMAND, nCommandId, 0).
    virtual bool PostCommand(WindowHandle hWindow, std::uint32_t nCommandId) = 0;
    // GetDlgItem; 0 when the control is missing.
    virtual WindowHandle FindChild(WindowHandle hWindow, int nControlId) = 0;
    // SetWindowTextW.
    virtual bool SetText(WindowHandle hWindow, const std::u16string& strText) = 0;
};

std::unique_ptr<WindowFinder> CreateWindowFinder();

}  // namespace vantrel
