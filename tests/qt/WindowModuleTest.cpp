// The window module as the program loads it (the built libvantrel-qt.so through the library
// loader), on the offscreen platform: the main window, one instance per user, and the clipboard.
#include <QApplication>
#include <QClipboard>
#include <QTest>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "app/DialogTemplate.h"
#include "port/Clipboard.h"
#include "port/DialogHost.h"
#include "port/Factories.h"
#include "port/LibraryLoader.h"
#include "port/SystemInfo.h"
#include "port/WindowModule.h"
#include "resource.h"
#include "settings/ResourceModule.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

// One module, hence one application object, for the whole run.
WindowModule& Module() {
    static std::unique_ptr<SystemInfo> pSystem = CreateSystemInfo();
    static std::unique_ptr<LibraryLoader> pLoader = CreateLibraryLoader(*pSystem);
    static WindowModule* pModule = [] {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        const LibraryHandle hLibrary = pLoader->Load(u"" VANTREL_WINDOW_MODULE);
        const auto pCreate =
            reinterpret_cast<CreateWindowModuleProc>(pLoader->FindSymbol(hLibrary, kCreateWindowModuleSymbol));
        if (!pCreate) return static_cast<WindowModule*>(nullptr);
        WindowModule* p = pCreate(kWindowModuleVersion);
        std::string strError;
        return p && p->Open(strError) ? p : nullptr;
    }();
    if (!pModule) throw std::runtime_error("the window module did not open");
    return *pModule;
}

QWidget* MainWidget() {
    for (QWidget* pWidget : QApplication::topLevelWidgets())
        if (pWidget->isVisible() && pWidget->windowTitle() == QStringLiteral("vantrel")) return pWidget;
    return nullptr;
}

// The menu, the soft keys, the shortcuts and the icon are driven through the real program in
// tests/gui (the tray's click raises the window there); what it does not reach is here: the
// desktop's close box.
TEST(WindowModule, TheCloseBoxAsksTheProgram) {
    MainWindowParts layout;
    layout.strTitle = u"vantrel";
    const std::unique_ptr<MainWindow> pWindow = Module().CreateMainWindow(layout);
    int nCloses = 0;
    pWindow->SetCloseHandler([&] { ++nCloses; });
    ASSERT_EQ(CreateControls(ResourceModule::Program(), IDD_MAINFORM, pWindow->Form()), 18);
    pWindow->Show();
    QWidget* pTop = MainWidget();
    ASSERT_NE(pTop, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(pTop));

    // The desktop's close asks; the window stays until the program has run its exit steps.
    pTop->close();
    EXPECT_EQ(nCloses, 1);
    EXPECT_TRUE(pTop->isVisible());
}

// The runtime folder of the test, so that the socket is the test's own.
class InstanceGuardTest : public ::testing::Test {
protected:
    void SetUp() override {
        Module();
        qputenv("XDG_RUNTIME_DIR", m_dir.Path().c_str());
    }
    test::TempDir m_dir;
};

// The first claim takes over the socket a killed instance left. (A second start, which the claim
// turns away, is the real window's test.)
TEST_F(InstanceGuardTest, FirstClaimTakesOverADeadSocket) {
    const std::string strPath = m_dir.File("VANTREL");
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    strPath.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    close(fd);
    EXPECT_TRUE(Module().CreateInstanceGuard()->Claim(u"VANTREL", [] {}));
}

TEST(WindowModule, ClipboardHoldsTheText) {
    ASSERT_TRUE(Module().SystemClipboard().SetUnicodeText(u"N35.39.29.157 東京"));
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdU16String(), u"N35.39.29.157 東京");
}

}  // namespace
}  // namespace vantrel
