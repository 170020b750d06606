// A settings file read by the store and loaded into the settings record. What the record then
// saves must load back to the same record: saving it again gives the same bytes.
#include "settings/Settings.h"
#include "settings/SettingsProfile.h"
#include "settings/SettingsStore.h"
#include "support/FuzzSupport.h"

using namespace vantrel;

namespace {

const std::u16string kFolder = u"/vantrel/";
const std::u16string kInput = kFolder + u"default.ini";

std::string SaveLoaded(fuzz::MemoryFileSystem& files, const std::u16string& strFrom, const std::u16string& strTo) {
    Settings settings(LinuxSettingsProfile(kFolder), files);
    if (!settings.Load(strFrom)) return {};
    FUZZ_CHECK(settings.Save(strTo));
    return *files.Get(strTo);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    fuzz::MemoryFileSystem files;
    files.Put(kInput, fuzz::Bytes(pData, nSize));

    // The store's narrow mode is part of its interface, though the record never uses it.
    SettingsStore narrow(files);
    narrow.Read(DualString(u"vantrel"), kInput, true);

    const std::string strFirst = SaveLoaded(files, kInput, kFolder + u"first.ini");
    if (strFirst.empty()) return 0;
    FUZZ_CHECK(SaveLoaded(files, kFolder + u"first.ini", kFolder + u"second.ini") == strFirst);
    return 0;
}
