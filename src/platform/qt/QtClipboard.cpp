#include <QClipboard>
#include <QGuiApplication>
#include <QString>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "port/Clipboard.h"

namespace vantrel {

namespace {

bool HasEnv(const char* pszName) {
    const char* pszValue = std::getenv(pszName);
    return pszValue && *pszValue;
}

// QClipboard lives in the GUI application object. The window build has one already; a windowless
// command gets one only when there is a display to own the selection (or a platform plugin was
// named explicitly, as the offscreen tests do), because creating it without one aborts the process.
class QtClipboard final : public Clipboard {
public:
    bool SetUnicodeText(const std::u16string& strText) override {
        if (!EnsureApplication()) return false;
        QClipboard* pClipboard = QGuiApplication::clipboard();
        if (!pClipboard) return false;
        pClipboard->clear();
        pClipboard->setText(QString::fromUtf16(strText.data(), static_cast<qsizetype>(strText.size())));
        return true;
    }

private:
    bool EnsureApplication() {
        if (qobject_cast<QGuiApplication*>(QCoreApplication::instance())) return true;
        if (QCoreApplication::instance()) {
            std::fputs("vantrel: the clipboard needs a GUI application, but a console one runs\n", stderr);
            return false;
        }
        if (!HasEnv("DISPLAY") && !HasEnv("WAYLAND_DISPLAY") && !HasEnv("QT_QPA_PLATFORM")) {
            std::fputs("vantrel: no display for the clipboard (neither DISPLAY nor WAYLAND_DISPLAY is set)\n", stderr);
            return false;
        }
        m_pApplication = std::make_unique<QGuiApplication>(m_nArgc, m_argv);
        return true;
    }

    // QGuiApplication keeps references to argc and argv for its whole life.
    int m_nArgc = 1;
    char m_szName[8] = "vantrel";
    char* m_argv[2] = {m_szName, nullptr};
    std::unique_ptr<QGuiApplication> m_pApplication;
};

}  // namespace

std::unique_ptr<Clipboard> CreateClipboard() { return std::make_unique<QtClipboard>(); }

}  // namespace vantrel
