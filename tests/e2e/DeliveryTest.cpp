// The position of the built-in emulated module (N35.39.29.000E139.44.51.000, Tokyo datum) carried
// by the program through each channel to a real receiver, and the files the runs leave.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "ProgramRig.h"
#include "settings/TextUtil.h"

namespace vantrel {
namespace {

using namespace test;

const std::string kPosition = "N35.39.29.000E139.44.51.000";

// One acquire-send to the HTTP server and the browser: the cookie the acquisition leaves in the
// program folder travels with the request, and in silent operation (NOMSG) nothing reaches the
// terminal while the message log keeps the server's answer. The settings file holds the POP
// password and the cookie jar the position: both are written for their owner alone, whatever the
// umask, also where a file that others could read is replaced. Then a template expanded on the
// command line, and the new-mail hand-off to the mail program: recipient and subject as
// configured, the body filled in, no copies.
TEST(Delivery, EveryChannelGetsThePositionAndSecretsStayPrivate) {
    std::vector<std::string> received;  // target and cookie of each request
    LoopbackHttpServer server;
    server.Server().Get("/send", [&received](const httplib::Request& request, httplib::Response& response) {
        received.insert(received.end(), {request.target, request.get_header_value("Cookie")});
        // Answers are read in the device's code page (CP932): "受け付けました".
        response.set_content("\x8E\xF3\x82\xAF\x95\x74\x82\xAF\x82\xDC\x82\xB5\x82\xBD", "text/plain");
    });
    server.Start();
    ProgramHome home;
    Settings& s = home.GetSettings();
    home.UseUrl(server.Url("/send"), "lat=$nl&lon=$el&pc=$pc");
    s.SetBool(BoolKey::HttpSend, true);
    s.SetBool(BoolKey::CreateCookie, true);
    s.SetBool(BoolKey::NoMsg, true);
    s.SetBool(BoolKey::OutputMsgFile, true);
    s.SetBool(BoolKey::BrowserSend, true);
    s.BrowserList().AddRow({u"recorder", Utf8ToUtf16(home.AddRecorder("browser"))});
    s.BrowserList().SetSelectedIndex(0);
    s.SetText(TextKey::ToSmtp, u"you+$pc@example.jp");
    s.SetText(TextKey::SubjectSmtp, u"位置 $nl");
    s.SetText(TextKey::BodySmtp, u"N$nlE$el\r\n$pc");
    s.SetText(TextKey::CcSmtp, u"cc@example.jp");
    home.Save();
    WriteFileBytes(home.File("shared.ini"), "x");
    chmod(home.File("shared.ini").c_str(), 0644);

    const mode_t nOldMask = umask(0);  // inherited by the program
    const ProgramRun run = RunVantrel(home, {"--port", "sim", "acquire-send"});
    const ProgramRun save = RunVantrel(home, {"save-settings", home.File("shared.ini")});
    umask(nOldMask);
    EXPECT_EQ(run.nExit, 0);
    EXPECT_EQ(run.strErr, "");
    EXPECT_EQ(run.strOut, kPosition + "/1\r\n" + kPosition + "\r\n");
    server.Stop();  // joins the thread that wrote what is read next
    const std::string strQuery = "/send?lat=35.39.29.000&lon=139.44.51.000&pc=1";
    EXPECT_EQ(received, (std::vector<std::string>{strQuery, "location=35.39.29.000,139.44.51.000"}));
    EXPECT_EQ(home.RecordedArgs("browser"), server.Url(strQuery) + "\n");
    const auto logs = home.FilesEndingWith(".log");
    ASSERT_EQ(logs.size(), 1u);
    EXPECT_NE(ReadUtf16File(logs[0]).find("] <確認>:受け付けました\r\n["), std::string::npos) << ReadUtf16File(logs[0]);
    EXPECT_EQ(save.nExit, 0) << save.strErr;
    EXPECT_EQ(ReadFileBytes(home.File("shared.ini")), ReadFileBytes(home.File("default.ini")));
    for (const char* pszName : {"shared.ini", "cookies.txt"})
        EXPECT_EQ(std::filesystem::status(home.File(pszName)).permissions(), std::filesystem::perms(0600)) << pszName;

    const ProgramRun expand = RunVantrel(home, {"expand", "$nl $wnl $pc", "--position", kPosition + "/1"});
    EXPECT_EQ(expand.strOut, "35.39.29.000 35.39.40.623 1\n") << expand.strErr;
    const ProgramRun mail = RunVantrel(home, {"new-mail", "--position", "N35.39.29.157E139.44.58.500/7"});
    EXPECT_EQ(mail.nExit, 0) << mail.strErr;
    EXPECT_EQ(home.RecordedArgs("xdg-email"),
              "--utf8\n--subject\n位置 $nl\n--body\nN35.39.29.157E139.44.58.500\r\n7\nyou+$pc@example.jp\n");
}

}  // namespace
}  // namespace vantrel
