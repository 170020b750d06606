// The windowless program's UI loop and in-memory host: timers, its run and a modal run ended
// before it starts. (Modal runs ended from another thread are every acquisition's, in the
// form's tests.)
#include <gtest/gtest.h>

#include <vector>

#include "platform/headless/HeadlessUiThread.h"
#include "platform/headless/MemoryDialogHost.h"
#include "support/ManualClock.h"

namespace vantrel {
namespace {

class HeadlessUiThreadTest : public ::testing::Test {
protected:
    test::ManualClock m_clock;
    HeadlessUiThread m_ui{m_clock};
};

TEST_F(HeadlessUiThreadTest, TimersKeepTheirOwnPeriodsAndMayKillThemselves) {
    std::vector<int> fired;
    m_ui.SetTimer(100, 1000, [&] { fired.push_back(100); });
    m_ui.SetTimer(102, 1500, [&] {
        fired.push_back(102);
        m_ui.KillTimer(102);
    });
    for (int i = 0; i < 4; ++i) {
        m_clock.Advance(500);
        m_ui.RunPending();
    }
    EXPECT_EQ(fired, (std::vector<int>{100, 102, 100}));
    EXPECT_FALSE(m_ui.HasTimer(102));
}

// The windowless program's own loop (its monitor runs in it until Ctrl+C): it ends with the code
// of the Quit that a timer gives.
TEST_F(HeadlessUiThreadTest, RunEndsWithTheCodeGivenToQuit) {
    m_ui.SetTimer(102, 1000, [&] { m_ui.Quit(3); });
    m_clock.Advance(1000);
    EXPECT_EQ(m_ui.Run(), 3);
}

TEST_F(HeadlessUiThreadTest, DialogClosedBeforeItsRunEndsItAtOnce) {
    MemoryDialogHost host(m_ui);
    host.Close(2);
    EXPECT_EQ(host.RunModal(), 2);
}

}  // namespace
}  // namespace vantrel
