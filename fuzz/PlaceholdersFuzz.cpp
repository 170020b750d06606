// A user template expanded from a position: the first line of the input is the combined position
// text, the rest the template.
#include <algorithm>

#include "location/Location.h"
#include "location/Placeholders.h"
#include "settings/TextUtil.h"
#include "support/FuzzSupport.h"

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    const std::string_view input = fuzz::Bytes(pData, nSize);
    const std::size_t nBreak = std::min(input.find('\n'), input.size());
    Location location;
    location.SetFromText(Utf8ToUtf16(input.substr(0, nBreak)));
    const std::u16string strTemplate = Utf8ToUtf16(input.substr(std::min(nBreak + 1, input.size())));

    fuzz::FixedClock clock;
    std::u16string strOutput;
    FUZZ_CHECK(ExpandPlaceholders(location, clock, strTemplate, strOutput));
    // Without a "$" there is nothing to expand: the text (up to a NUL) comes out as it went in.
    if (strTemplate.find(u'$') == std::u16string::npos)
        FUZZ_CHECK(strOutput == strTemplate.substr(0, strTemplate.find(u'\0')));
    return 0;
}
