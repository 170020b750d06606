#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "support/TempDir.h"
#include "port/ProcessLauncher.h"
#include "settings/TextUtil.h"

namespace vantrel {
namespace {

using Args = std::vector<std::string>;

// Real children: small shell scripts that write their arguments, NUL-separated, to <script>.args.
class ProcessLauncherTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* pszPath = std::getenv("PATH");
        m_strOldPath = pszPath ? pszPath : "";
        setenv("PATH", (m_dir.Path() + ":" + m_strOldPath).c_str(), 1);
        m_strRecorder = WriteScript("vantrel-rec", kRecordScript);
    }
    void TearDown() override { setenv("PATH", m_strOldPath.c_str(), 1); }

    std::string WriteScript(const std::string& strName, const std::string& strBody) {
        const std::string strPath = m_dir.File(strName);
        test::WriteFileBytes(strPath, strBody);
        ::chmod(strPath.c_str(), 0755);
        return strPath;
    }

    // The children run on their own; a generous bound only keeps a broken test from hanging.
    static bool WaitForFile(const std::string& strPath) {
        for (int i = 0; i < 1000; ++i) {
            if (::access(strPath.c_str(), F_OK) == 0) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    Args RecordedArgs(const std::string& strScript) {
        if (!WaitForFile(strScript + ".args")) return {"(never ran)"};
        const std::string strBytes = test::ReadFileBytes(strScript + ".args");
        Args args;
        std::size_t nStart = 0;
        for (std::size_t nEnd; (nEnd = strBytes.find('\0', nStart)) != std::string::npos; nStart = nEnd + 1)
            args.push_back(strBytes.substr(nStart, nEnd - nStart));
        return args;
    }

    static constexpr const char* kRecordScript =
        "#!/bin/sh\n"
        "for a in \"$@\"; do printf '%s\\0' \"$a\"; done > \"$0.tmp\" && mv \"$0.tmp\" \"$0.args\"\n";

    test::TempDir m_dir;
    std::string m_strOldPath;
    std::string m_strRecorder;
    std::unique_ptr<ProcessLauncher> m_pLauncher = CreateProcessLauncher();
};

// A bare name is looked for along the path, and its parameters split as a Windows program would.
TEST_F(ProcessLauncherTest, ProgramGetsParametersSplitTheWindowsWay) {
    EXPECT_TRUE(m_pLauncher->ShellOpen(u"vantrel-rec", u"http://x/?a=1&b=\"c d\" \"C:\\dir\\\\\" 東京"));
    EXPECT_EQ(RecordedArgs(m_strRecorder), (Args{"http://x/?a=1&b=c d", "C:\\dir\\", "東京"}));
}

TEST_F(ProcessLauncherTest, MissingProgramIsReported) {
    EXPECT_FALSE(m_pLauncher->Spawn({u"vantrel-no-such-program"}));
    EXPECT_FALSE(m_pLauncher->ShellOpen(u"", u"a"));
}

TEST_F(ProcessLauncherTest, ChildRunsOnWithoutBlockingOrBecomingOurs) {
    const std::string strHold = WriteScript("hold", "#!/bin/sh\necho $$ > \"$0.tmp\" && mv \"$0.tmp\" \"$0.pid\"\nexec sleep 30\n");
    EXPECT_TRUE(m_pLauncher->ShellOpen(Utf8ToUtf16(strHold), u""));
    ASSERT_TRUE(WaitForFile(strHold + ".pid"));
    const pid_t nPid = std::atoi(test::ReadFileBytes(strHold + ".pid").c_str());
    ASSERT_GT(nPid, 0);
    EXPECT_EQ(::kill(nPid, 0), 0) << "the launch returned only after the program ended";
    // The intermediate child is reaped and the program itself was never our child.
    errno = 0;
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    ::kill(nPid, SIGTERM);
}

}  // namespace
}  // namespace vantrel
