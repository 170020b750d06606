#include <gtest/gtest.h>

#include "location/Location.h"
#include "location/Placeholders.h"
#include "support/ManualClock.h"

namespace vantrel {
namespace {

class Placeholders : public testing::Test {
protected:
    std::u16string Expand(const std::u16string& strTemplate) {
        std::u16string strOut;
        EXPECT_TRUE(ExpandPlaceholders(m_location, m_clock, strTemplate, strOut));
        return strOut;
    }
    Location m_location;
    test::ManualClock m_clock{test::MakeTime(2009, 7, 3, 9, 5, 7)};
};

TEST_F(Placeholders, TableOfTemplates) {
    m_location.SetFromText(u"N35.39.29.157E139.44.58.500/pc1");
    // Legend: template, expansion at 2009-07-03 09:05:07 for the position above.
    const struct {
        const char16_t* pszTemplate;
        const char16_t* pszExpected;
    } cases[] = {
        {u"pos=N$nlE$el", u"pos=N35.39.29.157E139.44.58.500"},
        {u"$nml|$eml|$pc", u"35/39/29.157|139/44/58.500|pc1"},
        {u"$$nl", u"$nl"},               // the escape eats both dollars; nl is plain text
        {u"end$", u"end"},               // a trailing lone "$" vanishes
        {u"$n", u"n"},                   // too short for any keyword
        {u"$x$NL", u"xNL"},              // unknown: only the "$" is dropped
        {u"$MM/$mm", u"07/05"},          // case decides month or minute
        {u"$YY-$DD $hh:$ss", u"2009-03 09:07"},
    };
    for (const auto& c : cases) EXPECT_EQ(Expand(c.pszTemplate), c.pszExpected) << std::u16string(c.pszTemplate).size();
}

TEST_F(Placeholders, WgsFormsUseUnpaddedIntegers) {
    m_location.m_nWNL[0] = 35, m_location.m_nWNL[1] = 7, m_location.m_nWNL[2] = 3, m_location.m_nWNL[3] = 42;
    m_location.m_nWEL[0] = 139, m_location.m_nWEL[1] = 44, m_location.m_nWEL[2] = 39, m_location.m_nWEL[3] = 5;
    EXPECT_EQ(Expand(u"$wnml $weml"), u"35/7/3.42 139/44/39.5");
    std::u16string strOut = u"keep:";  // callers append to what they have built so far
    ASSERT_TRUE(ExpandPlaceholders(m_location, m_clock, u"$wnl $wel", strOut));
    EXPECT_EQ(strOut, u"keep:35.7.3.42 139.44.39.5");
}

}  // namespace
}  // namespace vantrel
