#pragma once
#include <cstdint>
#include <memory>
#include <string>

namespace vantrel {

// Time-outs of a serial handle, with the meaning of Win32 COMMTIMEOUTS. A read interval of
// 0xFFFFFFFF with zero read totals means "return at once with what is buffered".
struct CommTimeouts {
    std::uint32_t nReadInterval = 0;
    std::uint32_t nReadTotalMultiplier = 0;
    std::uint32_t nReadTotalConstant = 0;
    std::uint32_t nWriteTotalMultiplier = 0;
    std::uint32_t nWriteTotalConstant = 0;
};

// The part of the line state (Win32 DCB) the program reads and changes. Parity 0 = none,
// 1 = odd, 2 = even; stop bits 0 = one, 2 = two (1, one and a half, is refused by POSIX lines).
struct CommState {
    std::uint32_t nBaudRate = 0;
    std::uint8_t nByteSize = 8;
    std::uint8_t nParity = 0;
    std::uint8_t nStopBits = 0;
    bool bOutxCtsFlow = false;
    bool bOutxDsrFlow = false;
    bool bDtrEnable = false;
    bool bRtsEnable = false;
    bool bOutX = false;
    bool bInX = false;
};

// What ClearCommError reports: line error bits and the bytes waiting in each queue.
struct CommStatus {
    std::uint32_t nErrors = 0;
    std::uint32_t nInQueue = 0;
    std::uint32_t nOutQueue = 0;
};

// One handle on a serial device, shaped after the Win32 communication calls. Every call returns
// false on failure and leaves the reason in LastError() of the calling thread. Close may run
// while another thread is inside a call on the same object; calls made after Close fail.
class SerialDevice {
public:
    virtual ~SerialDevice() = default;
    // Exclusive open of an existing device (CreateFileW, no sharing, OPEN_EXISTING).
    virtual bool Open(const std::u16string& strName) = 0;
    virtual bool GetTimeouts(CommTimeouts& timeouts) = 0;
    virtual bool SetTimeouts(const CommTimeouts& timeouts) = 0;
    virtual bool GetState(CommState& state) = 0;
    virtual bool SetState(const CommState& state) = 0;
    // EscapeCommFunction CLRIR: leave infrared mode.
    virtual bool ClearInfrared() = 0;
    // PurgeComm PURGE_RXABORT | PURGE_RXCLEAR.
    virtual bool PurgeInput() = 0;
    virtual bool ClearError(CommStatus& status) = 0;
    // Never blocks: returns at most nSize bytes of what is buffered (nRead may be 0).
    virtual bool Read(void* pData, std::uint32_t nSize, std::uint32_t& nRead) = 0;
    // Bounded by the write time-outs; nWritten may fall short when they run out.
    virtual bool Write(const void* pData, std::uint32_t nSize, std::uint32_t& nWritten) = 0;
    // EscapeCommFunction CLRDTR.
    virtual bool ClearDtr() = 0;
    virtual bool Close() = 0;
    virtual std::uint32_t LastError() const = 0;
    virtual std::u16string ErrorText(std::uint32_t nError) const = 0;
};

std::unique_ptr<SerialDevice> CreateSerialDevice();

}  // namespace vantrel
