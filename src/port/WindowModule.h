#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vantrel {

class Clipboard;
class DialogFactory;
class DialogHost;
class FileDialogs;
class MessageBoxHost;
class UiThread;

// One entry of a pop-up menu as the menu resource describes it. A pop-up has children; a
// separator has neither id nor text.
struct MenuEntry {
    int nId = 0;
    std::u16string strText;
    bool bSeparator = false;
    std::vector<MenuEntry> children;
};

// A keyboard shortcut: the key in portable text form ("Ctrl+A") and the command it gives.
struct Shortcut {
    std::u16string strKeys;
    int nCommand = 0;
};

// The images of one icon in its sizes, each a whole image file (PNG, or ICO for a bitmap image).
using IconImages = std::vector<std::vector<std::uint8_t>>;

// What the main window shows around the form: title, icon, the soft-key bar (a left key that gives
// a command and a right key that pops up a menu) and the keyboard shortcuts.
struct MainWindowParts {
    std::u16string strTitle;
    IconImages icon;
    std::u16string strLeftKey;
    int nLeftCommand = 0;
    std::u16string strRightKey;
    std::vector<MenuEntry> rightMenu;
    std::vector<Shortcut> shortcuts;
};

// The program's one top-level window: the form's controls with the soft-key bar under them.
class MainWindow {
public:
    virtual ~MainWindow() = default;
    // The host the form's template is built into; it lives as long as the window.
    virtual DialogHost& Form() = 0;
    // Soft keys, menu entries and shortcuts arrive here as command ids.
    virtual void SetCommandHandler(std::function<void(int nId)> handler) = 0;
    // A request to close from the desktop (the close button, the session ending). The window never
    // closes by itself: the handler runs the exit steps and ends the program.
    virtual void SetCloseHandler(std::function<void()> handler) = 0;
    virtual void Show() = 0;
    // Shows the window, hidden or minimised as it may be, and brings it to the foreground.
    virtual void Raise() = 0;
};

// The icon in the notification area (the tray).
class TrayIcon {
public:
    virtual ~TrayIcon() = default;
    // Shows the icon without a tip; a click runs onClick. Where the desktop has no tray the call
    // does nothing and reports nothing: the program goes on without it.
    virtual void Show(const IconImages& icon, std::function<void()> onClick) = 0;
    virtual void Hide() = 0;
    virtual bool IsVisible() const = 0;
};

// One running instance per user and name.
class InstanceGuard {
public:
    virtual ~InstanceGuard() = default;
    // True when this process is the first: it holds the name from now on, and onRaise runs each
    // time a later start asks for the window. False when another instance holds it; that instance
    // has then been asked to show its window. A name left behind by an instance that died is taken
    // over.
    virtual bool Claim(const std::u16string& strName, std::function<void()> onRaise) = 0;
};

// The toolkit side of the program: everything that needs a display, in a library that vantrel
// loads only when it needs one, so that the windowless commands never load a toolkit.
class WindowModule {
public:
    virtual ~WindowModule() = default;
    // Connects to the display. False, with the reason in strError, when there is none. Nothing
    // below may be used before Open succeeded.
    virtual bool Open(std::string& strError) = 0;
    virtual UiThread& Ui() = 0;
    virtual DialogFactory& Dialogs() = 0;
    virtual MessageBoxHost& MessageBoxes() = 0;
    virtual Clipboard& SystemClipboard() = 0;
    // The toolkit's open-file and save-file dialogs.
    virtual FileDialogs& SystemFileDialogs() = 0;
    virtual std::unique_ptr<MainWindow> CreateMainWindow(const MainWindowParts& parts) = 0;
    virtual std::unique_ptr<TrayIcon> CreateTrayIcon() = 0;
    virtual std::unique_ptr<InstanceGuard> CreateInstanceGuard() = 0;
    // True when the screen is wider than tall (the wide layout of a dialog is chosen).
    virtual bool IsScreenWide() const = 0;
};

// The library's one entry point, exported unmangled: a new module when nVersion is the version
// it was built with, else null.
constexpr int kWindowModuleVersion = 2;
constexpr char16_t kWindowModuleLibrary[] = u"vantrel-qt";
constexpr char kCreateWindowModuleSymbol[] = "CreateVantrelWindowModule";
extern "C" {
using CreateWindowModuleProc = WindowModule* (*)(int nVersion);
}

}  // namespace vantrel
