#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "app/ConnectionManager.h"
#include "settings/TextUtil.h"
#include "support/LoaderRig.h"
#include "support/MockNetworkManager.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

// The connections the mock NetworkManager knows, and how each one's activation goes there.
const test::MockNetworkManager::Connections kConnections = {
    {"office-lte", "up"}, {"slow-lte", "slow"}, {"no-sim", "fail:9"}, {"stuck", "hang"}, {"Wired connection 1", "up"}};
const char kSlowLteUuid[] = "2c0002b7-8e15-5b2b-9954-24d7613386ac";

// The real libdlgconnect.so, loaded as the program loads it, against python-dbusmock's
// NetworkManager on a system bus of the test's own.
class DlgConnectPluginTest : public ::testing::Test, public test::LoaderRig {
protected:
    void SetUp() override {
        if (!test::MockNetworkManager::Available())
            GTEST_SKIP() << "needs dbus-daemon and /usr/bin/python3 with python-dbusmock (python3-dbusmock)";
        ASSERT_TRUE(m_nm.BusReady());
        setenv("DBUS_SYSTEM_BUS_ADDRESS", m_nm.Address().c_str(), 1);
        setenv("VANTREL_HOME", m_home.Path().c_str(), 1);
        unsetenv("VANTREL_NM_CONNECTION");
    }
    void TearDown() override {
        unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
        unsetenv("VANTREL_HOME");
        unsetenv("VANTREL_NM_CONNECTION");
    }

    void Configure(const std::string& strText) { test::WriteFileBytes(m_home.File("dlgconnect.conf"), strText); }

    // The library hears of NetworkManager's own changes through its signals, a moment later.
    template <class Condition>
    static bool Eventually(Condition condition) {
        for (int i = 0; i < 500 && !condition(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return condition();
    }

    test::MockNetworkManager m_nm{kConnections};
    test::TempDir m_home;
    ConnectionManager m_conn{*m_pLoader, m_messages, Utf8ToUtf16(VANTREL_DLGCONNECT_PATH)};
};

TEST_F(DlgConnectPluginTest, ConnectEndsAsNetworkManagerSays) {
    ASSERT_TRUE(m_nm.StartService());
    // Someone else's connection, by name, is up throughout; it is neither ours nor taken down.
    Configure("connection=Wired connection 1\n");
    ASSERT_TRUE(m_conn.Init());
    ASSERT_EQ(m_conn.Connect(), 1);
    m_conn.Release();
    // Legend: connection= in dlgconnect.conf, wait= there (seconds), Connect's result, the reason
    // its line on standard error gives (none on success).
    const struct {
        const char* pszConnection;
        int nWaitSeconds;
        int nResult;
        const char* pszWhy;
    } cases[] = {
        {kSlowLteUuid, 10, 1, ""},  // by its UUID, and up only after a while
        {"no-sim", 10, 0, "NetworkManager gave up: no-secrets"},
        {"not-there", 10, 0, "NetworkManager has no connection by that name"},
        {"stuck", 1, 0, "not activated within 1000 ms"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszConnection);
        Configure(std::string("connection=") + c.pszConnection + "\nwait=" + std::to_string(c.nWaitSeconds) + "\n");
        ASSERT_TRUE(m_conn.Init());
        CaptureStderr();
        EXPECT_EQ(m_conn.Connect(), c.nResult);
        const std::string strLine =
            *c.pszWhy ? "dlgconnect: could not bring up \"" + std::string(c.pszConnection) + "\": " + c.pszWhy + "\n" : "";
        EXPECT_EQ(GetCapturedStderr(), strLine);
        EXPECT_EQ(m_conn.GetConnection(), c.nResult);
        if (c.nResult == 1) {
            EXPECT_EQ(m_conn.Disconnect(), 1);
            EXPECT_EQ(m_conn.GetConnection(), 0);
            EXPECT_EQ(m_nm.ActiveIds(), "Wired connection 1") << "ours is gone, not just going";
        }
        m_conn.Release();
    }
    Configure("connection=Wired connection 1\n");
    ASSERT_TRUE(m_conn.Init());
    EXPECT_EQ(m_conn.GetConnection(), 1);
}

TEST_F(DlgConnectPluginTest, LineFollowsNetworkManager) {
    ASSERT_TRUE(m_nm.StartService());
    Configure("connection=stuck\n");
    setenv("VANTREL_NM_CONNECTION", "office-lte", 1);  // wins over the file
    ASSERT_TRUE(m_conn.Init());
    ASSERT_EQ(m_conn.Connect(), 1);
    ASSERT_TRUE(m_nm.Drop("office-lte", 3));
    EXPECT_TRUE(Eventually([&] { return m_conn.GetConnection() == 0; })) << "the carrier was lost";
    EXPECT_EQ(m_conn.Connect(), 1);
    EXPECT_EQ(m_conn.GetConnection(), 1);

    m_nm.StopService();
    EXPECT_TRUE(Eventually([&] { return m_conn.GetConnection() == 0; })) << "NetworkManager went away";
    EXPECT_EQ(m_conn.IsConnected(), 0);
    CaptureStderr();
    EXPECT_EQ(m_conn.Connect(), 0);
    EXPECT_EQ(GetCapturedStderr(), "dlgconnect: could not bring up \"office-lte\": NetworkManager is not running\n");

    ASSERT_TRUE(m_nm.StartService());
    CaptureStderr();
    EXPECT_TRUE(Eventually([&] { return m_conn.Connect() == 1; })) << "NetworkManager came back";
    GetCapturedStderr();
}

TEST_F(DlgConnectPluginTest, UnconfiguredLineIsTheSystems) {
    ASSERT_TRUE(m_nm.StartService());
    ASSERT_TRUE(m_conn.Init());
    // Legend: NetworkManager's overall state (NMState), IsConnected. Each row changes the answer,
    // so each one has to come through the signals.
    const struct {
        unsigned nState;
        int nConnected;
    } cases[] = {{70, 1}, {20, 0}, {60, 1}, {10, 0}, {50, 1}, {40, 0}};
    for (const auto& c : cases) {
        ASSERT_TRUE(m_nm.SetState(c.nState));
        EXPECT_TRUE(Eventually([&] { return m_conn.IsConnected() == c.nConnected; })) << "state " << c.nState;
        EXPECT_EQ(m_conn.GetConnection(), 0) << "the program holds no line";
    }
    CaptureStderr();
    EXPECT_EQ(m_conn.Connect(), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "dlgconnect: no connection configured (set VANTREL_NM_CONNECTION or connection= in dlgconnect.conf)\n");
}

// Without a system bus nothing is connected, and a line cannot be had; a machine without one is
// taken to have its network managed otherwise.
TEST_F(DlgConnectPluginTest, WithoutTheSystemBusNothingIsConnected) {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + m_home.File("no-bus")).c_str(), 1);
    setenv("VANTREL_NM_CONNECTION", "office-lte", 1);
    ASSERT_TRUE(m_conn.Init());
    EXPECT_EQ(m_conn.IsConnected(), 0);
    CaptureStderr();
    EXPECT_EQ(m_conn.Connect(), 0);
    EXPECT_NE(GetCapturedStderr().find("cannot reach the system bus"), std::string::npos);
    m_conn.Release();

    unsetenv("VANTREL_NM_CONNECTION");
    ASSERT_TRUE(m_conn.Init());
    EXPECT_EQ(m_conn.IsConnected(), 1);
}

}  // namespace
}  // namespace vantrel
