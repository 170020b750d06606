#pragma once
#include <string>

namespace vantrel {

class MessageFacility;

// The AT layer's diagnostic lines. They go to the message log only, and only while logging is on:
// the facility is switched to "log only" around each line, as every log-only caller does.
class WsimLog {
public:
    explicit WsimLog(MessageFacility* pMessages) : m_pMessages(pMessages) {}

    void Error(const std::u16string& strText);
    void Info(const std::u16string& strText);

private:
    void Write(const std::u16string& strText, int nCaptionId);

    MessageFacility* m_pMessages;
};

}  // namespace vantrel
