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

namespace vantrel {
namespace {

using namespace std::string_literals;

// A real child: a shell script found along the path that writes its arguments, NUL-separated, to
// <script>.args and its process id to <script>.pid, and then keeps running.
class ProcessLauncherTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* pszPath = std::getenv("PATH");
        m_strOldPath = pszPath ? pszPath : "";
        setenv("PATH", (m_dir.Path() + ":" + m_strOldPath).c_str(), 1);
        test::WriteFileBytes(m_strScript, kScript);
        ::chmod(m_strScript.c_str(), 0755);
    }
    void TearDown() override { setenv("PATH", m_strOldPath.c_str(), 1); }

    // The child runs on its own; a generous bound only keeps a broken test from hanging.
    static std::string ReadWhenWritten(const std::string& strPath) {
        for (int i = 0; i < 1000 && ::access(strPath.c_str(), F_OK) != 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return test::ReadFileBytes(strPath);
    }

    static constexpr const char* kScript =
        "#!/bin/sh\n"
        "for a in \"$@\"; do printf '%s\\0' \"$a\"; done > \"$0.tmp\" && mv \"$0.tmp\" \"$0.args\"\n"
        "echo $$ > \"$0.tmp\" && mv \"$0.tmp\" \"$0.pid\"\n"
        "exec sleep 30\n";

    test::TempDir m_dir;
    std::string m_strOldPath;
    std::string m_strScript = m_dir.File("vantrel-rec");
    std::unique_ptr<ProcessLauncher> m_pLauncher = CreateProcessLauncher();
};

// A bare name is looked for along the path and its parameters split as a Windows program would;
// the launch returns while the program runs on, and the program never becomes our child.
TEST_F(ProcessLauncherTest, ProgramRunsOnDetachedWithParametersSplitTheWindowsWay) {
    // A quote first, 2n and 2n+1 backslashes before a quote, quoted blanks, a run of blanks, an
    // empty argument, and a run of three quotes (the third is literal and ends the quoting).
    EXPECT_TRUE(m_pLauncher->ShellOpen(u"vantrel-rec",
                                       u"\"C:\\dir\\\\\" http://x/?a=1&b=\"c d\" 東京\t\t\"\"\ta\\\\\\\"b \"e\"\"f g\""));
    const pid_t nPid = std::atoi(ReadWhenWritten(m_strScript + ".pid").c_str());
    ASSERT_GT(nPid, 0);
    EXPECT_EQ(ReadWhenWritten(m_strScript + ".args"), "C:\\dir\\\0http://x/?a=1&b=c d\0東京\0\0a\\\"b\0e\"f\0g\0"s);
    EXPECT_EQ(::kill(nPid, 0), 0) << "the launch returned only after the program ended";
    errno = 0;
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    ::kill(nPid, SIGTERM);
}

}  // namespace
}  // namespace vantrel
