#include "acquire/PositionService.h"

#include <vector>

#include "resource.h"
#include "settings/DualString.h"
#include "settings/Format.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

// The station items of a CS-ID text; empty items between commas are dropped.
std::vector<std::u16string> SplitItems(const std::u16string& strCsid) {
    std::vector<std::u16string> items;
    std::size_t nStart = 0;
    while (nStart <= strCsid.size()) {
        std::size_t nEnd = strCsid.find(u',', nStart);
        if (nEnd == std::u16string::npos) nEnd = strCsid.size();
        if (nEnd > nStart) items.push_back(strCsid.substr(nStart, nEnd - nStart));
        nStart = nEnd + 1;
    }
    return items;
}

// "pos=N<lat>E<lon>": the latitude runs from behind the "N" to the first "E", the longitude from
// there to the end of the text.
bool SplitReply(const std::u16string& strReply, std::u16string& strNorth, std::u16string& strEast) {
    const std::size_t nPos = strReply.find(u"pos=");
    if (nPos == std::u16string::npos) return false;
    const std::u16string strRest = strReply.substr(nPos + 4);
    const std::size_t nE = strRest.find(u'E');
    if (nE == std::u16string::npos) return false;
    strNorth = nE > 0 ? strRest.substr(1, nE - 1) : std::u16string();
    strEast = strRest.substr(nE + 1);
    return true;
}

std::u16string LoadText(const ResourceModule& resources, std::uint32_t nId) {
    DualString strText;
    strText.LoadStringResource(resources, nId);
    return strText.Wide();
}

}  // namespace

PositionService::PositionService(HttpClient& http, FileSystem& files) : m_http(http), m_files(files) {}

void PositionService::LoadTemplates(const ResourceModule& resources) {
    m_strServiceUrl = LoadText(resources, IDS_SERVICE_URL);
    m_strPositionTemplate = LoadText(resources, IDS_POSITION_TEMPLATE);
    m_strHeaderTemplate = LoadText(resources, IDS_SERVICE_HEADERS);
    m_strRequestTemplate = LoadText(resources, IDS_SERVICE_REQUEST);
    m_strMy = LoadText(resources, IDS_SERVICE_MY);
}

std::u16string PositionService::RequestUrl() const {
    return FormatText(m_strRequestTemplate, m_strServiceUrl, m_strMy);  // "$location" stays as it is
}

bool PositionService::LoadCache(const std::u16string& strPath) { return m_cache.Load(m_files, strPath); }

bool PositionService::SaveCache(const std::u16string& strPath) { return m_cache.Save(m_files, strPath); }

// The service answers with a redirect whose Location holds the position; a service that puts it
// in the body instead is read from there.
bool PositionService::Request(const HttpRoute& route, const std::u16string& strInfo, std::u16string& strReply) {
    std::u16string strBody, strLocation;
    if (!m_http.Fetch(RequestUrl(), route, m_strHeaderTemplate, strInfo, strBody, strLocation)) return false;
    strReply = strLocation.find(u"pos=") != std::u16string::npos ? strLocation : strBody;
    return true;
}

bool PositionService::LookupService(const HttpRoute& route, const std::u16string& strCsid, std::u16string& strLogText,
                                    std::u16string& strReply) {
    if (!Request(route, strCsid, strReply)) return false;
    std::u16string strNorth, strEast;
    if (!SplitReply(strReply, strNorth, strEast)) return false;
    m_location.SetCoordinates(strNorth, strEast);
    return true;
}

bool PositionService::LookupCache(const std::u16string& strCsid, std::u16string& strLogText, std::u16string& strReply) {
    if (m_cache.IsEmpty()) return false;
    std::u16string strBestId;
    std::int32_t nBestLevel = -1;
    for (const std::u16string& strItem : SplitItems(strCsid)) {
        const std::size_t nSlash = strItem.find(u'/');
        if (nSlash == std::u16string::npos) continue;
        const std::int32_t nLevel = WtoL(std::u16string_view(strItem).substr(nSlash + 1));
        if (nLevel > nBestLevel) {  // the first of equal levels stays
            nBestLevel = nLevel;
            strBestId = strItem.substr(0, nSlash);
        }
    }
    if (nBestLevel < 0) return false;
    const LocationCache::Entry* pEntry = m_cache.Find(strBestId);
    if (!pEntry) return false;
    strLogText = FormatText(u"CACHE: %s/%d, %s", pEntry->first, nBestLevel, pEntry->second);
    strReply = pEntry->second;
    std::u16string strNorth, strEast;
    if (SplitReply(pEntry->second, strNorth, strEast)) m_location.SetCoordinates(strNorth, strEast);
    return true;  // a hit even when the stored answer holds no position
}

bool PositionService::LookupServiceAndUpdate(const HttpRoute& route, const std::u16string& strCsid,
                                             std::u16string& strLogText, std::u16string& strReply) {
    bool bResult = true;
    std::int32_t nBestLevel = -1;
    for (const std::u16string& strItem : SplitItems(strCsid)) {
        const std::size_t nSlash = strItem.find(u'/');
        const std::int32_t nLevel =
            nSlash == std::u16string::npos ? 0 : WtoL(std::u16string_view(strItem).substr(nSlash + 1));
        std::u16string strAnswer;
        bResult = Request(route, strItem, strAnswer);
        if (!bResult) continue;  // a failed request leaves the cache as it was
        strReply = strAnswer;
        std::u16string strNorth, strEast;
        if (SplitReply(strAnswer, strNorth, strEast) && nLevel > nBestLevel) {
            // Only the four texts: the numeric forms follow when the station is next found in the cache.
            nBestLevel = nLevel;
            m_location.m_strNL = strNorth;
            m_location.m_strEL = strEast;
            Location::ToSlashForm(m_location.m_strNL, m_location.m_strNML);
            Location::ToSlashForm(m_location.m_strEL, m_location.m_strEML);
        }
        m_cache.Update(strItem.substr(0, nSlash), strAnswer);
    }
    return bResult;
}

}  // namespace vantrel
