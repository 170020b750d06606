#include "ProgramRig.h"

#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "port/Factories.h"
#include "settings/SettingsProfile.h"
#include "settings/TextUtil.h"

namespace vantrel::test {

ProgramHome::ProgramHome() : m_pFiles(CreateFileSystem()) {
    mkdir(File("bin").c_str(), 0755);
    m_environment = {{"VANTREL_HOME", m_dir.Path()},
                     {"HOME", m_dir.Path()},
                     {"XDG_CONFIG_HOME", m_dir.Path()},
                     {"PATH", File("bin") + ":/usr/local/bin:/usr/bin:/bin"},
                     {"LANG", "C.UTF-8"},
                     {"QT_QPA_PLATFORM", "offscreen"}};
    m_pSettings = std::make_unique<Settings>(LinuxSettingsProfile(m_dir.WidePath()), *m_pFiles);
    Settings& s = *m_pSettings;
    s.SetBool(BoolKey::AutoConnect, false);
    s.SetBool(BoolKey::BrowserSend, false);
    s.SetNumber(NumberKey::ConnectWait, 0);
    s.BrowserList().Clear();
    s.BrowserList().SetSelectedIndex(-1);
    // Nothing the program hands to the desktop may reach a real one.
    AddRecorder("xdg-open");
    AddRecorder("xdg-email");
}

void ProgramHome::Save() { m_pSettings->Save(m_dir.WideFile("default.ini")); }

void ProgramHome::UseUrl(const std::string& strAddress, const std::string& strTemplate) {
    SettingsList& list = m_pSettings->UrlList();
    list.Clear();
    list.AddRow({u"local", Utf8ToUtf16(strAddress), Utf8ToUtf16(strTemplate)});
    list.SetSelectedIndex(0);
}

std::string ProgramHome::AddRecorder(const std::string& strName) {
    const std::string strPath = File("bin/" + strName);
    // Written under another name first: the test waits for the file and must see all of it.
    const std::string strArgs = File(strName + ".args");
    WriteFileBytes(strPath, "#!/bin/sh\nfor a in \"$@\"; do printf '%s\\n' \"$a\"; done > '" + strArgs +
                                ".part'\nmv '" + strArgs + ".part' '" + strArgs + "'\n");
    chmod(strPath.c_str(), 0755);
    return strPath;
}

std::string ProgramHome::RecordedArgs(const std::string& strName) const {
    const std::string strPath = File(strName + ".args");
    // The program may hand off without waiting for the helper it started.
    for (int nWaited = 0; !std::filesystem::exists(strPath); nWaited += 20) {
        if (nWaited >= 5000) return "(not launched)";
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return ReadFileBytes(strPath);
}

std::vector<std::string> ProgramHome::Environment() const {
    std::vector<std::string> environment;
    for (const auto& [strName, strValue] : m_environment) environment.push_back(strName + "=" + strValue);
    return environment;
}

void ProgramHome::SetEnvironment(const std::string& strName, const std::string& strValue) {
    if (strValue.empty()) m_environment.erase(strName);
    else m_environment[strName] = strValue;
}

std::vector<std::string> ProgramHome::FilesEndingWith(const std::string& strSuffix) const {
    std::vector<std::string> paths;
    for (const std::string& strName : m_dir.Names())
        if (strName.size() > strSuffix.size() && strName.ends_with(strSuffix)) paths.push_back(File(strName));
    return paths;
}

ProgramRun RunVantrel(const ProgramHome& home, const std::vector<std::string>& arguments, const std::string& strProgram) {
    ChildProcess child(strProgram, arguments, home.Environment());
    const int nExit = child.Wait(30000);
    return {nExit, child.Out(), child.Err()};
}

}  // namespace vantrel::test
