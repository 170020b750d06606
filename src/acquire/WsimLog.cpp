#include "acquire/WsimLog.h"

#include "deliver/MessageFacility.h"

namespace vantrel {

void WsimLog::Error(const std::u16string& strText) { Write(strText, caption::kError); }

void WsimLog::Info(const std::u16string& strText) { Write(strText, caption::kConfirm); }

void WsimLog::Write(const std::u16string& strText, int nCaptionId) {
    if (!m_pMessages) return;
    const std::uint32_t nFlags = m_pMessages->Flags();
    if (!(nFlags & MessageFacility::kLogToFile)) return;
    m_pMessages->SetFlags(MessageFacility::kLogToFile);
    m_pMessages->ShowMessage(0, strText, nCaptionId, 0);
    m_pMessages->SetFlags(nFlags);
}

}  // namespace vantrel
