#include <gtest/gtest.h>

#include "acquire/WsimParsers.h"
#include "settings/TextUtil.h"

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
        std::u16string strText;
        EXPECT_EQ(c.cParser == 'K' ? ParseCsId(c.strAnswer, strText) : ParseSimpleCoordinates(c.strAnswer, strText), c.bOk)
            << c.pszLegend;
        if (c.bOk) {
            EXPECT_EQ(strText, c.strText) << c.pszLegend;
        }
    }
}

// Legend: answer -> identifier ("AT@K20" must win over its prefix "AT@K"), and whether it is complete
// (only a final "OK" line completes).
TEST(WsimParsers, IdentifyAndCompletion) {
    const struct {
        std::u16string strAnswer;
        int nId;
        bool bComplete;
    } cases[] = {
        {u"AT@K20\r\nOK\r\n", wsim::kK20, true}, {u"AT@K\r\nOK\r\n", wsim::kK, true},
        {u"AT@K2\r\n", wsim::kK, false},         {u"AT@LBC1\r\nOK\r\n", wsim::kLbc1, true},
        {u"AT@LBC?\r\n", wsim::kLbcQuery, false}, {u"AT@LBC2\r\nOK\r\n", wsim::kLbc2, true},
        {u"ERROR\r\n", wsim::kUnknown, false},    {u"", wsim::kUnknown, false},
        {u"AT@LBC3\r\nOK\r", wsim::kUnknown, false}, {u"AT@K20\r\nERROR\r\n", wsim::kK20, false},
        {u"AT@K20\r\nOK\r\n1", wsim::kK20, false}, {u"OK\r\n", wsim::kUnknown, true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(IdentifyAnswer(c.strAnswer), c.nId) << Utf16ToUtf8(c.strAnswer);
        EXPECT_EQ(IsAnswerComplete(c.strAnswer), c.bComplete) << Utf16ToUtf8(c.strAnswer);
    }
}

}  // namespace
}  // namespace vantrel
