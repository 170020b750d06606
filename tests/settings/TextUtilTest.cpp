#include <gtest/gtest.h>

#include "settings/TextUtil.h"

namespace vantrel {
namespace {

TEST(TextUtil, Utf8AndUtf16) {
    // Legend: UTF-8 bytes, UTF-16 text (three-, four- and two-byte sequences; a surrogate pair).
    const struct {
        const char* pszUtf8;
        const char16_t* pszUtf16;
    } cases[] = {
        {"\xE7\xB7\xAF\xE5\xBA\xA6", u"緯度"},
        {"\xF0\x9F\x93\x8D", u"\U0001F4CD"},
        {"\xC3\xA9", u"é"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Utf8ToUtf16(c.pszUtf8), c.pszUtf16);
        EXPECT_EQ(Utf16ToUtf8(c.pszUtf16), c.pszUtf8);
    }
}

TEST(TextUtil, InvalidSequencesBecomeReplacementCharacters) {
    EXPECT_EQ(Utf8ToUtf16("a\xFF" "b"), u"a\uFFFDb");
    EXPECT_EQ(Utf8ToUtf16("\xC0\xAF"), u"\uFFFD");      // overlong "/"
    EXPECT_EQ(Utf16ToUtf8(std::u16string(1, char16_t(0xD800))), "\xEF\xBF\xBD");  // lone surrogate
}

TEST(TextUtil, WtoLReadsLeadingDecimal) {
    // Legend: text, value as _wtol reads it.
    const struct {
        const char16_t* pszText;
        std::int32_t nValue;
    } cases[] = {
        {u"0", 0},          {u"4000", 4000},       {u"  -42x", -42},     {u"+7", 7},
        {u"abc", 0},        {u"", 0},              {u"12 34", 12},       {u"0x10", 0},
        {u"21600000", 21600000},                   {u"2147483647", 2147483647},
        {u"99999999999", 2147483647},              {u"-99999999999", -2147483647 - 1},
        {u"\t\r\n 9", 9},   {u"- 5", 0},
    };
    for (const auto& c : cases) EXPECT_EQ(WtoL(c.pszText), c.nValue) << Utf16ToUtf8(c.pszText);
}

}  // namespace
}  // namespace vantrel
