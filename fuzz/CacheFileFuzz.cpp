// A cache file as it is found in the program folder: loaded, every station looked up (which reads
// its stored answer as a service reply), then saved and read back.
#include "support/ServiceRig.h"

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    fuzz::ServiceRig rig(fuzz::CannedHttp(false, {}, {}));
    rig.m_files.Put(u"/vantrel/cache.txt", fuzz::Bytes(pData, nSize));
    if (!rig.m_service.LoadCache(u"/vantrel/cache.txt")) return 0;

    std::size_t nLooked = 0;
    for (const auto& [strKey, strValue] : rig.m_service.Cache().Entries()) {
        if (++nLooked > 16) break;
        std::u16string strLog, strReply;
        rig.m_service.GetLocation().Reset();
        rig.m_service.LookupCache(strKey + u"/1", strLog, strReply);
    }
    fuzz::CheckCacheSurvivesSave(rig);
    return 0;
}
