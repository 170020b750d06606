#include <gtest/gtest.h>

#include "support/SerialFixture.h"
#include "support/Transcript.h"
#include "support/TranscriptPlayer.h"

namespace vantrel {
namespace {

using test::Transcript;
using test::TranscriptStep;

// Guards the parameterised replays below and in WsimTranscriptTest against an empty list.
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
