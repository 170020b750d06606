// Stand-in definitions of the message facility for tests, until its implementation is linked:
// the same captions and answers, boxes only, no log files.
#include "deliver/MessageFacility.h"

#include "settings/ResourceModule.h"

namespace vantrel {

MessageFacility::MessageFacility(Clock& clock, FileSystem& files, MessageBoxHost& boxes, const ResourceModule& resources)
    : m_clock(clock), m_files(files), m_boxes(boxes), m_resources(resources) {}

void MessageFacility::SetFlags(std::uint32_t nFlags) { m_nFlags = nFlags; }
std::uint32_t MessageFacility::Flags() const { return m_nFlags; }

bool MessageFacility::SetLogFolder(const std::u16string& strPath) {
    if (strPath.empty()) return false;
    m_strLogFolder = strPath;
    if (m_strLogFolder.back() != u'/') m_strLogFolder += u'/';
    return true;
}
std::u16string MessageFacility::LogFolder() const { return m_strLogFolder; }

std::u16string MessageFacility::Caption(int nCaptionId) const {
    char16_t buffer[256] = {};
    if (nCaptionId < 0 || m_resources.LoadStringText(static_cast<std::uint32_t>(nCaptionId), buffer, 256) == 0)
        return u"エラー";
    return buffer;
}

int MessageFacility::ShowMessage(WindowHandle hOwner, const std::u16string& strText, int nCaptionId, std::uint32_t nFlags) {
    if (m_nFlags & kShowBoxes) return m_boxes.Show(hOwner, strText, Caption(nCaptionId), nFlags);
    return (nFlags & mb::kButtonMask) ? mb::kIdYes : mb::kIdOk;
}

int MessageFacility::ShowMessageId(WindowHandle hOwner, std::uint32_t nTextId, int nCaptionId, std::uint32_t nFlags) {
    char16_t buffer[1024] = {};
    m_resources.LoadStringText(nTextId, buffer, 1024);
    return ShowMessage(hOwner, buffer, nCaptionId, nFlags);
}

}  // namespace vantrel
