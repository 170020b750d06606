#pragma once
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

#include "acquire/SerialPort.h"
#include "acquire/WsimLog.h"

namespace vantrel {

class UiThread;

// The event-driven AT session of the acquisition dialog: a send returns at once, and the
// completion of the answer (its final "OK\r\n") is posted to the UI thread, where the dialog asks
// Identify for the answer and drives the next step. Opens "COM1:" on first use.
class WsimSession final : public SerialListener {
public:
    // Read delays: the reader waits this long after it first sees bytes, so that one answer
    // arrives in one chunk. "AT@LBC?" makes the module compute, hence the longest.
    static constexpr std::uint32_t kDelayK20First = 0;
    static constexpr std::uint32_t kDelayK20Retry = 300;
    static constexpr std::uint32_t kDelayLbc1 = 300;
    static constexpr std::uint32_t kDelayLbcQuery = 1000;
    static constexpr std::uint32_t kDelayLbc2 = 0;

    explicit WsimSession(const SerialContext& context);
    ~WsimSession() override;

    // Where completions go: fnComplete is posted to ui once per completed answer. Null: dropped.
    void SetNotify(UiThread* pUi, std::function<void()> fnComplete);

    // Sends one command line (bytes as written, "\r\n" included). True when it was written.
    bool SendAtCommand(std::string_view strCommand);
    bool SendK20();
    bool SendK20Retry();
    bool SendLbc1();
    bool SendLbcQuery();
    bool SendLbc2();

    // Closes the port (also when another path opened it) and forgets that this session opened it.
    void Stop();
    // Whether this session opened the port and must close it.
    bool OpenedPort() const { return m_bOpen; }

    void OnReceive(const std::u16string& strText) override;

    // Hands over the answer collected since the last send, empties the buffer, and returns the
    // identifier of the command it echoes (wsim::kK20 ... wsim::kLbc2, or wsim::kUnknown).
    int Identify(std::u16string& strResponse);

    SerialPort& Serial() { return m_serial; }
    WsimLog& Log() { return m_log; }

private:
    bool Send(std::string_view strCommand, std::uint32_t nReadDelay);
    void ClosePort();

    SerialPort m_serial;
    WsimLog m_log;
    bool m_bOpen = false;
    std::mutex m_mutex;  // the buffer and the notify target are shared with the reader thread
    std::u16string m_strResponse;
    UiThread* m_pUi = nullptr;
    std::function<void()> m_fnComplete;
};

}  // namespace vantrel
