#pragma once
#include <cstdint>
#include <memory>
#include <string>

namespace vantrel {

// A socket as the platform hands it out (a SOCKET on Windows, a descriptor elsewhere).
using SocketHandle = std::intptr_t;
constexpr SocketHandle kInvalidSocket = -1;

// The few stream-socket calls the mail client makes (WinSock on the device, POSIX sockets here).
// Addresses are IPv4 in network byte order; names and dotted texts are narrow bytes.
class Sockets {
public:
    // Startup results, kept apart because the mail client reports them with different codes.
    static constexpr int kStartOk = 0;
    static constexpr int kStartFailed = 1;
    static constexpr int kStartWrongVersion = 2;

    virtual ~Sockets() = default;
    // Every successful Startup is paired with one Cleanup.
    virtual int Startup() = 0;
    virtual void Cleanup() = 0;
    // A TCP stream socket; kInvalidSocket on failure.
    virtual SocketHandle OpenStream() = 0;
    // Only a dotted IPv4 address text is accepted; no name is looked up.
    virtual bool ParseDottedAddress(const std::string& strHost, std::uint32_t& nAddress) = 0;
    // Looks the name up (IPv4 only) and gives its first address as dotted text.
    virtual bool LookupHost(const std::string& strHost, std::string& strDotted) = 0;
    virtual bool Connect(SocketHandle hSocket, std::uint32_t nAddress, std::uint16_t nPort) = 0;
    // Bytes sent (one call, no retry of a partial send) or -1.
    virtual int Send(SocketHandle hSocket, const char* pData, int nLength) = 0;
    // Bytes received, 0 when the peer has closed, -1 on failure.
    virtual int Receive(SocketHandle hSocket, char* pBuffer, int nLength) = 0;
    // 1 when data (or the peer's close) is waiting, 0 after nTimeoutMs without any, -1 on failure.
    virtual int WaitReadable(SocketHandle hSocket, std::uint32_t nTimeoutMs) = 0;
    virtual void ShutdownBoth(SocketHandle hSocket) = 0;
    virtual void Close(SocketHandle hSocket) = 0;
    virtual bool HostName(std::string& strName) = 0;
    // The error number of the last call that failed on this object (WSAGetLastError, errno, or the
    // resolver's code for a failed lookup); 0 after a call that succeeded.
    virtual std::int32_t LastError() = 0;
};

std::unique_ptr<Sockets> CreateSockets();

}  // namespace vantrel
