#pragma once
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TempDir.h"

typedef struct _GDBusConnection GDBusConnection;
typedef struct _GVariant GVariant;

namespace vantrel::test {

// A system bus of the test's own (dbus-daemon with a configuration written here) and, once
// started, python-dbusmock's NetworkManager on it (networkmanager_mock.py beside this file) with
// the given connections, each with the way its activation goes (see there). A client finds it
// through DBUS_SYSTEM_BUS_ADDRESS=Address(). Everything stops when the object goes.
class MockNetworkManager {
public:
    using Connections = std::vector<std::pair<std::string, std::string>>;  // id, behaviour

    explicit MockNetworkManager(Connections connections = {});
    ~MockNetworkManager();
    MockNetworkManager(const MockNetworkManager&) = delete;
    MockNetworkManager& operator=(const MockNetworkManager&) = delete;

    // dbus-daemon, and /usr/bin/python3 with Debian's python-dbusmock (python3-dbusmock).
    static bool Available();
    const std::string& Address() const { return m_strAddress; }
    bool BusReady() const { return m_pBus != nullptr; }

    // NetworkManager appears on the bus, answering; false when it did not within 10 s.
    bool StartService();
    // NetworkManager leaves the bus; the bus itself goes away.
    void StopService();
    void StopBus();

    // What NetworkManager does by itself: a new overall state (an NMState value), a connection
    // that goes down unasked with a reason (an NMActiveConnectionStateReason value).
    bool SetState(unsigned nState);
    bool Drop(const std::string& strId, unsigned nReason);
    // The ids of the activations NetworkManager lists, whatever their state, joined by ",".
    std::string ActiveIds();

private:
    // A method of the mock's own interface; pParams is consumed when floating.
    bool CallMock(const char* pszMethod, GVariant* pParams);

    TempDir m_dir;
    Connections m_connections;
    std::unique_ptr<ChildProcess> m_pDaemon;
    std::unique_ptr<ChildProcess> m_pService;
    std::string m_strAddress;
    GDBusConnection* m_pBus = nullptr;
};

}  // namespace vantrel::test
