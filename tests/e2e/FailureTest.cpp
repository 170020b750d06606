// Runs that go wrong: a channel that cannot deliver, a module that never answers, a mail server
// that hangs up. The program must say why, exit with 1 and leave its files alone.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
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

TEST(FailingRun, AFailedChannelLeavesTheOthersRunning) {
    if (!SmtpSink::Available()) GTEST_SKIP() << "needs /usr/bin/python3 with aiosmtpd (python3-aiosmtpd)";
    SmtpSink sink;
    ASSERT_TRUE(sink.Ready()) << "aiosmtpd did not start";
    ProgramHome home;
    // HTTP comes after mail in the fixed order; the map after it must still be handed the position.
    home.UseUrl("http://127.0.0.1:" + std::to_string(UnusedLoopbackPort()) + "/send");
    home.GetSettings().SetBool(BoolKey::HttpSend, true);
    home.GetSettings().SetBool(BoolKey::GmmSend, true);
    UseMailServer(home, sink.Port());
    UsePositionLog(home);
    home.Save();

    const ProgramRun run = RunVantrel(home, {"--port", "sim", "acquire-send"});
    EXPECT_EQ(run.nExit, 1) << run.strErr;
    EXPECT_NE(run.strErr.find("<エラー>:InternetOpenUrl() Failed."), std::string::npos) << run.strErr;
    EXPECT_NE(run.strErr.find("<確認>:HTTP送信に失敗しました。"), std::string::npos) << run.strErr;
    EXPECT_EQ(sink.MessagePaths().size(), 1u) << run.strErr;
    EXPECT_EQ(home.FilesEndingWith(home.Path(), ".pos").size(), 1u);
    EXPECT_EQ(home.RecordedArgs("xdg-open").rfind("geo:", 0), 0u);
}

TEST(FailingRun, InterruptCancelsAModuleThatNeverAnswers) {
    WsimEmulator module({"--no-ok", "*"});
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

TEST(FailingRun, MailServerHangingUpIsReportedAndFilesStayIntact) {
    ScriptedMailPeer smtp({}, {}, true);  // hangs up before its greeting
    ProgramHome home;
    UseMailServer(home, smtp.Port());
    home.GetSettings().SetBool(BoolKey::OutputMsgFile, true);
    UsePositionLog(home);
    home.Save();
    const std::string strSettings = ReadFileBytes(home.File("default.ini"));

    const ProgramRun run = RunVantrel(home, {"--port", "sim", "acquire-send"});
    EXPECT_EQ(run.nExit, 1);
    EXPECT_NE(run.strErr.find("<エラー>:受信エラーが発生しました。("), std::string::npos) << run.strErr;
    EXPECT_NE(run.strErr.find("<確認>:メール送信に失敗しました。"), std::string::npos) << run.strErr;
    EXPECT_EQ(ReadFileBytes(home.File("default.ini")), strSettings);
    const auto logs = home.FilesEndingWith(home.Path(), ".log");
    ASSERT_EQ(logs.size(), 1u);
    const std::string strLog = ReadUtf16File(logs[0]);
    EXPECT_NE(strLog.find("] <エラー>:受信エラーが発生しました。("), std::string::npos) << strLog;
    const auto positions = home.FilesEndingWith(home.Path(), ".pos");
    ASSERT_EQ(positions.size(), 1u);
    EXPECT_EQ(ReadUtf16File(positions[0]), "35.39.29.000 139.44.51.000\r\n");
}

}  // namespace
}  // namespace vantrel
