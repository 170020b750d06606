// Silent operation (NOMSG): nothing reaches the terminal, the message log keeps the record, and
// retries happen only then.
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

TEST(SilentRun, HttpRetriesOnlyInSilentOperation) {
    // Legend: NOMSG, RETRYNOMSG, start lines expected in the message log (and on the terminal).
    const struct {
        bool bNoMsg;
        bool bRetryNoMsg;
        std::vector<std::string> starts;
    } cases[] = {
        {true, false, {"HTTP送信を開始します。(1/3回目)", "HTTP送信を開始します。(2/3回目)", "HTTP送信を開始します。(3/3回目)"}},
        {true, true, {"HTTP送信を開始します。(1/3回目)", "HTTP送信を開始します。(2/3回目)", "HTTP送信を開始します。(3/3回目)"}},
        {false, true, {"HTTP送信を開始します。"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "NOMSG " << c.bNoMsg << ", RETRYNOMSG " << c.bRetryNoMsg);
        ProgramHome home;
        Settings& s = home.GetSettings();
        home.UseUrl("http://127.0.0.1:" + std::to_string(UnusedLoopbackPort()) + "/send");
        s.SetBool(BoolKey::HttpSend, true);
        s.SetBool(BoolKey::RetryHttpSend, true);
        s.SetNumber(NumberKey::RetryHttpSendMax, 3);
        s.SetBool(BoolKey::NoMsg, c.bNoMsg);
        s.SetBool(BoolKey::RetryNoMsg, c.bRetryNoMsg);
        s.SetBool(BoolKey::OutputMsgFile, true);
        home.Save();

        const ProgramRun run = RunVantrel(home, {"--port", "sim", "acquire-send"});
        EXPECT_EQ(run.nExit, 1);
        const std::string strLog = MessageLog(home, home.Path());
        std::vector<std::string> starts;
        const std::regex start(R"(<確認>:(HTTP送信を開始します。[^\r]*)\r\n)");
        for (std::sregex_iterator it(strLog.begin(), strLog.end(), start), end; it != end; ++it)
            starts.push_back((*it)[1]);
        EXPECT_EQ(starts, c.starts) << strLog;
        EXPECT_EQ(CountOf(strLog, "<確認>:HTTP送信に失敗しました。\r\n"), c.starts.size()) << strLog;
        EXPECT_EQ(CountOf(strLog, "InternetOpenUrl() Failed."), c.starts.size()) << strLog;
        if (c.bNoMsg)
            EXPECT_EQ(run.strErr, "");
        else
            EXPECT_EQ(CountOf(run.strErr, "<確認>:HTTP送信を開始します。\n"), 1u) << run.strErr;
    }
}

}  // namespace
}  // namespace vantrel
