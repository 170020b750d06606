// Runs that go wrong: a module that never answers, a peer that misbehaves, a command line that
// cannot be carried out, a disk that fills up.
// The program must say why, end with its exit status in time and leave its files alone. (How each
// channel reports its own failure is tested with the channel, and that one failed channel leaves
// the others running is the form's rule, tested there.)
#include <gtest/gtest.h>
#include <signal.h>

#include <thread>

#include "ProgramRig.h"
#include "settings/TextUtil.h"

namespace vantrel {
namespace {

using namespace test;
using Args = std::vector<std::string>;

// Legend: the arguments (none: acquire-send from the module emulator, started with the options
// that follow), the silent limit (ms; empty: the program's minute), Ctrl+C after 2 s or not ->
// exit status and a line of standard error. The selected URL answers with a redirect to itself.
// Every run ends within 10 s and leaves the settings file byte for byte as it was.
TEST(FailingRun, FaultsEndWithTheirMessageAndStatus) {
    LoopbackHttpServer server;
    server.Server().Get("/send", [](const httplib::Request&, httplib::Response& response) {
        response.status = 302;
        response.set_header("Location", "/send?again");
    });
    server.Start();
    ProgramHome home;
    home.UseUrl(server.Url("/send"));
    home.GetSettings().SetBool(BoolKey::HttpSend, true);
    home.Save();
    const std::string strSettings = ReadFileBytes(home.File("default.ini"));
    const std::string strMissing = home.File("missing.ini");
    const struct {
        Args args, emulator;
        const char* pszSilentLimitMs;
        bool bInterrupt;
        int nExit;
        std::string strLine;
    } cases[] = {
        {{}, {"--garbage", "inside", "--no-ok", "*"}, "", true, 1, "interrupted; cancelling"},
        {{}, {"--no-ok", "*"}, "2000", false, 1, "no answer from the module for 2 s; cancelling"},
        // 47 = CURLE_TOO_MANY_REDIRECTS: a server sending the request back to itself must not hang it.
        {{"send", "--position", "N35.39.29.000E139.44.51.000/1"}, {}, "", false, 1,
         "<エラー>:InternetOpenUrl() Failed. (Wininet Error:47)[hostname=http://127.0.0.1:"},
        {{"--port", "sim", "send"}, {}, "", false, 1, "<警告>:位置情報を取得してください。"},
        {{"frobnicate"}, {}, "", false, 2, "unknown command 'frobnicate'"},
        // Defaults must not be saved over the file named when the one to read is missing.
        {{"--settings", strMissing, "save-settings", home.File("default.ini")}, {}, "", false, 1,
         "cannot read the settings file '" + strMissing + "'"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.strLine);
        Args args = c.args;
        std::unique_ptr<ChildProcess> pModule;
        if (args.empty()) {
            pModule = std::make_unique<ChildProcess>(VANTREL_WSIM_EXE, c.emulator, Args{"PATH=/usr/bin:/bin"});
            args = {"--port", pModule->FirstLine(10000), "acquire-send"};
        }
        home.SetEnvironment("VANTREL_SILENT_LIMIT_MS", c.pszSilentLimitMs);

        const auto pProgram = std::make_unique<ChildProcess>(VANTREL_EXE, args, home.Environment());
        if (c.bInterrupt) {
            std::this_thread::sleep_for(std::chrono::seconds(2));
            pProgram->Signal(SIGINT);
        }
        EXPECT_EQ(pProgram->Wait(10000), c.nExit) << pProgram->Err();
        EXPECT_NE(pProgram->Err().find(c.strLine), std::string::npos) << pProgram->Err().substr(0, 2000);
        EXPECT_EQ(ReadFileBytes(home.File("default.ini")), strSettings);
    }
}

// The program under a limit on the size of every file it writes (prlimit --fsize): a write that
// would pass nBytes fails as on a full disk. Its output reaches the test's files through pipes
// (cat), out of the limit's reach, and pipefail keeps its exit status.
ProgramRun RunOnAFullDisk(const ProgramHome& home, std::size_t nBytes, const Args& arguments) {
    const std::string strPipes = "{ /usr/bin/prlimit --fsize=" + std::to_string(nBytes) + " -- \"$@\" 2>&1 1>&3 | cat 1>&2; } 3>&1 | cat";
    Args limited = {"-o", "pipefail", "-c", strPipes, "sh", VANTREL_EXE};
    limited.insert(limited.end(), arguments.begin(), arguments.end());
    return RunVantrel(home, limited, "/bin/bash");
}

// A disk that fills up while the cache and the settings file are written: each write fails, says
// so, and the file that was there before is still whole, with nothing left beside it. (The logs
// only ever append.)
TEST(FailingRun, FullDiskLeavesEveryFileWhole) {
    LoopbackHttpServer service;
    service.Server().Get("/loc1/location", [](const httplib::Request&, httplib::Response& response) {
        response.status = 302;
        response.set_header("Location", "http://127.0.0.1/map?pos=N35.39.29.000E139.44.51.000");
    });
    service.Start();
    ProgramHome home;
    Settings& s = home.GetSettings();
    s.SetBool(BoolKey::LocateEasy, false);
    s.SetBool(BoolKey::CsidCache, true);
    home.Save();
    // A station the module does not hear: the run asks the service and must save a longer cache.
    const std::string strCache = std::string(kUtf16LeMark, 2) + ToUtf16LeBytes(u"FFFFFFFF,pos=N1.1.1.1E2.2.2.2\r\n");
    WriteFileBytes(home.File("cache.txt"), strCache);
    const std::string strSettings = ReadFileBytes(home.File("default.ini"));

    const ProgramRun acquire = RunOnAFullDisk(home, strCache.size(), {"--port", "sim", "--service", service.Url("/loc1/location"), "acquire"});
    EXPECT_EQ(acquire.nExit, 0) << acquire.strErr;  // the position was found; only keeping it failed
    EXPECT_EQ(acquire.strOut, "0A12F3C4/34,0A12F3B8/21\r\nN35.39.29.000E139.44.51.000\r\n");
    EXPECT_NE(acquire.strErr.find("<エラー>:SaveCache() Failed. [file=" + home.File("cache.txt") + "]"), std::string::npos)
        << acquire.strErr;
    const ProgramRun save = RunOnAFullDisk(home, strCache.size(), {"save-settings", home.File("default.ini")});
    EXPECT_EQ(save.nExit, 1);
    EXPECT_NE(save.strErr.find("cannot write the settings file '" + home.File("default.ini") + "'"), std::string::npos)
        << save.strErr;

    EXPECT_EQ(ReadFileBytes(home.File("cache.txt")), strCache);
    EXPECT_EQ(ReadFileBytes(home.File("default.ini")), strSettings);
    EXPECT_TRUE(home.FilesEndingWith(".tmp").empty());
}

}  // namespace
}  // namespace vantrel
