#include "deliver/MessageFacility.h"

#include "port/Clock.h"
#include "port/FileSystem.h"
#include "resource.h"
#include "settings/DualString.h"
#include "settings/Format.h"
#include "settings/ResourceModule.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

std::u16string DayName(const SystemTime& now) {
    return FormatText(u"%04d%02d%02d", now.nYear, now.nMonth, now.nDay);
}

// Opens (or creates) a day file and leaves it positioned at its end. A new, empty file first gets
// the byte-order mark; nSizeBefore is the size measured before the mark was written.
std::unique_ptr<File> OpenDayFile(FileSystem& files, const std::u16string& strPath, std::uint64_t& nSizeBefore) {
    std::unique_ptr<File> pFile = files.Open(strPath, OpenMode::OpenAlways);
    if (!pFile || !pFile->GetSize(nSizeBefore)) return nullptr;
    if (nSizeBefore == 0 && !pFile->Write(kUtf16LeMark, sizeof kUtf16LeMark)) return nullptr;
    if (!pFile->SeekToEnd()) return nullptr;
    return pFile;
}

bool WriteText(File& file, std::u16string_view strText) {
    const std::string strBytes = ToUtf16LeBytes(strText);
    return strBytes.empty() || file.Write(strBytes.data(), static_cast<std::uint32_t>(strBytes.size()));
}

}  // namespace

MessageFacility::MessageFacility(Clock& clock, FileSystem& files, MessageBoxHost& boxes,
                                 const ResourceModule& resources)
    : m_clock(clock), m_files(files), m_boxes(boxes), m_resources(resources) {}

void MessageFacility::SetFlags(std::uint32_t nFlags) {
    std::lock_guard lock(m_mutex);
    m_nFlags = nFlags;
}

std::uint32_t MessageFacility::Flags() const {
    std::lock_guard lock(m_mutex);
    return m_nFlags;
}

bool MessageFacility::SetLogFolder(const std::u16string& strPath) {
    if (strPath.empty() || !m_files.IsDirectory(strPath)) return false;
    std::lock_guard lock(m_mutex);
    m_strLogFolder = strPath;
    if (m_strLogFolder.back() != m_files.Separator()) m_strLogFolder.push_back(m_files.Separator());
    return true;
}

std::u16string MessageFacility::LogFolder() const {
    std::lock_guard lock(m_mutex);
    return m_strLogFolder;
}

std::u16string MessageFacility::Caption(int nCaptionId) const {
    if (nCaptionId < 0) return u"エラー";
    DualString strCaption;
    strCaption.LoadStringResource(m_resources, static_cast<std::uint32_t>(nCaptionId));
    return strCaption.Wide();
}

void MessageFacility::AppendToMessageLog(const std::u16string& strCaption, const std::u16string& strText) {
    const std::u16string strFolder = LogFolder();
    if (strFolder.empty()) return;  // no folder accepted yet: nowhere to write
    const SystemTime now = m_clock.LocalTime();
    const std::u16string strPath = FormatText(u"%s%s.log", strFolder, DayName(now));
    std::uint64_t nSize = 0;
    std::unique_ptr<File> pFile = OpenDayFile(m_files, strPath, nSize);
    if (!pFile) return;  // logging never reports its own failures
    WriteText(*pFile, FormatText(u"[%s] ", FormatText(u"%02d:%02d:%02d", now.nHour, now.nMinute, now.nSecond))) &&
        WriteText(*pFile, FormatText(u"<%s>:", strCaption)) && WriteText(*pFile, strText) &&
        WriteText(*pFile, u"\r\n");
}

int MessageFacility::ShowMessage(WindowHandle hOwner, const std::u16string& strText, int nCaptionId,
                                 std::uint32_t nFlags) {
    const std::u16string strCaption = Caption(nCaptionId);
    const std::uint32_t nFacilityFlags = Flags();
    if (nFacilityFlags & kLogToFile) {
        std::lock_guard lock(m_logMutex);
        AppendToMessageLog(strCaption, strText);
    }
    if (nFacilityFlags & kShowBoxes) return m_boxes.Show(hOwner, strText, strCaption, nFlags);
    // Nobody to ask: a plain notice is acknowledged, any choice is answered Yes, so that unattended
    // runs always take the affirmative branch.
    return (nFlags & mb::kButtonMask) == 0 ? mb::kIdOk : mb::kIdYes;
}

void MessageFacility::LogLine(const std::u16string& strText, int nCaptionId) {
    if (!(Flags() & kLogToFile)) return;
    const std::u16string strCaption = Caption(nCaptionId);
    std::lock_guard lock(m_logMutex);
    AppendToMessageLog(strCaption, strText);
}

int MessageFacility::ShowMessageId(WindowHandle hOwner, std::uint32_t nTextId, int nCaptionId, std::uint32_t nFlags) {
    DualString strText;
    strText.LoadStringResource(m_resources, nTextId);
    return ShowMessage(hOwner, strText.Wide(), nCaptionId, nFlags);
}

std::uint32_t MessageFacility::WritePositionLog(const std::u16string& strText, const char16_t* pszSuffix,
                                                const std::u16string& strFolder, std::uint32_t nLimit) {
    if (strFolder.empty() || !m_files.IsDirectory(strFolder)) return 0;
    std::u16string strDir = strFolder;
    if (strDir.back() != m_files.Separator()) strDir.push_back(m_files.Separator());
    const SystemTime now = m_clock.LocalTime();
    const std::u16string strPath = pszSuffix ? FormatText(u"%s%s%s%s", strDir, DayName(now), u".", pszSuffix)
                                             : FormatText(u"%s%s", strDir, DayName(now));
    std::unique_ptr<File> pFile = m_files.Open(strPath, OpenMode::OpenAlways);
    std::uint64_t nSize = 0;
    if (!pFile || !pFile->GetSize(nSize) || (nSize >> 32) != 0) return 0;
    if (nSize == 0 && !pFile->Write(kUtf16LeMark, sizeof kUtf16LeMark)) return 0;
    // The mark and the line end are not counted against the limit: the day file may end a few
    // bytes past it, and the rest of the day's entries are dropped.
    const std::uint64_t nTextBytes = strText.size() * 2;
    if (nLimit != 0 && nSize + nTextBytes >= nLimit) return 0;
    if (!pFile->SeekToEnd() || !WriteText(*pFile, strText) || !WriteText(*pFile, u"\r\n")) return 0;
    return static_cast<std::uint32_t>(nTextBytes + 4);
}

}  // namespace vantrel
