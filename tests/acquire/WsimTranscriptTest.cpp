#include <gtest/gtest.h>

#include "acquire/WsimParsers.h"
#include "Transcript.h"

namespace vantrel {
namespace {

std::u16string Widen(const std::string& str) { return std::u16string(str.begin(), str.end()); }

std::string CommandOf(const std::string& strLine) { return strLine.substr(0, strLine.find('\r')); }

// The module's writes after the last host line (or the last one sending strOnly), one chunk each,
// as the reader would hand them over; strCommand receives that host line.
std::vector<std::string> AnswerChunks(const test::Transcript& transcript, const std::string& strOnly, std::string& strCommand) {
    std::vector<std::string> chunks, current;
    std::string strCurrent;
    for (const auto& step : transcript.Steps()) {
        if (step.kind == test::TranscriptStep::Kind::Host) {
            if (strOnly.empty() || CommandOf(strCurrent) == strOnly) {
                if (!strCurrent.empty()) chunks = current, strCommand = CommandOf(strCurrent);
            }
            current.clear();
            strCurrent = step.strBytes;
        }
        if (step.kind == test::TranscriptStep::Kind::Module) current.push_back(step.strBytes);
    }
    if (strOnly.empty() || CommandOf(strCurrent) == strOnly) chunks = current, strCommand = CommandOf(strCurrent);
    return chunks;
}

class WsimTranscriptTest : public testing::TestWithParam<std::string> {};

// Every shipped transcript says in its header what the AT layer must make of the last answer:
// csid=, position=, fails, incomplete, identify=N or hangup.
TEST_P(WsimTranscriptTest, LastAnswerGivesTheExpectedOutcome) {
    test::Transcript transcript;
    std::string strError;
    ASSERT_TRUE(test::Transcript::Load(test::Transcript::DataDir() + "/" + GetParam(), transcript, strError)) << strError;
    const std::string strExpect = transcript.Header("expect");
    ASSERT_FALSE(strExpect.empty());
    // A whole round is judged on the answer its outcome is about.
    const std::string strOnly = strExpect.rfind("position=", 0) == 0 ? "AT@LBC?" : strExpect.rfind("csid=", 0) == 0 ? "AT@K20" : "";
    std::string strCommand;

    // Completion is judged chunk by chunk: only the last chunk of a complete answer completes it.
    std::u16string strAnswer;
    const auto chunks = AnswerChunks(transcript, strOnly, strCommand);
    ASSERT_FALSE(strCommand.empty());
    for (std::size_t i = 0; i < chunks.size(); ++i) {
        strAnswer += Widen(chunks[i]);
        if (i + 1 < chunks.size()) EXPECT_FALSE(IsAnswerComplete(strAnswer)) << "chunk " << i;
    }
    const bool bComplete = IsAnswerComplete(strAnswer);
    std::u16string strOut;

    if (strExpect == "incomplete" || strExpect == "hangup") {
        EXPECT_FALSE(bComplete);
    } else if (strExpect.rfind("identify=", 0) == 0) {
        EXPECT_EQ(IdentifyAnswer(strAnswer), std::stoi(strExpect.substr(9)));
    } else if (strExpect == "fails") {
        EXPECT_TRUE(bComplete);
        const bool bParsed = strCommand == "AT@K20" ? ParseCsId(strAnswer, strOut) : ParseSimpleCoordinates(strAnswer, strOut);
        EXPECT_FALSE(bParsed) << strCommand;
    } else if (strExpect.rfind("csid=", 0) == 0) {
        EXPECT_TRUE(bComplete);
        EXPECT_EQ(IdentifyAnswer(strAnswer), wsim::kK20);
        ASSERT_TRUE(ParseCsId(strAnswer, strOut));
        EXPECT_EQ(strOut, Widen(strExpect.substr(5)));
    } else if (strExpect.rfind("position=", 0) == 0) {
        EXPECT_TRUE(bComplete);
        EXPECT_EQ(IdentifyAnswer(strAnswer), wsim::kLbcQuery);
        ASSERT_TRUE(ParseSimpleCoordinates(strAnswer, strOut));
        EXPECT_EQ(strOut, Widen(strExpect.substr(9)));
    } else {
        ADD_FAILURE() << "unknown outcome " << strExpect;
    }
}

INSTANTIATE_TEST_SUITE_P(Shipped, WsimTranscriptTest, testing::ValuesIn(test::Transcript::ListShipped()),
                         [](const auto& info) {
                             std::string strName = info.param.substr(info.param.find_last_of('/') + 1);
                             strName = strName.substr(0, strName.find('.'));
                             for (char& c : strName)
                                 if (!isalnum(static_cast<unsigned char>(c))) c = '_';
                             return strName;
                         });

}  // namespace
}  // namespace vantrel
