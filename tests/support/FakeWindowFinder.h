#pragma once
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "port/Clock.h"
#include "port/WindowFinder.h"
#include "settings/TextUtil.h"

namespace vantrel::test {

// Windows of other programs that exist during a span of the clock's tick count. Posts and texts
// are logged by the windows' names ("post map 200", "text edit n 35 ..."); a hook lets a test play
// the other program (close on 250, open the search dialog on 200).
class FakeWindowFinder final : public WindowFinder {
public:
    static constexpr std::uint32_t kForever = std::numeric_limits<std::uint32_t>::max();

    explicit FakeWindowFinder(Clock& clock, std::vector<std::u16string>* pLog = nullptr)
        : m_clock(clock), m_pLog(pLog ? pLog : &m_log) {}

    WindowHandle Add(const std::u16string& strName, const std::u16string& strClass, const std::u16string& strTitle,
                     std::uint32_t nFrom = 0, std::uint32_t nUntil = kForever) {
        const WindowHandle hWindow = m_windows.size() + 1;
        m_windows[hWindow] = Window{strName, strClass, strTitle, nFrom, nUntil, 0, 0};
        return hWindow;
    }
    WindowHandle AddChild(WindowHandle hParent, int nId, const std::u16string& strName) {
        const WindowHandle hChild = Add(strName, u"", u"");
        m_windows[hChild].hParent = hParent;
        m_windows[hChild].nId = nId;
        return hChild;
    }
    // Shows the window from nFrom until nUntil (tick counts).
    void SetSpan(WindowHandle hWindow, std::uint32_t nFrom, std::uint32_t nUntil = kForever) {
        m_windows[hWindow].nFrom = nFrom;
        m_windows[hWindow].nUntil = nUntil;
    }
    void ShowAfter(WindowHandle hWindow, std::uint32_t nDelay) { SetSpan(hWindow, m_clock.TickCount() + nDelay); }
    void HideAfter(WindowHandle hWindow, std::uint32_t nDelay) {
        m_windows[hWindow].nUntil = m_clock.TickCount() + nDelay;
    }

    WindowHandle Find(const std::u16string& strClass, const std::u16string& strTitle) override {
        for (const auto& [hWindow, window] : m_windows)
            if (window.hParent == 0 && window.strClass == strClass && window.strTitle == strTitle && IsShown(window))
                return hWindow;
        return 0;
    }
    bool PostCommand(WindowHandle hWindow, std::uint32_t nCommandId) override {
        m_pLog->push_back(u"post " + NameOf(hWindow) + u" " + Utf8ToUtf16(std::to_string(nCommandId)));
        if (m_onPost) m_onPost(hWindow, nCommandId);
        return m_windows.count(hWindow) != 0;
    }
    WindowHandle FindChild(WindowHandle hWindow, int nControlId) override {
        for (const auto& [hChild, window] : m_windows)
            if (window.hParent == hWindow && window.nId == nControlId) return hChild;
        return 0;
    }
    bool SetText(WindowHandle hWindow, const std::u16string& strText) override {
        m_pLog->push_back(u"text " + NameOf(hWindow) + u" " + strText);
        return m_windows.count(hWindow) != 0;
    }

    std::function<void(WindowHandle, std::uint32_t)> m_onPost;

private:
    struct Window {
        std::u16string strName;
        std::u16string strClass;
        std::u16string strTitle;
        std::uint32_t nFrom;
        std::uint32_t nUntil;
        WindowHandle hParent;
        int nId;
    };

    bool IsShown(const Window& window) {
        const std::uint32_t nNow = m_clock.TickCount();
        return nNow >= window.nFrom && nNow < window.nUntil;
    }
    std::u16string NameOf(WindowHandle hWindow) const {
        const auto it = m_windows.find(hWindow);
        return it == m_windows.end() ? u"?" : it->second.strName;
    }

    Clock& m_clock;
    std::map<WindowHandle, Window> m_windows;
    std::vector<std::u16string> m_log;
    std::vector<std::u16string>* m_pLog;
};

}  // namespace vantrel::test
