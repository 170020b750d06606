#include <gtest/gtest.h>

#include "support/SerialFixture.h"
#include "support/Transcript.h"
#include "support/TranscriptPlayer.h"

namespace vantrel {
namespace {

using test::Transcript;
using test::TranscriptStep;

TEST(Transcript, ParsesStepsEscapesAndHeaders) {
    Transcript transcript;
    std::string strError;
    ASSERT_TRUE(Transcript::Parse("# shows: a test\n# expect: csid=\n# free comment: with spaces\n"
                                  "> AT@K20\\r\\n\n< AT@K20\\r\\r\\n\n= 40\n< \\x7f \\\\\n! hangup\n",
                                  transcript, strError))
        << strError;
    EXPECT_EQ(transcript.Header("shows"), "a test");
    EXPECT_EQ(transcript.Header("expect"), "csid=");
    ASSERT_EQ(transcript.Steps().size(), 5u);
    EXPECT_EQ(transcript.Steps()[2].nMs, 40u);
    EXPECT_EQ(transcript.Steps()[4].kind, TranscriptStep::Kind::HangUp);
    EXPECT_EQ(transcript.HostBytes(), "AT@K20\r\n");
    EXPECT_EQ(transcript.ModuleBytes(), "AT@K20\r\r\n\x7f \\");
}

// Legend: a malformed transcript and the reason given for it.
TEST(Transcript, RejectsMalformedText) {
    const std::pair<const char*, const char*> cases[] = {
        {"# shows: x\n# expect: y\n< \\q\n", "line 3: bad escape"},
        {"# shows: x\n# expect: y\n< \\x4\n", "line 3: bad escape"},
        {"# shows: x\n# expect: y\n= soon\n", "line 3: a pause needs milliseconds"},
        {"# shows: x\n# expect: y\n* what\n", "line 3: unknown line kind"},
        {"# shows: x\n< OK\\r\\n\n", "missing \"# shows:\" or \"# expect:\" header"},
    };
    for (const auto& [pszText, pszError] : cases) {
        Transcript transcript;
        std::string strError;
        EXPECT_FALSE(Transcript::Parse(pszText, transcript, strError)) << pszText;
        EXPECT_EQ(strError, pszError) << pszText;
    }
}

TEST(Transcript, EveryShippedTranscriptLoads) {
    const std::vector<std::string> names = Transcript::ListShipped();
    ASSERT_GE(names.size(), 10u);
    for (const std::string& strName : names) {
        Transcript transcript;
        std::string strError;
        EXPECT_TRUE(Transcript::Load(Transcript::DataDir() + "/" + strName, transcript, strError)) << strError;
        EXPECT_FALSE(transcript.Answers().empty()) << strName;
    }
}

// Legend: fragment size and pause of the replay (0: each "< " line is one write).
struct Cutting {
    std::uint32_t nBytes;
    std::uint32_t nPauseMs;
};

class TranscriptReplay : public testing::TestWithParam<std::tuple<std::string, Cutting>> {};

// The serial channel hands the host exactly the module's bytes, whatever the cutting, and the
// module exactly the host's.
TEST_P(TranscriptReplay, DeliversTheModulesBytesUnchanged) {
    const auto& [strName, cutting] = GetParam();
    Transcript transcript;
    std::string strError;
    ASSERT_TRUE(Transcript::Load(Transcript::DataDir() + "/" + strName, transcript, strError)) << strError;
    bool bHangsUp = false;
    for (const TranscriptStep& step : transcript.Steps()) bHangsUp |= step.kind == TranscriptStep::Kind::HangUp;

    test::TranscriptPlayer player(transcript, {cutting.nBytes, cutting.nPauseMs, 5000});
    ASSERT_TRUE(player.Start());
    test::SerialServices services;
    test::ChunkCollector collector;
    SerialPort port(services.Context());
    port.SetListener(&collector);
    ASSERT_TRUE(port.Open(Utf8ToUtf16(player.DevicePath())));
    std::string strExpected;
    const std::vector<std::string> answers = transcript.Answers();
    std::size_t nAnswer = 0;
    for (const TranscriptStep& step : transcript.Steps()) {
        if (step.kind != TranscriptStep::Kind::Host) continue;
        ASSERT_TRUE(test::Send(port, step.strBytes));
        strExpected += answers[nAnswer++];
        ASSERT_TRUE(collector.WaitFor([&](const std::string& s) { return s.size() >= strExpected.size(); }, 5000))
            << test::EscapeBytes(collector.Text());
    }
    EXPECT_TRUE(player.WaitDone(5000));
    EXPECT_EQ(test::EscapeBytes(collector.Text()), test::EscapeBytes(strExpected));
    EXPECT_TRUE(player.Mismatches().empty()) << player.Mismatches().front();
    if (bHangsUp) {
        for (int i = 0; i < 300 && services.Texts().empty(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_EQ(services.Texts().size(), 1u);
    } else {
        EXPECT_TRUE(services.Texts().empty());
    }
    EXPECT_TRUE(port.closePort());
}

INSTANTIATE_TEST_SUITE_P(Serial, TranscriptReplay,
                         testing::Combine(testing::ValuesIn(Transcript::ListShipped()),
                                          testing::Values(Cutting{0, 0}, Cutting{1, 2}, Cutting{3, 15})),
                         [](const auto& info) {
                             std::string strName = std::get<0>(info.param);
                             strName = strName.substr(0, strName.size() - 4);
                             for (char& c : strName) c = (c == '-') ? '_' : c;
                             return strName + "_" + std::to_string(std::get<1>(info.param).nBytes);
                         });

}  // namespace
}  // namespace vantrel
