// The position of the built-in emulated module (N35.39.29.000E139.44.51.000, Tokyo datum) carried
// by the program through each channel to a real receiver.
#include <gtest/gtest.h>

#include "ProgramRig.h"
#include "settings/TextUtil.h"

namespace vantrel {
namespace {

using namespace test;

const std::string kPosition = "N35.39.29.000E139.44.51.000";

// The cookie the acquisition leaves in the program folder travels with the request of the send.
// Silent operation (NOMSG): nothing reaches the terminal, and the message log keeps the record.
TEST(Delivery, HttpCarriesThePositionInTheQueryAndTheCookieAndTheLogKeepsTheAnswer) {
    // Answers are read in the device's code page (CP932): "受け付けました".
    RecordingHttpServer server("\x8E\xF3\x82\xAF\x95\x74\x82\xAF\x82\xDC\x82\xB5\x82\xBD");
    ProgramHome home;
    Settings& s = home.GetSettings();
    home.UseUrl(server.Url("/send"), "lat=$nl&lon=$el&pc=$pc");
    s.SetBool(BoolKey::HttpSend, true);
    s.SetBool(BoolKey::CreateCookie, true);
    s.SetBool(BoolKey::NoMsg, true);
    s.SetBool(BoolKey::OutputMsgFile, true);
    s.SetText(TextKey::LogFileDir, Utf8ToUtf16(home.Path()));
    home.Save();

    const ProgramRun run = RunVantrel(home, {"--port", "sim", "acquire-send"});
    EXPECT_EQ(run.nExit, 0);
    EXPECT_EQ(run.strErr, "");
    EXPECT_EQ(run.strOut, kPosition + "/1\r\n" + kPosition + "\r\n");
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].strTarget, "/send?lat=35.39.29.000&lon=139.44.51.000&pc=1");
    EXPECT_EQ(requests[0].strCookie, "location=35.39.29.000,139.44.51.000");
    // The server's answer as a notice, then the success.
    const auto logs = home.FilesEndingWith(".log");
    ASSERT_EQ(logs.size(), 1u);
    EXPECT_NE(ReadUtf16File(logs[0]).find("] <確認>:受け付けました\r\n["), std::string::npos) << ReadUtf16File(logs[0]);
}

// What is handed to other programs: the browser and the mail program of the new-mail hand-off.
// (The map's geo: URI is the launchers' rule and the position log the form's, tested there: the
// windowless program runs the same form.)
TEST(Delivery, HandOffsToTheBrowserAndTheMailProgram) {
    ProgramHome home;
    Settings& s = home.GetSettings();
    home.UseUrl("http://127.0.0.1:9/page", "p=$wnl,$wel");
    s.SetBool(BoolKey::BrowserSend, true);
    s.BrowserList().AddRow({u"recorder", Utf8ToUtf16(home.AddRecorder("browser"))});
    s.BrowserList().SetSelectedIndex(0);
    // The new mail: recipient and subject as configured, the body filled in, no copies.
    s.SetText(TextKey::ToSmtp, u"you+$pc@example.jp");
    s.SetText(TextKey::SubjectSmtp, u"位置 $nl");
    s.SetText(TextKey::BodySmtp, u"N$nlE$el\r\n$pc");
    s.SetText(TextKey::CcSmtp, u"cc@example.jp");
    home.Save();

    const ProgramRun run = RunVantrel(home, {"--port", "sim", "acquire-send"});
    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(home.RecordedArgs("browser"), "http://127.0.0.1:9/page?p=35.39.40.623,139.44.39.455\n");

    const ProgramRun mail = RunVantrel(home, {"new-mail", "--position", "N35.39.29.157E139.44.58.500/7"});
    EXPECT_EQ(mail.nExit, 0) << mail.strErr;
    EXPECT_EQ(home.RecordedArgs("xdg-email"),
              "--utf8\n--subject\n位置 $nl\n--body\nN35.39.29.157E139.44.58.500\r\n7\nyou+$pc@example.jp\n");
}

}  // namespace
}  // namespace vantrel
