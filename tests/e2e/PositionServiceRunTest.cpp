// CS-ID acquisition: the stations the emulated module hears (0A12F3C4 at level 34, 0A12F3B8 at
// level 21) turned into a position by a local position service, then by the cache it left.
#include <gtest/gtest.h>

#include "ProgramRig.h"
#include "settings/TextUtil.h"

namespace vantrel {
namespace {

using namespace test;

const std::string kMark("\xFF\xFE", 2);

// Redirects each station to a position of its own, as the service does.
class StationService {
public:
    StationService() {
        m_server.Server().Get("/loc1/location", [this](const httplib::Request& request, httplib::Response& response) {
            const std::string strInfo = request.get_header_value("X-CS-INFO");
            std::lock_guard lock(m_mutex);
            m_infos.push_back(strInfo);
            response.status = 302;
            response.set_header("Location", Answer(strInfo.substr(0, strInfo.find('/'))));
        });
        m_server.Start();
    }
    static std::string Answer(const std::string& strId) {
        return "http://127.0.0.1/map?pos=" +
               std::string(strId == "0A12F3C4" ? "N35.39.29.000E139.44.51.000" : "N34.00.00.000E135.00.00.000");
    }
    std::string Url() const { return m_server.Url("/loc1/location"); }
    std::vector<std::string> Infos() {
        std::lock_guard lock(m_mutex);
        return m_infos;
    }
    void Stop() { m_server.Stop(); }

private:
    std::mutex m_mutex;
    std::vector<std::string> m_infos;
    LoopbackHttpServer m_server;
};

TEST(CsIdRun, FirstRunAsksTheServicePerStationAndTheSecondUsesTheCache) {
    StationService service;
    ProgramHome home;
    home.GetSettings().SetBool(BoolKey::LocateEasy, false);
    home.GetSettings().SetBool(BoolKey::CsidCache, true);
    home.Save();
    const std::string strExpected = "0A12F3C4/34,0A12F3B8/21\r\nN35.39.29.000E139.44.51.000\r\n";

    const ProgramRun first = RunVantrel(home, {"--port", "sim", "--service", service.Url(), "acquire"});
    EXPECT_EQ(first.nExit, 0) << first.strErr;
    EXPECT_EQ(first.strOut, strExpected);
    EXPECT_EQ(service.Infos(), (std::vector<std::string>{"0A12F3C4/34", "0A12F3B8/21"}));
    EXPECT_NE(first.strErr.find("<確認>:キャッシュを更新しています。"), std::string::npos) << first.strErr;
    const std::string strCache = ReadFileBytes(home.File("cache.txt"));
    EXPECT_EQ(strCache, kMark + Utf16LeBytes("0A12F3C4," + StationService::Answer("0A12F3C4") + "\r\n0A12F3B8," +
                                             StationService::Answer("0A12F3B8") + "\r\n"));

    service.Stop();
    const ProgramRun second = RunVantrel(home, {"--port", "sim", "--service", service.Url(), "acquire"});
    EXPECT_EQ(second.nExit, 0) << second.strErr;
    EXPECT_EQ(second.strOut, strExpected);
    EXPECT_EQ(service.Infos().size(), 2u);
    EXPECT_NE(second.strErr.find("<確認>:キャッシュを検索します。"), std::string::npos) << second.strErr;
    EXPECT_EQ(second.strErr.find("キャッシュを更新しています。"), std::string::npos) << second.strErr;
    EXPECT_EQ(ReadFileBytes(home.File("cache.txt")), strCache);
}

}  // namespace
}  // namespace vantrel
