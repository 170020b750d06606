// The position service's answer: the first line of the input is the Location header (no line
// means no header), the rest the body. Both lookups read it; the per-station one stores it in the
// cache, which is then saved and read back.
#include "support/ServiceRig.h"

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    const std::string_view input = fuzz::Bytes(pData, nSize);
    const std::size_t nBreak = input.find('\n');
    const bool bHasLocation = nBreak != std::string_view::npos;
    fuzz::ServiceRig rig(fuzz::CannedHttp(bHasLocation, std::string(input.substr(0, bHasLocation ? nBreak : 0)),
                                          std::string(input.substr(bHasLocation ? nBreak + 1 : 0))));
    const HttpRoute route;
    std::u16string strLog, strReply;
    rig.m_service.LookupService(route, u"0A12F3C4/34,0A12F3B8/21", strLog, strReply);
    rig.m_service.GetLocation().Reset();
    rig.m_service.LookupServiceAndUpdate(route, u"0A12F3C4/34,0A12F3B8/21", strLog, strReply);
    rig.m_service.GetLocation().Reset();
    rig.m_service.LookupCache(u"0A12F3C4/34", strLog, strReply);
    fuzz::CheckCacheSurvivesSave(rig);
    return 0;
}
