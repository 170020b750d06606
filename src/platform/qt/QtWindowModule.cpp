// The window module (libvantrel-qt.so): the program's toolkit side behind port/WindowModule.h.
// Its one exported symbol is the entry point at the end.
#include <QAccessibleWidget>
#include <QApplication>
#include <QScreen>

#include <dlfcn.h>

#include <cstdlib>
#include <memory>

#include "platform/qt/QtClipboard.h"
#include "platform/qt/QtDialogHost.h"
#include "platform/qt/QtFileDialogs.h"
#include "platform/qt/QtInstanceGuard.h"
#include "platform/qt/QtMainWindow.h"
#include "platform/qt/QtMessageBox.h"
#include "platform/qt/QtTrayIcon.h"
#include "platform/qt/QtUiThread.h"

namespace vantrel {

namespace {

std::string Env(const char* pszName) {
    const char* pszValue = std::getenv(pszName);
    return pszValue ? pszValue : "";
}

// Qt ends the process when its platform cannot start, so the display is tried first. Only the X
// server can be tried cheaply (libxcb is there wherever Qt's X platform is); a platform named in
// QT_QPA_PLATFORM or a Wayland display is taken at its word.
bool CanReachDisplay(std::string& strError) {
    const std::string strPlatform = Env("QT_QPA_PLATFORM");
    if (!strPlatform.empty() && strPlatform.rfind("xcb", 0) != 0) return true;
    const std::string strDisplay = Env("DISPLAY");
    if (strDisplay.empty()) {
        if (strPlatform.empty() && !Env("WAYLAND_DISPLAY").empty()) return true;
        strError = "no display (neither DISPLAY nor WAYLAND_DISPLAY is set)";
        return false;
    }
    void* hXcb = ::dlopen("libxcb.so.1", RTLD_NOW | RTLD_LOCAL);
    if (!hXcb) return true;  // Qt will say what is missing
    using Connect = void* (*)(const char*, int*);
    using HasError = int (*)(void*);
    using Disconnect = void (*)(void*);
    const auto pConnect = reinterpret_cast<Connect>(::dlsym(hXcb, "xcb_connect"));
    const auto pHasError = reinterpret_cast<HasError>(::dlsym(hXcb, "xcb_connection_has_error"));
    const auto pDisconnect = reinterpret_cast<Disconnect>(::dlsym(hXcb, "xcb_disconnect"));
    bool bReached = true;
    if (pConnect && pHasError && pDisconnect) {
        void* pConnection = pConnect(nullptr, nullptr);
        bReached = pHasError(pConnection) == 0;
        pDisconnect(pConnection);
    }
    ::dlclose(hXcb);
    if (!bReached) strError = "cannot connect to the X display " + strDisplay;
    return bReached;
}

// The renderer's dialog windows are plain widgets with the dialog flag; screen readers should meet
// them as dialogs, as they would meet a dialog box.
QAccessibleInterface* DialogAccessibility(const QString& strClass, QObject* pObject) {
    auto* pWidget = qobject_cast<QWidget*>(pObject);
    if (strClass != QLatin1String("QWidget") || !pWidget || pWidget->windowType() != Qt::Dialog) return nullptr;
    return new QAccessibleWidget(pWidget, QAccessible::Dialog);
}

class QtWindowModule final : public WindowModule {
public:
    ~QtWindowModule() override {
        m_pFileDialogs.reset();
        m_pDialogs.reset();
        m_pBoxes.reset();
        m_pUi.reset();
        m_pApplication.reset();
    }

    bool Open(std::string& strError) override {
        if (m_pUi) return true;
        if (!qobject_cast<QApplication*>(QCoreApplication::instance())) {
            if (QCoreApplication::instance()) {
                strError = "another kind of Qt application object already runs";
                return false;
            }
            if (!CanReachDisplay(strError)) return false;
            m_pApplication = std::make_unique<QApplication>(m_nArgc, m_argv);
        }
        QApplication::setApplicationName(QStringLiteral("vantrel"));
        // The desktop finds the icon through vantrel.desktop.
        QGuiApplication::setDesktopFileName(QStringLiteral("vantrel"));
        // The window's close runs the program's exit steps, which end the loop themselves.
        QApplication::setQuitOnLastWindowClosed(false);
        QAccessible::installFactory(DialogAccessibility);
        m_pUi = std::make_unique<QtUiThread>();
        m_pBoxes = std::make_unique<QtMessageBox>(*m_pUi);
        m_pDialogs = std::make_unique<QtDialogFactory>(*m_pUi);
        m_pFileDialogs = std::make_unique<QtFileDialogs>(*m_pUi);
        return true;
    }

    UiThread& Ui() override { return *m_pUi; }
    DialogFactory& Dialogs() override { return *m_pDialogs; }
    MessageBoxHost& MessageBoxes() override { return *m_pBoxes; }
    Clipboard& SystemClipboard() override { return m_clipboard; }
    FileDialogs& SystemFileDialogs() override { return *m_pFileDialogs; }

    std::unique_ptr<MainWindow> CreateMainWindow(const MainWindowParts& parts) override {
        return std::make_unique<QtMainWindow>(*m_pUi, parts);
    }
    std::unique_ptr<TrayIcon> CreateTrayIcon() override { return std::make_unique<QtTrayIcon>(); }
    std::unique_ptr<InstanceGuard> CreateInstanceGuard() override { return std::make_unique<QtInstanceGuard>(); }

    bool IsScreenWide() const override {
        const QScreen* pScreen = QGuiApplication::primaryScreen();
        return pScreen && pScreen->size().width() > pScreen->size().height();
    }

private:
    // QApplication keeps references to argc and argv for its whole life.
    int m_nArgc = 1;
    char m_szName[8] = "vantrel";
    char* m_argv[2] = {m_szName, nullptr};
    std::unique_ptr<QApplication> m_pApplication;
    std::unique_ptr<QtUiThread> m_pUi;
    std::unique_ptr<QtMessageBox> m_pBoxes;
    std::unique_ptr<QtDialogFactory> m_pDialogs;
    std::unique_ptr<QtFileDialogs> m_pFileDialogs;
    QtClipboard m_clipboard;
};

}  // namespace

}  // namespace vantrel

extern "C" __attribute__((visibility("default"))) vantrel::WindowModule* CreateVantrelWindowModule(int nVersion) {
    if (nVersion != vantrel::kWindowModuleVersion) return nullptr;
    return new vantrel::QtWindowModule();
}
