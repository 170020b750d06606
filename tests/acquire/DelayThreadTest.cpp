#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>

#include "acquire/DelayThread.h"
#include "port/Clock.h"
#include "port/Factories.h"

namespace vantrel {
namespace {

using Ms = std::chrono::milliseconds;

Ms Timed(const std::function<void()>& f) {
    const auto start = std::chrono::steady_clock::now();
    f();
    return std::chrono::duration_cast<Ms>(std::chrono::steady_clock::now() - start);
}

// Legend: the sleeper's delay on the real clock, what is done with the running guard -> the real
// time that takes at least and at most. The upper bounds are far above what is needed and far
// below the 60 s a wait that does not give up would take, so load cannot fail them; a wait cut
// short still fails the lower bound. Afterwards the guard has forgotten its sleeper.
TEST(DelayThread, NeverBlocksPastItsLimit) {
    const struct {
        const char* pszLegend;
        std::uint32_t nDelay;
        std::function<void(DelayThread&)> act;
        int nAtLeastMs;
    } cases[] = {
        {"an overrun is abandoned at the limit", 60000, [](DelayThread& g) { g.Wait(1000); }, 990},
        {"the sleeper ends long before the limit", 200, [](DelayThread& g) { g.Wait(60000); }, 150},
        {"starting again replaces a running sleeper", 60000, [](DelayThread& g) { g.Start(100), g.Wait(60000); }, 90},
    };
    const std::unique_ptr<Clock> pClock = CreateSystemClock();
    for (const auto& c : cases) {
        DelayThread guard(*pClock);
        ASSERT_TRUE(guard.Start(c.nDelay));
        EXPECT_TRUE(c.nDelay < 1000 || guard.IsRunning()) << c.pszLegend;
        const Ms waited = Timed([&] { c.act(guard); });
        EXPECT_GE(waited.count(), c.nAtLeastMs) << c.pszLegend;
        EXPECT_LT(waited, Ms(15000)) << c.pszLegend;
        EXPECT_FALSE(guard.IsRunning()) << c.pszLegend;
    }
    EXPECT_LT(Timed([&] { DelayThread(*pClock).Start(60000); }), Ms(15000)) << "destroying a running guard does not wait";
}

}  // namespace
}  // namespace vantrel
