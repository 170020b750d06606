#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "ScriptedMailPeer.h"
#include "deliver/MailClient.h"
#include "port/Factories.h"
#include "port/Sockets.h"
#include "support/ManualClock.h"
#include "settings/TextUtil.h"
#include "support/TempDir.h"

extern char** environ;

namespace vantrel {
namespace {

const char kPython[] = "/usr/bin/python3";
const std::string kSinkDir = VANTREL_MAIL_SINK_DIR;

// aiosmtpd in a child process, stopped (and reaped) when the test ends however it ends.
class SmtpServerProcess {
public:
    SmtpServerProcess(std::uint16_t nPort, const std::string& strFolder) {
        const std::string strListen = "127.0.0.1:" + std::to_string(nPort);
        const std::string strPath = "PYTHONPATH=" + kSinkDir;
        const char* argv[] = {kPython, "-m", "aiosmtpd", "-n", "-l", strListen.c_str(),
                              "-c", "mail_sink.FileSink", strFolder.c_str(), nullptr};
        // No bytecode cache: it would land in the source tree.
        const char* envp[] = {strPath.c_str(), "LANG=C.UTF-8", "PYTHONDONTWRITEBYTECODE=1", nullptr};
        if (posix_spawn(&m_pid, kPython, nullptr, nullptr, const_cast<char**>(argv), const_cast<char**>(envp)) != 0)
            m_pid = -1;
    }
    ~SmtpServerProcess() {
        if (m_pid <= 0) return;
        kill(m_pid, SIGTERM);
        int nStatus = 0;
        waitpid(m_pid, &nStatus, 0);
    }
    bool Running() const { return m_pid > 0 && waitpid(m_pid, nullptr, WNOHANG) == 0; }

private:
    pid_t m_pid = -1;
};

bool AiosmtpdAvailable() {
    return access(kPython, X_OK) == 0 &&
           std::system((std::string(kPython) + " -c 'import aiosmtpd' >/dev/null 2>&1").c_str()) == 0;
}

// The server is ready once it accepts a connection (and shows its greeting).
bool WaitUntilListening(Sockets& sockets, std::uint16_t nPort) {
    std::uint32_t nAddress = 0;
    sockets.ParseDottedAddress("127.0.0.1", nAddress);
    for (int i = 0; i < 100; ++i) {
        const SocketHandle h = sockets.OpenStream();
        const bool bUp = sockets.Connect(h, nAddress, nPort);
        sockets.Close(h);
        if (bUp) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return false;
}

TEST(MailToRealServer, JapaneseSubjectAndBodyComeBackIntact) {
    if (!AiosmtpdAvailable())
        GTEST_SKIP() << "needs /usr/bin/python3 with the aiosmtpd module (Debian package python3-aiosmtpd)";
    test::TempDir dir;
    const std::uint16_t nPort = test::UnusedLoopbackPort();
    SmtpServerProcess server(nPort, dir.Path());
    const std::unique_ptr<Sockets> pSockets = CreateSockets();
    ASSERT_TRUE(WaitUntilListening(*pSockets, nPort)) << "aiosmtpd did not start on port " << nPort;

    test::ManualClock clock(test::MakeTime(2009, 8, 4, 12, 0, 0), -540);
    MailClient client(*pSockets, clock, 10000);
    const std::u16string strSubject = u"現在地 ｶﾞｲﾄﾞ test";
    const std::u16string strBody = u"位置情報 N35.39.29.157E139.44.51.000\r\nﾊﾟﾝﾀﾞ ﾎﾟｲﾝﾄ ｳﾞｧ ｧ\r\n漢字とASCII";
    ASSERT_EQ(client.SendMail(u"127.0.0.1", nPort, u"me@example.jp", u"you@example.jp", strSubject, strBody), 0)
        << "last step " << Utf16ToUtf8(client.LastStep()) << ", reply " << client.Reply();

    const std::string strMessage = dir.File("mail1.eml");
    ASSERT_EQ(access(strMessage.c_str(), R_OK), 0) << "the server stored no message";
    const std::string strCommand = std::string("PYTHONDONTWRITEBYTECODE=1 ") + kPython + " " + kSinkDir + "/mail_sink.py " + strMessage + " " +
                                   dir.File("subject.txt") + " " + dir.File("body.txt");
    ASSERT_EQ(std::system(strCommand.c_str()), 0);
    EXPECT_EQ(test::ReadFileBytes(dir.File("subject.txt")), "現在地 ガイド test");
    // The CR LF line ends come back as line feeds; the CR LF sent after the body belongs to the
    // closing boundary, so nothing is added at the end.
    EXPECT_EQ(test::ReadFileBytes(dir.File("body.txt")),
              "位置情報 N35.39.29.157E139.44.51.000\nパンダ ポイント ヴァ ァ\n漢字とASCII");
}

}  // namespace
}  // namespace vantrel
