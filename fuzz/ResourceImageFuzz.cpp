// A compiled resource image (.res): the entry walk, the string table's blocks of sixteen, the
// dialog templates built into in-memory controls as the windowless program builds them, and the
// menus, accelerator tables and icon groups the window reads.
#include "app/DialogTemplate.h"
#include "app/IconResource.h"
#include "app/MenuResource.h"
#include "platform/headless/HeadlessUiThread.h"
#include "platform/headless/MemoryDialogHost.h"
#include "settings/ResourceModule.h"
#include "support/FuzzSupport.h"

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    const ResourceModule module(std::span<const std::uint8_t>(pData, nSize));
    if (!module.IsValid()) return 0;

    // The last string of a block walks past the fifteen before it; a one-unit buffer only ends.
    char16_t buffer[64];
    for (std::uint32_t nBlock = 0; nBlock < 600; ++nBlock) {
        const int nCopied = module.LoadStringText(nBlock << 4 | 15, buffer, 64);
        FUZZ_CHECK(nCopied >= 0 && nCopied < 64 && buffer[nCopied] == u'\0');
        FUZZ_CHECK(module.LoadStringText(nBlock << 4, buffer, 1) == 0);
    }

    fuzz::FixedClock clock;
    HeadlessUiThread ui(clock);
    for (std::uint16_t nId = 0; nId < 300; ++nId) {
        if (!module.Find(rt::kDialog, nId).empty()) {
            MemoryDialogHost host(ui);
            CreateControls(module, nId, host);
        }
        LoadMenu(module, nId);
        LoadShortcuts(module, nId);
        LoadIcon(module, nId);
    }
    return 0;
}
