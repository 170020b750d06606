#include <gtest/gtest.h>

#include <map>

#include "acquire/WsimParsers.h"
#include "acquire/WsimSession.h"
#include "platform/headless/HeadlessUiThread.h"
#include "support/ManualClock.h"
#include "Transcript.h"
#include "SerialRig.h"

namespace vantrel {
namespace {

std::u16string Widen(const std::string& str) { return std::u16string(str.begin(), str.end()); }

// What the event-driven session made of one host line: the answer handed over and whether its
// completion was signalled.
struct Heard {
    std::u16string strAnswer;
    int nId = 0;
    bool bComplete = false;
};

// Guards the replay below against an empty list.
TEST(Transcript, EveryShippedTranscriptLoads) {
    ASSERT_GE(test::Transcript::ListShipped().size(), 10u);
    for (const std::string& strName : test::Transcript::ListShipped()) {
        test::Transcript transcript;
        std::string strError;
        EXPECT_TRUE(test::Transcript::Load(test::Transcript::DataDir() + "/" + strName, transcript, strError)) << strError;
    }
}

class TranscriptReplay : public testing::TestWithParam<std::string> {};

// Every shipped transcript is played, as recorded, by the module's side of a pseudo-terminal to the
// event-driven session over the real serial channel; its header says what the session and the
// parsers must make of it (tests/data/transcripts/README.md): csid=, position=, fails,
// incomplete, identify=N or hangup.
TEST_P(TranscriptReplay, GivesTheOutcomeItsHeaderStates) {
    test::Transcript transcript;
    std::string strError;
    ASSERT_TRUE(test::Transcript::Load(test::Transcript::DataDir() + "/" + GetParam(), transcript, strError)) << strError;
    const std::string strExpect = transcript.Header("expect");
    test::TranscriptPlayer player(transcript);
    ASSERT_TRUE(player.Start());
    test::SerialRig rig(player.DevicePath());
    WsimSession session(rig.Context());
    test::ManualClock clock;
    HeadlessUiThread ui(clock);
    int nCompletions = 0;
    session.SetNotify(&ui, [&] { ++nCompletions; });

    std::map<std::string, Heard> heard;  // by command
    std::string strCommand;
    for (const test::TranscriptStep& step : transcript.Steps()) {
        if (step.kind != test::TranscriptStep::Kind::Host) continue;
        const int nBefore = nCompletions;
        ASSERT_TRUE(session.SendAtCommand(step.strBytes));
        // An answer that never completes is judged once the module has said everything.
        test::WaitFor([&] {
            ui.RunPending();
            return nCompletions > nBefore || player.WaitDone(0);
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(nCompletions > nBefore ? 0 : 50));
        ui.RunPending();
        strCommand = step.strBytes.substr(0, step.strBytes.find('\r'));
        Heard& h = heard[strCommand];
        h.bComplete = nCompletions > nBefore;
        h.nId = session.Identify(h.strAnswer);
    }
    EXPECT_TRUE(player.WaitDone(5000));
    EXPECT_EQ(player.Mismatches(), std::vector<std::string>{});

    std::u16string strOut;
    const Heard& last = heard[strCommand];
    if (strExpect == "incomplete" || strExpect == "hangup") {
        EXPECT_FALSE(last.bComplete);
        // The reader reports the line gone once; nothing else is shown.
        const std::size_t nBoxes = strExpect == "hangup" ? 1 : 0;
        EXPECT_TRUE(test::WaitFor([&] { return rig.Boxes().Boxes().size() >= nBoxes; }, 3000));
        EXPECT_EQ(rig.Boxes().Boxes().size(), nBoxes);
    } else if (strExpect.rfind("identify=", 0) == 0) {
        EXPECT_TRUE(last.bComplete);
        EXPECT_EQ(last.nId, std::stoi(strExpect.substr(9)));
    } else if (strExpect == "fails") {
        EXPECT_TRUE(last.bComplete);
        EXPECT_FALSE(strCommand == "AT@K20" ? ParseCsId(last.strAnswer, strOut) : ParseSimpleCoordinates(last.strAnswer, strOut));
    } else if (strExpect.rfind("csid=", 0) == 0) {
        const Heard& k20 = heard["AT@K20"];
        EXPECT_TRUE(k20.bComplete);
        EXPECT_EQ(k20.nId, wsim::kK20);
        ASSERT_TRUE(ParseCsId(k20.strAnswer, strOut)) << test::EscapeBytes(Utf16ToUtf8(k20.strAnswer));
        EXPECT_EQ(strOut, Widen(strExpect.substr(5)));
    } else if (strExpect.rfind("position=", 0) == 0) {
        const Heard& query = heard["AT@LBC?"];
        EXPECT_TRUE(query.bComplete);
        EXPECT_EQ(query.nId, wsim::kLbcQuery);
        ASSERT_TRUE(ParseSimpleCoordinates(query.strAnswer, strOut)) << test::EscapeBytes(Utf16ToUtf8(query.strAnswer));
        EXPECT_EQ(strOut, Widen(strExpect.substr(9)));
    } else {
        ADD_FAILURE() << "unknown outcome " << strExpect;
    }
    for (const auto& [strSent, h] : heard)
        if (h.bComplete) EXPECT_TRUE(IsAnswerComplete(h.strAnswer)) << strSent;
}

INSTANTIATE_TEST_SUITE_P(Shipped, TranscriptReplay, testing::ValuesIn(test::Transcript::ListShipped()),
                         [](const auto& info) {
                             std::string strName = info.param.substr(0, info.param.find('.'));
                             for (char& c : strName) c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
                             return strName;
                         });

}  // namespace
}  // namespace vantrel
