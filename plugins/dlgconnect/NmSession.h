#pragma once
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
//
// The client lives in a module of its own (kNmModule), the only one linked with libnm and GLib: the
// data-line library loads it when an answer first needs NetworkManager, so that a program which
// never asks, or a machine without a system bus, does not pay for them.
class NmSession {
public:
    virtual ~NmSession() = default;

    // Waits at most nWaitMs for NetworkManager's first state (or for the news that it cannot be
    // had); true once it is in.
    virtual bool AwaitReady(int nWaitMs) = 0;

    // True while the configured connection is activated.
    virtual bool IsActive() const = 0;
    // True while NetworkManager reports the machine connected (local, site or global), and also
    // when NetworkManager is not there at all: then the machine's network is managed otherwise.
    virtual bool IsOnline() const = 0;

    // Activates the configured connection (or waits for an activation already under way) and
    // waits until it is activated.
    virtual Outcome Activate(int nWaitMs) = 0;
    // Deactivates it and waits until it is down; done at once when it is not active.
    virtual Outcome Deactivate(int nWaitMs) = 0;
};

// The module's entry point: a session for the connection named by its id or UUID (empty for none)
// on the system bus the environment names (DBUS_SYSTEM_BUS_ADDRESS), else the standard one. It
// starts at once and does not wait for NetworkManager.
using OpenNmSessionFn = NmSession* (*)(const char* pszConnection);
inline constexpr char kOpenNmSession[] = "DlgConnectOpenNmSession";
inline constexpr char kNmModule[] = "libdlgconnect-nm.so";

}  // namespace dlgconnect
