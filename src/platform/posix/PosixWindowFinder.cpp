#include <memory>

#include "port/WindowFinder.h"

namespace vantrel {

namespace {

// Linux has no top-level windows addressed by class and title that other programs answer with
// WM_COMMAND, so every look finds nothing at once and nothing is ever posted.
class PosixWindowFinder final : public WindowFinder {
public:
    WindowHandle Find(const std::u16string&, const std::u16string&) override { return 0; }
    bool PostCommand(WindowHandle, std::uint32_t) override { return false; }
    WindowHandle FindChild(WindowHandle, int) override { return 0; }
    bool SetText(WindowHandle, const std::u16string&) override { return false; }
};

}  // namespace

std::unique_ptr<WindowFinder> CreateWindowFinder() { return std::make_unique<PosixWindowFinder>(); }

}  // namespace vantrel
