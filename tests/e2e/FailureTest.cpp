// Runs that go wrong: a module that never answers, peers that misbehave, a disk that fills up. The
// program must say why, end with its exit status in time and leave its files alone. (That one
// failed channel leaves the others running is the form's rule, tested there.)
#include <gtest/gtest.h>
#include <signal.h>

#include <cstdio>
#include <ctime>
#include <functional>
#include <map>
#include <thread>

#include "ProgramRig.h"
#include "settings/TextUtil.h"

namespace vantrel {
namespace {

using namespace test;
using Args = std::vector<std::string>;
using Peer = std::shared_ptr<void>;  // whatever the row started, kept alive for the run

Peer Module(Args& args, const Args& options, const std::string& strCommand) {
    auto pModule = std::make_shared<WsimEmulator>(options);
    args = {"--port", pModule->Device(), strCommand};
    return pModule;
}

Peer Http(ProgramHome& home, int nStatus, std::string strBody) {
    auto pServer = std::make_shared<LoopbackHttpServer>();
    pServer->Server().Get("/send", [=](const httplib::Request&, httplib::Response& response) {
        response.status = nStatus;
        if (nStatus == 302) response.set_header("Location", "/send?again");
        response.set_content(strBody, "text/plain");
    });
    pServer->Start();
    home.UseUrl(pServer->Url("/send"));
    home.GetSettings().SetBool(BoolKey::HttpSend, true);
    return pServer;
}

// A peer that takes the connection and never says a word (no steps: no greeting, no answer).
std::shared_ptr<ScriptedMailPeer> Silent() { return std::make_shared<ScriptedMailPeer>(Args{}, std::vector<ScriptedMailPeer::Step>{}); }

Peer Mail(ProgramHome& home, std::shared_ptr<ScriptedMailPeer> pPeer) {
    Settings& s = home.GetSettings();
    s.SetBool(BoolKey::MailSend, true);
    s.SetText(TextKey::HostSmtp, Utf8ToUtf16("127.0.0.1:" + std::to_string(pPeer->Port())));
    s.SetText(TextKey::FromSmtp, u"me@example.jp");
    s.SetText(TextKey::ToSmtp, u"you@example.jp");
    return pPeer;
}

struct Fault {
    const char* pszLegend;
    std::function<Peer(ProgramHome&, Args&)> fnSetUp;
    bool bInterrupt;  // the user presses Ctrl+C after 2 s
    int nExit;
    Args lines;       // each must appear on standard error
};

// Legend: what goes wrong (set up on the program folder and the arguments, which are "send" with
// a position unless the row changes them), Ctrl+C or not -> exit status and the lines of standard
// error. Every run ends within 10 s and leaves the settings file byte for byte as it was.
TEST(FailingRun, FaultsEndWithTheirMessageAndStatus) {
    const Fault cases[] = {
        {"module sending line noise and never OK",
         [](ProgramHome&, Args& args) { return Module(args, {"--garbage", "inside", "--no-ok", "*"}, "acquire-send"); },
         true, 1, {"interrupted; cancelling"}},
        {"module silent past the limit",
         [](ProgramHome& home, Args& args) {
             home.SetEnvironment("VANTREL_SILENT_LIMIT_MS", "2000");  // instead of a minute
             return Module(args, {"--no-ok", "*"}, "acquire-send");
         },
         false, 1, {"no answer from the module for 2 s; cancelling"}},
        {"position service silent past the limit",
         [](ProgramHome& home, Args& args) {
             home.GetSettings().SetBool(BoolKey::LocateEasy, false);
             home.SetEnvironment("VANTREL_HTTP_LIMIT_MS", "1000");  // instead of 30 s
             auto pService = Silent();
             args = {"--port", "sim", "--service", "http://127.0.0.1:" + std::to_string(pService->Port()) + "/loc", "acquire"};
             return pService;
         },
         false, 1, {"<エラー>:HttpSendRequest() Failed.", "<エラー>:位置情報の取得に失敗しました。"}},
        {"HTTP answer of 10 MB",
         [](ProgramHome& home, Args&) { return Http(home, 200, std::string(10 * 1024 * 1024, 'x') + "END"); },
         false, 0, {"xxxxxxxxEND\n", "<確認>:HTTP送信に成功しました。"}},
        // 47 = CURLE_TOO_MANY_REDIRECTS
        {"HTTP redirect loop", [](ProgramHome& home, Args&) { return Http(home, 302, ""); },
         false, 1, {"<エラー>:InternetOpenUrl() Failed. (Wininet Error:47)[hostname=http://127.0.0.1:", "<確認>:HTTP送信に失敗しました。"}},
        {"SMTP refusing the recipient",
         [](ProgramHome& home, Args&) {
             std::vector<ScriptedMailPeer::Step> steps = GoodSmtpSteps();
             steps[3] = ScriptedMailPeer::Reply("550 5.1.1 No such user\r\n");
             return Mail(home, std::make_shared<ScriptedMailPeer>(Args{"220 ready\r\n"}, steps));
         },
         false, 1, {"<エラー>:サーバーがエラーコードを返しました。(", "550 5.1.1 No such user", "<確認>:メール送信に失敗しました。"}},
        {"SMTP server silent after accepting",
         [](ProgramHome& home, Args&) {
             home.SetEnvironment("VANTREL_MAIL_WAIT_MS", "300");  // instead of 1000 s
             return Mail(home, Silent());
         },
         false, 1, {"<エラー>:受信エラーが発生しました。(", "<確認>:メール送信に失敗しました。"}},
    };
    for (const Fault& c : cases) {
        SCOPED_TRACE(c.pszLegend);
        ProgramHome home;
        Args args{"send", "--position", "N35.39.29.000E139.44.51.000/1"};
        const Peer pPeer = c.fnSetUp(home, args);
        home.Save();
        const std::string strSettings = ReadFileBytes(home.File("default.ini"));

        const auto pProgram = StartVantrel(home, args);
        if (c.bInterrupt) {
            std::this_thread::sleep_for(std::chrono::seconds(2));
            ASSERT_EQ(pProgram->Wait(0), -1) << "ended before the interrupt: " << pProgram->Err();
            pProgram->Signal(SIGINT);
        }
        EXPECT_EQ(pProgram->Wait(10000), c.nExit) << pProgram->Err();
        for (const std::string& strLine : c.lines)
            EXPECT_NE(pProgram->Err().find(strLine), std::string::npos) << strLine << " in " << pProgram->Err().substr(0, 2000);
        EXPECT_EQ(pProgram->Out(), "");
        EXPECT_EQ(ReadFileBytes(home.File("default.ini")), strSettings);
    }
}

// Today's day file name of the logs.
std::string DayFileName(const char* pszSuffix) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char szName[32];
    std::snprintf(szName, sizeof szName, "%04d%02d%02d.%s", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, pszSuffix);
    return szName;
}

// The program under a limit on the size of every file it writes (prlimit --fsize): a write that
// would pass nBytes fails as on a full disk. Its output reaches the test's files through pipes
// (cat), out of the limit's reach, and pipefail keeps its exit status.
ProgramRun RunOnAFullDisk(const ProgramHome& home, std::size_t nBytes, const Args& arguments) {
    const std::string strPipes = "{ /usr/bin/prlimit --fsize=" + std::to_string(nBytes) + " -- \"$@\" 2>&1 1>&3 | cat 1>&2; } 3>&1 | cat";
    Args limited = {"-o", "pipefail", "-c", strPipes, "sh", VANTREL_EXE};
    limited.insert(limited.end(), arguments.begin(), arguments.end());
    return RunProgram("/bin/bash", home, limited);
}

// A disk that fills up while the cache, the logs and the settings file are written: each write
// fails, a save says so, and every file that was there before is still whole, with nothing left
// beside it.
TEST(FailingRun, FullDiskLeavesEveryFileWhole) {
    LoopbackHttpServer service;
    service.Server().Get("/loc1/location", [](const httplib::Request&, httplib::Response& response) {
        response.status = 302;
        response.set_header("Location", "http://127.0.0.1/map?pos=N35.39.29.000E139.44.51.000");
    });
    service.Start();
    ProgramHome home;
    Settings& s = home.GetSettings();
    s.SetBool(BoolKey::LocateEasy, false);
    s.SetBool(BoolKey::CsidCache, true);
    s.SetBool(BoolKey::OutputMsgFile, true);
    s.SetText(TextKey::LogFileDir, Utf8ToUtf16(home.Path()));
    s.SetBool(BoolKey::OutputPosLogFile, true);
    s.SetText(TextKey::PosLogDir, Utf8ToUtf16(home.Path()));
    home.Save();
    // A station the module does not hear: the run asks the service and must save a longer cache.
    const std::string strCache = std::string("\xFF\xFE", 2) + Utf16LeBytes("FFFFFFFF,pos=N1.1.1.1E2.2.2.2\r\n");
    WriteFileBytes(home.File("cache.txt"), strCache);
    // Day files already at the limit: not one more byte fits.
    const std::string strLine = std::string("\xFF\xFE", 2) + Utf16LeBytes("[00:00:00] <確認>:a line of an earlier run\r\n");
    ASSERT_GE(strLine.size(), strCache.size());
    WriteFileBytes(home.File(DayFileName("log")), strLine);
    WriteFileBytes(home.File(DayFileName("pos")), strLine);
    std::map<std::string, std::string> before;
    for (const std::string& strName : Args{"default.ini", "cache.txt", DayFileName("log"), DayFileName("pos")})
        before[strName] = ReadFileBytes(home.File(strName));

    const ProgramRun acquire = RunOnAFullDisk(home, strCache.size(), {"--port", "sim", "--service", service.Url("/loc1/location"), "acquire"});
    EXPECT_EQ(acquire.nExit, 0) << acquire.strErr;  // the position was found; only keeping it failed
    EXPECT_EQ(acquire.strOut, "0A12F3C4/34,0A12F3B8/21\r\nN35.39.29.000E139.44.51.000\r\n");
    EXPECT_NE(acquire.strErr.find("<エラー>:SaveCache() Failed. [file=" + home.File("cache.txt") + "]"), std::string::npos)
        << acquire.strErr;
    const ProgramRun save = RunOnAFullDisk(home, strCache.size(), {"save-settings", home.File("default.ini")});
    EXPECT_EQ(save.nExit, 1);
    EXPECT_NE(save.strErr.find("cannot write the settings file '" + home.File("default.ini") + "'"), std::string::npos)
        << save.strErr;

    for (const auto& [strName, strBytes] : before) EXPECT_EQ(ReadFileBytes(home.File(strName)), strBytes) << strName;
    EXPECT_TRUE(home.FilesEndingWith(home.Path(), ".tmp").empty());
}

}  // namespace
}  // namespace vantrel
