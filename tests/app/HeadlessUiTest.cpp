// The windowless program's UI loop and in-memory host: timers, and a modal run ended before it
// starts. (A run ended from another thread is every acquisition's, in the form's tests; the
// loop's own run and exit code are the program's, tested end to end.)
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

TEST_F(HeadlessUiThreadTest, DialogClosedBeforeItsRunEndsItAtOnce) {
    MemoryDialogHost host(m_ui);
    host.Close(2);
    EXPECT_EQ(host.RunModal(), 2);
}

}  // namespace
}  // namespace vantrel
