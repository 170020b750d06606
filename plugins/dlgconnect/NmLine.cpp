#include "NmLine.h"

#include <dlfcn.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace dlgconnect {

namespace {

// Where the client library looks when the environment names no system bus; distributions put the
// socket under /run, and /var/run leads there.
constexpr const char* kSystemBusSockets[] = {"/var/run/dbus/system_bus_socket", "/run/dbus/system_bus_socket"};
constexpr char kUnixPath[] = "unix:path=";

// Why there is no system bus, when that is plain without a client: no address, or an address of one
// Unix socket that is not there. Empty when it may be there; any other address (another transport,
// escapes, a list to try in turn) is left to the client to try.
std::string MissingBus() {
    const char* pszAddress = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    if (pszAddress && !*pszAddress) return "no system bus: its address is empty";
    struct stat info;
    if (!pszAddress) {
        for (const char* pszSocket : kSystemBusSockets)
            if (::stat(pszSocket, &info) == 0) return {};
        return std::string("cannot reach the system bus at ") + kUnixPath + kSystemBusSockets[0] +
               ": Could not connect: " + std::strerror(errno);
    }
    const std::string strAddress = pszAddress;
    const std::size_t nPath = sizeof kUnixPath - 1;
    if (strAddress.compare(0, nPath, kUnixPath) != 0 || strAddress.find_first_of(",;%", nPath) != std::string::npos)
        return {};
    if (::stat(strAddress.c_str() + nPath, &info) == 0) return {};
    return "cannot reach the system bus at " + strAddress + ": Could not connect: " + std::strerror(errno);
}

// The client module sits beside this library.
std::string ModulePath() {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<void*>(&MissingBus), &info) && info.dli_fname) {
        const std::string strSelf = info.dli_fname;
        const std::size_t nSlash = strSelf.rfind('/');
        if (nSlash != std::string::npos) return strSelf.substr(0, nSlash + 1) + kNmModule;
    }
    return kNmModule;
}

}  // namespace

NmLine::NmLine(std::string strConnection, int nReadyWaitMs)
    : m_strConnection(std::move(strConnection)), m_nReadyWaitMs(nReadyWaitMs), m_strUnreachable(MissingBus()) {}

NmLine::~NmLine() {
    {
        std::lock_guard lock(m_mutex);
        m_bClosing = true;
    }
    m_cv.notify_all();
    // A load under way cannot be called off; it is short.
    if (m_loader.joinable()) m_loader.join();
}

void NmLine::Start(int nDelayMs) {
    std::lock_guard lock(m_mutex);
    StartLocked(nDelayMs);
}

void NmLine::StartLocked(int nDelayMs) {
    if (m_bStarted || !m_strUnreachable.empty()) return;
    m_bStarted = true;
    // The program's signals are for the program's threads.
    sigset_t all, previous;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous);
    m_loader = std::thread([this, nDelayMs] { Run(nDelayMs); });
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

// Marks the client wanted now; the answers wait for its first state until m_readyBy.
void NmLine::WantLocked() {
    if (m_bWanted) return;
    m_bWanted = true;
    m_readyBy = std::chrono::steady_clock::now() + std::chrono::milliseconds(m_nReadyWaitMs);
    m_cv.notify_all();
}

void NmLine::Run(int nDelayMs) {
    {
        std::unique_lock lock(m_mutex);
        m_cv.wait_for(lock, std::chrono::milliseconds(nDelayMs), [this] { return m_bWanted || m_bClosing; });
        if (m_bClosing) return;
        WantLocked();
    }
    Load();
}

// The module stays loaded once it is: libnm registers types with GLib that cannot go again.
void NmLine::Load() {
    std::unique_ptr<NmSession> pSession;
    std::string strError;
    const std::string strModule = ModulePath();
    if (void* hModule = ::dlopen(strModule.c_str(), RTLD_LAZY | RTLD_LOCAL)) {
        const auto pfnOpen = reinterpret_cast<OpenNmSessionFn>(::dlsym(hModule, kOpenNmSession));
        if (pfnOpen) pSession.reset(pfnOpen(m_strConnection.c_str()));
        else strError = strModule + " lacks " + kOpenNmSession;
    } else {
        const char* pszError = ::dlerror();
        strError = pszError ? pszError : "cannot load " + strModule;
    }
    std::lock_guard lock(m_mutex);
    m_pSession = std::move(pSession);
    if (!m_pSession) m_strUnreachable = "NetworkManager's client did not load: " + strError;
    m_bLoaded = true;
    m_cv.notify_all();
}

// The session once its first state is in; waits for that only until the deadline, so after it
// the answers never wait. Null while there is none (see m_strUnreachable).
NmSession* NmLine::Session() {
    std::unique_lock lock(m_mutex);
    StartLocked(0);
    if (!m_bSettled && m_bStarted) {
        WantLocked();
        m_cv.wait_until(lock, m_readyBy, [this] { return m_bLoaded; });
        if (NmSession* pSession = m_pSession.get()) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(m_readyBy -
                                                                                    std::chrono::steady_clock::now());
            lock.unlock();
            pSession->AwaitReady(std::max(0, static_cast<int>(left.count())));
            lock.lock();
        }
    }
    m_bSettled = true;
    return m_pSession.get();
}

bool NmLine::IsActive() {
    const NmSession* pSession = Session();
    return pSession && pSession->IsActive();
}

// No client, no NetworkManager: the machine's network is managed otherwise.
bool NmLine::IsOnline() {
    const NmSession* pSession = Session();
    return !pSession || pSession->IsOnline();
}

Outcome NmLine::Activate(int nWaitMs) { return Request(true, nWaitMs); }

Outcome NmLine::Deactivate(int nWaitMs) { return Request(false, nWaitMs); }

Outcome NmLine::Request(bool bUp, int nWaitMs) {
    NmSession* pSession = Session();
    if (pSession) return bUp ? pSession->Activate(nWaitMs) : pSession->Deactivate(nWaitMs);
    std::lock_guard lock(m_mutex);
    return {false, m_bLoaded || !m_bStarted ? m_strUnreachable : "NetworkManager has not answered yet"};
}

}  // namespace dlgconnect
