#include "app/ConnectionManager.h"

#include <dlfcn.h>

#include <gtest/gtest.h>

#include "settings/TextUtil.h"
#include "support/LoaderRig.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

// The fake libraries sit beside this test program and nowhere on the library search path, so
// loading them by bare name also shows that the program's folder is searched first.
class ConnectionManagerTest : public ::testing::Test, public test::LoaderRig {
protected:
    ConnectionManagerTest() {
        m_messages.SetFlags(MessageFacility::kLogToFile | MessageFacility::kShowBoxes);
        m_messages.SetLogFolder(m_dir.WidePath());
    }

    // The calls the fake library has seen, read through a handle of our own.
    std::string Calls(const std::u16string& strLibrary) {
        const LibraryHandle hLibrary = m_pLoader->Load(strLibrary);
        if (!hLibrary) return "(not loadable)";
        auto pfnCalls = reinterpret_cast<const char* (*)()>(m_pLoader->FindSymbol(hLibrary, "FakeDlgConnectCalls"));
        const std::string strCalls = pfnCalls ? pfnCalls() : "(no log)";
        m_pLoader->Free(hLibrary);
        return strCalls;
    }

    static bool IsLoaded(const std::u16string& strLibrary) {
        const std::string strPath = Utf16ToUtf8(strLibrary);
        void* hLibrary = ::dlopen(strPath.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (hLibrary) ::dlclose(hLibrary);
        return hLibrary != nullptr;
    }

    std::u16string Folder() const { return m_messages.LogFolder(); }

    test::TempDir m_dir;
};

TEST_F(ConnectionManagerTest, ForwardsToTheObjectAndDeletesIt) {
    ConnectionManager conn(*m_pLoader, m_messages, u"libfakeconn_both.so");
    ASSERT_TRUE(conn.Init());
    ASSERT_TRUE(conn.HasObject());
    EXPECT_EQ(conn.Connect(), 1);
    EXPECT_EQ(conn.Disconnect(), 2);
    EXPECT_EQ(conn.IsConnected(), 1);
    EXPECT_EQ(conn.GetConnection(), 7);
    // The library stays loaded only through our own handle from here on.
    const LibraryHandle hKeep = m_pLoader->Load(u"libfakeconn_both.so");
    conn.Release();
    EXPECT_FALSE(conn.HasObject());
    EXPECT_EQ(conn.Connect(), 0);
    EXPECT_EQ(conn.GetConnection(), 0);
    const std::string strFolder = Utf16ToUtf8(Folder());
    EXPECT_EQ(Calls(u"libfakeconn_both.so"), "create\nConnect 0 0 3000 3 " + strFolder + "\nDisconnect 3 " + strFolder +
                                                 "\nIsConnected\nGetConnection\ndelete\n");
    m_pLoader->Free(hKeep);
}

// Library -> Init result, object kept, library still loaded afterwards.
TEST_F(ConnectionManagerTest, IncompleteOrMissingLibraries) {
    const struct {
        const char16_t* pszLibrary;
        bool bInit;
    } cases[] = {
        {u"libfakeconn_createonly.so", false},  // an object that could not be deleted is never made
        {u"libfakeconn_none.so", false},
        {u"libfakeconn_absent.so", true},  // the program runs on without a data-line library
    };
    for (const auto& c : cases) {
        ConnectionManager conn(*m_pLoader, m_messages, c.pszLibrary);
        EXPECT_EQ(conn.Init(), c.bInit) << Utf16ToUtf8(c.pszLibrary);
        EXPECT_FALSE(conn.HasObject());
        EXPECT_EQ(conn.Connect(), 0);
        EXPECT_EQ(conn.Disconnect(), 0);
        EXPECT_EQ(conn.IsConnected(), 0);
        EXPECT_EQ(conn.GetConnection(), 0);
        const std::u16string strBeside = [&] {
            const std::u16string strExe = m_pSystemInfo->ExecutablePath();
            return strExe.substr(0, strExe.rfind(u'/') + 1) + c.pszLibrary;
        }();
        EXPECT_FALSE(IsLoaded(strBeside)) << Utf16ToUtf8(c.pszLibrary);
    }
    EXPECT_EQ(Calls(u"libfakeconn_createonly.so"), "");
}

}  // namespace
}  // namespace vantrel
