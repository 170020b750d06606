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
// client (an NmSession, in kNmModule) is loaded and started on a thread of the line's own when Start
// is called or an answer first needs it, so the program's start never waits for it. A machine whose
// system bus is plainly absent is told apart at once and never loads the client: NetworkManager
// cannot be running there.
class NmLine {
public:
    // strConnection: the id or UUID of the connection brought up and down, empty for none. An answer
    // waits at most nReadyWaitMs, counted from the start, for NetworkManager's first state; after
    // that the answers come from memory.
    NmLine(std::string strConnection, int nReadyWaitMs);
    ~NmLine();
    NmLine(const NmLine&) = delete;
    NmLine& operator=(const NmLine&) = delete;

    // Begins loading and starting the client; returns at once.
    void Start();

    bool IsActive();
    bool IsOnline();
    Outcome Activate(int nWaitMs);
    Outcome Deactivate(int nWaitMs);

private:
    void StartLocked();
    NmSession* Session();
    Outcome Request(bool bUp, int nWaitMs);
    void Load();

    const std::string m_strConnection;
    const int m_nReadyWaitMs;
    std::string m_strUnreachable;  // why there can be no client, when that is known without one

    std::mutex m_mutex;
    std::condition_variable m_cvLoaded;
    std::thread m_loader;
    bool m_bStarted = false;
    bool m_bLoaded = false;
    bool m_bSettled = false;  // the first state is in, or the wait for it is over
    std::chrono::steady_clock::time_point m_readyBy;
    std::unique_ptr<NmSession> m_pSession;
};

}  // namespace dlgconnect
