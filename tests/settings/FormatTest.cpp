#include <gtest/gtest.h>

#include <climits>

#include "settings/Format.h"

namespace vantrel {
namespace {

TEST(FormatText, ConversionsTheProgramUses) {
    // Legend: what a call produces, what Windows' wide printf produces for the same call. Digits,
    // padding and signs are the C library's; the rows show that each kind of directive reaches it.
    const struct {
        std::u16string strActual;
        const char16_t* pszExpected;
    } cases[] = {
        {FormatText(u"%s", u"緯度"), u"緯度"},
        {FormatText(u"%s%d", std::u16string(u"URL"), 2), u"URL2"},
        {FormatText(u"%d", -5), u"-5"},
        {FormatText(u"%u", -1), u"4294967295"},
        {FormatText(u"%d", 4294967295u), u"-1"},  // a plain integer is 32 bits
        {FormatText(u"%02d", 5), u"05"},
        {FormatText(u"%08x", 255), u"000000ff"},
        {FormatText(u"%ld", 2147483647L), u"2147483647"},
        {FormatText(u"%f", 1.5), u"1.500000"},
        {FormatText(u"100%%"), u"100%"},
        {FormatText(u"%I64d", 1LL << 40), u"1099511627776"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(cases[i].strActual, cases[i].pszExpected) << "case " << i;
}

TEST(FormatText, ArgumentThatDoesNotFitIsRefused) {
    // Legend: each format meets an argument of the wrong kind, none at all, or a width from an
    // argument that no text could be padded to.
    EXPECT_EQ(FormatText(u"%d", u"12"), u"");
    EXPECT_EQ(FormatText(u"%s", 12), u"");
    EXPECT_EQ(FormatText(u"%d %d", 1), u"");
    EXPECT_EQ(FormatText(u"trailing %"), u"");
    EXPECT_EQ(FormatText(u"[%*s]", INT_MIN, u"x"), u"");
    EXPECT_EQ(FormatText(u"[%*s]", INT_MAX, u"x"), u"");
}

}  // namespace
}  // namespace vantrel
