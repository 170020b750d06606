#include "app/Reporter.h"

#include "deliver/MessageFacility.h"
#include "resource.h"
#include "settings/DualString.h"
#include "settings/Format.h"

namespace vantrel {

Reporter::Reporter(MessageFacility& messages, const ResourceModule& resources)
    : m_messages(messages), m_resources(resources) {}

std::u16string Reporter::Text(std::uint32_t nId) const {
    DualString strText;
    strText.LoadStringResource(m_resources, nId);
    return strText.Wide();
}

int Reporter::Error(WindowHandle hOwner, std::uint32_t nTextId) { return ErrorText(hOwner, Text(nTextId)); }

int Reporter::ErrorText(WindowHandle hOwner, const std::u16string& strText) {
    return m_messages.ShowMessage(hOwner, strText, caption::kDefault, mb::kIconHand);
}

int Reporter::Warning(WindowHandle hOwner, std::uint32_t nTextId) {
    return m_messages.ShowMessage(hOwner, Text(nTextId), caption::kWarning, mb::kIconExclamation);
}

int Reporter::Ask(WindowHandle hOwner, std::uint32_t nTextId) {
    return m_messages.ShowMessage(hOwner, Text(nTextId), caption::kConfirm, mb::kYesNo);
}

int Reporter::Notice(WindowHandle hOwner, const std::u16string& strText) {
    return m_messages.ShowMessage(hOwner, strText, caption::kConfirm, mb::kOk);
}

void Reporter::LogProgress(std::uint32_t nId) { Progress(Text(nId)); }

void Reporter::LogProgressCounted(std::uint32_t nId, int i, int n) {
    std::u16string strText = Text(nId);
    if (n >= 2) strText += FormatText(Text(IDS_PROGRESS_COUNT), i + 1, n);
    Progress(strText);
}

void Reporter::Progress(const std::u16string& strText) {
    m_messages.LogLine(strText, caption::kConfirm);
    if (m_fnEcho) m_fnEcho(Text(IDS_CAPTION_CONFIRM), strText);
}

}  // namespace vantrel
