#pragma once
#include <string>

#include "acquire/LocationCache.h"
#include "deliver/HttpClient.h"
#include "location/Location.h"

namespace vantrel {

class FileSystem;
class ResourceModule;

// Turns the base stations the module hears (the CS-ID text "id/level,id/level,...") into a
// position: from the local cache of earlier answers, or from the position service over HTTP.
class PositionService {
public:
    PositionService(HttpClient& http, FileSystem& files);

    // The request templates: service URL (5000), position text (5001), extra headers (5002),
    // request URL (5003) and the "my" value (5004).
    void LoadTemplates(const ResourceModule& resources);
    // Another position service (the --service option, tests).
    void SetServiceUrl(const std::u16string& strUrl) { m_strServiceUrl = strUrl; }
    // The URL every lookup requests: the service URL and "my" put into the request template.
    std::u16string RequestUrl() const;

    bool LoadCache(const std::u16string& strPath);
    // Switches the cache off: forgets every entry held in memory (the file stays).
    void ClearCache() { m_cache.Clear(); }
    bool SaveCache(const std::u16string& strPath);

    // Answers from the cache alone, for the station heard best.
    bool LookupCache(const std::u16string& strCsid, std::u16string& strLogText, std::u16string& strReply);
    // One request carrying the whole CS-ID text.
    bool LookupService(const HttpRoute& route, const std::u16string& strCsid, std::u16string& strLogText,
                       std::u16string& strReply);
    // One request per station, each answer stored in the cache; the result is the last request's.
    bool LookupServiceAndUpdate(const HttpRoute& route, const std::u16string& strCsid, std::u16string& strLogText,
                                std::u16string& strReply);

    Location& GetLocation() { return m_location; }
    const LocationCache& Cache() const { return m_cache; }

private:
    bool Request(const HttpRoute& route, const std::u16string& strInfo, std::u16string& strReply);

    HttpClient& m_http;
    FileSystem& m_files;
    Location m_location;
    std::u16string m_strServiceUrl;
    std::u16string m_strPositionTemplate;
    std::u16string m_strHeaderTemplate;
    std::u16string m_strRequestTemplate;
    std::u16string m_strMy;
    LocationCache m_cache;
};

}  // namespace vantrel
