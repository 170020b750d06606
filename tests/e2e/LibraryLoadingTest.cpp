// Which libraries the program loads: no toolkit for the windowless commands (a machine that only
// tracks needs no Qt), the HTTP stack only for a command that talks HTTP, the window module for
// the window and a copy; and where the installed program finds them.
#include <gtest/gtest.h>
#include <signal.h>

#include <thread>

#include "ProgramRig.h"
#include "port/LibraryLoader.h"
#include "port/SystemInfo.h"
#include "settings/TextUtil.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

using namespace test;

constexpr char kPosition[] = "N35.39.29.000E139.44.51.000/1";

bool Has(const std::string& strText, const std::string& strPart) { return strText.find(strPart) != std::string::npos; }

// The dynamic loader's own account of a run (LD_DEBUG=files) names every library it loads.
TEST(LibraryLoading, WindowlessCommandsLoadNoToolkit) {
    ProgramHome home;
    home.UseUrl("http://127.0.0.1:9/send");  // refused: the library is loaded all the same
    home.GetSettings().SetBool(BoolKey::HttpSend, true);
    home.GetSettings().SetBool(BoolKey::NoMsg, true);
    home.Save();
    home.SetEnvironment("LD_DEBUG", "files");
    // Without a system bus the data-line library must not load NetworkManager's client either.
    home.SetEnvironment("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + home.File("no-bus"));
    // Legend: arguments, whether the run talks HTTP (and loads the HTTP library then only), whether
    // it runs until stopped, whether it loads the window module -> exit status (the copy's 0 says
    // that the module was loaded and put the text on the clipboard).
    const struct {
        std::vector<std::string> args;
        bool bHttp, bStopped, bWindow;
        int nExit;
    } cases[] = {
        {{"acquire", "--port", "sim"}, false, false, false, 0},
        {{"send", "--position", kPosition}, true, false, false, 1},
        {{"connect"}, false, false, false, 0},
        {{"--windowless", "--port", "sim"}, false, true, false, 0},
        {{"copy", "--position", kPosition}, false, false, true, 0},  // what would show it if it did
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args[0]);
        const auto pProgram = std::make_unique<ChildProcess>(VANTREL_EXE, c.args, home.Environment());
        if (c.bStopped) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1500));
            pProgram->Signal(SIGTERM);
        }
        ASSERT_EQ(pProgram->Wait(10000), c.nExit);
        const std::string strLoaded = pProgram->Err();
        ASSERT_TRUE(Has(strLoaded, "libc.so")) << "no loader report";
        EXPECT_EQ(Has(strLoaded, "libQt6Widgets"), c.bWindow);
        EXPECT_FALSE(Has(strLoaded, "libnm")) << strLoaded;
        EXPECT_EQ(Has(strLoaded, "libcurl"), c.bHttp);
    }
}

// The installed program looks in its own library folder itself. Its run path names that folder
// too, but dlopen reads the run path of whoever calls it, and a wrapped dlopen (a sanitizer's)
// is then the caller. The probe's name exists nowhere else, so only that folder can supply it.
TEST(LibraryLoading, TheInstalledLibraryFolderIsLookedInByName) {
    struct InstalledAt final : SystemInfo {
        std::u16string m_strExe;
        std::u16string ExecutablePath() override { return m_strExe; }
        bool GetEnv(const char*, std::u16string&) override { return false; }
        std::uint32_t LastError() override { return 0; }
        bool ErrorText(std::uint32_t, std::u16string&) override { return false; }
    } system;
    TempDir prefix;
    system.m_strExe = prefix.WideFile("bin/vantrel");
    const std::string strFolder = prefix.File("bin/" VANTREL_INSTALLED_LIBRARY_DIR);
    ASSERT_EQ(std::system(("mkdir -p " + strFolder).c_str()), 0);
    const std::string strExe = VANTREL_EXE;
    WriteFileBytes(strFolder + "/libvantrel-probe.so", ReadFileBytes(strExe.substr(0, strExe.rfind('/')) + "/libvantrel-http.so"));

    const std::unique_ptr<LibraryLoader> pLoader = CreateLibraryLoader(system);
    const LibraryHandle hProbe = pLoader->Load(u"libvantrel-probe.so");
    EXPECT_NE(hProbe, nullptr) << Utf16ToUtf8(pLoader->LastError());
    pLoader->Free(hProbe);
}

}  // namespace
}  // namespace vantrel
