#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "port/Sockets.h"

namespace vantrel {

namespace {

// POSIX sockets need no start-up, so Startup cannot fail here; the WinSock codes stay for Windows.
class PosixSockets final : public Sockets {
public:
    int Startup() override { return kStartOk; }
    void Cleanup() override {}

    SocketHandle OpenStream() override {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
        Record(fd >= 0);
        return fd >= 0 ? fd : kInvalidSocket;
    }

    bool ParseDottedAddress(const std::string& strHost, std::uint32_t& nAddress) override {
        in_addr addr{};
        if (::inet_pton(AF_INET, strHost.c_str(), &addr) != 1) return false;
        nAddress = addr.s_addr;
        return true;
    }

    bool LookupHost(const std::string& strHost, std::string& strDotted) override {
        addrinfo hints{};
        hints.ai_family = AF_INET;
        hints.ai_socktype = SOCK_STREAM;
        addrinfo* pList = nullptr;
        const int nResult = ::getaddrinfo(strHost.c_str(), nullptr, &hints, &pList);
        if (nResult != 0 || !pList) {
            // The resolver's own codes are negative and never clash with errno values.
            m_nLastError = nResult == EAI_SYSTEM ? errno : nResult;
            return false;
        }
        char szText[INET_ADDRSTRLEN] = {};
        const auto* pAddr = reinterpret_cast<const sockaddr_in*>(pList->ai_addr);
        const bool bOk = ::inet_ntop(AF_INET, &pAddr->sin_addr, szText, sizeof szText) != nullptr;
        ::freeaddrinfo(pList);
        Record(bOk);
        if (bOk) strDotted = szText;
        return bOk;
    }

    bool Connect(SocketHandle hSocket, std::uint32_t nAddress, std::uint16_t nPort) override {
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_port = htons(nPort);
        addr.sin_addr.s_addr = nAddress;
        int nResult;
        do {
            nResult = ::connect(Fd(hSocket), reinterpret_cast<const sockaddr*>(&addr), sizeof addr);
        } while (nResult != 0 && errno == EINTR);
        return Record(nResult == 0);
    }

    int Send(SocketHandle hSocket, const char* pData, int nLength) override {
        // A peer that has gone away must give an error, not SIGPIPE.
        ssize_t n;
        do {
            n = ::send(Fd(hSocket), pData, static_cast<size_t>(nLength), MSG_NOSIGNAL);
        } while (n < 0 && errno == EINTR);
        Record(n >= 0);
        return n < 0 ? -1 : static_cast<int>(n);
    }

    int Receive(SocketHandle hSocket, char* pBuffer, int nLength) override {
        ssize_t n;
        do {
            n = ::recv(Fd(hSocket), pBuffer, static_cast<size_t>(nLength), 0);
        } while (n < 0 && errno == EINTR);
        Record(n >= 0);
        return n < 0 ? -1 : static_cast<int>(n);
    }

    // poll instead of select: select cannot watch a descriptor at or above FD_SETSIZE.
    int WaitReadable(SocketHandle hSocket, std::uint32_t nTimeoutMs) override {
        pollfd entry{Fd(hSocket), POLLIN, 0};
        const int nTimeout = nTimeoutMs > 0x7FFFFFFFu ? 0x7FFFFFFF : static_cast<int>(nTimeoutMs);
        int nResult;
        do {
            nResult = ::poll(&entry, 1, nTimeout);
        } while (nResult < 0 && errno == EINTR);
        Record(nResult >= 0);
        return nResult < 0 ? -1 : (nResult > 0 ? 1 : 0);
    }

    void ShutdownBoth(SocketHandle hSocket) override { ::shutdown(Fd(hSocket), SHUT_RDWR); }
    void Close(SocketHandle hSocket) override { ::close(Fd(hSocket)); }

    bool HostName(std::string& strName) override {
        char szName[256] = {};
        if (!Record(::gethostname(szName, sizeof szName - 1) == 0)) return false;
        strName = szName;
        return true;
    }

    std::int32_t LastError() override { return m_nLastError; }

private:
    static int Fd(SocketHandle hSocket) { return static_cast<int>(hSocket); }

    bool Record(bool bOk) {
        m_nLastError = bOk ? 0 : errno;
        return bOk;
    }

    std::int32_t m_nLastError = 0;
};

}  // namespace

std::unique_ptr<Sockets> CreateSockets() { return std::make_unique<PosixSockets>(); }

}  // namespace vantrel
