#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "acquire/DelayThread.h"
#include "port/Clock.h"
#include "port/Factories.h"

namespace vantrel {
namespace {

using Ms = std::chrono::milliseconds;

class DelayThreadTest : public testing::Test {
protected:
    template <class F>
    static Ms Timed(F f) {
        const auto start = std::chrono::steady_clock::now();
        f();
        return std::chrono::duration_cast<Ms>(std::chrono::steady_clock::now() - start);
    }

    std::unique_ptr<Clock> m_pClock = CreateSystemClock();
};

// Legend: sleeper's delay, Wait limit, the real time Wait takes at least and at most.
struct WaitCase {
    std::uint32_t nDelay;
    std::uint32_t nLimit;
    int nAtLeastMs;
    int nAtMostMs;
};

class DelayThreadWait : public DelayThreadTest, public testing::WithParamInterface<WaitCase> {};

TEST_P(DelayThreadWait, NeverBlocksPastItsLimitAndForgetsTheSleeper) {
    DelayThread guard(*m_pClock);
    ASSERT_TRUE(guard.Start(GetParam().nDelay));
    if (GetParam().nDelay > 1000) EXPECT_TRUE(guard.IsRunning());
    const Ms waited = Timed([&] { guard.Wait(GetParam().nLimit); });
    EXPECT_GE(waited.count(), GetParam().nAtLeastMs);
    EXPECT_LE(waited.count(), GetParam().nAtMostMs);
    EXPECT_FALSE(guard.IsRunning());
}

INSTANTIATE_TEST_SUITE_P(Serial, DelayThreadWait,
                         testing::Values(WaitCase{60000, 1000, 990, 1150},  // overrun: abandoned at the limit
                                         WaitCase{60000, 1, 0, 150},        // shorter than one slice
                                         WaitCase{0, 1000, 0, 150},         // nothing to sleep
                                         WaitCase{200, 60000, 150, 450}));  // ends long before the limit

TEST_F(DelayThreadTest, StartingAgainReplacesARunningSleeper) {
    DelayThread guard(*m_pClock);
    ASSERT_TRUE(guard.Start(60000));
    const Ms waited = Timed([&] { ASSERT_TRUE(guard.Start(100)); });
    EXPECT_LT(waited, Ms(150));
    EXPECT_EQ(guard.Delay(), 100u);
    EXPECT_TRUE(guard.IsRunning());
    guard.Wait(2000);
    EXPECT_FALSE(guard.IsRunning());
}

TEST_F(DelayThreadTest, DestroyingARunningGuardDoesNotWaitForItsDelay) {
    const Ms waited = Timed([&] {
        DelayThread guard(*m_pClock);
        ASSERT_TRUE(guard.Start(60000));
    });
    EXPECT_LT(waited, Ms(200));
}

}  // namespace
}  // namespace vantrel
