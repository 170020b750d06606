// A format string, as the string table holds them, applied to arguments of every kind and of the
// extreme values the program can pass (the string table is read from the resource image).
#include <climits>
#include <limits>

#include "settings/Format.h"
#include "settings/TextUtil.h"
#include "support/FuzzSupport.h"

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    const std::u16string strFormat = Utf8ToUtf16(fuzz::Bytes(pData, nSize));
    const std::u16string strText(u"位置\0情報", 5);
    const FormatArg args[] = {
        FormatArg(42), FormatArg(INT_MIN), FormatArg(std::numeric_limits<double>::max()), FormatArg(strText),
        FormatArg(LLONG_MIN), FormatArg(UINT_MAX), FormatArg(-0.0), FormatArg(u'ｶ'),
        FormatArg(std::numeric_limits<double>::quiet_NaN()), FormatArg(u"(text)"), FormatArg(-1), FormatArg(INT_MAX),
    };
    std::u16string strOut;
    FormatInto(strOut, strFormat, args);
    return 0;
}
