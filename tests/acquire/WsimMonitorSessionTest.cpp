#include <gtest/gtest.h>

#include "acquire/WsimMonitorSession.h"
#include "acquire/WsimParsers.h"
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
    EXPECT_FALSE(session.StartMonitor(nMode, {10, 3000, 20})) << "a running monitor is not started twice";
    ASSERT_TRUE(test::WaitFor([&] { return session.ReadingCount() >= 2; }));
    session.StopMonitor();
    EXPECT_NE(nMode, mode::kMonitor);
    EXPECT_TRUE(session.IsOpen()) << "the port stays open until the monitor session is closed";
    EXPECT_EQ(session.LatestText().rfind(u"N35.39.", 0), 0u) << Utf16ToUtf8(session.LatestText());
    EXPECT_NE(session.LatestText(), u"N35.39.29.000E139.44.51.000/1") << "the first reading was replaced";
    const auto commands = module.Commands();
    ASSERT_GE(commands.size(), 6u);
    EXPECT_EQ(std::vector<std::string>(commands.begin(), commands.begin() + 3),
              (std::vector<std::string>{"AT@LBC1", "AT@LBC?", "AT@LBC2"}));
    session.Close();
    EXPECT_FALSE(session.IsOpen());
}

// A send waits in steps until the answer is complete, and fails at its limit when "OK" never
// comes (the rig's clock sleeps a tenth of each step). The blocking session knows no bare "AT@K".
TEST(WsimMonitorSessionTest, SendWaitsForTheAnswerUpToItsLimit) {
    for (const char* pszNoFinal : {"", "*"}) {
        SCOPED_TRACE(pszNoFinal);
        EmulatorConfig config;
        config.strNoFinalOn = pszNoFinal;
        EmulatedModule module(CreatePseudoTerminal(), config);
        ASSERT_TRUE(module.Start());
        test::SerialRig rig(module.DevicePath());
        WsimMonitorSession session(rig.Context());
        EXPECT_FALSE(session.SendLbcQuery(10, 100)) << "not open yet";
        ASSERT_TRUE(session.Open());
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(session.SendLbcQuery(10, 3000), !*pszNoFinal);
        const auto elapsed = std::chrono::steady_clock::now() - start;
        EXPECT_LT(elapsed, std::chrono::milliseconds(*pszNoFinal ? 1000 : 200));
        EXPECT_GE(elapsed, std::chrono::milliseconds(*pszNoFinal ? 290 : 0));
        std::u16string strResponse;
        EXPECT_EQ(session.Identify(strResponse), wsim::kLbcQuery);
        session.OnReceive(u"AT@K\r\nOK\r\n");
        EXPECT_EQ(session.Identify(strResponse), wsim::kUnknown);
    }
}

}  // namespace
}  // namespace vantrel
