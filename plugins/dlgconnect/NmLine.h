#pragma once
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "NmSession.h"

namespace dlgconnect {

// NetworkManager as the data-line library sees it, with libnm kept out of the library itself: the
// client (an NmSession, in kNmModule) is loaded and started on a thread of the line's own, when an
// answer first needs it or once the delay given to Start is over, so the program's start never
// waits for it. A machine whose system bus is plainly absent is told apart at once and never loads
// the client: NetworkManager cannot be running there.
class NmLine {
public:
    // strConnection: the id or UUID of the connection brought up and down, empty for none. An answer
    // waits at most nReadyWaitMs, counted from the client's start, for NetworkManager's first state;
    // after that the answers come from memory.
    NmLine(std::string strConnection, int nReadyWaitMs);
    ~NmLine();
    NmLine(const NmLine&) = delete;
    NmLine& operator=(const NmLine&) = delete;

    // Loads and starts the client in the background after nDelayMs, unless an answer wants it
    // sooner or the line goes first; returns at once.
    void Start(int nDelayMs);

    bool IsActive();
    bool IsOnline();
    Outcome Activate(int nWaitMs);
    Outcome Deactivate(int nWaitMs);

private:
    void StartLocked(int nDelayMs);
    void WantLocked();
    void Run(int nDelayMs);
    void Load();
    NmSession* Session();
    Outcome Request(bool bUp, int nWaitMs);

    const std::string m_strConnection;
    const int m_nReadyWaitMs;
    std::string m_strUnreachable;  // why there can be no client, when that is known without one

    std::mutex m_mutex;
    std::condition_variable m_cv;
    std::thread m_loader;
    bool m_bStarted = false;
    bool m_bWanted = false;  // the client is to be loaded now
    bool m_bClosing = false;
    bool m_bLoaded = false;
    bool m_bSettled = false;  // the first state is in, or the wait for it is over
    std::chrono::steady_clock::time_point m_readyBy;
    std::unique_ptr<NmSession> m_pSession;
};

}  // namespace dlgconnect
