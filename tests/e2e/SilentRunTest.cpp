// Silent operation (NOMSG): nothing reaches the terminal, and the message log keeps the record.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <regex>

#include "ProgramRig.h"
#include "settings/TextUtil.h"

namespace vantrel {
namespace {

using namespace test;

// The one message log day file in the folder, as UTF-8.
std::string MessageLog(const ProgramHome& home, const std::string& strFolder) {
    const auto logs = home.FilesEndingWith(strFolder, ".log");
    if (logs.size() != 1) return "(" + std::to_string(logs.size()) + " log files)";
    return ReadUtf16File(logs[0]);
}

TEST(SilentRun, NothingOnTheTerminalButTheMessageLogIsWritten) {
    RecordingHttpServer server("ok");
    ProgramHome home;
    mkdir(home.File("msglog").c_str(), 0755);
    Settings& s = home.GetSettings();
    home.UseUrl(server.Url("/send"));
    s.SetBool(BoolKey::HttpSend, true);
    s.SetBool(BoolKey::NoMsg, true);
    s.SetBool(BoolKey::OutputMsgFile, true);
    s.SetText(TextKey::LogFileDir, Utf8ToUtf16(home.File("msglog")));
    home.Save();

    const ProgramRun run = RunVantrel(home, {"--port", "sim", "acquire-send"});
    EXPECT_EQ(run.nExit, 0);
    EXPECT_EQ(run.strErr, "");
    EXPECT_EQ(run.strOut, "N35.39.29.000E139.44.51.000/1\r\nN35.39.29.000E139.44.51.000\r\n");
    EXPECT_EQ(server.Requests().size(), 1u);
    const std::string strLog = MessageLog(home, home.File("msglog"));
    const std::regex line(R"(\[\d\d:\d\d:\d\d\] <確認>:CSIDを取得します。\r\n)");
    EXPECT_TRUE(std::regex_search(strLog, line)) << strLog;
    EXPECT_NE(strLog.find("] <確認>:ok\r\n"), std::string::npos) << strLog;
    EXPECT_NE(strLog.find("] <確認>:HTTP送信に成功しました。\r\n"), std::string::npos) << strLog;
}

}  // namespace
}  // namespace vantrel
