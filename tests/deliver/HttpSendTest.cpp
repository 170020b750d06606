#include <gtest/gtest.h>

#include <regex>

#include "deliver/HttpSend.h"
#include "location/Location.h"
#include "settings/TextUtil.h"
#include "support/HttpRig.h"
#include "support/ManualClock.h"

namespace vantrel {
namespace {

class HttpSendTest : public testing::Test, public test::HttpRig {
protected:
    HttpSendTest() { m_location.SetCoordinates(u"35.39.29.157", u"139.44.58.500"); }

    test::ManualClock m_clock{test::MakeTime(2009, 12, 31, 23, 59, 59)};
    HttpSend m_send{*m_pTransport, m_clock};
    Location m_location;
};

// Legend: base URL, query template -> built?, URL.
TEST_F(HttpSendTest, SendUrlAppendsTheQueryAfterAQuestionMark) {
    m_send.LoadDefaultTemplate(ResourceModule::Program());
    const struct {
        std::u16string strBase, strTemplate;
        bool bOk;
        std::u16string strUrl;
    } cases[] = {
        {u"http://h/s", u"", true, u"http://h/s?pos=N35.39.29.157E139.44.58.500"},  // default template
        {u"http://h/s", u"fixed=1&b=a b", true, u"http://h/s?fixed=1&b=a b"},       // verbatim, not escaped
        {u"http://h/s?k=v", u"lat=$nl", true, u"http://h/s?k=v?lat=35.39.29.157"},   // a second "?"
        {u"", u"lat=$nl", false, u"previous"},                                       // output untouched
    };
    for (const auto& c : cases) {
        std::u16string strUrl = u"previous";
        EXPECT_EQ(m_send.BuildSendUrl(m_location, c.strBase, c.strTemplate, strUrl), c.bOk);
        EXPECT_EQ(strUrl, c.strUrl);
    }
}

// Legend: local time (day of week, month possibly broken) -> expiry text, or none.
TEST(CookieExpiry, OneYearOnWithTodaysWeekdayLabelledGmt) {
    const auto With = [](SystemTime time, int nDayOfWeek, int nMonth) {
        time.nDayOfWeek = nDayOfWeek;
        time.nMonth = nMonth;
        return time;
    };
    const SystemTime day = test::MakeTime(2009, 1, 1);
    const struct {
        SystemTime time;
        const char16_t* pszExpiry;
    } cases[] = {
        {test::MakeTime(2009, 12, 31, 23, 59, 59), u"Thu, 31-Dec-2010 23:59:59 GMT"},
        {test::MakeTime(2024, 2, 29, 1, 2, 3), u"Thu, 29-Feb-2025 01:02:03 GMT"},
        {test::MakeTime(2023, 1, 1, 0, 0, 0), u"Sun, 01-Jan-2024 00:00:00 GMT"},
        {With(day, 7, 1), nullptr}, {With(day, -1, 1), nullptr}, {With(day, 4, 0), nullptr}, {With(day, 4, 13), nullptr},
    };
    for (const auto& c : cases) {
        std::u16string strExpiry = u"untouched";
        EXPECT_EQ(FormatCookieExpiry(c.time, strExpiry), c.pszExpiry != nullptr);
        EXPECT_EQ(strExpiry, c.pszExpiry ? c.pszExpiry : u"untouched");
    }
}

// A cookie written now lives a year on the host of the URL and every path there, so the next
// request to that host carries it.
TEST_F(HttpSendTest, CookieIsCarriedOnLaterRequestsToItsHost) {
    m_clock.SetLocalTime(m_pClock->LocalTime());
    std::string strCookie;
    m_server.Server().Get("/echo", [&](const httplib::Request& request, httplib::Response& response) {
        strCookie = request.get_header_value("Cookie");
        response.set_content("ok", "text/plain");
    });
    m_server.Start();
    EXPECT_FALSE(m_send.CreateLocationCookie(u"not a url", u"1", u"2"));
    ASSERT_TRUE(m_send.CreateLocationCookie(m_server.WideUrl("/any/path?x=1"), u"35.39.29.157", u"139.44.58.500"));

    std::u16string strBody, strLocation;
    ASSERT_TRUE(m_http.Fetch(m_server.WideUrl("/echo"), true, u"", false, u"", u"", strBody, strLocation));
    EXPECT_EQ(strCookie, "location=35.39.29.157,139.44.58.500");
    // Host only, every path, not secure, an expiry (not a session cookie).
    EXPECT_TRUE(std::regex_search(test::ReadFileBytes(m_dir.File("cookies.txt")),
                                  std::regex("\n127\\.0\\.0\\.1\tFALSE\t/\tFALSE\t[1-9][0-9]{9}\tlocation\t"
                                             "35\\.39\\.29\\.157,139\\.44\\.58\\.500\n")));
}

}  // namespace
}  // namespace vantrel
