#pragma once
#include <string>

#include "port/Clock.h"

namespace vantrel {

class HttpTransport;
class Location;
class ResourceModule;

// The expiry of the position cookie: the local time one year on, labelled GMT without conversion,
// with today's weekday. False when the time holds a weekday or month out of range.
bool FormatCookieExpiry(const SystemTime& now, std::u16string& strExpiry);

// The HTTP channel's pieces: the send URL with the position in its query, and the "location"
// cookie that leaves the position for pages opened later.
class HttpSend {
public:
    HttpSend(HttpTransport& transport, Clock& clock);

    // The query template used when a URL-list entry has none (string 5001).
    void LoadDefaultTemplate(const ResourceModule& resources);
    void SetDefaultTemplate(const std::u16string& strTemplate) { m_strDefaultTemplate = strTemplate; }
    const std::u16string& DefaultTemplate() const { return m_strDefaultTemplate; }

    // strOutput := base URL, "?" and the expanded query; nothing is escaped. False, with strOutput
    // untouched, for an empty base URL.
    bool BuildSendUrl(const Location& location, const std::u16string& strBaseUrl,
                      const std::u16string& strQueryTemplate, std::u16string& strOutput);

    // Stores "location" = "<lat>,<lon>" for the scheme and host of strUrl, expiring in a year.
    bool CreateLocationCookie(const std::u16string& strUrl, const std::u16string& strLatitude,
                              const std::u16string& strLongitude);

private:
    HttpTransport& m_transport;
    Clock& m_clock;
    std::u16string m_strDefaultTemplate = u"pos=N$nlE$el";
};

}  // namespace vantrel
