#pragma once
#include <string>
#include <vector>

namespace vantrel {

// The defaults that depend on the platform the program runs on: plain data, so that both
// profiles are built and tested on every platform. Everything else defaults the same everywhere.
struct SettingsProfile {
    // URL list rows: title, address, parameter template.
    std::vector<std::vector<std::u16string>> urlRows;
    // Browser list rows: name, executable.
    std::vector<std::vector<std::u16string>> browserRows;
    std::u16string strHostSmtp;
    std::u16string strFromSmtp;
    std::u16string strHostPop;
    std::u16string strBodySmtp;
    std::u16string strLogFileDir;
    std::u16string strPosLogDir;
};

// The handset's values, Windows paths literally.
SettingsProfile WindowsSettingsProfile();
// The same, with the Windows paths replaced: the log folders are the program folder, the browsers
// those of a Linux desktop.
SettingsProfile LinuxSettingsProfile(const std::u16string& strProgramFolder);

// The profile of the platform this build runs on; defined by the platform library, called by the
// composition root.
SettingsProfile PlatformSettingsProfile(const std::u16string& strProgramFolder);

}  // namespace vantrel
