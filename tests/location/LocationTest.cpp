#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "location/Location.h"

namespace vantrel {
namespace {

// Bit patterns, not tolerances: the conversion's multiplication order is part of its contract.
std::uint64_t Bits(double d) {
    std::uint64_t n;
    std::memcpy(&n, &d, sizeof n);
    return n;
}

std::vector<std::int32_t> Parts(const std::int32_t* pParts) { return {pParts, pParts + 4}; }

// Legend: position text -> the WGS84 doubles' bits and parts (the Tokyo values feed both). The
// second row is one where summing the datum shift in another order moves the last bit of the
// north value.
TEST(Location, WorkedExamplesMatchToTheLastBit) {
    const struct {
        const char16_t* pszText;
        double dWNorth, dWEast;
        std::int32_t wnl[4], wel[4];
    } cases[] = {
        {u"N35.39.29.000E139.44.51.000/1", 35.66128417685389, 139.74429332279584, {35, 39, 40, 623}, {139, 44, 39, 455}},
        {u"N43.11.04.000E142.07.45.000/1", 43.18690971187778, 142.12541570882584, {43, 11, 12, 874}, {142, 7, 31, 496}},
    };
    for (const auto& c : cases) {
        Location loc;
        ASSERT_TRUE(loc.SetFromText(c.pszText));
        EXPECT_EQ(Bits(loc.m_dWNorth), Bits(c.dWNorth)) << c.dWNorth;
        EXPECT_EQ(Bits(loc.m_dWEast), Bits(c.dWEast)) << c.dWEast;
        EXPECT_EQ(Parts(loc.m_nWNL), Parts(c.wnl));
        EXPECT_EQ(Parts(loc.m_nWEL), Parts(c.wel));
    }
}

// Legend: text -> result, then the latitude text and the info, starting from a record that holds
// "N1.1.1.1E2.2.2.2/k": a failed parse leaves the record untouched, and a part the text does not
// have keeps its old value.
TEST(Location, SetFromTextGrammar) {
    const struct {
        const char16_t* pszText;
        bool bResult;
        const char16_t* pszNorth;
        const char16_t* pszInfo;
    } cases[] = {
        {u"N35.39.29.000E139.44.51.000", false, u"1.1.1.1", u"k"},  // no "/"
        {u"N1.2.3.4E5.6.7.8/", true, u"1.2.3.4", u"k"},              // nothing behind "/"
        {u"X1.2.3.4E5.6.7.8/i/j", true, u"1.2.3.4", u"i/j"},         // the first character is not examined
    };
    for (const auto& c : cases) {
        Location loc;
        ASSERT_TRUE(loc.SetFromText(u"N1.1.1.1E2.2.2.2/k"));
        EXPECT_EQ(loc.SetFromText(c.pszText), c.bResult) << std::string(c.pszText, c.pszText + 3);
        EXPECT_EQ(loc.m_strNL, c.pszNorth);
        EXPECT_EQ(loc.m_strInfo, c.pszInfo);
    }
}

TEST(Location, SlashForm) {
    // Legend: text, its slash form; null when the conversion fails and leaves the output alone.
    const struct {
        const char16_t* pszText;
        const char16_t* pszSlash;
    } cases[] = {
        {u"139.44.58.500/x", u"139/44/58/500.x"},  // the last "/" of the text turns back, not the last "."
        {u"35", nullptr},
    };
    for (const auto& c : cases) {
        std::u16string strOut = u"kept";
        EXPECT_EQ(Location::ToSlashForm(c.pszText, strOut), c.pszSlash != nullptr);
        EXPECT_EQ(strOut, c.pszSlash ? c.pszSlash : u"kept");
    }
}

// Parts no module sends, from a garbled answer, a service reply or a cache line: the WGS84 degrees
// lie beyond 32 bits and must saturate, with minutes, seconds and thousandths still in range.
TEST(Location, AbsurdPartsGiveSaturatedDegrees) {
    // Legend: position text, the WGS84 degree part expected for latitude and longitude.
    const struct {
        const char16_t* pszText;
        std::int32_t nNorth, nEast;
    } cases[] = {
        {u"N2147483647.2147483647E0/", INT32_MAX, -100513},
        {u"N-2147483648.-2147483648E-2147483648.-2147483648/", INT32_MIN, INT32_MIN},
    };
    for (const auto& c : cases) {
        Location loc;
        ASSERT_TRUE(loc.SetFromText(c.pszText));
        EXPECT_EQ(loc.m_nWNL[0], c.nNorth) << std::string(c.pszText, c.pszText + 12);
        EXPECT_EQ(loc.m_nWEL[0], c.nEast);
        for (const std::int32_t* pParts : {loc.m_nWNL, loc.m_nWEL}) {
            EXPECT_LT(std::abs(pParts[1]), 60);
            EXPECT_LT(std::abs(pParts[2]), 60);
            EXPECT_LT(std::abs(pParts[3]), 1000);
        }
    }
}

}  // namespace
}  // namespace vantrel
