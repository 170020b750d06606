#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "port/MessageBoxHost.h"

namespace vantrel {

class Clipboard;
class Clock;
class Location;
class MessageFacility;
class ProcessLauncher;
class WindowFinder;

// The settings the map and clipboard hand-offs read (GMMSEND, CLIPBOARDFORMAT).
struct HandOffSettings {
    bool bGmmSend = false;
    std::u16string strClipboardFormat;
};

// The fields of a new message handed to the mail program; any may be empty.
struct NewMail {
    std::u16string strTo{};
    std::u16string strCc{};
    std::u16string strBcc{};
    std::u16string strSubject{};
    std::u16string strBody{};
    std::u16string strAttachment{};
};

// Hands the position to other programs: a program opened on a URL, the mail program on a new
// message, the map application and the clipboard. Fire and forget: none of them waits for the other
// program or reports that it failed to start.
class Launchers {
public:
    static constexpr const char16_t* kMailProgram = u"\\Windows\\tmail.exe";
    static constexpr const char16_t* kMapProgram = u"\\Program Files\\GoogleMaps\\GoogleMaps.exe";
    static constexpr const char16_t* kMapClass = u"GoogleMapsMobile";
    static constexpr const char16_t* kMapTitleClose = u"モバイルGoogleマップ";
    static constexpr const char16_t* kMapTitleSearch = u"モバイル Google マップ";
    static constexpr const char16_t* kDialogClass = u"Dialog";
    static constexpr const char16_t* kStartDialogTitle = u"Googleマップ";
    static constexpr const char16_t* kSearchDialogTitle = u"検索";
    static constexpr int kSearchEditId = 600;
    static constexpr std::uint32_t kCommandOk = 1;
    static constexpr std::uint32_t kCommandSearch = 200;
    static constexpr std::uint32_t kCommandClose = 250;
    static constexpr std::uint32_t kMapWaitMs = 5000;
    static constexpr std::uint32_t kPollMs = 10;

    Launchers(ProcessLauncher& launcher, WindowFinder& windows, Clipboard& clipboard, Clock& clock,
              MessageFacility& messages);

    // 0 when strFile is empty, otherwise 1 whether or not the program started.
    int OpenWithShell(const std::u16string& strFile, const std::u16string& strParameters);

    // Opens the mail program on a new message; the start is not checked.
    void LaunchNewMail(const NewMail& mail);

    // The window once it is found, 0 when nLimitMs ran out. Only the 10 ms sleeps are counted.
    WindowHandle WaitForWindow(const std::u16string& strClass, const std::u16string& strTitle, std::uint32_t nLimitMs);
    // True when the window is absent or goes away within nLimitMs.
    bool WaitWindowGone(const std::u16string& strClass, const std::u16string& strTitle, std::uint32_t nLimitMs);

    // The two map hand-offs: 1 when done or when GMMSEND is off, 0 after warning 3008 when no
    // position is held; SendMapSearch also gives 0 when the map application cannot be reached, and
    // the caller then falls back to LaunchMapWithUrl.
    int LaunchMapWithUrl(WindowHandle hOwner, const Location& location, const HandOffSettings& settings);
    int SendMapSearch(WindowHandle hOwner, const Location& location, const HandOffSettings& settings);

    // Puts the expansion of CLIPBOARDFORMAT on the clipboard (an empty text for an empty template).
    // False when there is no position or the clipboard cannot be reached.
    bool CopyPositionToClipboard(const Location& location, const HandOffSettings& settings);

    // The mail program's command line: switches -TO, -SUBJECT, -CC, -BCC, -BODY, -ATTACHMENT with
    // quoted values; the mail program expects no blank between -TO "a" and -SUBJECT.
    static std::u16string BuildNewMailCommandLine(const NewMail& mail);
    // The same fields as arguments of xdg-email.
    static std::vector<std::u16string> BuildDesktopMailArguments(const NewMail& mail);
    // The search text: WGS84 degree, minute, second and thousandths, the fraction as a plain integer.
    static std::u16string BuildSearchText(const Location& location);
    static std::u16string BuildMapUrlParameters(const Location& location);
    static std::u16string BuildGeoUri(const Location& location);

private:
    bool CheckPosition(WindowHandle hOwner, const Location& location);
    bool ReachMapWindow(WindowHandle& hMap);

    ProcessLauncher& m_launcher;
    WindowFinder& m_windows;
    Clipboard& m_clipboard;
    Clock& m_clock;
    MessageFacility& m_messages;
};

}  // namespace vantrel
