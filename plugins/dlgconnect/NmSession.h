#pragma once
#include <memory>
#include <string>

namespace dlgconnect {

// What a request to NetworkManager came to: done, or the reason it was not.
struct Outcome {
    bool bDone = false;
    std::string strWhy;
};

// One client of NetworkManager, running on a GLib main context of its own on a thread of its own
// (the program's user-interface thread is no GLib loop). NetworkManager's change signals keep two
// answers in memory, so the questions never wait on the bus; the requests block their caller for
// at most the wait they are given. Everything is bounded: a missing bus or a missing
// NetworkManager makes the requests fail at once, never hang.
class NmSession {
public:
    // strConnection: the id (or UUID) of the connection this session brings up and down; empty
    // for none. The system bus is the one the environment names (DBUS_SYSTEM_BUS_ADDRESS), else
    // the standard one. Waits at most nReadyWaitMs for NetworkManager's first state.
    NmSession(std::string strConnection, int nReadyWaitMs);
    ~NmSession();
    NmSession(const NmSession&) = delete;
    NmSession& operator=(const NmSession&) = delete;

    // True while the configured connection is activated.
    bool IsActive() const;
    // True while NetworkManager reports the machine connected (local, site or global), and also
    // when NetworkManager is not there at all: then the machine's network is managed otherwise.
    bool IsOnline() const;

    // Activates the configured connection (or waits for an activation already under way) and
    // waits until it is activated.
    Outcome Activate(int nWaitMs);
    // Deactivates it and waits until it is down; done at once when it is not active.
    Outcome Deactivate(int nWaitMs);

private:
    struct Loop;
    std::unique_ptr<Loop> m_pLoop;
};

}  // namespace dlgconnect
