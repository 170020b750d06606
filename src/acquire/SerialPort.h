#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace vantrel {

class Clock;
class MessageFacility;
class PortResolver;
class SerialDevice;
class ThreadPriority;

// Line settings applied by Open (the DCB fields the program sets).
struct LineSettings {
    std::uint32_t nBaudRate = 9600;
    std::uint8_t nByteSize = 8;
    std::uint8_t nParity = 0;    // none
    std::uint8_t nStopBits = 0;  // one stop bit (ONESTOPBIT)
};

// Receives every chunk read from the port, converted to wide text, on the reader thread. It must
// not block.
class SerialListener {
public:
    virtual ~SerialListener() = default;
    virtual void OnReceive(const std::u16string& strText) = 0;
};

// The services a channel needs, owned by the composition root and outliving every channel.
struct SerialContext {
    Clock& clock;
    MessageFacility& messages;
    ThreadPriority& priority;
    // Makes one unopened device handle per Open (CreateSerialDevice on the platform).
    std::function<std::unique_ptr<SerialDevice>()> createDevice;
    // Maps "COM1:" to the configured device; none: names are opened as given.
    const PortResolver* pResolver = nullptr;
};

// The byte channel to the module: opens and configures a serial device, runs a reader thread that
// hands every chunk received to the listener, writes commands, closes. Knows nothing of AT.
//
// Threads: Open/write_scc/closePort/Close belong to the owner's thread; SetReadDelay and
// SetListener may be called at any time. The reader never outlives the objects it uses: the
// device and the per-open flags are shared with it, so a reader that does not stop within
// 1000 ms is detached (std::thread cannot be terminated) and finds the handle invalid the next
// time it looks, whatever became of this object meanwhile. The listener must not block.
class SerialPort {
public:
    static constexpr std::uint32_t kChunkLimit = 999;  // bytes per read into a 1000-byte buffer
    static constexpr std::uint32_t kPollMs = 10;
    static constexpr std::uint32_t kStopWaitMs = 1000;
    // Exit codes recorded for a reader that was not waited for to the end.
    static constexpr std::uint32_t kExitTimedOut = 20;
    static constexpr std::uint32_t kExitWaitFailed = 10;
    static constexpr std::uint32_t kExitFailed = 1;

    explicit SerialPort(const SerialContext& context);
    ~SerialPort();
    SerialPort(const SerialPort&) = delete;
    SerialPort& operator=(const SerialPort&) = delete;

    // Callers open only a channel that is closed. On a configuration failure the handle stays
    // held with IsOpen() false (the half-open state) until Close.
    bool Open(const std::u16string& strPortName, const LineSettings& settings = LineSettings());
    bool write_scc(const char* pBytes, int nLength, std::uint32_t& nWritten);
    bool closePort();
    // The quiet close of the owner's destruction: no DTR change, no message.
    void Close();
    void SetReadDelay(std::uint32_t nMilliseconds);
    std::uint32_t ReadDelay() const;
    bool IsOpen() const { return m_bOpen; }
    void SetListener(SerialListener* pListener);
    // Whether a device handle is held (open or half-open).
    bool HoldsHandle() const { return m_pChannel != nullptr; }
    // The exit code of the last reader stopped by closePort or Close (0 after a normal end).
    std::uint32_t LastReaderExitCode() const { return m_nReaderExitCode; }

    struct Shared;   // read delay and listener, shared with every reader this channel started
    struct Channel;  // one opened handle and the reader serving it

private:
    bool Configure(SerialDevice& device, const LineSettings& settings);
    bool StartReader();
    void StopReader(Channel& channel);
    void ShowError(const std::u16string& strText);

    Clock& m_clock;
    MessageFacility& m_messages;
    ThreadPriority& m_priority;
    std::function<std::unique_ptr<SerialDevice>()> m_createDevice;
    const PortResolver* m_pResolver;
    std::shared_ptr<Shared> m_pShared;
    std::shared_ptr<Channel> m_pChannel;  // null: handle invalid
    std::uint32_t m_nOpenRetries = 30;
    std::uint32_t m_nRetryInterval = 100;
    bool m_bOpen = false;
    std::uint32_t m_nReaderExitCode = 0;
};

}  // namespace vantrel
