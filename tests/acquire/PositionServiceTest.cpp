#include <gtest/gtest.h>

#include <map>
#include <mutex>

#include "acquire/PositionService.h"
#include "settings/TextUtil.h"
#include "support/HttpRig.h"

namespace vantrel {
namespace {

const std::string kMark("\xFF\xFE", 2);

// A position service on loopback: each station id maps to the Location it redirects to and a
// body; an id it does not know gets 500 without a Location.
class PositionServiceTest : public testing::Test, public test::HttpRig {
protected:
    PositionServiceTest() {
        m_server.Server().Get("/loc1/location", [this](const httplib::Request& request, httplib::Response& response) {
            const std::string strInfo = request.get_header_value("X-CS-INFO");
            std::lock_guard lock(m_mutex);
            m_infos.push_back(strInfo);
            m_strTarget = request.target;
            const auto it = m_answers.find(strInfo.substr(0, strInfo.find('/')));
            if (it == m_answers.end()) return void(response.status = 500);
            response.status = 302;
            response.set_header("Location", it->second.first);
            response.set_content(it->second.second, "text/plain");
        });
        m_server.Start();
        m_service.LoadTemplates(ResourceModule::Program());
        m_service.SetServiceUrl(m_server.WideUrl("/loc1/location"));
    }
    ~PositionServiceTest() override { m_server.Stop(); }  // its handler uses the members below
    void Answer(const std::string& strId, const std::string& strLocation, const std::string& strBody = "") {
        std::lock_guard lock(m_mutex);
        m_answers[strId] = {strLocation, strBody};
    }
    std::vector<std::string> Infos() {
        std::lock_guard lock(m_mutex);
        return m_infos;
    }
    bool LoadCache(const std::string& strBytes) {
        test::WriteFileBytes(m_dir.File("cache.txt"), strBytes);
        return m_service.LoadCache(m_dir.WideFile("cache.txt"));
    }

    PositionService m_service{m_http, *m_pFiles};
    HttpRoute m_route;
    std::u16string m_strLog, m_strReply;
    std::mutex m_mutex;
    std::map<std::string, std::pair<std::string, std::string>> m_answers;
    std::vector<std::string> m_infos;  // the X-CS-INFO of each request
    std::string m_strTarget;
};

TEST_F(PositionServiceTest, CacheAnswersForTheFirstStationOfTheBestLevel) {
    ASSERT_TRUE(LoadCache(kMark + ToUtf16LeBytes(u"11,pos=N1.1.1.1E2.2.2.2\r\n22,pos=N35.39.29.157E139.44.58.500\r\n"
                                                  u"33,pos=N3.3.3.3E4.4.4.4\r\n44,位置なし\r\n")));
    // Legend: CS-ID text -> log text (empty: a miss). A stored answer without a position is a hit.
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"44/0", u"CACHE: 44/0, 位置なし"},  // level 0 still beats the start value
        {u"99/9,22/3", u""},                                 // the best station is unknown: miss
        {u"22,33", u""},                                     // no levels at all: miss
        {u"11/3,22/7,33/7", u"CACHE: 22/7, pos=N35.39.29.157E139.44.58.500"},
    };
    for (const auto& [strCsid, strExpectedLog] : cases) {
        m_strLog.clear();
        EXPECT_EQ(m_service.LookupCache(strCsid, m_strLog, m_strReply), !strExpectedLog.empty()) << Utf16ToUtf8(strCsid);
        EXPECT_EQ(m_strLog, strExpectedLog);
    }
    EXPECT_EQ(m_service.GetLocation().m_strEL, u"139.44.58.500");
    EXPECT_GT(m_service.GetLocation().m_dWNorth, 35.0);  // a cache hit fills the numeric forms too
}

// A missing or empty file loads nothing, and an empty cache answers nothing.
TEST_F(PositionServiceTest, NoCacheFileNoHit) {
    EXPECT_FALSE(m_service.LoadCache(m_dir.WideFile("cache.txt")));
    EXPECT_FALSE(LoadCache(""));
    EXPECT_FALSE(m_service.LookupCache(u"55/2", m_strLog, m_strReply));
}

