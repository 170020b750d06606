#include "deliver/HttpSend.h"

#include "deliver/HttpClient.h"
#include "location/Placeholders.h"
#include "port/HttpTransport.h"
#include "resource.h"
#include "settings/DualString.h"
#include "settings/Format.h"

namespace vantrel {

namespace {

constexpr const char16_t* kWeekdays[] = {u"Sun", u"Mon", u"Tue", u"Wed", u"Thu", u"Fri", u"Sat"};
constexpr const char16_t* kMonths[] = {u"Jan", u"Feb", u"Mar", u"Apr", u"May", u"Jun",
                                       u"Jul", u"Aug", u"Sep", u"Oct", u"Nov", u"Dec"};

}  // namespace

bool FormatCookieExpiry(const SystemTime& now, std::u16string& strExpiry) {
    if (now.nDayOfWeek < 0 || now.nDayOfWeek >= 7 || now.nMonth < 1 || now.nMonth > 12) return false;
    strExpiry = FormatText(u"%s, %02d-%s-%04d %02d:%02d:%02d GMT", kWeekdays[now.nDayOfWeek], now.nDay,
                           kMonths[now.nMonth - 1], now.nYear + 1, now.nHour, now.nMinute, now.nSecond);
    return true;
}

HttpSend::HttpSend(HttpTransport& transport, Clock& clock) : m_transport(transport), m_clock(clock) {}

void HttpSend::LoadDefaultTemplate(const ResourceModule& resources) {
    DualString strTemplate;
    strTemplate.LoadStringResource(resources, IDS_POSITION_TEMPLATE);
    m_strDefaultTemplate = strTemplate.Wide();
}

bool HttpSend::BuildSendUrl(const Location& location, const std::u16string& strBaseUrl,
                            const std::u16string& strQueryTemplate, std::u16string& strOutput) {
    const std::u16string& strQuery = strQueryTemplate.empty() ? m_strDefaultTemplate : strQueryTemplate;
    if (strBaseUrl.empty()) return false;
    strOutput = strBaseUrl + u"?";
    if (strQuery.find(u'$') == std::u16string::npos) {
        strOutput += strQuery;
        return true;
    }
    return ExpandPlaceholders(location, m_clock, strQuery, strOutput);
}

bool HttpSend::CreateLocationCookie(const std::u16string& strUrl, const std::u16string& strLatitude,
                                    const std::u16string& strLongitude) {
    UrlParts parts;
    std::uint32_t nError = 0;
    if (!ParseUrl(m_transport, strUrl, parts, nError)) return false;
    std::u16string strExpiry;
    if (!FormatCookieExpiry(m_clock.LocalTime(), strExpiry)) return false;
    // The blank before "=" and the comma without a blank are what pages reading the cookie expect.
    const std::u16string strValue = FormatText(u"%s,%s; expires =%s", strLatitude, strLongitude, strExpiry);
    const std::u16string strCookieUrl = FormatText(u"%s://%s", parts.strScheme, parts.strHost);
    return m_transport.SetCookie(strCookieUrl, u"location", strValue);
}

}  // namespace vantrel
