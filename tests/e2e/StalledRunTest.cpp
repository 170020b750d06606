// Runs whose peer never answers, given up at the program's own limits: a minute without progress
// from the module and the 30 s of an HTTP request, shortened here through the environment.
#include <gtest/gtest.h>

#include <condition_variable>

#include "ProgramRig.h"
#include "settings/TextUtil.h"

namespace vantrel {
namespace {

using namespace test;

TEST(StalledRun, AModuleThatNeverAnswersIsGivenUpAtTheSilenceLimit) {
    WsimEmulator module({"--no-ok", "*"});
    ASSERT_FALSE(module.Device().empty()) << "vantrel-wsim gave no device";
    RecordingHttpServer server;
    ProgramHome home;
    home.UseUrl(server.Url("/send"));
    home.GetSettings().SetBool(BoolKey::HttpSend, true);
    home.Save();
    home.SetEnvironment("VANTREL_SILENT_LIMIT_MS", "2000");

    const ProgramRun run = RunVantrel(home, {"--port", module.Device(), "acquire-send"});
    EXPECT_EQ(run.nExit, 1) << run.strErr;
    EXPECT_GE(run.dSeconds, 2.0);
    EXPECT_NE(run.strErr.find("no answer from the module for 2 s; cancelling"), std::string::npos) << run.strErr;
    EXPECT_EQ(run.strOut, "");
    EXPECT_TRUE(server.Requests().empty());
}

// Holds every request until the test ends.
class HangingService {
public:
    HangingService() {
        m_server.Server().Get(".*", [this](const httplib::Request&, httplib::Response& response) {
            std::unique_lock lock(m_mutex);
            ++m_nRequests;
            m_released.wait(lock, [this] { return m_bRelease; });
            response.status = 503;
        });
        m_server.Start();
    }
    ~HangingService() {
        {
            std::lock_guard lock(m_mutex);
            m_bRelease = true;
        }
        m_released.notify_all();
        m_server.Stop();
    }
    std::string Url() const { return m_server.Url("/loc1/location"); }
    int Requests() {
        std::lock_guard lock(m_mutex);
        return m_nRequests;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_released;
    bool m_bRelease = false;
    int m_nRequests = 0;
    LoopbackHttpServer m_server;
};

TEST(StalledRun, APositionServiceThatNeverAnswersLeavesCacheAndSettingsAlone) {
    HangingService service;
    WsimEmulator module({"--station", "0B000001,12"});
    ASSERT_FALSE(module.Device().empty()) << "vantrel-wsim gave no device";
    ProgramHome home;
    home.GetSettings().SetBool(BoolKey::LocateEasy, false);
    home.GetSettings().SetBool(BoolKey::CsidCache, true);
    home.Save();
    // A cache that knows another station only: the lookup misses and asks the service.
    const std::string strCache =
        std::string("\xFF\xFE", 2) + Utf16LeBytes("0C000009,http://127.0.0.1/?pos=N35.00.00.000E135.00.00.000\r\n");
    WriteFileBytes(home.File("cache.txt"), strCache);
    const std::string strSettings = ReadFileBytes(home.File("default.ini"));

    home.SetEnvironment("VANTREL_HTTP_LIMIT_MS", "1000");
    const ProgramRun run = RunVantrel(home, {"--port", module.Device(), "--service", service.Url(), "acquire"});
    EXPECT_NE(run.nExit, 0);
    EXPECT_EQ(service.Requests(), 1);
    EXPECT_NE(run.strErr.find("<エラー>:HttpSendRequest() Failed."), std::string::npos) << run.strErr;
    EXPECT_NE(run.strErr.find("<エラー>:位置情報の取得に失敗しました。"), std::string::npos) << run.strErr;
    EXPECT_EQ(run.strOut, "");
    EXPECT_EQ(ReadFileBytes(home.File("cache.txt")), strCache);
    EXPECT_EQ(ReadFileBytes(home.File("default.ini")), strSettings);
}

}  // namespace
}  // namespace vantrel
