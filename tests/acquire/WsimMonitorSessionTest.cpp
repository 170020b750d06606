#include <gtest/gtest.h>

#include "acquire/WsimMonitorSession.h"
#include "SerialRig.h"

namespace vantrel {
namespace {

TEST(WsimMonitorSessionTest, MonitorKeepsTheLatestReading) {
    EmulatorConfig config;
    config.nTrackEvery = 1;  // every reading moves the fix, so a second reading is visible
    EmulatedModule module(CreatePseudoTerminal(), config);
    ASSERT_TRUE(module.Start());
    test::SerialRig rig(module.DevicePath());
    WsimMonitorSession session(rig.Context());
    std::atomic<int> nMode{mode::kSimple};
    ASSERT_TRUE(session.StartMonitor(nMode, {10, 3000, 20}));
    EXPECT_EQ(nMode, mode::kMonitor);
    ASSERT_TRUE(test::WaitFor([&] { return session.ReadingCount() >= 2; }));
    session.StopMonitor();
    EXPECT_NE(nMode, mode::kMonitor);
    EXPECT_EQ(session.LatestText().rfind(u"N35.39.", 0), 0u) << Utf16ToUtf8(session.LatestText());
    EXPECT_NE(session.LatestText(), u"N35.39.29.000E139.44.51.000/1") << "the first reading was replaced";
    const auto commands = module.Commands();
    ASSERT_GE(commands.size(), 6u);
    EXPECT_EQ(std::vector<std::string>(commands.begin(), commands.begin() + 3),
              (std::vector<std::string>{"AT@LBC1", "AT@LBC?", "AT@LBC2"}));
}

// A send whose answer never ends in "OK" gives up at its limit (the rig's clock sleeps a tenth of
// each step, so 3000 ms are about 300 ms); the upper bound only tells a hang from a wait.
TEST(WsimMonitorSessionTest, SendGivesUpAtItsLimit) {
    EmulatorConfig config;
    config.strNoFinalOn = "*";
    EmulatedModule module(CreatePseudoTerminal(), config);
    ASSERT_TRUE(module.Start());
    test::SerialRig rig(module.DevicePath());
    WsimMonitorSession session(rig.Context());
    ASSERT_TRUE(session.Open());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(session.SendLbcQuery(10, 3000));
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(elapsed, std::chrono::milliseconds(290));
    EXPECT_LT(elapsed, std::chrono::milliseconds(10000));
}

}  // namespace
}  // namespace vantrel
