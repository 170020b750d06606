#include "platform/qt/QtUiThread.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QObject>
#include <QThread>
#include <QTimerEvent>

#include <algorithm>

namespace vantrel {

namespace {

// USER_TIMER_MINIMUM: a shorter period would keep the loop busy.
constexpr std::uint32_t kMinPeriodMs = 10;

}  // namespace

// Receives the posted closures and the timers on the UI thread.
class QtUiThread::Context final : public QObject {
public:
    explicit Context(QtUiThread& owner) : m_owner(owner) {}

protected:
    void timerEvent(QTimerEvent* pEvent) override { m_owner.OnQtTimer(pEvent->timerId()); }

private:
    QtUiThread& m_owner;
};

QtUiThread::QtUiThread() : m_pContext(std::make_unique<Context>(*this)) {}

QtUiThread::~QtUiThread() {
    for (const auto& [nId, timer] : m_timers) m_pContext->killTimer(timer.nQtId);
}

bool QtUiThread::OnUiThread() const { return QThread::currentThread() == m_pContext->thread(); }

void QtUiThread::Post(std::function<void()> fn) {
    QMetaObject::invokeMethod(m_pContext.get(), std::move(fn), Qt::QueuedConnection);
}

void QtUiThread::SetTimer(std::uint32_t nId, std::uint32_t nPeriodMs, std::function<void()> fn) {
    if (!OnUiThread()) {
        Post([this, nId, nPeriodMs, fn = std::move(fn)]() mutable { SetTimer(nId, nPeriodMs, std::move(fn)); });
        return;
    }
    KillTimer(nId);
    const int nQtId = m_pContext->startTimer(static_cast<int>(std::max(nPeriodMs, kMinPeriodMs)));
    m_timers[nId] = Timer{nQtId, std::move(fn)};
}

void QtUiThread::KillTimer(std::uint32_t nId) {
    if (!OnUiThread()) {
        Post([this, nId] { KillTimer(nId); });
        return;
    }
    const auto it = m_timers.find(nId);
    if (it == m_timers.end()) return;
    m_pContext->killTimer(it->second.nQtId);
    m_timers.erase(it);
}

void QtUiThread::OnQtTimer(int nQtId) {
    const auto it = std::find_if(m_timers.begin(), m_timers.end(), [&](const auto& entry) { return entry.second.nQtId == nQtId; });
    if (it == m_timers.end()) return;
    const std::function<void()> fn = it->second.fn;  // the handler may kill or reset its own timer
    fn();
}

void QtUiThread::KeepPainting() { QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents); }

int QtUiThread::RunModal() { return RunModal(nullptr); }

int QtUiThread::RunModal(RunId* pnRun) {
    const RunId nRun = m_nNextRun++;
    if (pnRun) *pnRun = nRun;
    return RunLoop(m_frames.insert(m_frames.end(), Frame{nRun}));
}

// The main run is the application's own loop, so that QCoreApplication::quit and aboutToQuit
// work as everywhere in Qt.
int QtUiThread::Run() {
    const auto itFrame = m_frames.insert(m_frames.begin(), Frame{m_nNextRun++, false});
    if (!m_bQuit) {
        m_bInExec = true;
        const int nLoopCode = QCoreApplication::exec();
        m_bInExec = false;
        if (!m_bQuit) {
            m_bQuit = true;
            m_nExitCode = nLoopCode;
        }
    }
    m_frames.erase(itFrame);
    return m_nExitCode;
}

int QtUiThread::RunLoop(std::list<Frame>::iterator itFrame) {
    if (!m_bQuit) {
        QEventLoop loop;
        itFrame->pLoop = &loop;
        const int nLoopCode = loop.exec();
        itFrame->pLoop = nullptr;
        if (!itFrame->bEnded && !m_bQuit) {
            m_bQuit = true;
            m_nExitCode = nLoopCode;
        }
    }
    const int nCode = itFrame->bEnded ? itFrame->nCode : m_nExitCode;
    m_frames.erase(itFrame);
    return nCode;
}

void QtUiThread::EndModal(int nCode) {
    if (!OnUiThread()) {
        Post([this, nCode] { EndModal(nCode); });
        return;
    }
    const auto it = std::find_if(m_frames.rbegin(), m_frames.rend(), [](const Frame& f) { return f.bModal && !f.bEnded; });
    if (it != m_frames.rend()) EndRun(it->nId, nCode);
}

void QtUiThread::EndRun(RunId nRun, int nCode) {
    if (!OnUiThread()) {
        Post([this, nRun, nCode] { EndRun(nRun, nCode); });
        return;
    }
    const auto it = std::find_if(m_frames.begin(), m_frames.end(), [&](const Frame& f) { return f.nId == nRun; });
    if (it == m_frames.end() || it->bEnded) return;
    it->bEnded = true;
    it->nCode = nCode;
    if (it->pLoop) it->pLoop->exit(nCode);
}

void QtUiThread::Quit(int nExitCode) {
    if (!OnUiThread()) {
        Post([this, nExitCode] { Quit(nExitCode); });
        return;
    }
    if (m_bQuit) return;
    m_bQuit = true;
    m_nExitCode = nExitCode;
    for (Frame& frame : m_frames)
        if (frame.pLoop) frame.pLoop->exit(nExitCode);
    if (m_bInExec) QCoreApplication::exit(nExitCode);
}

}  // namespace vantrel
