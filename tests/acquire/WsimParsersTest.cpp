#include <gtest/gtest.h>

#include "acquire/WsimParsers.h"

namespace vantrel {
namespace {

// The line rules the recorded transcripts do not show (those are replayed in WsimTranscriptTest).
// Legend: the parser (K: ParseCsId, Q: ParseSimpleCoordinates), answer as received -> success and
// the text (the CS-ID, or the combined position text).
TEST(WsimParsers, LineRules) {
    const struct {
        const char* pszLegend;
        char cParser;
        std::u16string strAnswer;
        bool bOk;
        std::u16string strText;
    } cases[] = {
        {"reading stops at OK", 'K', u"AT@K20\r\n1,2\r\nOK\r\n3,4\r\n", true, u"1/2"},
        {"a tail without CR LF is not read", 'K', u"AT@K20\r\n1,2\r\n3,4", true, u"1/2"},
        {"no line end at all", 'K', u"AT@K20", false, u""},
        {"echo of another command", 'K', u"AT@K2\r\n1,2\r\nOK\r\n", false, u""},
        {"two extra CRs after the echo", 'K', u"AT@K20\r\r\r\n1,2\r\nOK\r\n", false, u""},
        {"noise before the echo", 'K', u"~~\r\nAT@K20\r\n1,2\r\nOK\r\n", false, u""},
        {"a later information line wins", 'Q', u"AT@LBC?\r\nx\r\nN1:2:3\r\nE4:5:6\r\ny\r\nOK\r\n", true, u"N1.2.3.000E4.5.6.000/y"},
        {"position answer echoing another command", 'Q', u"AT@LBC1\r\nN1:2:3\r\nE4:5:6\r\nOK\r\n", false, u""},
    };
    for (const auto& c : cases) {
        std::u16string strText = u"untouched";
        EXPECT_EQ(c.cParser == 'K' ? ParseCsId(c.strAnswer, strText) : ParseSimpleCoordinates(c.strAnswer, strText), c.bOk)
            << c.pszLegend;
        if (c.bOk) EXPECT_EQ(strText, c.strText) << c.pszLegend;
    }
}

TEST(WsimParsers, IdentifyTakesTheFirstMatchingEchoInTableOrder) {
    // Legend: answer -> identifier; "AT@K20" must win over its prefix "AT@K".
    const std::pair<std::u16string, int> cases[] = {
        {u"AT@K20\r\nOK\r\n", wsim::kK20}, {u"AT@K\r\nOK\r\n", wsim::kK},     {u"AT@K2\r\n", wsim::kK},
        {u"AT@LBC1\r\nOK\r\n", wsim::kLbc1}, {u"AT@LBC?\r\n", wsim::kLbcQuery}, {u"AT@LBC2\r\nOK\r\n", wsim::kLbc2},
        {u"ERROR\r\n", wsim::kUnknown},      {u"", wsim::kUnknown},               {u"AT@LBC3\r\n", wsim::kUnknown},
    };
    for (const auto& [strAnswer, nId] : cases) EXPECT_EQ(IdentifyAnswer(strAnswer), nId) << std::string(strAnswer.begin(), strAnswer.end());
}

TEST(WsimParsers, OnlyAFinalOkLineCompletes) {
    EXPECT_FALSE(IsAnswerComplete(u"OK\r"));
    EXPECT_TRUE(IsAnswerComplete(u"OK\r\n"));
    EXPECT_TRUE(IsAnswerComplete(u"AT@K20\r\n1,2\r\nOK\r\n"));
    EXPECT_FALSE(IsAnswerComplete(u"AT@K20\r\nERROR\r\n"));
    EXPECT_FALSE(IsAnswerComplete(u"AT@K20\r\nOK\r\n1"));
}

}  // namespace
}  // namespace vantrel
