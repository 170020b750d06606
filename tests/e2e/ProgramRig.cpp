#include "ProgramRig.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <thread>

#include "port/Factories.h"
#include "port/FileSystem.h"
#include "settings/SettingsProfile.h"
#include "settings/TextUtil.h"

namespace vantrel::test {

namespace {

bool WaitFor(const std::function<bool()>& fnDone, int nTimeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(nTimeoutMs);
    while (!fnDone()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

bool Exists(const std::string& strPath) { return access(strPath.c_str(), F_OK) == 0; }

}  // namespace

// ---- the program folder ----

ProgramHome::ProgramHome() : m_pFiles(CreateFileSystem()) {
    mkdir(File("bin").c_str(), 0755);
    for (const auto& [strName, strValue] :
         std::vector<std::pair<std::string, std::string>>{{"VANTREL_HOME", Path()},
                                                          {"HOME", Path()},
                                                          {"XDG_CONFIG_HOME", Path()},
                                                          {"PATH", File("bin") + ":/usr/local/bin:/usr/bin:/bin"},
                                                          {"LANG", "C.UTF-8"},
                                                          {"QT_QPA_PLATFORM", "offscreen"}})
        SetEnvironment(strName, strValue);
    m_pSettings = std::make_unique<Settings>(LinuxSettingsProfile(m_dir.WidePath()), *m_pFiles);
    Settings& s = *m_pSettings;
    s.SetBool(BoolKey::LocateEasy, true);
    s.SetBool(BoolKey::AutoConnect, false);
    s.SetBool(BoolKey::BrowserSend, false);
    s.SetBool(BoolKey::Pbs, false);
    s.SetNumber(NumberKey::ConnectWait, 0);
    s.BrowserList().Clear();
    s.BrowserList().SetSelectedIndex(-1);
    s.UrlList().Clear();
    s.UrlList().SetSelectedIndex(-1);
    // Nothing the program hands to the desktop may reach a real one.
    AddRecorder("xdg-open");
    AddRecorder("xdg-email");
}

ProgramHome::~ProgramHome() = default;

void ProgramHome::Save() { m_pSettings->Save(WideFile("default.ini")); }

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

std::string ProgramHome::RecordedArgs(const std::string& strName, int nTimeoutMs) const {
    const std::string strPath = File(strName + ".args");
    if (!WaitFor([&] { return Exists(strPath); }, nTimeoutMs)) return "(not launched)";
    return ReadFileBytes(strPath);
}

std::vector<std::string> ProgramHome::Environment() const {
    std::vector<std::string> environment;
    for (const auto& [strName, strValue] : m_environment) environment.push_back(strName + "=" + strValue);
    return environment;
}

void ProgramHome::SetEnvironment(const std::string& strName, const std::string& strValue) {
    const auto it = std::find_if(m_environment.begin(), m_environment.end(),
                                 [&](const auto& variable) { return variable.first == strName; });
    if (it != m_environment.end()) m_environment.erase(it);
    if (!strValue.empty()) m_environment.emplace_back(strName, strValue);
}

std::vector<std::string> ProgramHome::FilesEndingWith(const std::string& strFolder, const std::string& strSuffix) const {
    std::vector<std::string> names;
    if (DIR* pDir = opendir(strFolder.c_str())) {
        while (const dirent* pEntry = readdir(pDir)) {
            const std::string strName = pEntry->d_name;
            if (strName.size() > strSuffix.size() &&
                strName.compare(strName.size() - strSuffix.size(), strSuffix.size(), strSuffix) == 0)
                names.push_back(strFolder + "/" + strName);
        }
        closedir(pDir);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// ---- the program ----

std::unique_ptr<ChildProcess> StartVantrel(const ProgramHome& home, const std::vector<std::string>& arguments) {
    return std::make_unique<ChildProcess>(VANTREL_EXE, arguments, home.Environment());
}

ProgramRun RunVantrel(const ProgramHome& home, const std::vector<std::string>& arguments, int nTimeoutMs) {
    return RunProgram(VANTREL_EXE, home, arguments, nTimeoutMs);
}

ProgramRun RunVantrelWithFileSizeLimit(const ProgramHome& home, std::uint64_t nBytes,
                                       const std::vector<std::string>& arguments, int nTimeoutMs) {
    std::vector<std::string> limited = {"--fsize=" + std::to_string(nBytes), "--", VANTREL_EXE};
    limited.insert(limited.end(), arguments.begin(), arguments.end());
    return RunProgram("/usr/bin/prlimit", home, limited, nTimeoutMs);
}

ProgramRun RunProgram(const std::string& strProgram, const ProgramHome& home, const std::vector<std::string>& arguments,
                      int nTimeoutMs) {
    const auto start = std::chrono::steady_clock::now();
    const auto pChild = std::make_unique<ChildProcess>(strProgram, arguments, home.Environment());
    ProgramRun run;
    run.nExit = pChild->Wait(nTimeoutMs);
    run.dSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    run.strOut = pChild->Out();
    run.strErr = pChild->Err();
    return run;
}

WsimEmulator::WsimEmulator(const std::vector<std::string>& options)
    : m_process(VANTREL_WSIM_EXE, options, {"PATH=/usr/bin:/bin"}) {
    m_strDevice = m_process.FirstLine(10000);
}

// ---- servers ----

RecordingHttpServer::RecordingHttpServer(std::string strAnswer) {
    m_server.Server().Get(".*", [this, strAnswer](const httplib::Request& request, httplib::Response& response) {
        std::lock_guard lock(m_mutex);
        m_requests.push_back({request.target, request.get_header_value("Cookie"), request.get_header_value("X-CS-INFO")});
        response.set_content(strAnswer, "text/plain");
    });
    m_server.Start();
}

std::vector<RecordingHttpServer::Request> RecordingHttpServer::Requests() {
    std::lock_guard lock(m_mutex);
    return m_requests;
}

// ---- helpers ----

std::string Utf16LeBytes(const std::string& strUtf8) { return ToUtf16LeBytes(Utf8ToUtf16(strUtf8)); }

std::size_t CountOf(const std::string& strText, const std::string& strPart) {
    std::size_t nCount = 0;
    for (std::size_t n = strText.find(strPart); n != std::string::npos; n = strText.find(strPart, n + strPart.size()))
        ++nCount;
    return nCount;
}


}  // namespace vantrel::test
