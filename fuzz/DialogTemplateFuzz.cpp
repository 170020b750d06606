// One DLGTEMPLATE or DLGTEMPLATEEX resource: its header, font and items, built into in-memory
// controls.
#include "app/DialogTemplate.h"
#include "platform/headless/HeadlessUiThread.h"
#include "platform/headless/MemoryDialogHost.h"
#include "support/FuzzSupport.h"

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    DialogTemplate dlg;
    if (!ParseDialogTemplate(std::span<const std::uint8_t>(pData, nSize), dlg)) return 0;
    fuzz::FixedClock clock;
    HeadlessUiThread ui(clock);
    MemoryDialogHost host(ui);
    CreateControls(dlg, host);
    return 0;
}