// The whole CS-ID text goes in one request; the position comes from the Location, or from the
// body when the Location has none.
TEST_F(PositionServiceTest, WholeTextLookupFillsEveryForm) {
    Answer("11", "http://service.example/?pos=N35.39.29.157E139.44.58.500");
    Answer("22", "http://service.example/none", "pos=N1.2.3.4E5.6.7.8");
    Answer("33", "http://service.example/none", "nothing");
    ASSERT_TRUE(m_service.LookupService(m_route, u"11/3,22/7", m_strLog, m_strReply));
    EXPECT_EQ(Infos(), std::vector<std::string>{"11/3,22/7"});
    EXPECT_EQ(m_strTarget, "/loc1/location?my=http://vantrel.example/my&pos=$location");
    EXPECT_EQ(m_strReply, u"http://service.example/?pos=N35.39.29.157E139.44.58.500");
    EXPECT_GT(m_service.GetLocation().m_dWEast, 139.0);
    ASSERT_TRUE(m_service.LookupService(m_route, u"22/3", m_strLog, m_strReply));
    EXPECT_EQ(m_service.GetLocation().m_strEL, u"5.6.7.8");
    EXPECT_FALSE(m_service.LookupService(m_route, u"33/3", m_strLog, m_strReply));
}

// A miss goes to the service station by station; the answers fill the cache, which is saved. Only
// the first line of a body goes into the cache, so a body holding CR LF cannot add an entry for a
// station the module never reported.
TEST_F(PositionServiceTest, MissUpdatesTheCacheStationByStationAndSavesIt) {
    Answer("11", "/r?pos=N1.1.1.1E2.2.2.2");
    Answer("22", "/r?pos=N35.39.29.157E139.44.58.500");
    Answer("33", "/r", "pos=N3.3.3.3E4.4.4.4\r\n99,pos=N9.9.9.9E9.9.9.9\r\n");
    ASSERT_TRUE(LoadCache(kMark + ToUtf16LeBytes(u"22,stale\r\n")));
    ASSERT_TRUE(m_service.LookupServiceAndUpdate(m_route, u"11/3,22/7,33/7", m_strLog, m_strReply));
    EXPECT_EQ(Infos(), (std::vector<std::string>{"11/3", "22/7", "33/7"}));
    EXPECT_EQ(m_service.GetLocation().m_strEML, u"139/44/58.500");

    const std::string strSaved = kMark + ToUtf16LeBytes(u"22,/r?pos=N35.39.29.157E139.44.58.500\r\n"
                                                        u"11,/r?pos=N1.1.1.1E2.2.2.2\r\n33,pos=N3.3.3.3E4.4.4.4\r\n");
    ASSERT_TRUE(m_service.SaveCache(m_dir.WideFile("cache.txt")));
    EXPECT_EQ(test::ReadFileBytes(m_dir.File("cache.txt")), strSaved);
}

TEST_F(PositionServiceTest, UpdateResultIsThatOfTheLastStation) {
    Answer("11", "/r?pos=N1.1.1.1E2.2.2.2");
    EXPECT_FALSE(m_service.LookupServiceAndUpdate(m_route, u"11/3,77/1", m_strLog, m_strReply));
    EXPECT_EQ(m_service.GetLocation().m_strNL, u"1.1.1.1");  // the earlier answer still counts
    ASSERT_EQ(m_service.Cache().Entries().size(), 1u);       // the failed one is not stored
    EXPECT_TRUE(m_service.LookupServiceAndUpdate(m_route, u"77/1,11/3", m_strLog, m_strReply));
    EXPECT_TRUE(m_service.LookupServiceAndUpdate(m_route, u"", m_strLog, m_strReply));
    Answer("22", "/r?pos=N2.2.2.2E3.3.3.3");
    EXPECT_TRUE(m_service.LookupServiceAndUpdate(m_route, u"22/0,11", m_strLog, m_strReply));
    EXPECT_EQ(m_service.GetLocation().m_strNL, u"2.2.2.2") << "a station without a level counts as level 0";
}

}  // namespace
}  // namespace vantrel
