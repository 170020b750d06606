#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "deliver/WorkerThread.h"
#include "port/Factories.h"
#include "port/HttpTransport.h"
#include "port/Clock.h"

namespace vantrel {
namespace {

using namespace std::chrono_literals;

// A session whose open never returns on its own and ignores the abort for a while, as a stack
// stuck in a system call would.
class StuckSession final : public HttpSession {
public:
    bool SetTimeout(int, std::uint32_t, std::uint32_t&) override { return true; }
    std::unique_ptr<HttpResponse> SendRequest(const std::u16string&, std::uint16_t, const std::u16string&,
                                              const std::u16string&, HttpStage&, std::uint32_t&) override {
        return nullptr;
    }
    std::unique_ptr<HttpResponse> OpenUrl(const std::u16string&, std::uint32_t& nError) override {
        std::this_thread::sleep_for(400ms);
        nError = 99;
        return nullptr;
    }
    void Abort() override { m_bAborted = true; }
    std::atomic<bool> m_bAborted{false};
};

std::atomic<int> g_nEnded{0};

int OpenAndCount(WorkerRecord& record) {
    std::shared_ptr<HttpSession> pSession;
    {
        std::lock_guard lock(record.mutex);
        pSession = record.pSession;
    }
    std::uint32_t nError = 0;
    pSession->OpenUrl(record.strUrl, nError);
    std::lock_guard lock(record.mutex);
    record.nLastError = nError;
    ++g_nEnded;
    return 0;
}

TEST(WorkerThreadTest, WorkerThatIgnoresTheAbortIsLeftBehindNotWaitedFor) {
    std::unique_ptr<Clock> pClock = CreateSystemClock();
    auto pSession = std::make_shared<StuckSession>();
    const int nEndedBefore = g_nEnded;
    const auto start = std::chrono::steady_clock::now();
    {
        WorkerThread worker(*pClock, OpenAndCount);
        ASSERT_EQ(worker.Start(pSession, u"http://stuck/"), 0);
        worker.SetTimeout(50);
        EXPECT_EQ(worker.Run(10), -1);
        EXPECT_EQ(worker.ExitCode(), -3);
        EXPECT_EQ(worker.TakeSession(), nullptr);  // closed by the runner, never closed twice
        EXPECT_TRUE(pSession->m_bAborted);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 300ms);  // the limit and the grace wait only
    EXPECT_EQ(g_nEnded.load(), nEndedBefore);
    // The detached worker still owns what it touches and finishes on its own.
    for (int i = 0; i < 100 && g_nEnded == nEndedBefore; ++i) std::this_thread::sleep_for(10ms);
    EXPECT_EQ(g_nEnded.load(), nEndedBefore + 1);
}

}  // namespace
}  // namespace vantrel
