#pragma once
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "acquire/LocationCache.h"
#include "acquire/PositionService.h"
#include "deliver/HttpClient.h"
#include "deliver/MessageFacility.h"
#include "port/HttpTransport.h"
#include "port/TextCodec.h"
#include "settings/ResourceModule.h"
#include "support/FuzzSupport.h"

namespace vantrel::fuzz {

// Every request is answered with the same Location header (when there is one) and body; the
// header goes through the code page as the real stack passes it on.
class CannedHttp final : public HttpTransport {
public:
    CannedHttp(bool bHasLocation, std::string strLocation, std::string strBody)
        : m_bHasLocation(bHasLocation), m_strLocation(std::move(strLocation)), m_strBody(std::move(strBody)) {}

    std::unique_ptr<HttpSession> OpenSession(const HttpSessionOptions&, std::uint32_t&) override {
        return std::make_unique<Session>(*this);
    }
    bool CrackUrl(const std::u16string&, UrlParts& parts, std::uint32_t&) override {
        parts.strHost = u"127.0.0.1";
        parts.strPath = u"/loc1/location";
        return true;
    }
    bool SetCookie(const std::u16string&, const std::u16string&, const std::u16string&) override { return true; }

private:
    class Response final : public HttpResponse {
    public:
        explicit Response(const CannedHttp& http) : m_http(http) {}
        bool QueryLocation(std::u16string& strLocation, std::uint32_t& nError) override {
            if (!m_http.m_bHasLocation) return false;
            strLocation.clear();
            AnsiCodePage().ToWide(m_http.m_strLocation, strLocation);
            return true;
        }
        bool Read(void* pData, std::uint32_t nSize, std::uint32_t& nRead, std::uint32_t&) override {
            nRead = static_cast<std::uint32_t>(std::min<std::size_t>(nSize, m_http.m_strBody.size() - m_nOffset));
            std::memcpy(pData, m_http.m_strBody.data() + m_nOffset, nRead);
            m_nOffset += nRead;
            return true;
        }

    private:
        const CannedHttp& m_http;
        std::size_t m_nOffset = 0;
    };
    class Session final : public HttpSession {
    public:
        explicit Session(const CannedHttp& http) : m_http(http) {}
        bool SetTimeout(int, std::uint32_t, std::uint32_t&) override { return true; }
        std::unique_ptr<HttpResponse> SendRequest(const std::u16string&, std::uint16_t, const std::u16string&,
                                                  const std::u16string&, HttpStage&, std::uint32_t&) override {
            return std::make_unique<Response>(m_http);
        }
        std::unique_ptr<HttpResponse> OpenUrl(const std::u16string&, std::uint32_t&) override {
            return std::make_unique<Response>(m_http);
        }
        void Abort() override {}

    private:
        const CannedHttp& m_http;
    };

    bool m_bHasLocation;
    std::string m_strLocation;
    std::string m_strBody;
};

// A position service over canned answers and an in-memory program folder, with messages off.
struct ServiceRig {
    explicit ServiceRig(CannedHttp http) : m_http(std::move(http)) {
        m_messages.SetFlags(0);
        m_service.LoadTemplates(ResourceModule::Program());
    }

    FixedClock m_clock;
    MemoryFileSystem m_files;
    SilentBoxes m_boxes;
    MessageFacility m_messages{m_clock, m_files, m_boxes, ResourceModule::Program()};
    CannedHttp m_http;
    HttpClient m_client{m_http, m_messages, m_clock};
    PositionService m_service{m_client, m_files};
};

// The cache as written must read back as the same stations in the same order, so that nothing in a
// stored answer can forge or hide an entry; a value may only lose its tail.
inline void CheckCacheSurvivesSave(ServiceRig& rig) {
    const std::u16string strPath = u"/vantrel/saved.txt";
    if (!rig.m_service.SaveCache(strPath)) return;
    LocationCache reloaded;
    reloaded.Load(rig.m_files, strPath);
    const auto& saved = rig.m_service.Cache().Entries();
    const auto& read = reloaded.Entries();
    FUZZ_CHECK(read.size() == saved.size());
    for (std::size_t i = 0; i < saved.size(); ++i) {
        FUZZ_CHECK(read[i].first == saved[i].first);
        FUZZ_CHECK(saved[i].second.starts_with(read[i].second));
    }
}

}  // namespace vantrel::fuzz
