// A combined position text "N<lat>E<lon>/<info>" (from the module, or --position), and the
// conversions of its coordinate texts: slash form, integer parts and the datum step.
#include <algorithm>

#include "location/Location.h"
#include "settings/TextUtil.h"
#include "support/FuzzSupport.h"

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    const std::u16string strText = Utf8ToUtf16(fuzz::Bytes(pData, nSize));
    Location location;
    location.SetFromText(strText);
    location.DebugDump();

    // The slash form only renames separators: same length, one "." left.
    std::u16string strSlash;
    if (Location::ToSlashForm(strText, strSlash)) {
        FUZZ_CHECK(strSlash.size() == strText.size());
        FUZZ_CHECK(std::count(strSlash.begin(), strSlash.end(), u'.') == 1);
    }
    std::int32_t nParts[4] = {};
    FUZZ_CHECK(Location::ParseParts(strText, nParts));
    return 0;
}
