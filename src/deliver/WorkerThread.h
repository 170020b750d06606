#pragma once
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace vantrel {

class Clock;
class HttpResponse;
class HttpSession;

// What the worker and its runner share. It lives as long as either holds it, so a worker that is
// given up on and detached never touches freed memory.
struct WorkerRecord {
    std::shared_ptr<HttpSession> pSession;  // lent by the caller; empty once the runner closed it
    std::unique_ptr<HttpResponse> pResult;  // the opened URL, if any
    std::uint32_t nLastError = 0;
    std::u16string strUrl;

    std::mutex mutex;
    std::condition_variable changed;
    bool bResumed = false;
    bool bCancelled = false;
    bool bEnded = false;
    int nThreadExit = 0;
};

// Runs one blocking network call on its own thread under a hard limit, so that a call that hangs
// can never freeze the caller. The thread is created held back and released by Run.
class WorkerThread {
public:
    using ThreadProc = int (*)(WorkerRecord& record);

    static constexpr std::uint32_t kDefaultTimeout = 300000;

    WorkerThread(Clock& clock, ThreadProc pProc);
    ~WorkerThread();
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    // 0, or -1 with the error saved when no thread could be created.
    int Start(std::shared_ptr<HttpSession> pSession, const std::u16string& strUrl);
    void SetTimeout(std::uint32_t nMilliseconds) { m_nTimeout = nMilliseconds; }
    // 0 finished, -1 timed out, -2 the thread could not be run. fnPoll runs after each poll step
    // that did not see the end.
    int Run(std::uint32_t nPollInterval, const std::function<void()>& fnPoll = {});

    // The session back from the worker: empty when it was closed on a time-out.
    std::shared_ptr<HttpSession> TakeSession();
    std::unique_ptr<HttpResponse> TakeResult();
    std::uint32_t LastError();
    int ExitCode() const { return m_nExitCode; }

private:
    static void ThreadMain(std::shared_ptr<WorkerRecord> pRecord, ThreadProc pProc);
    bool WaitForEnd(std::uint32_t nMilliseconds);
    int GiveUp();
    void Release(bool bCancel);

    Clock& m_clock;
    ThreadProc m_pProc;
    std::shared_ptr<WorkerRecord> m_pRecord;
    std::thread m_thread;
    std::uint32_t m_nTimeout = kDefaultTimeout;
    std::uint32_t m_nStartTick = 0;
    int m_nExitCode = 0;
};

}  // namespace vantrel
