#include "deliver/WorkerThread.h"

#include <chrono>
#include <system_error>

#include "port/Clock.h"
#include "port/HttpTransport.h"

namespace vantrel {

WorkerThread::WorkerThread(Clock& clock, ThreadProc pProc) : m_clock(clock), m_pProc(pProc) {}

WorkerThread::~WorkerThread() {
    if (!m_thread.joinable()) return;
    Release(true);  // started but never run: let it end without doing its work
    m_thread.join();
}

int WorkerThread::Start(std::shared_ptr<HttpSession> pSession, const std::u16string& strUrl) {
    m_pRecord = std::make_shared<WorkerRecord>();
    m_pRecord->pSession = std::move(pSession);
    m_pRecord->strUrl = strUrl;
    m_nExitCode = 0;
    try {
        m_thread = std::thread(ThreadMain, m_pRecord, m_pProc);
    } catch (const std::system_error& error) {
        m_pRecord->nLastError = static_cast<std::uint32_t>(error.code().value());
        return -1;
    }
    return 0;
}

void WorkerThread::ThreadMain(std::shared_ptr<WorkerRecord> pRecord, ThreadProc pProc) {
    bool bCancelled = false;
    {
        std::unique_lock lock(pRecord->mutex);
        pRecord->changed.wait(lock, [&] { return pRecord->bResumed; });
        bCancelled = pRecord->bCancelled;
    }
    const int nExit = bCancelled ? 0 : pProc(*pRecord);
    std::lock_guard lock(pRecord->mutex);
    pRecord->nThreadExit = nExit;
    pRecord->bEnded = true;
    pRecord->changed.notify_all();
}

void WorkerThread::Release(bool bCancel) {
    std::lock_guard lock(m_pRecord->mutex);
    m_pRecord->bCancelled = bCancel;
    m_pRecord->bResumed = true;
    m_pRecord->changed.notify_all();
}

bool WorkerThread::WaitForEnd(std::uint32_t nMilliseconds) {
    std::unique_lock lock(m_pRecord->mutex);
    return m_pRecord->changed.wait_for(lock, std::chrono::milliseconds(nMilliseconds),
                                       [&] { return m_pRecord->bEnded; });
}

int WorkerThread::Run(std::uint32_t nPollInterval, const std::function<void()>& fnPoll) {
    m_nExitCode = 0;
    m_nStartTick = m_clock.TickCount();
    if (!m_thread.joinable()) {
        m_nExitCode = -1;
        return -2;
    }
    Release(false);
    const std::uint32_t nWait = nPollInterval == 0 ? 1 : nPollInterval;
    for (;;) {
        if (WaitForEnd(nWait)) {
            m_thread.join();
            m_nExitCode = m_pRecord->nThreadExit;
            return 0;
        }
        // Unsigned difference: the tick counter's wrap after 49 days does no harm.
        if (static_cast<std::uint32_t>(m_clock.TickCount() - m_nStartTick) >= m_nTimeout) return GiveUp();
        if (fnPoll) fnPoll();
    }
}

int WorkerThread::GiveUp() {
    {
        std::lock_guard lock(m_pRecord->mutex);
        if (m_pRecord->pSession) m_pRecord->pSession->Abort();  // makes the blocked open return
        m_pRecord->pSession.reset();
    }
    if (WaitForEnd(m_nTimeout)) {
        m_thread.join();
        m_nExitCode = m_pRecord->nThreadExit;
    } else {
        // A thread cannot be killed safely here; it keeps only the shared record alive and ends on
        // its own once the aborted call returns.
        m_thread.detach();
        m_nExitCode = -3;
    }
    std::lock_guard lock(m_pRecord->mutex);
    m_pRecord->pResult.reset();
    return -1;
}

std::shared_ptr<HttpSession> WorkerThread::TakeSession() {
    if (!m_pRecord) return nullptr;
    std::lock_guard lock(m_pRecord->mutex);
    return std::move(m_pRecord->pSession);
}

std::unique_ptr<HttpResponse> WorkerThread::TakeResult() {
    if (!m_pRecord) return nullptr;
    std::lock_guard lock(m_pRecord->mutex);
    return std::move(m_pRecord->pResult);
}

std::uint32_t WorkerThread::LastError() {
    if (!m_pRecord) return 0;
    std::lock_guard lock(m_pRecord->mutex);
    return m_pRecord->nLastError;
}

}  // namespace vantrel
