// The position of the built-in emulated module (N35.39.29.000E139.44.51.000, Tokyo datum) carried
// by the program through each channel to a real receiver.
#include <gtest/gtest.h>

#include <cstdlib>

#include "ProgramRig.h"
#include "settings/TextUtil.h"

namespace vantrel {
namespace {

using namespace test;

const std::string kMark("\xFF\xFE", 2);
const std::string kPosition = "N35.39.29.000E139.44.51.000";

// The cookie the acquisition leaves in the program folder travels with the request of the send.
TEST(Delivery, HttpCarriesThePositionInTheQueryAndTheCookie) {
    // Answers are read in the device's code page (CP932).
    RecordingHttpServer server("\x8E\xF3\x82\xAF\x95\x74\x82\xAF\x82\xDC\x82\xB5\x82\xBD");
    ProgramHome home;
    home.UseUrl(server.Url("/send"), "lat=$nl&lon=$el&pc=$pc");
    home.GetSettings().SetBool(BoolKey::HttpSend, true);
    home.GetSettings().SetBool(BoolKey::CreateCookie, true);
    home.Save();

    const ProgramRun run = RunVantrel(home, {"--port", "sim", "acquire-send"});
    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(run.strOut, kPosition + "/1\r\n" + kPosition + "\r\n");
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 1u) << run.strErr;
    EXPECT_EQ(requests[0].strTarget, "/send?lat=35.39.29.000&lon=139.44.51.000&pc=1");
    EXPECT_EQ(requests[0].strCookie, "location=35.39.29.000,139.44.51.000");
    // The server's answer is shown as a notice, then the success is logged.
    EXPECT_NE(run.strErr.find("<確認>:受け付けました\n<確認>:HTTP送信に成功しました。\n"), std::string::npos) << run.strErr;
}

double NumberAfter(const std::string& strText, const std::string& strLabel, char chEnd) {
    const std::size_t nStart = strText.find(strLabel);
    if (nStart == std::string::npos) return 0;
    const std::size_t nFrom = nStart + strLabel.size();
    return std::atof(strText.substr(nFrom, strText.find(chEnd, nFrom) - nFrom).c_str());
}

TEST(Delivery, BrowserMapAndPositionLogFromOneRun) {
    ProgramHome home;
    Settings& s = home.GetSettings();
    home.UseUrl("http://127.0.0.1:9/page", "p=$wnl,$wel");
    s.SetBool(BoolKey::BrowserSend, true);
    s.BrowserList().AddRow({u"recorder", Utf8ToUtf16(home.AddRecorder("browser"))});
    s.BrowserList().SetSelectedIndex(0);
    s.SetBool(BoolKey::GmmSend, true);
    s.SetBool(BoolKey::OutputPosLogFile, true);
    s.SetText(TextKey::PosLogDir, Utf8ToUtf16(home.File("")));
    s.SetText(TextKey::PosLogFormat, u"$nl/$el 位置 $pc");
    home.Save();

    const ProgramRun run = RunVantrel(home, {"--port", "sim", "acquire-send"});
    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_NE(run.strErr.find("<確認>:ブラウザを起動します。"), std::string::npos) << run.strErr;
    EXPECT_EQ(home.RecordedArgs("browser"), "http://127.0.0.1:9/page?p=35.39.40.623,139.44.39.455\n");
    // The map gets the WGS84 position as a geo: URI from the desktop's opener.
    const std::string strGeo = home.RecordedArgs("xdg-open");
    ASSERT_EQ(strGeo.rfind("geo:", 0), 0u) << strGeo;
    EXPECT_NEAR(NumberAfter(strGeo, "geo:", ','), 35 + 39 / 60.0 + 40.623 / 3600, 1e-5) << strGeo;
    EXPECT_NEAR(NumberAfter(strGeo, ",", '\n'), 139 + 44 / 60.0 + 39.455 / 3600, 1e-5) << strGeo;

    // A second run appends to the same day file without another byte-order mark.
    EXPECT_EQ(RunVantrel(home, {"--port", "sim", "acquire"}).nExit, 0);
    const auto logs = home.FilesEndingWith(home.Path(), ".pos");
    ASSERT_EQ(logs.size(), 1u);
    const std::string strLine = Utf16LeBytes("35.39.29.000/139.44.51.000 位置 1\r\n");
    EXPECT_EQ(ReadFileBytes(logs[0]), kMark + strLine + strLine);
}

}  // namespace
}  // namespace vantrel
