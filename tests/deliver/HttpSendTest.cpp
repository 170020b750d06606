#include <gtest/gtest.h>

#include <memory>
#include <mutex>

#include "deliver/HttpClient.h"
#include "deliver/HttpSend.h"
#include "deliver/MessageFacility.h"
#include "location/Location.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "port/HttpTransport.h"
#include "settings/ResourceModule.h"
#include "settings/TextUtil.h"
#include "support/LoopbackHttpServer.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageBox.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

// The real transport, with the cookies handed to it recorded on the way.
class RecordingTransport final : public HttpTransport {
public:
    explicit RecordingTransport(HttpTransport& inner) : m_inner(inner) {}
    std::unique_ptr<HttpSession> OpenSession(const HttpSessionOptions& options, std::uint32_t& nError) override {
        return m_inner.OpenSession(options, nError);
    }
    bool CrackUrl(const std::u16string& strUrl, UrlParts& parts, std::uint32_t& nError) override {
        return m_inner.CrackUrl(strUrl, parts, nError);
    }
    bool SetCookie(const std::u16string& strUrl, const std::u16string& strName, const std::u16string& strData) override {
        m_cookies.push_back(strUrl + u" " + strName + u"=" + strData);
        return m_inner.SetCookie(strUrl, strName, strData);
    }
    std::vector<std::u16string> m_cookies;

private:
    HttpTransport& m_inner;
};

class HttpSendTest : public testing::Test {
protected:
    HttpSendTest() { m_location.SetCoordinates(u"35.39.29.157", u"139.44.58.500"); }

    test::TempDir m_dir;
    test::ManualClock m_clock{test::MakeTime(2009, 12, 31, 23, 59, 59)};
    std::unique_ptr<HttpTransport> m_pTransport = CreateHttpTransport(m_dir.WidePath());
    RecordingTransport m_recorder{*m_pTransport};
    HttpSend m_send{m_recorder, m_clock};
    Location m_location;
};

TEST_F(HttpSendTest, SendUrlAppendsTheQueryAfterAQuestionMark) {
    m_send.LoadDefaultTemplate(ResourceModule::Program());
    // Legend: base URL, query template -> built?, URL.
    struct Case {
        std::u16string strBase, strTemplate;
        bool bOk;
        std::u16string strUrl;
    };
    const Case cases[] = {
        {u"http://h/s", u"", true, u"http://h/s?pos=N35.39.29.157E139.44.58.500"},  // default template
        {u"http://h/s", u"fixed=1&b=a b", true, u"http://h/s?fixed=1&b=a b"},       // verbatim, not escaped
        {u"http://h/s?k=v", u"lat=$nl", true, u"http://h/s?k=v?lat=35.39.29.157"},   // a second "?"
        {u"", u"lat=$nl", false, u"previous"},                                       // output untouched
    };
    for (const Case& c : cases) {
        std::u16string strUrl = u"previous";
        EXPECT_EQ(m_send.BuildSendUrl(m_location, c.strBase, c.strTemplate, strUrl), c.bOk);
        EXPECT_EQ(strUrl, c.strUrl);
    }
}

TEST_F(HttpSendTest, ExpiryIsOneYearOnWithTodaysWeekdayLabelledGmt) {
    std::u16string strExpiry;
    ASSERT_TRUE(FormatCookieExpiry(test::MakeTime(2009, 12, 31, 23, 59, 59), strExpiry));
    EXPECT_EQ(strExpiry, u"Thu, 31-Dec-2010 23:59:59 GMT");
    ASSERT_TRUE(FormatCookieExpiry(test::MakeTime(2024, 2, 29, 1, 2, 3), strExpiry));
    EXPECT_EQ(strExpiry, u"Thu, 29-Feb-2025 01:02:03 GMT");

    SystemTime bad = test::MakeTime(2009, 1, 1);
    bad.nDayOfWeek = 7;
    EXPECT_FALSE(FormatCookieExpiry(bad, strExpiry));
    bad = test::MakeTime(2009, 1, 1);
    bad.nMonth = 13;
    EXPECT_FALSE(FormatCookieExpiry(bad, strExpiry));
}

TEST_F(HttpSendTest, CookieIsSetOnSchemeAndHostOnly) {
    ASSERT_TRUE(m_send.CreateLocationCookie(u"http://127.0.0.1:8080/a/b?c=d", u"35.39.29.157", u"139.44.58.500"));
    EXPECT_EQ(m_recorder.m_cookies,
              std::vector<std::u16string>{
                  u"http://127.0.0.1 location=35.39.29.157,139.44.58.500; expires =Thu, 31-Dec-2010 23:59:59 GMT"});
    EXPECT_FALSE(m_send.CreateLocationCookie(u"not a url", u"1", u"2"));
}

// A cookie written now lives a year, so the next request to that host carries it, and only there.
TEST_F(HttpSendTest, CookieIsCarriedOnLaterRequestsToItsHost) {
    std::unique_ptr<Clock> pSystemClock = CreateSystemClock();
    m_clock.SetLocalTime(pSystemClock->LocalTime());
    std::mutex mutex;
    std::vector<std::string> cookies;
    test::LoopbackHttpServer server;
    server.Server().Get("/echo", [&](const httplib::Request& request, httplib::Response& response) {
        std::lock_guard lock(mutex);
        cookies.push_back(request.get_header_value("Cookie"));
        response.set_content("ok", "text/plain");
    });
    server.Start();
    ASSERT_TRUE(m_send.CreateLocationCookie(server.WideUrl("/any/path?x=1"), u"35.39.29.157", u"139.44.58.500"));

    std::unique_ptr<FileSystem> pFiles = CreateFileSystem();
    test::RecordingMessageBox boxes;
    MessageFacility messages{*pSystemClock, *pFiles, boxes, ResourceModule::Program()};
    HttpClient client{*m_pTransport, messages, *pSystemClock};
    std::u16string strBody, strLocation;
    const std::string strOtherHost = "http://localhost:" + std::to_string(server.Port()) + "/echo";
    ASSERT_TRUE(client.Fetch(server.WideUrl("/echo"), true, u"", false, u"", u"", strBody, strLocation));
    ASSERT_TRUE(client.Fetch(Utf8ToUtf16(strOtherHost), true, u"", false, u"", u"", strBody, strLocation));

    EXPECT_EQ(cookies, (std::vector<std::string>{"location=35.39.29.157,139.44.58.500", ""}));
    EXPECT_NE(test::ReadFileBytes(m_dir.File("cookies.txt")).find("\tlocation\t35.39.29.157,139.44.58.500"),
              std::string::npos);
}

}  // namespace
}  // namespace vantrel
