#include "acquire/WsimSession.h"

#include "acquire/WsimParsers.h"
#include "port/UiThread.h"
#include "settings/Format.h"

namespace vantrel {

namespace {

constexpr char16_t kPortName[] = u"COM1:";

std::u16string Widen(std::string_view str) { return std::u16string(str.begin(), str.end()); }

}  // namespace

WsimSession::WsimSession(const SerialContext& context) : m_serial(context), m_log(&context.messages) {
    m_serial.SetListener(this);
}

WsimSession::~WsimSession() {
    m_serial.SetListener(nullptr);
    m_serial.Close();
}

void WsimSession::SetNotify(UiThread* pUi, std::function<void()> fnComplete) {
    std::lock_guard lock(m_mutex);
    m_pUi = pUi;
    m_fnComplete = std::move(fnComplete);
}

bool WsimSession::SendAtCommand(std::string_view strCommand) {
    {
        std::lock_guard lock(m_mutex);
        m_strResponse.clear();
    }
    if (!m_serial.IsOpen()) {
        if (!m_serial.Open(kPortName, LineSettings())) {
            m_log.Error(u"SendAtCommand(): シリアルポートオープン失敗.");
            return false;
        }
        m_bOpen = true;
    }
    m_log.Info(FormatText(u"Send ATCommand : %s", Widen(strCommand)));
    std::uint32_t nWritten = 0;
    if (m_serial.write_scc(strCommand.data(), static_cast<int>(strCommand.size()), nWritten)) {
        m_log.Info(u"SendAtCommand(): write_scc() == TRUE.");
        return true;
    }
    m_log.Error(u"SendAtCommand(): write_scc() == FALSE.");
    if (m_bOpen) {
        m_bOpen = false;
        ClosePort();
    }
    return false;
}

bool WsimSession::Send(std::string_view strCommand, std::uint32_t nReadDelay) {
    m_serial.SetReadDelay(nReadDelay);
    return SendAtCommand(strCommand);
}

bool WsimSession::SendK20() { return Send("AT@K20\r\n", kDelayK20First); }
bool WsimSession::SendK20Retry() { return Send("AT@K20\r\n", kDelayK20Retry); }
bool WsimSession::SendLbc1() { return Send("AT@LBC1\r\n", kDelayLbc1); }
bool WsimSession::SendLbcQuery() { return Send("AT@LBC?\r\n", kDelayLbcQuery); }
bool WsimSession::SendLbc2() { return Send("AT@LBC2\r\n", kDelayLbc2); }

void WsimSession::Stop() {
    m_bOpen = false;
    ClosePort();
}

void WsimSession::ClosePort() {
    if (!m_serial.closePort()) m_log.Error(u"Stop(): m_serial.closePort() == FALSE.");
}

void WsimSession::OnReceive(const std::u16string& strText) {
    std::lock_guard lock(m_mutex);
    m_strResponse += strText;
    if (IsAnswerComplete(m_strResponse) && m_pUi && m_fnComplete) m_pUi->Post(m_fnComplete);
}

int WsimSession::Identify(std::u16string& strResponse) {
    {
        std::lock_guard lock(m_mutex);
        strResponse = std::move(m_strResponse);
        m_strResponse.clear();
    }
    return IdentifyAnswer(strResponse);
}

}  // namespace vantrel
