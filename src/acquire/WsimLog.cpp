#include "acquire/WsimLog.h"

#include "deliver/MessageFacility.h"

namespace vantrel {

void WsimLog::Error(const std::u16string& strText) { Write(strText, caption::kError); }

void WsimLog::Info(const std::u16string& strText) { Write(strText, caption::kConfirm); }

// Log lines of the AT layer go to the message log only, never to a box; the monitor thread writes
// them while the UI thread may be showing a message, so the flags are left alone.
void WsimLog::Write(const std::u16string& strText, int nCaptionId) {
    if (m_pMessages) m_pMessages->LogLine(strText, nCaptionId);
}

}  // namespace vantrel
