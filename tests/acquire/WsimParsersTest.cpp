#include <gtest/gtest.h>

#include "acquire/WsimParsers.h"

namespace vantrel {
namespace {

// Legend: answer as received -> success and the CS-ID text.
struct CsIdCase {
    const char* pszName;
    std::u16string strAnswer;
    bool bOk;
    std::u16string strCsId;
};
void PrintTo(const CsIdCase& c, std::ostream* os) { *os << c.pszName; }


class ParseCsIdTest : public testing::TestWithParam<CsIdCase> {};

TEST_P(ParseCsIdTest, SplitsLinesAndJoinsStations) {
    std::u16string strCsId = u"untouched";
    EXPECT_EQ(ParseCsId(GetParam().strAnswer, strCsId), GetParam().bOk);
    if (GetParam().bOk) EXPECT_EQ(strCsId, GetParam().strCsId);
}

INSTANTIATE_TEST_SUITE_P(
    Answers, ParseCsIdTest,
    testing::Values(
        CsIdCase{"EchoWithExtraCr", u"AT@K20\r\r\n1234,5678\r\nOK\r\n", true, u"1234/5678"},
        CsIdCase{"TwoLines", u"AT@K20\r\na,b\r\nc\r\nOK\r\n", true, u"a/b,c"},
        CsIdCase{"EmptyLinesOnly", u"AT@K20\r\n\r\n\r\nOK\r\n", true, u""},
        CsIdCase{"StopsAtOk", u"AT@K20\r\n1,2\r\nOK\r\n3,4\r\n", true, u"1/2"},
        CsIdCase{"UnterminatedTailNotRead", u"AT@K20\r\n1,2\r\n3,4", true, u"1/2"},
        CsIdCase{"NoLineEnd", u"AT@K20", false, u""},
        CsIdCase{"WrongEcho", u"AT@K2\r\n1,2\r\nOK\r\n", false, u""},
        CsIdCase{"EchoTwoExtra", u"AT@K20\r\r\r\n1,2\r\nOK\r\n", false, u""},
        CsIdCase{"GarbageBeforeEcho", u"~~\r\nAT@K20\r\n1,2\r\nOK\r\n", false, u""}),
    [](const auto& info) { return std::string(info.param.pszName); });

// Legend: "AT@LBC?" answer -> success and the combined position text.
struct SimpleCase {
    const char* pszName;
    std::u16string strAnswer;
    bool bOk;
    std::u16string strText;
};
void PrintTo(const SimpleCase& c, std::ostream* os) { *os << c.pszName; }


class ParseSimpleTest : public testing::TestWithParam<SimpleCase> {};

TEST_P(ParseSimpleTest, BuildsCombinedText) {
    std::u16string strText;
    EXPECT_EQ(ParseSimpleCoordinates(GetParam().strAnswer, strText), GetParam().bOk);
    if (GetParam().bOk) EXPECT_EQ(strText, GetParam().strText);
}

INSTANTIATE_TEST_SUITE_P(
    Answers, ParseSimpleTest,
    testing::Values(
        SimpleCase{"Fix", u"AT@LBC?\r\nN35:39:29\r\nE139:44:51\r\n1\r\nOK\r\n", true, u"N35.39.29.000E139.44.51.000/1"},
        SimpleCase{"ExtraCrEcho", u"AT@LBC?\r\r\nN35:39:29\r\nE139:44:51\r\n1\r\nOK\r\n", true, u"N35.39.29.000E139.44.51.000/1"},
        SimpleCase{"NoInfoLine", u"AT@LBC?\r\nN35:39:29\r\nE139:44:51\r\nOK\r\n", true, u"N35.39.29.000E139.44.51.000/"},
        SimpleCase{"LaterInfoWins", u"AT@LBC?\r\nx\r\nN1:2:3\r\nE4:5:6\r\ny\r\nOK\r\n", true, u"N1.2.3.000E4.5.6.000/y"},
        SimpleCase{"DashLinesSkipped", u"AT@LBC?\r\n--:--:--\r\nN1:2:3\r\nE4:5:6\r\nOK\r\n", true, u"N1.2.3.000E4.5.6.000/"},
        SimpleCase{"NoLongitude", u"AT@LBC?\r\nN35:39:29\r\n1\r\nOK\r\n", false, u""},
        SimpleCase{"NoFix", u"AT@LBC?\r\n--:--:--\r\n--:--:--\r\nOK\r\n", false, u""},
        SimpleCase{"WrongEcho", u"AT@LBC1\r\nN1:2:3\r\nE4:5:6\r\nOK\r\n", false, u""}),
    [](const auto& info) { return std::string(info.param.pszName); });

TEST(IdentifyAnswerTest, FirstMatchingEchoInTableOrder) {
    // Legend: answer -> identifier; "AT@K20" must win over its prefix "AT@K".
    const std::pair<std::u16string, int> cases[] = {
        {u"AT@K20\r\nOK\r\n", wsim::kK20}, {u"AT@K\r\nOK\r\n", wsim::kK},     {u"AT@K2\r\n", wsim::kK},
        {u"AT@LBC1\r\nOK\r\n", wsim::kLbc1}, {u"AT@LBC?\r\n", wsim::kLbcQuery}, {u"AT@LBC2\r\nOK\r\n", wsim::kLbc2},
        {u"ERROR\r\n", wsim::kUnknown},      {u"", wsim::kUnknown},               {u"AT@LBC3\r\n", wsim::kUnknown},
    };
    for (const auto& [strAnswer, nId] : cases) EXPECT_EQ(IdentifyAnswer(strAnswer), nId) << std::string(strAnswer.begin(), strAnswer.end());
}

TEST(IsAnswerCompleteTest, OnlyAFinalOkLineCompletes) {
    EXPECT_FALSE(IsAnswerComplete(u"OK\r"));
    EXPECT_TRUE(IsAnswerComplete(u"OK\r\n"));
    EXPECT_TRUE(IsAnswerComplete(u"AT@K20\r\n1,2\r\nOK\r\n"));
    EXPECT_FALSE(IsAnswerComplete(u"AT@K20\r\nERROR\r\n"));
    EXPECT_FALSE(IsAnswerComplete(u"AT@K20\r\nOK\r\n1"));
}

}  // namespace
}  // namespace vantrel
