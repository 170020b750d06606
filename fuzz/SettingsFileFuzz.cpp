// A settings file read by the store and loaded into the settings record. What the record then
// saves must load back to the same record: from the second save on, the bytes stay the same. The
// first save may differ from the second: a list row's leading empty cells vanish when it is
// written, so a row read as ";u;f" is written "u;f" and reads back with its cells moved left.
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

    if (SaveLoaded(files, kInput, kFolder + u"first.ini").empty()) return 0;
    const std::string strSecond = SaveLoaded(files, kFolder + u"first.ini", kFolder + u"second.ini");
    FUZZ_CHECK(SaveLoaded(files, kFolder + u"second.ini", kFolder + u"third.ini") == strSecond);
    return 0;
}
