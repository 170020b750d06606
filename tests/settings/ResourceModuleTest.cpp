#include <gtest/gtest.h>

#include "settings/DualString.h"
#include "settings/ResourceModule.h"

namespace vantrel {

std::span<const std::uint8_t> TestStringImage();

namespace {

// The strings of res/longstrings.rc: digits 0-9 repeated, ending in "END".
std::u16string Digits(std::size_t nLength) {
    std::u16string str;
    for (std::size_t i = 0; i + 3 < nLength; ++i) str.push_back(static_cast<char16_t>(u'0' + i % 10));
    return str + u"END";
}

TEST(ResourceModule, LongStringsComeBackWhole) {
    const ResourceModule module(TestStringImage());
    ASSERT_TRUE(module.IsValid());
    // Legend: string id, its length (around and beyond the first 1024-unit buffer).
    const struct {
        std::uint32_t nId;
        std::size_t nLength;
    } cases[] = {{1, 1023}, {2, 1024}, {4, 5000}};
    for (const auto& c : cases) {
        DualString s(u"old");
        ASSERT_TRUE(s.LoadStringResource(module, c.nId));
        EXPECT_EQ(s.Wide(), Digits(c.nLength)) << c.nId;
    }
}

TEST(ResourceModule, StringBlocksAndMissingIds) {
    const ResourceModule module(TestStringImage());
    DualString s;
    ASSERT_TRUE(s.LoadStringResource(module, 17));  // second block of sixteen
    EXPECT_EQ(s.Wide(), u"second block");
    // Legend: ids that do not exist, in an existing block and in a missing one.
    for (std::uint32_t nId : {6u, 16u, 18u, 40000u}) {
        char16_t buffer[8] = {u'x'};
        EXPECT_EQ(module.LoadStringText(nId, buffer, 8), 0) << nId;
        EXPECT_EQ(buffer[0], u'\0') << nId;
    }
}

// A caller's fixed buffer (the window loads its texts into 100 units) gets as much as fits, terminated.
TEST(ResourceModule, ALongerTextIsCutToTheBufferAndTerminated) {
    const ResourceModule module(TestStringImage());
    char16_t buffer[6];
    EXPECT_EQ(module.LoadStringText(5, buffer, 4), 3);
    EXPECT_EQ(std::u16string(buffer), u"緯度と");
}

}  // namespace
}  // namespace vantrel
