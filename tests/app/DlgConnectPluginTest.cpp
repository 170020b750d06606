#include <sys/stat.h>

#include <gtest/gtest.h>

#include <cstdlib>

#include "app/ConnectionManager.h"
#include "settings/TextUtil.h"
#include "support/LoaderRig.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

// The real libdlgconnect.so against a stand-in nmcli first on the search path: it appends its
// arguments to nmcli.log, keeps the connection brought up in nmcli.active (escaped as nmcli's terse
// output escapes it) and fails with FAKE_NMCLI_EXIT when that is set.
class DlgConnectPluginTest : public ::testing::Test, public test::LoaderRig {
protected:
    void SetUp() override {
        const char* pszPath = std::getenv("PATH");
        m_strOldPath = pszPath ? pszPath : "";
        setenv("PATH", (m_bin.Path() + ":" + m_strOldPath).c_str(), 1);
        setenv("VANTREL_HOME", m_home.Path().c_str(), 1);
        unsetenv("VANTREL_NM_CONNECTION");
        unsetenv("FAKE_NMCLI_EXIT");
        const std::string strScript = m_bin.File("nmcli");
        test::WriteFileBytes(strScript,
                             "#!/bin/sh\n"
                             "printf '%s\\n' \"$*\" >> \"$0.log\"\n"
                             "[ -n \"$FAKE_NMCLI_EXIT\" ] && exit \"$FAKE_NMCLI_EXIT\"\n"
                             "for last; do :; done\n"
                             "case \"$*\" in\n"
                             "  *'show --active') echo 'Wired connection 1'; cat \"$0.active\" 2>/dev/null ;;\n"
                             "  *'STATE general') echo \"${FAKE_NM_STATE:-connected}\" ;;\n"
                             "  *' up id '*) printf '%s\\n' \"$last\" | sed 's/[\\\\:]/\\\\&/g' > \"$0.active\" ;;\n"
                             "  *' down id '*) rm -f \"$0.active\" ;;\n"
                             "esac\n");
        ::chmod(strScript.c_str(), 0755);
    }
    void TearDown() override {
        setenv("PATH", m_strOldPath.c_str(), 1);
        unsetenv("VANTREL_HOME");
        unsetenv("VANTREL_NM_CONNECTION");
        unsetenv("FAKE_NMCLI_EXIT");
    }

    std::string NmcliLog() { return test::ReadFileBytes(m_bin.File("nmcli.log")); }

    test::TempDir m_bin;
    test::TempDir m_home;
    std::string m_strOldPath;
    ConnectionManager m_conn{*m_pLoader, m_messages, Utf8ToUtf16(VANTREL_DLGCONNECT_PATH)};
};

TEST_F(DlgConnectPluginTest, BringsTheNamedConnectionUpAndDown) {
    setenv("VANTREL_NM_CONNECTION", "office-lte", 1);
    ASSERT_TRUE(m_conn.Init());
    ASSERT_TRUE(m_conn.HasObject());
    EXPECT_EQ(m_conn.IsConnected(), 0);
    EXPECT_EQ(m_conn.Connect(), 1);
    EXPECT_EQ(m_conn.IsConnected(), 1);
    EXPECT_EQ(m_conn.GetConnection(), 1);
    EXPECT_EQ(m_conn.Disconnect(), 1);
    EXPECT_EQ(m_conn.GetConnection(), 0);
    EXPECT_EQ(NmcliLog(),
              "-t -f NAME connection show --active\n"
              "--wait 3 connection up id office-lte\n"
              "-t -f NAME connection show --active\n"
              "-t -f NAME connection show --active\n"
              "connection down id office-lte\n"
              "-t -f NAME connection show --active\n");
}

TEST_F(DlgConnectPluginTest, ConfigurationFileNamesConnectionAndWait) {
    test::WriteFileBytes(m_home.File("dlgconnect.conf"), "# data line\nconnection = Home: LTE\\2\nwait=7\n");
    ASSERT_TRUE(m_conn.Init());
    EXPECT_EQ(m_conn.Connect(), 1);
    EXPECT_EQ(m_conn.IsConnected(), 1);  // listed by nmcli as "Home\: LTE\\2"
    EXPECT_EQ(NmcliLog(), "--wait 7 connection up id Home: LTE\\2\n-t -f NAME connection show --active\n");
}

TEST_F(DlgConnectPluginTest, EnvironmentWinsOverTheFile) {
    test::WriteFileBytes(m_home.File("dlgconnect.conf"), "connection=from-file\n");
    setenv("VANTREL_NM_CONNECTION", "from-env", 1);
    ASSERT_TRUE(m_conn.Init());
    EXPECT_EQ(m_conn.Disconnect(), 1);
    EXPECT_EQ(NmcliLog(), "connection down id from-env\n");
}

TEST_F(DlgConnectPluginTest, FailingNmcliIsAFailure) {
    setenv("VANTREL_NM_CONNECTION", "office-lte", 1);
    setenv("FAKE_NMCLI_EXIT", "4", 1);
    ASSERT_TRUE(m_conn.Init());
    EXPECT_EQ(m_conn.Connect(), 0);
    EXPECT_EQ(m_conn.Disconnect(), 0);
    EXPECT_EQ(m_conn.IsConnected(), 0);
}

TEST_F(DlgConnectPluginTest, UnconfiguredLineIsTheSystems) {
    // Legend: NetworkManager's state (empty: no nmcli at all), IsConnected.
    const struct {
        const char* pszState;
        int nConnected;
    } cases[] = {{"connected", 1}, {"connected (site only)", 1}, {"disconnected", 0}, {"asleep", 0}, {"", 1}};
    for (const auto& c : cases) {
        if (*c.pszState) setenv("FAKE_NM_STATE", c.pszState, 1);
        else setenv("PATH", m_bin.File("none").c_str(), 1);
        ConnectionManager conn{*m_pLoader, m_messages, Utf8ToUtf16(VANTREL_DLGCONNECT_PATH)};
        ASSERT_TRUE(conn.Init());
        EXPECT_EQ(conn.IsConnected(), c.nConnected) << c.pszState;
        EXPECT_EQ(conn.GetConnection(), 0) << "the program holds no line";
        EXPECT_EQ(conn.Connect(), 0);
        EXPECT_EQ(conn.Disconnect(), 0);
        conn.Release();
    }
    unsetenv("FAKE_NM_STATE");
    EXPECT_EQ(NmcliLog().find(" up "), std::string::npos) << "nothing was brought up";
}

}  // namespace
}  // namespace vantrel
