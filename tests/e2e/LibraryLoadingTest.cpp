// Which libraries the program loads: no toolkit for the windowless commands (a machine that only
// tracks needs no Qt), the HTTP stack only for a command that talks HTTP, the window module for
// the window and a copy; and a clear refusal, never a crash, when that module is missing, broken
// or has no display to open.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <cstdio>
#include <thread>

#include "ProgramRig.h"

namespace vantrel {
namespace {

using namespace test;

constexpr char kPosition[] = "N35.39.29.000E139.44.51.000/1";

std::string CommandOutput(const std::string& strCommand) {
    std::string strOut;
    if (FILE* pPipe = popen(strCommand.c_str(), "r")) {
        char buffer[4096];
        for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pPipe)) > 0;) strOut.append(buffer, n);
        pclose(pPipe);
    }
    return strOut;
}

bool Has(const std::string& strText, const std::string& strPart) { return strText.find(strPart) != std::string::npos; }

TEST(LibraryLoading, ExecutableNeedsNeitherToolkitNorHttpStack) {
    const std::string strLibraries = CommandOutput("ldd " VANTREL_EXE);
    ASSERT_TRUE(Has(strLibraries, "libc.so")) << strLibraries;
    EXPECT_FALSE(Has(strLibraries, "libQt")) << strLibraries;
    EXPECT_FALSE(Has(strLibraries, "libcurl")) << strLibraries;
}

// The dynamic loader's own account of a run (LD_DEBUG=files) names every library it loads.
TEST(LibraryLoading, WindowlessCommandsLoadNoToolkit) {
    RecordingHttpServer server;
    ProgramHome home;
    home.UseUrl(server.Url("/send"));
    home.GetSettings().SetBool(BoolKey::HttpSend, true);
    home.GetSettings().SetBool(BoolKey::NoMsg, true);
    home.Save();
    home.SetEnvironment("LD_DEBUG", "files");
    // Without a system bus the data-line library must not load NetworkManager's client either.
    home.SetEnvironment("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + home.File("no-bus"));
    // Legend: arguments, whether the run talks HTTP (and loads the HTTP library then only).
    const struct {
        std::vector<std::string> args;
        bool bHttp;
    } cases[] = {
        {{"expand", "$nl", "--position", kPosition}, false},
        {{"save-settings", home.File("saved.ini")}, false},
        {{"acquire", "--port", "sim"}, false},
        {{"send", "--position", kPosition}, true},
        {{"acquire-send", "--port", "sim"}, true},
        {{"connect"}, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args[0]);
        const ProgramRun run = RunVantrel(home, c.args);
        ASSERT_TRUE(Has(run.strErr, "libc.so")) << "no loader report";
        EXPECT_FALSE(Has(run.strErr, "libQt")) << run.strErr;
        EXPECT_FALSE(Has(run.strErr, "libvantrel-qt")) << run.strErr;
        EXPECT_FALSE(Has(run.strErr, "libnm")) << run.strErr;
        EXPECT_EQ(Has(run.strErr, "libvantrel-http.so"), c.bHttp);
        EXPECT_EQ(Has(run.strErr, "libcurl"), c.bHttp);
    }
    // The programs that run until stopped.
    for (const std::vector<std::string>& args : {std::vector<std::string>{"monitor", "--port", "sim"},
                                                 std::vector<std::string>{"--windowless", "--port", "sim"}}) {
        SCOPED_TRACE(args[0]);
        const std::unique_ptr<ChildProcess> pProgram = StartVantrel(home, args);
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        pProgram->Signal(SIGTERM);
        EXPECT_EQ(pProgram->Wait(10000), 0) << pProgram->Err();
        ASSERT_TRUE(Has(pProgram->Err(), "libc.so"));
        EXPECT_FALSE(Has(pProgram->Err(), "libQt")) << pProgram->Err();
    }
    // What would show it if it did: a copy loads the window module and the toolkit.
    const ProgramRun copy = RunVantrel(home, {"copy", "--position", kPosition});
    EXPECT_EQ(copy.nExit, 0);
    EXPECT_TRUE(Has(copy.strErr, "libvantrel-qt.so"));
    EXPECT_TRUE(Has(copy.strErr, "libQt6Widgets"));
}

TEST(LibraryLoading, MissingOrBrokenWindowModuleIsRefused) {
    ProgramHome home;
    // A copy of the program alone in a folder: nothing beside it, nothing on the library path.
    const std::string strProgram = home.File("bin/vantrel");
    WriteFileBytes(strProgram, ReadFileBytes(VANTREL_EXE));
    chmod(strProgram.c_str(), 0755);
    const std::string strModule = home.File("bin/libvantrel-qt.so");
    // Legend: what lies beside the program as the window module, the reason given.
    const struct {
        const char* pszBeside;
        std::string strReason;
    } cases[] = {
        {nullptr, "libvantrel-qt.so cannot be loaded: libvantrel-qt.so: cannot open shared object file"},
        {"", "libvantrel-qt.so cannot be loaded: " + strModule + ": file too short"},
        {"http", "libvantrel-qt.so has no entry point CreateVantrelWindowModule"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.strReason);
        std::remove(strModule.c_str());
        if (c.pszBeside) {
            const std::string strHttp = std::string(VANTREL_EXE).substr(0, std::string(VANTREL_EXE).rfind('/')) +
                                        "/libvantrel-http.so";
            WriteFileBytes(strModule, *c.pszBeside ? ReadFileBytes(strHttp) : "");
        }
        const ProgramRun window = RunProgram(strProgram, home, {});
        EXPECT_EQ(window.nExit, 1);
        EXPECT_TRUE(Has(window.strErr, "vantrel: no window: the window module " + c.strReason)) << window.strErr;
        const ProgramRun copy = RunProgram(strProgram, home, {"copy", "--position", kPosition});
        EXPECT_EQ(copy.nExit, 1);
        EXPECT_TRUE(Has(copy.strErr, "vantrel: no clipboard: the window module " + c.strReason)) << copy.strErr;
    }
}

TEST(LibraryLoading, NoDisplayIsRefused) {
    ProgramHome home;
    home.SetEnvironment("QT_QPA_PLATFORM", "");
    // Legend: DISPLAY, the reason given.
    const std::pair<std::string, std::string> cases[] = {
        {"", "no display (neither DISPLAY nor WAYLAND_DISPLAY is set)"},
        {":4099", "cannot connect to the X display :4099"},
    };
    for (const auto& [strDisplay, strReason] : cases) {
        home.SetEnvironment("DISPLAY", strDisplay);
        const ProgramRun window = RunVantrel(home, {});
        EXPECT_EQ(window.nExit, 1) << window.strErr;
        EXPECT_TRUE(Has(window.strErr, "vantrel: no window: " + strReason)) << window.strErr;
    }
}

}  // namespace
}  // namespace vantrel
