// The data-line library as the program loads it: the real loader, stand-in libraries beside this
// test program.
#include "app/ConnectionManager.h"

#include <gtest/gtest.h>

#include "settings/TextUtil.h"
#include "support/LoaderRig.h"

namespace vantrel {
namespace {

// The fake libraries sit beside this test program and nowhere on the library search path, so
// loading them by bare name also shows that the program's folder is searched first.
class ConnectionManagerTest : public ::testing::Test, public test::LoaderRig {
protected:
    // The calls the fake library has seen, read through a handle of our own.
    std::string Calls(const std::u16string& strLibrary) {
        const LibraryHandle hLibrary = m_pLoader->Load(strLibrary);
        if (!hLibrary) return "(not loadable)";
        auto pfnCalls = reinterpret_cast<const char* (*)()>(m_pLoader->FindSymbol(hLibrary, "FakeDlgConnectCalls"));
        const std::string strCalls = pfnCalls ? pfnCalls() : "(no log)";
        m_pLoader->Free(hLibrary);
        return strCalls;
    }};

TEST_F(ConnectionManagerTest, ForwardsToTheObjectAndDeletesIt) {
    ConnectionManager conn(*m_pLoader, m_messages, u"libfakeconn_both.so");
    ASSERT_TRUE(conn.Init());
    EXPECT_EQ(conn.Connect(), 1);
    EXPECT_EQ(conn.Disconnect(), 2);
    EXPECT_EQ(conn.IsConnected(), 1);
    EXPECT_EQ(conn.GetConnection(), 7);
    // The library stays loaded only through our own handle from here on.
    const LibraryHandle hKeep = m_pLoader->Load(u"libfakeconn_both.so");
    conn.Release();
    EXPECT_FALSE(conn.HasObject());
    EXPECT_EQ(Calls(u"libfakeconn_both.so"), "create\nConnect\nDisconnect\nIsConnected\nGetConnection\ndelete\n");
    m_pLoader->Free(hKeep);
}

// Library -> Init result; no object, and every call answers 0.
TEST_F(ConnectionManagerTest, IncompleteOrMissingLibraries) {
    const struct {
        const char16_t* pszLibrary;
        bool bInit;
    } cases[] = {
        {u"libfakeconn_createonly.so", false},  // an object that could not be deleted is never made
        {u"libfakeconn_absent.so", true},  // the program runs on without a data-line library
    };
    for (const auto& c : cases) {
        ConnectionManager conn(*m_pLoader, m_messages, c.pszLibrary);
        EXPECT_EQ(conn.Init(), c.bInit) << Utf16ToUtf8(c.pszLibrary);
        EXPECT_FALSE(conn.HasObject());
        EXPECT_EQ(conn.Connect() + conn.Disconnect() + conn.IsConnected() + conn.GetConnection(), 0);
    }
    EXPECT_EQ(Calls(u"libfakeconn_createonly.so"), "");
}

}  // namespace
}  // namespace vantrel
