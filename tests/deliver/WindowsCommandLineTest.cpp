#include "platform/posix/WindowsCommandLine.h"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

// Parameter string -> the arguments a Windows program receives from CommandLineToArgvW.
TEST(WindowsCommandLine, SplitsAsCommandLineToArgvW) {
    using Args = std::vector<std::u16string>;
    const struct {
        std::u16string strLine;
        Args expected;
    } cases[] = {
        {u"", {}},
        {u" \t ", {}},
        {u"a b\t\tc ", {u"a", u"b", u"c"}},
        {u"\"a b\" c", {u"a b", u"c"}},
        {u"a\"b c\"d", {u"ab cd"}},
        {u"a \"\" b", {u"a", u"", u"b"}},
        {u"\"a b", {u"a b"}},                                  // unterminated quote runs to the end
        {u"C:\\dir\\file.txt", {u"C:\\dir\\file.txt"}},       // backslashes alone are literal
        {u"\"C:\\Program Files\\x\\\\\"", {u"C:\\Program Files\\x\\"}},  // 2n backslashes: n, quote closes
        {u"a\\\\\\\"b", {u"a\\\"b"}},                         // 2n+1 backslashes: n and a literal quote
        {u"\\\"a\\\"", {u"\"a\""}},
        {u"\"a\"\"b c\"", {u"a\"b", u"c"}},                 // third quote of a run is literal, quoting ends
    };
    for (const auto& c : cases) EXPECT_EQ(SplitWindowsArguments(c.strLine), c.expected);
}

}  // namespace
}  // namespace vantrel
