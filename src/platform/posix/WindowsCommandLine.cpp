#include "platform/posix/WindowsCommandLine.h"

namespace vantrel {

namespace {

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t'; }

}  // namespace

std::vector<std::u16string> SplitWindowsArguments(std::u16string_view strLine) {
    std::vector<std::u16string> arguments;
    std::u16string strCurrent;
    bool bInArgument = false;  // a quote pair alone makes an (empty) argument
    int nQuotes = 0;           // 1 while inside quotes; counts a run of quotes up to 3
    std::size_t nBackslashes = 0;
    std::size_t i = 0;
    while (i < strLine.size()) {
        const char16_t c = strLine[i];
        if (IsBlank(c) && nQuotes == 0) {
            if (bInArgument) arguments.push_back(std::move(strCurrent));
            strCurrent.clear();
            bInArgument = false;
            nBackslashes = 0;
            ++i;
            continue;
        }
        bInArgument = true;
        if (c == u'\\') {
            strCurrent += c;
            ++nBackslashes;
            ++i;
            continue;
        }
        if (c != u'"') {
            strCurrent += c;
            nBackslashes = 0;
            ++i;
            continue;
        }
        // A quote: the backslashes before it collapse to half.
        strCurrent.resize(strCurrent.size() - (nBackslashes + 1) / 2);
        if (nBackslashes % 2 == 1) {
            strCurrent += u'"';
        } else {
            ++nQuotes;
        }
        nBackslashes = 0;
        ++i;
        for (; i < strLine.size() && strLine[i] == u'"'; ++i) {
            if (++nQuotes == 3) {
                strCurrent += u'"';
                nQuotes = 0;
            }
        }
        if (nQuotes == 2) nQuotes = 0;
    }
    if (bInArgument) arguments.push_back(std::move(strCurrent));
    return arguments;
}

}  // namespace vantrel
