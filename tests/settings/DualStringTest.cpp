#include <gtest/gtest.h>

#include <cstring>

#include "settings/DualString.h"

namespace vantrel {
namespace {

TEST(DualString, NarrowFormIsCp932) {
    // Legend: wide text, its bytes in the Japanese code page (the wave dash is the classic trap).
    const struct {
        const char16_t* pszWide;
        const char* pszNarrow;
    } cases[] = {
        {u"緯度:$nl", "\x88\xDC\x93\x78:$nl"},
        {u"ｱ", "\xB1"},
        {u"取得～送信", "\x8E\xE6\x93\xBE\x81\x60\x91\x97\x90\x4D"},
    };
    for (const auto& c : cases) {
        const DualString s(c.pszWide);
        EXPECT_EQ(s.Narrow(), c.pszNarrow);
        DualString back;
        ASSERT_TRUE(back.AssignNarrow(c.pszNarrow));
        EXPECT_EQ(back.Wide(), c.pszWide);
    }
}

TEST(DualString, AnEmptyTextLeavesTheOtherForm) {
    DualString s(u"緯度");
    EXPECT_FALSE(s.AssignNarrow(""));
    EXPECT_EQ(s.Wide(), u"緯度");
    s = u"";
    EXPECT_EQ(s.Wide(), u"");
    EXPECT_EQ(s.Narrow(), "\x88\xDC\x93\x78");
}

// The narrow form is derived from the wide one, so it shows both are refreshed.
TEST(DualString, AppendAndFormatRefreshBothForms) {
    DualString s(u"URL");
    s.AppendSeparator(u";");
    s.Append(u"経度");
    EXPECT_EQ(s.Narrow(), "URL;\x8C\x6F\x93\x78");
    s.Format(u"%s%d", u"経度", 7);
    EXPECT_EQ(s.Narrow(), "\x8C\x6F\x93\x78" "7");
    // An empty result or a fault keeps the old text.
    s.Format(u"%s", u"");
    s.Format(u"");
    s.Format(u"%d", u"not a number");
    EXPECT_EQ(s.Narrow(), "\x8C\x6F\x93\x78" "7");
}

TEST(DualString, FormatIsCutAt1023CodeUnits) {
    // Legend: formatted length -> kept length (the work area holds 1024 units with its terminator).
    const struct {
        std::size_t nIn;
        std::size_t nKept;
    } cases[] = {{1023, 1023}, {1024, 1023}, {3000, 1023}};
    for (const auto& c : cases) {
        DualString s(u"old");
        s.Format(u"%s", std::u16string(c.nIn, u'緯'));
        EXPECT_EQ(s.Length(), c.nKept) << c.nIn;
        EXPECT_EQ(s.Narrow().size(), 2 * c.nKept) << c.nIn;
    }
}

// Filled by a caller through its buffer: up to the first terminator, or the length given.
TEST(DualString, ReleasedBufferEndsAtItsTerminatorOrTheLengthGiven) {
    DualString s;
    std::memcpy(s.GetBuffer(16), u"緯度\0xyz", 7 * sizeof(char16_t));
    s.ReleaseBuffer();
    EXPECT_EQ(s.Wide(), u"緯度");
    s.GetBuffer(16);
    s.ReleaseBuffer(0);
    EXPECT_EQ(s.Wide(), u"");
}

}  // namespace
}  // namespace vantrel
