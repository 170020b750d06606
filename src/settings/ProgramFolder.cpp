#include "settings/ProgramFolder.h"

#include "port/FileSystem.h"
#include "port/SystemInfo.h"

namespace vantrel {

namespace {

constexpr char16_t kSettingsFile[] = u"default.ini";

std::u16string WithoutTrailingSeparators(std::u16string strFolder, char16_t cSeparator) {
    while (strFolder.size() > 1 && strFolder.back() == cSeparator) strFolder.pop_back();
    return strFolder;
}

std::u16string Join(const std::u16string& strFolder, std::u16string_view strName, char16_t cSeparator) {
    std::u16string strPath = strFolder;
    if (strPath.empty() || strPath.back() != cSeparator) strPath.push_back(cSeparator);
    return strPath.append(strName);
}

// XDG base directories must be absolute; a relative value is ignored.
bool GetAbsoluteEnv(SystemInfo& system, const char* pszName, char16_t cSeparator, std::u16string& strValue) {
    return system.GetEnv(pszName, strValue) && !strValue.empty() && strValue.front() == cSeparator;
}

}  // namespace

std::u16string ProgramFolder(SystemInfo& system, FileSystem& fileSystem) {
    const char16_t cSeparator = fileSystem.Separator();
    std::u16string strHome;
    if (system.GetEnv("VANTREL_HOME", strHome) && !strHome.empty()) return WithoutTrailingSeparators(strHome, cSeparator);

    const std::u16string strExecutable = system.ExecutablePath();
    const std::size_t nSlash = strExecutable.rfind(cSeparator);
    const std::u16string strExeFolder =
        nSlash == std::u16string::npos ? std::u16string() : strExecutable.substr(0, nSlash == 0 ? 1 : nSlash);
    if (!strExeFolder.empty() &&
        (fileSystem.IsFile(Join(strExeFolder, kSettingsFile, cSeparator)) || fileSystem.IsWritableDirectory(strExeFolder)))
        return strExeFolder;

    std::u16string strConfig;
    if (!GetAbsoluteEnv(system, "XDG_CONFIG_HOME", cSeparator, strConfig)) {
        if (!GetAbsoluteEnv(system, "HOME", cSeparator, strHome)) return strExeFolder;
        strConfig = Join(WithoutTrailingSeparators(strHome, cSeparator), u".config", cSeparator);
    }
    fileSystem.MakeDirectory(strConfig);
    const std::u16string strFolder = Join(WithoutTrailingSeparators(strConfig, cSeparator), u"vantrel", cSeparator);
    fileSystem.MakeDirectory(strFolder);
    return strFolder;
}

}  // namespace vantrel
