#pragma once
#include <cstdint>
#include <mutex>
#include <string>

#include "port/MessageBoxHost.h"

namespace vantrel {

class Clock;
class FileSystem;
class ResourceModule;

// Caption ids of message boxes; a negative id selects the fixed caption "エラー".
namespace caption {
constexpr int kError = 2500;
constexpr int kWarning = 2501;
constexpr int kConfirm = 2502;
constexpr int kDefault = -1;
}  // namespace caption

// The one message facility: every message the program shows, or would show, passes here. It writes
// the day's message log when logging is on and shows a box when boxes are on; otherwise it invents
// the affirmative answer so that unattended runs always go on.
class MessageFacility {
public:
    // Bits of the flags word.
    static constexpr std::uint32_t kLogToFile = 0x1;
    static constexpr std::uint32_t kShowBoxes = 0x2;

    MessageFacility(Clock& clock, FileSystem& files, MessageBoxHost& boxes, const ResourceModule& resources);

    void SetFlags(std::uint32_t nFlags);
    std::uint32_t Flags() const;

    // Accepts only an existing directory; stores it with a trailing separator. False (the previous
    // folder kept) for an empty path or one that is not a directory.
    bool SetLogFolder(const std::u16string& strPath);
    std::u16string LogFolder() const;

    int ShowMessage(WindowHandle hOwner, const std::u16string& strText, int nCaptionId, std::uint32_t nFlags);
    int ShowMessageId(WindowHandle hOwner, std::uint32_t nTextId, int nCaptionId, std::uint32_t nFlags);

    // A line for the message log only, never a box: written when logging is on. Progress records go
    // this way; switching the flags to log-only around ShowMessage instead would race the reports
    // of the serial reader thread.
    void LogLine(const std::u16string& strText, int nCaptionId);

    // Appends strText and "\r\n" to the day's position log "<folder><yyyymmdd>.<suffix>" (no "."
    // and suffix when pszSuffix is null). Returns the bytes written, 0 when nothing was written.
    std::uint32_t WritePositionLog(const std::u16string& strText, const char16_t* pszSuffix,
                                   const std::u16string& strFolder, std::uint32_t nLimit);

    const ResourceModule& Resources() const { return m_resources; }
    Clock& GetClock() const { return m_clock; }

private:
    std::u16string Caption(int nCaptionId) const;
    void AppendToMessageLog(const std::u16string& strCaption, const std::u16string& strText);

    Clock& m_clock;
    FileSystem& m_files;
    MessageBoxHost& m_boxes;
    const ResourceModule& m_resources;
    mutable std::mutex m_mutex;  // the serial reader thread reports through here too
    std::mutex m_logMutex;       // one log line at a time
    std::uint32_t m_nFlags = kShowBoxes;
    std::u16string m_strLogFolder;
};

}  // namespace vantrel
