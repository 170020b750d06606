#include "ProgramRig.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <cstdlib>
#include <thread>

#include "port/Factories.h"
#include "port/FileSystem.h"
#include "settings/SettingsProfile.h"
#include "settings/TextUtil.h"

namespace vantrel::test {

namespace {

const char kPython[] = "/usr/bin/python3";
const std::string kSinkDir = VANTREL_MAIL_SINK_DIR;

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
    return {"VANTREL_HOME=" + Path(), "HOME=" + Path(), "XDG_CONFIG_HOME=" + Path(),
            "PATH=" + File("bin") + ":/usr/local/bin:/usr/bin:/bin", "LANG=C.UTF-8", "QT_QPA_PLATFORM=offscreen"};
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
    const auto start = std::chrono::steady_clock::now();
    const std::unique_ptr<ChildProcess> pChild = StartVantrel(home, arguments);
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

SmtpSink::SmtpSink() : m_nPort(UnusedLoopbackPort()) {
    if (!Available()) return;
    // No bytecode cache: it would land in the source tree.
    m_pProcess = std::make_unique<ChildProcess>(
        kPython,
        std::vector<std::string>{"-m", "aiosmtpd", "-n", "-l", "127.0.0.1:" + std::to_string(m_nPort), "-c",
                                 "mail_sink.FileSink", m_dir.Path()},
        std::vector<std::string>{"PYTHONPATH=" + kSinkDir, "LANG=C.UTF-8", "PYTHONDONTWRITEBYTECODE=1"});
    m_bReady = WaitUntilListening(m_nPort, 10000);
}

bool SmtpSink::Available() {
    static const bool bAvailable =
        access(kPython, X_OK) == 0 &&
        std::system((std::string(kPython) + " -c 'import aiosmtpd' >/dev/null 2>&1").c_str()) == 0;
    return bAvailable;
}

std::vector<std::string> SmtpSink::MessagePaths() const {
    std::vector<std::string> paths;
    for (int i = 1; Exists(m_dir.File("mail" + std::to_string(i) + ".eml")); ++i)
        paths.push_back(m_dir.File("mail" + std::to_string(i) + ".eml"));
    return paths;
}

bool SmtpSink::Decode(const std::string& strMessage, std::string& strSubject, std::string& strBody) const {
    const std::string strCommand = std::string("PYTHONDONTWRITEBYTECODE=1 ") + kPython + " " + kSinkDir +
                                   "/mail_sink.py '" + strMessage + "' '" + m_dir.File("subject.txt") + "' '" +
                                   m_dir.File("body.txt") + "'";
    if (std::system(strCommand.c_str()) != 0) return false;
    strSubject = ReadFileBytes(m_dir.File("subject.txt"));
    strBody = ReadFileBytes(m_dir.File("body.txt"));
    return true;
}

// ---- helpers ----

std::uint16_t UnusedLoopbackPort() {
    const int nSocket = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t nLength = sizeof address;
    bind(nSocket, reinterpret_cast<sockaddr*>(&address), sizeof address);
    getsockname(nSocket, reinterpret_cast<sockaddr*>(&address), &nLength);
    close(nSocket);
    return ntohs(address.sin_port);
}

bool WaitUntilListening(std::uint16_t nPort, int nTimeoutMs) {
    return WaitFor(
        [nPort] {
            const int nSocket = socket(AF_INET, SOCK_STREAM, 0);
            sockaddr_in address{};
            address.sin_family = AF_INET;
            address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            address.sin_port = htons(nPort);
            const bool bUp = connect(nSocket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
            close(nSocket);
            return bUp;
        },
        nTimeoutMs);
}

std::string Utf16LeBytes(const std::string& strUtf8) { return ToUtf16LeBytes(Utf8ToUtf16(strUtf8)); }

std::size_t CountOf(const std::string& strText, const std::string& strPart) {
    std::size_t nCount = 0;
    for (std::size_t n = strText.find(strPart); n != std::string::npos; n = strText.find(strPart, n + strPart.size()))
        ++nCount;
    return nCount;
}

std::string ReadUtf16File(const std::string& strPath) {
    const std::string strBytes = ReadFileBytes(strPath);
    if (strBytes.size() < 2 || strBytes.compare(0, 2, kUtf16LeMark, 2) != 0) return "(no mark)" + strBytes;
    std::u16string strText;
    for (std::size_t i = 2; i + 1 < strBytes.size(); i += 2)
        strText += static_cast<char16_t>(static_cast<unsigned char>(strBytes[i]) |
                                         static_cast<unsigned char>(strBytes[i + 1]) << 8);
    return Utf16ToUtf8(strText);
}

ClosingServer::ClosingServer() {
    m_nSocket = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t nLength = sizeof address;
    bind(m_nSocket, reinterpret_cast<sockaddr*>(&address), sizeof address);
    getsockname(m_nSocket, reinterpret_cast<sockaddr*>(&address), &nLength);
    m_nPort = ntohs(address.sin_port);
    listen(m_nSocket, 8);
    m_thread = std::thread([this] {
        while (!m_bStop) {
            pollfd fd{m_nSocket, POLLIN, 0};
            if (poll(&fd, 1, 100) <= 0) continue;
            const int nPeer = accept(m_nSocket, nullptr, nullptr);
            if (nPeer < 0) continue;
            ++m_nAccepted;
            close(nPeer);
        }
    });
}

ClosingServer::~ClosingServer() {
    m_bStop = true;
    m_thread.join();
    close(m_nSocket);
}

}  // namespace vantrel::test
