// The menu and accelerator readers on what the program's own resource (read whole in the window
// program's tests) does not show: nesting, damage, and the keys other than Ctrl with a letter.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "app/MenuResource.h"

namespace vantrel {
namespace {

std::vector<std::uint8_t> Words(std::initializer_list<std::uint16_t> words) {
    std::vector<std::uint8_t> bytes;
    for (std::uint16_t n : words) {
        bytes.push_back(static_cast<std::uint8_t>(n));
        bytes.push_back(static_cast<std::uint8_t>(n >> 8));
    }
    return bytes;
}

TEST(MenuResource, NestedPopUpAndItsEndAndDamage) {
    // Header; item 7 "a"; pop-up "p" holding item 8 "b" (its end); separator (the menu's end).
    const std::vector<std::uint8_t> menu =
        Words({0, 0, 0x0000, 7, u'a', 0, 0x0010, u'p', 0, 0x0080, 8, u'b', 0, 0x0080, 0, 0});
    std::vector<MenuEntry> entries;
    ASSERT_TRUE(ParseMenu(menu, entries));
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].nId, 7);
    EXPECT_EQ(entries[1].strText, u"p");
    ASSERT_EQ(entries[1].children.size(), 1u);
    EXPECT_EQ(entries[1].children[0].nId, 8);
    EXPECT_TRUE(entries[2].bSeparator);
    EXPECT_FALSE(entries[0].bSeparator);
    // Legend: bytes that must be refused — cut inside the pop-up, an extended menu's header.
    for (const std::vector<std::uint8_t>& damaged :
         {std::vector<std::uint8_t>(menu.begin(), menu.end() - 6), Words({1, 4, 0, 0, 0, 0})})
        EXPECT_FALSE(ParseMenu(damaged, entries));
}

TEST(MenuResource, AcceleratorKeysAsKeyText) {
    // Legend: flags (1 virtual key, 4 Shift, 8 Ctrl, 0x10 Alt), key, the key text.
    const struct {
        std::uint16_t nFlags;
        std::uint16_t nKey;
        std::u16string strText;
    } cases[] = {
        {0x09, 'A', u"Ctrl+A"},        {0x1D, 0x74, u"Ctrl+Alt+Shift+F5"}, {0x11, 0x2E, u"Alt+Del"},
        {0x01, 0x7B, u"F12"},          {0x00, 'q', u"q"},                  {0x09, 0x5B, u""},
    };
    for (const auto& c : cases) EXPECT_EQ(AcceleratorKeyText({c.nFlags, c.nKey, 1}), c.strText) << c.nKey;
}

TEST(MenuResource, AcceleratorTableEndsAtItsFlaggedEntry) {
    std::vector<Accelerator> table;
    ASSERT_TRUE(ParseAccelerators(Words({0x09, 'A', 40002, 0, 0x89, 'Q', 40000, 0, 0x09, 'Z', 1, 0}), table));
    ASSERT_EQ(table.size(), 2u);
    EXPECT_EQ(table[1].nCommand, 40000);
    EXPECT_EQ(table[1].nFlags, 0x09);
    EXPECT_FALSE(ParseAccelerators(Words({0x09, 'A', 40002, 0}), table));
}

}  // namespace
}  // namespace vantrel
