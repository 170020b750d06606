// Runs that go wrong: a module that never answers, peers that misbehave, a disk that fills up. The
// program must say why, exit with 1 and leave its files alone. (That one failed channel leaves the
// others running is the form's rule, tested there.)
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "ProgramRig.h"
#include "settings/TextUtil.h"

namespace vantrel {
namespace {

using namespace test;

void UseMailServer(ProgramHome& home, std::uint16_t nPort) {
    Settings& s = home.GetSettings();
    s.SetBool(BoolKey::MailSend, true);
    s.SetText(TextKey::HostSmtp, Utf8ToUtf16("127.0.0.1:" + std::to_string(nPort)));
    s.SetText(TextKey::FromSmtp, u"me@example.jp");
    s.SetText(TextKey::ToSmtp, u"you@example.jp");
    s.SetText(TextKey::SubjectSmtp, u"pos $nl");
    s.SetText(TextKey::BodySmtp, u"N$nlE$el");
}

void UsePositionLog(ProgramHome& home) {
    home.GetSettings().SetBool(BoolKey::OutputPosLogFile, true);
    home.GetSettings().SetText(TextKey::PosLogDir, Utf8ToUtf16(home.Path()));
    home.GetSettings().SetText(TextKey::PosLogFormat, u"$nl $el");
}

// A module whose answers never end in "OK" (the second one also sends line noise) holds the
// acquisition until the user interrupts it.
TEST(FailingRun, InterruptCancelsAModuleThatNeverAnswers) {
    for (const std::vector<std::string>& faults :
         {std::vector<std::string>{"--no-ok", "*"}, std::vector<std::string>{"--garbage", "inside", "--no-ok", "*"}}) {
        SCOPED_TRACE(faults[0]);
        WsimEmulator module(faults);
        ASSERT_FALSE(module.Device().empty()) << "vantrel-wsim gave no device";
        RecordingHttpServer server;
        ProgramHome home;
        home.UseUrl(server.Url("/send"));
        home.GetSettings().SetBool(BoolKey::HttpSend, true);
        UsePositionLog(home);
        home.Save();

        const auto start = std::chrono::steady_clock::now();
        const auto pProgram = StartVantrel(home, {"--port", module.Device(), "acquire-send"});
        std::this_thread::sleep_for(std::chrono::seconds(2));
        ASSERT_EQ(pProgram->Wait(0), -1) << "ended before the interrupt: " << pProgram->Err();
        pProgram->Signal(SIGINT);
        EXPECT_EQ(pProgram->Wait(15000), 1) << pProgram->Err();
        const double dSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        EXPECT_LT(dSeconds, 10.0);
        EXPECT_NE(pProgram->Err().find("interrupted; cancelling"), std::string::npos) << pProgram->Err();
        EXPECT_EQ(pProgram->Out(), "");
        EXPECT_TRUE(server.Requests().empty());
        EXPECT_TRUE(home.FilesEndingWith(home.Path(), ".pos").empty());
    }
}

// A peer of one channel that misbehaves, started by SetUp, which points the settings at it and
// returns it to be kept alive for the run.
struct PeerFault {
    const char* pszLegend;
    std::function<std::shared_ptr<void>(ProgramHome&)> fnSetUp;
    int nExit;
    std::vector<std::string> lines;  // each must appear on standard error
};

std::shared_ptr<void> HttpPeer(ProgramHome& home, std::function<void(httplib::Response&)> fnAnswer) {
    auto pServer = std::make_shared<LoopbackHttpServer>();
    pServer->Server().Get("/send", [fnAnswer](const httplib::Request&, httplib::Response& response) { fnAnswer(response); });
    pServer->Start();
    home.UseUrl(pServer->Url("/send"));
    home.GetSettings().SetBool(BoolKey::HttpSend, true);
    return pServer;
}

std::shared_ptr<void> MailPeer(ProgramHome& home, std::shared_ptr<ScriptedMailPeer> pPeer) {
    UseMailServer(home, pPeer->Port());
    return pPeer;
}

// Legend: what the peer does -> exit status and the lines of standard error; the settings file
// stays byte for byte as it was.
TEST(FailingRun, PeersThatMisbehaveEndWithTheirMessage) {
    const std::string strHuge = std::string(10 * 1024 * 1024, 'x') + "END";
    using Reply = ScriptedMailPeer;
    const PeerFault cases[] = {
        {"HTTP answer of 10 MB",
         [&](ProgramHome& home) { return HttpPeer(home, [&](httplib::Response& r) { r.set_content(strHuge, "text/plain"); }); },
         0,
         {"xxxxxxxxEND\n", "<確認>:HTTP送信に成功しました。"}},
        {"HTTP redirect loop",
         [](ProgramHome& home) {
             return HttpPeer(home, [](httplib::Response& r) {
                 r.status = 302;
                 r.set_header("Location", "/send?again");
             });
         },
         1,
         // 47 = CURLE_TOO_MANY_REDIRECTS
         {"<エラー>:InternetOpenUrl() Failed. (Wininet Error:47)[hostname=http://127.0.0.1:", "<確認>:HTTP送信に失敗しました。"}},
        {"SMTP refuses the recipient",
         [](ProgramHome& home) {
             return MailPeer(home, std::make_shared<ScriptedMailPeer>(
                                       std::vector<std::string>{"220 ready\r\n"},
                                       std::vector<Reply::Step>{Reply::Reply("250 hello\r\n"), Reply::Reply("250 Reset\r\n"),
                                                                Reply::Reply("250 Sender OK\r\n"),
                                                                Reply::Reply("550 5.1.1 No such user\r\n"),
                                                                Reply::Reply("354 go ahead\r\n")}));
         },
         1,
         {"<エラー>:サーバーがエラーコードを返しました。(", "550 5.1.1 No such user", "<確認>:メール送信に失敗しました。"}},
        {"SMTP server hanging up before its greeting",
         [](ProgramHome& home) { return MailPeer(home, std::make_shared<ScriptedMailPeer>(std::vector<std::string>{}, std::vector<Reply::Step>{}, true)); },
         1,
         {"<エラー>:受信エラーが発生しました。(", "<確認>:メール送信に失敗しました。"}},
        {"SMTP server silent after accepting",
         [](ProgramHome& home) {
             home.SetEnvironment("VANTREL_MAIL_WAIT_MS", "300");  // instead of 1000 s
             return MailPeer(home, std::make_shared<ScriptedMailPeer>(std::vector<std::string>{}, std::vector<Reply::Step>{}));
         },
         1,
         {"<エラー>:受信エラーが発生しました。(", "<確認>:メール送信に失敗しました。"}},
    };
    for (const PeerFault& c : cases) {
        SCOPED_TRACE(c.pszLegend);
        ProgramHome home;
        const std::shared_ptr<void> pPeer = c.fnSetUp(home);
        home.Save();
        const std::string strSettings = ReadFileBytes(home.File("default.ini"));

        const ProgramRun run = RunVantrel(home, {"send", "--position", "N35.39.29.000E139.44.51.000/1"});
        EXPECT_EQ(run.nExit, c.nExit);
        EXPECT_LT(run.dSeconds, 10.0);
        for (const std::string& strLine : c.lines)
            EXPECT_NE(run.strErr.find(strLine), std::string::npos) << strLine;
        EXPECT_EQ(ReadFileBytes(home.File("default.ini")), strSettings);
    }
}

// Today's day file name of the logs.
std::string DayFileName(const char* pszSuffix) {
    const std::time_t now = std::time(nullptr);
    std::tm local {};
    localtime_r(&now, &local);
    char szName[32];
    std::snprintf(szName, sizeof szName, "%04d%02d%02d.%s", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                  pszSuffix);
    return szName;
}

// A disk that fills up (a limit on the size of every file the program writes) while the cache,
// the logs and the settings file are written: each write fails, a save says so, and every file
// that was there before is still whole, with nothing left beside it.
TEST(FailingRun, FullDiskLeavesEveryFileWhole) {
    LoopbackHttpServer service;
    service.Server().Get("/loc1/location", [](const httplib::Request&, httplib::Response& response) {
        response.status = 302;
        response.set_header("Location", "http://127.0.0.1/map?pos=N35.39.29.000E139.44.51.000");
    });
    service.Start();
    ProgramHome home;
    home.GetSettings().SetBool(BoolKey::LocateEasy, false);
    home.GetSettings().SetBool(BoolKey::CsidCache, true);
    home.GetSettings().SetBool(BoolKey::OutputMsgFile, true);
    home.GetSettings().SetText(TextKey::LogFileDir, Utf8ToUtf16(home.Path()));
    UsePositionLog(home);
    home.Save();
    // A station the module does not hear: the run asks the service and must save a longer cache.
    const std::string strCache = std::string("\xFF\xFE", 2) + Utf16LeBytes("FFFFFFFF,pos=N1.1.1.1E2.2.2.2\r\n");
    WriteFileBytes(home.File("cache.txt"), strCache);
    const std::uint64_t nLimit = strCache.size();
    // Day files already at the limit: not one more byte fits.
    const std::string strLine = std::string("\xFF\xFE", 2) + Utf16LeBytes("[00:00:00] <確認>:a line of an earlier run\r\n");
    WriteFileBytes(home.File(DayFileName("log")), strLine);
    WriteFileBytes(home.File(DayFileName("pos")), strLine);
    std::map<std::string, std::string> before;
    for (const std::string& strName : std::vector<std::string>{"default.ini", "cache.txt", DayFileName("log"), DayFileName("pos")})
        before[strName] = ReadFileBytes(home.File(strName));
    ASSERT_GE(strLine.size(), nLimit);

    const ProgramRun acquire = RunVantrelWithFileSizeLimit(
        home, nLimit, {"--port", "sim", "--service", service.Url("/loc1/location"), "acquire"});
    EXPECT_EQ(acquire.nExit, 0) << acquire.strErr;  // the position was found; only keeping it failed
    EXPECT_EQ(acquire.strOut, "0A12F3C4/34,0A12F3B8/21\r\nN35.39.29.000E139.44.51.000\r\n");
    EXPECT_NE(acquire.strErr.find("<エラー>:SaveCache() Failed. [file=" + home.File("cache.txt") + "]"), std::string::npos)
        << acquire.strErr;

    const ProgramRun save = RunVantrelWithFileSizeLimit(home, nLimit, {"save-settings", home.File("default.ini")});
    EXPECT_EQ(save.nExit, 1);
    EXPECT_NE(save.strErr.find("cannot write the settings file '" + home.File("default.ini") + "'"), std::string::npos)
        << save.strErr;

    for (const auto& [strName, strBytes] : before) EXPECT_EQ(ReadFileBytes(home.File(strName)), strBytes) << strName;
    EXPECT_TRUE(home.FilesEndingWith(home.Path(), ".tmp").empty());
}

}  // namespace
}  // namespace vantrel
