#include "deliver/Launchers.h"

#include "deliver/MessageFacility.h"
#include "location/Location.h"
#include "location/Placeholders.h"
#include "port/Clipboard.h"
#include "port/Clock.h"
#include "port/ProcessLauncher.h"
#include "port/WindowFinder.h"
#include "resource.h"
#include "settings/Format.h"

namespace vantrel {

namespace {

void AppendSwitch(std::u16string& strLine, const char16_t* pszSwitch, const std::u16string& strValue) {
    strLine += pszSwitch;
    strLine += strValue;
    strLine += u"\"";
}

}  // namespace

Launchers::Launchers(ProcessLauncher& launcher, WindowFinder& windows, Clipboard& clipboard, Clock& clock,
                     MessageFacility& messages)
    : m_launcher(launcher), m_windows(windows), m_clipboard(clipboard), m_clock(clock), m_messages(messages) {}

int Launchers::OpenWithShell(const std::u16string& strFile, const std::u16string& strParameters) {
    if (strFile.empty()) return 0;
    m_launcher.ShellOpen(strFile, strParameters);
    return 1;
}

std::u16string Launchers::BuildNewMailCommandLine(const NewMail& mail) {
    std::u16string strLine;
    if (!mail.strTo.empty()) AppendSwitch(strLine, u"-TO \"", mail.strTo);
    // The mail program parses -TO "a"-SUBJECT "b"; a blank here has never been sent.
    if (!mail.strSubject.empty()) AppendSwitch(strLine, u"-SUBJECT \"", mail.strSubject);
    const struct {
        const char16_t* pszSwitch;
        const std::u16string& strValue;
    } rest[] = {
        {u"-CC \"", mail.strCc},
        {u"-BCC \"", mail.strBcc},
        {u"-BODY \"", mail.strBody},
        {u"-ATTACHMENT \"", mail.strAttachment},
    };
    for (const auto& item : rest) {
        if (item.strValue.empty()) continue;
        if (!strLine.empty()) strLine += u" ";
        AppendSwitch(strLine, item.pszSwitch, item.strValue);
    }
    return strLine;
}

std::vector<std::u16string> Launchers::BuildDesktopMailArguments(const NewMail& mail) {
    std::vector<std::u16string> arguments{u"xdg-email", u"--utf8"};
    const struct {
        const char16_t* pszOption;
        const std::u16string& strValue;
    } options[] = {
        {u"--subject", mail.strSubject},
        {u"--cc", mail.strCc},
        {u"--bcc", mail.strBcc},
        {u"--body", mail.strBody},
        {u"--attach", mail.strAttachment},
    };
    for (const auto& option : options) {
        if (option.strValue.empty()) continue;
        arguments.push_back(option.pszOption);
        arguments.push_back(option.strValue);
    }
    if (!mail.strTo.empty()) arguments.push_back(mail.strTo);
    return arguments;
}

void Launchers::LaunchNewMail(const NewMail& mail) {
    if (m_launcher.Style() == HandOffStyle::Desktop) {
        m_launcher.Spawn(BuildDesktopMailArguments(mail));
        return;
    }
    m_launcher.StartProcess(kMailProgram, BuildNewMailCommandLine(mail));
}

WindowHandle Launchers::WaitForWindow(const std::u16string& strClass, const std::u16string& strTitle,
                                      std::uint32_t nLimitMs) {
    std::uint32_t nElapsed = 0;
    for (;;) {
        if (WindowHandle hWindow = m_windows.Find(strClass, strTitle)) return hWindow;
        m_clock.Sleep(kPollMs);
        nElapsed += kPollMs;
        if (nElapsed >= nLimitMs) return 0;
    }
}

bool Launchers::WaitWindowGone(const std::u16string& strClass, const std::u16string& strTitle,
                               std::uint32_t nLimitMs) {
    if (!m_windows.Find(strClass, strTitle)) return true;
    std::uint32_t nElapsed = 0;
    for (;;) {
        m_clock.Sleep(kPollMs);
        nElapsed += kPollMs;
        const bool bGone = !m_windows.Find(strClass, strTitle);
        // Reaching the limit is a failure even when this last look found the window gone.
        if (nElapsed >= nLimitMs) return false;
        if (bGone) return true;
    }
}

bool Launchers::CheckPosition(WindowHandle hOwner, const Location& location) {
    if (location.HasPosition()) return true;
    m_messages.ShowMessageId(hOwner, IDS_NO_POSITION, caption::kWarning, mb::kIconExclamation);
    return false;
}

std::u16string Launchers::BuildMapUrlParameters(const Location& location) {
    return FormatText(u"-URL \"?action=locn&a=@latlon:%f,%f\"", location.m_dWNorth, location.m_dWEast);
}

std::u16string Launchers::BuildGeoUri(const Location& location) {
    return FormatText(u"geo:%f,%f", location.m_dWNorth, location.m_dWEast);
}

std::u16string Launchers::BuildSearchText(const Location& location) {
    const std::int32_t* n = location.m_nWNL;
    const std::int32_t* e = location.m_nWEL;
    return FormatText(u"n %d %d %d.%d,e %d %d %d.%d", n[0], n[1], n[2], n[3], e[0], e[1], e[2], e[3]);
}

int Launchers::LaunchMapWithUrl(WindowHandle hOwner, const Location& location, const HandOffSettings& settings) {
    if (!settings.bGmmSend) return 1;
    if (!CheckPosition(hOwner, location)) return 0;
    // A running map application ignores a new URL, so it is closed first.
    if (WindowHandle hMap = m_windows.Find(kMapClass, kMapTitleClose)) m_windows.PostCommand(hMap, kCommandClose);
    if (!WaitWindowGone(kMapClass, kMapTitleClose, kMapWaitMs)) return 1;
    if (m_launcher.Style() == HandOffStyle::Desktop)
        m_launcher.ShellOpen(BuildGeoUri(location), u"");
    else
        m_launcher.ShellOpen(kMapProgram, BuildMapUrlParameters(location));
    return 1;
}

// The map window, starting the application and passing its start-up dialog when it is not running.
bool Launchers::ReachMapWindow(WindowHandle& hMap) {
    hMap = m_windows.Find(kMapClass, kMapTitleSearch);
    if (hMap) return true;
    // A desktop has no map application to start; the caller falls back to the URL hand-off.
    if (m_launcher.Style() == HandOffStyle::Desktop) return false;
    m_launcher.ShellOpen(kMapProgram, u"");
    const WindowHandle hStart = WaitForWindow(kDialogClass, kStartDialogTitle, kMapWaitMs);
    if (!hStart) return false;
    m_windows.PostCommand(hStart, kCommandOk);
    if (WaitWindowGone(kDialogClass, kStartDialogTitle, kMapWaitMs)) {
        hMap = m_windows.Find(kMapClass, kMapTitleSearch);
        if (!hMap) return false;
    }
    return true;
}

int Launchers::SendMapSearch(WindowHandle hOwner, const Location& location, const HandOffSettings& settings) {
    if (!settings.bGmmSend) return 1;
    if (!CheckPosition(hOwner, location)) return 0;
    if (WindowHandle hStart = m_windows.Find(kDialogClass, kStartDialogTitle))
        m_windows.PostCommand(hStart, kCommandOk);
    WindowHandle hMap = 0;
    if (!ReachMapWindow(hMap)) return 0;
    // With the start-up dialog still up the map window is unknown; a post to no window would land
    // in this program's own queue.
    if (hMap) m_windows.PostCommand(hMap, kCommandSearch);
    const WindowHandle hSearch = WaitForWindow(kDialogClass, kSearchDialogTitle, kMapWaitMs);
    if (!hSearch) return 1;
    if (WindowHandle hEdit = m_windows.FindChild(hSearch, kSearchEditId)) {
        m_windows.SetText(hEdit, BuildSearchText(location));
        m_windows.PostCommand(hSearch, kCommandOk);
    }
    return 1;
}

bool Launchers::CopyPositionToClipboard(const Location& location, const HandOffSettings& settings) {
    if (!location.HasPosition()) return false;
    std::u16string strText;
    if (!settings.strClipboardFormat.empty()) ExpandPlaceholders(location, m_clock, settings.strClipboardFormat, strText);
    return m_clipboard.SetUnicodeText(strText);
}

}  // namespace vantrel
