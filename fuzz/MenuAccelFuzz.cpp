// One MENU or ACCELERATORS resource: the same bytes go to both readers, and every accelerator
// read is named as the toolkit's key text.
#include "app/MenuResource.h"
#include "support/FuzzSupport.h"

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    const std::span<const std::uint8_t> data(pData, nSize);
    std::vector<MenuEntry> entries;
    ParseMenu(data, entries);
    std::vector<Accelerator> table;
    if (ParseAccelerators(data, table))
        for (const Accelerator& accelerator : table) AcceleratorKeyText(accelerator);
    return 0;
}
