#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <regex>
#include <thread>

#include "deliver/HttpSend.h"
#include "deliver/WorkerThread.h"
#include "location/Location.h"
#include "settings/TextUtil.h"
#include "support/HttpRig.h"
#include "support/ManualClock.h"
#include "support/ScriptedMailPeer.h"

namespace vantrel {
namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::u16string>;

class HttpClientTest : public testing::Test, public test::HttpRig {
protected:
    Texts Messages() const {
        Texts texts;
        for (const auto& box : m_boxes.Boxes()) texts.push_back(box.strText);
        return texts;
    }
    bool Plain(const std::u16string& strUrl, std::u16string& strBody) {
        std::u16string strLocation;
        return m_http.Fetch(strUrl, true, u"", false, u"", u"", strBody, strLocation);
    }
    bool WithHeaders(const std::u16string& strUrl, std::u16string& strBody, std::u16string& strLocation) {
        return m_http.Fetch(strUrl, true, u"", false, u"X-CS-INFO: %s\r\n", u"11/3", strBody, strLocation);
    }
};

// The header request wants the redirect itself; the plain fetch follows it, as opening a URL does.
// Both read the body in chunks of at most 1024 bytes, so a long one must arrive whole.
TEST_F(HttpClientTest, OnlyThePlainFetchFollowsRedirects) {
    std::string strLong;
    for (int i = 0; strLong.size() < 5000; ++i) strLong += std::to_string(i) + ";";
    std::string strInfo;
    m_server.Server().Get("/loc", [&](const httplib::Request& request, httplib::Response& response) {
        strInfo = request.get_header_value("X-CS-INFO");
        response.status = 302;
        response.set_header("Location", "/next");
        response.set_content(strLong, "text/plain");
    });
    m_server.Server().Get("/next", [&](const httplib::Request&, httplib::Response& response) {
        response.set_content("followed " + strLong, "text/plain");
    });
    m_server.Start();

    std::u16string strBody, strLocation;
    ASSERT_TRUE(WithHeaders(m_server.WideUrl("/loc"), strBody, strLocation));
    EXPECT_EQ(strLocation, u"/next");  // raw, not made absolute
    EXPECT_EQ(strBody, Utf8ToUtf16(strLong));
    EXPECT_EQ(strInfo, "11/3");
    ASSERT_TRUE(Plain(m_server.WideUrl("/loc"), strBody));
    EXPECT_EQ(strBody, Utf8ToUtf16("followed " + strLong));
}

// A header answer without Location fails. A body that breaks off after
// its headers fails the read, not the request: the header request still succeeds on its Location,
// and otherwise the read's own text is the one shown.
TEST_F(HttpClientTest, MissingLocationOrBrokenBody) {
    m_server.Server().Get("/(moved|plain)", [](const httplib::Request& request, httplib::Response& response) {
        if (request.path == "/moved") {
            response.status = 302;
            response.set_header("Location", "/next?pos=N1.2.3.4E5.6.7.8");
        }
        response.set_content_provider(1000, "text/plain", [](std::size_t, std::size_t, httplib::DataSink& sink) {
            sink.write("0123456789", 10);
            return false;  // the connection closes 990 bytes short
        });
    });
    m_server.Server().Get("/whole", [](const httplib::Request&, httplib::Response& response) {
        response.set_content("pos=N1.2.3.4E5.6.7.8", "text/plain");
    });
    m_server.Start();

    std::u16string strBody, strLocation = u"untouched";
    EXPECT_FALSE(WithHeaders(m_server.WideUrl("/whole"), strBody, strLocation));
    EXPECT_EQ(strLocation, u"untouched");
    EXPECT_TRUE(WithHeaders(m_server.WideUrl("/moved"), strBody, strLocation));
    EXPECT_EQ(strLocation, u"/next?pos=N1.2.3.4E5.6.7.8");
    EXPECT_FALSE(WithHeaders(m_server.WideUrl("/plain"), strBody, strLocation));
    EXPECT_FALSE(Plain(m_server.WideUrl("/plain"), strBody));
    // 8 = CURLE_WEIRD_SERVER_REPLY, 18 = CURLE_PARTIAL_FILE
    EXPECT_EQ(Messages(), (Texts{u"HttpQueryInfo() Failed. (Wininet Error:8)",
                                 u"InternetReadFile() Failed. (Wininet Error:18)",
                                 u"InternetReadFile() Failed. (Wininet Error:18)[hostname=" +
                                     m_server.WideUrl("/plain") + u"]"}));
}

// The worker's limit bounds opening the URL, up to the answer's headers; the body is then read
// under the session's receive limit, so a body whose first bytes come only after the limit is read
// whole instead of timing out. A server that never answers ends the fetch at the limit. The slow
// server also shows the exact request a plain fetch sends.
TEST_F(HttpClientTest, WorkerLimitBoundsOnlyTheOpening) {
    using test::ScriptedMailPeer;
    // The peer spaces the pieces 40 ms apart: the headers at 40 ms, the body from 200 ms on.
    ScriptedMailPeer slow({}, {ScriptedMailPeer::Pieces({"HTTP/1.1 200 OK\r\nContent-Length: 20\r\n\r\n", "", "", "",
                                                         "0123456789", "0123456789"})});
    ScriptedMailPeer silent({}, {});
    const auto Url = [](const ScriptedMailPeer& peer) {
        return Utf8ToUtf16("http://127.0.0.1:" + std::to_string(peer.Port()) + "/");
    };
    m_http.SetWorkerLimits(150, 20);

    std::u16string strBody;
    EXPECT_TRUE(Plain(Url(slow), strBody));
    EXPECT_EQ(strBody, u"01234567890123456789");
    EXPECT_EQ(slow.Transcript(), "GET / HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(slow.Port()) +
                                     "\r\nUser-Agent: vantrel\r\nAccept: */*\r\n\r\n");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(Plain(Url(silent), strBody));
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(elapsed, 149ms);  // the limit, counted in whole-millisecond ticks
    EXPECT_LT(elapsed, 1500ms);  // the limit plus at most the grace wait, not the 30 s of the session
    // 42 = CURLE_ABORTED_BY_CALLBACK: the worker's call ended by closing its session.
    EXPECT_EQ(Messages(), Texts{u"InternetOpenUrl() Failed. WorkerThread Operation Timt out. (LastError:42)[hostname=" +
                                Url(silent) + u"]"});
}

// A session whose open never returns on its own and ignores the abort for a while, as a stack
// stuck in a system call would.
class StuckSession final : public HttpSession {
public:
    bool SetTimeout(int, std::uint32_t, std::uint32_t&) override { return true; }
    std::unique_ptr<HttpResponse> SendRequest(const std::u16string&, std::uint16_t, const std::u16string&,
                                              const std::u16string&, HttpStage&, std::uint32_t&) override {
        return nullptr;
    }
    std::unique_ptr<HttpResponse> OpenUrl(const std::u16string&, std::uint32_t& nError) override {
        std::this_thread::sleep_for(400ms);
        nError = 99;
        ++m_nEnded;
        return nullptr;
    }
    void Abort() override { m_bAborted = true; }
    std::atomic<bool> m_bAborted{false};
    std::atomic<int> m_nEnded{0};
};

int OpenOnWorker(WorkerRecord& record) {
    std::shared_ptr<HttpSession> pSession;
    {
        std::lock_guard lock(record.mutex);
        pSession = record.pSession;
    }
    std::uint32_t nError = 0;
    pSession->OpenUrl(record.strUrl, nError);
    std::lock_guard lock(record.mutex);
    record.nLastError = nError;  // the record must outlive the worker's owner
    return 0;
}

TEST_F(HttpClientTest, WorkerThatIgnoresTheAbortIsLeftBehindNotWaitedFor) {
    auto pSession = std::make_shared<StuckSession>();
    const auto start = std::chrono::steady_clock::now();
    {
        WorkerThread worker(*m_pClock, OpenOnWorker);
        ASSERT_EQ(worker.Start(pSession, u"http://stuck/"), 0);
        worker.SetTimeout(50);
        EXPECT_EQ(worker.Run(10), -1);
        EXPECT_TRUE(pSession->m_bAborted);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 300ms);  // the limit and the grace wait only
    // The detached worker still owns what it touches and finishes on its own.
    for (int i = 0; i < 100 && pSession->m_nEnded == 0; ++i) std::this_thread::sleep_for(10ms);
    EXPECT_EQ(pSession->m_nEnded, 1);
}

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
