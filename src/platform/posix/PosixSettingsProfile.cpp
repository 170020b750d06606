#include "settings/SettingsProfile.h"

namespace vantrel {

SettingsProfile PlatformSettingsProfile(const std::u16string& strProgramFolder) {
    return LinuxSettingsProfile(strProgramFolder);
}

}  // namespace vantrel
