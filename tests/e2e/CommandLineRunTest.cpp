// The command line as a user meets it: usage errors, settings files named on it, and the
// position given on it instead of acquired.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "ProgramRig.h"
#include "settings/TextUtil.h"

namespace vantrel {
namespace {

using namespace test;

TEST(CommandLineRun, ExpandPrintsEveryCoordinateFormAndHelpExitsWithZero) {
    ProgramHome home;
    const ProgramRun run = RunVantrel(home, {"expand", "$nl $el $wnl $wel $wnml $weml $nml $eml $pc", "--position",
                                             "N35.39.29.000E139.44.51.000/1"});
    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(run.strOut,
              "35.39.29.000 139.44.51.000 35.39.40.623 139.44.39.455 35/39/40.623 139/44/39.455 35/39/29.000 "
              "139/44/51.000 1\n");
    for (const char* pszOption : {"--help", "--version"}) {
        const ProgramRun info = RunVantrel(home, {pszOption});
        EXPECT_EQ(info.nExit, 0) << pszOption;
        EXPECT_NE((info.strOut + info.strErr).find("vantrel"), std::string::npos) << pszOption;
    }
}

TEST(CommandLineRun, UsageErrorsExitWithTwoBeforeTouchingAnything) {
    // Legend: arguments, a piece of the complaint on standard error (the parser's own rules are
    // unit-tested; these are the program's).
    const struct {
        std::vector<std::string> args;
        std::string strText;
    } cases[] = {
        {{"frobnicate"}, "unknown command 'frobnicate'"},
        {{"send", "--position", "somewhere"}, "is not a position text"},
        {{"expand", "$nl", "--position", "no-slash"}, "is not a position text"},
    };
    ProgramHome home;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args[0]);
        const ProgramRun run = RunVantrel(home, c.args);
        EXPECT_EQ(run.nExit, 2) << run.strErr;
        EXPECT_EQ(run.strOut, "");
        EXPECT_NE(run.strErr.find(c.strText), std::string::npos) << run.strErr;
    }
    // Nothing was written to the program folder: no settings, no logs.
    EXPECT_TRUE(home.FilesEndingWith(home.Path(), ".ini").empty());
    EXPECT_TRUE(home.FilesEndingWith(home.Path(), ".log").empty());
}

TEST(CommandLineRun, UnreadableSettingsFileFailsWithItsName) {
    ProgramHome home;
    mkdir(home.File("folder.ini").c_str(), 0755);
    for (const std::string& strFile : {home.File("missing.ini"), home.File("folder.ini")}) {
        for (const char* pszCommand : {"acquire", "save-settings"}) {
            SCOPED_TRACE(strFile + " " + pszCommand);
            std::vector<std::string> args{"--settings", strFile, "--port", "sim", pszCommand};
            if (std::string(pszCommand) == "save-settings") args.push_back(home.File("out.ini"));
            const ProgramRun run = RunVantrel(home, args);
            EXPECT_EQ(run.nExit, 1);
            EXPECT_NE(run.strErr.find("cannot read the settings file '" + strFile + "'"), std::string::npos)
                << run.strErr;
            EXPECT_EQ(run.strOut, "");
        }
    }
}

TEST(CommandLineRun, SaveSettingsWritesUtf16AndRoundTripsByteForByte) {
    ProgramHome home;
    const ProgramRun fresh = RunVantrel(home, {"save-settings", home.File("defaults.ini")});
    EXPECT_EQ(fresh.nExit, 0) << fresh.strErr;
    const std::string strDefaults = ReadFileBytes(home.File("defaults.ini"));
    EXPECT_EQ(strDefaults.substr(0, 2 + 22), std::string("\xFF\xFE", 2) + Utf16LeBytes("[vantrel]\r\n"));

    // A record with Japanese texts, a base64 body and both lists, written by the library.
    Settings& s = home.GetSettings();
    s.SetText(TextKey::SubjectSmtp, u"現在地のお知らせ");
    s.SetText(TextKey::BodySmtp, u"位置 $nl/$el\r\nﾃｽﾄ");
    home.UseUrl("http://example.jp/map", "q=$wnl,$wel");
    s.BrowserList().AddRow({u"閲覧", u"/usr/bin/true"});
    s.BrowserList().SetSelectedIndex(0);
    s.SetNumber(NumberKey::PosLogMaxSize, 1000);
    home.Save();
    const std::string strSaved = ReadFileBytes(home.File("default.ini"));

    // From default.ini, from --settings, and from the program's own output again.
    const std::vector<std::vector<std::string>> runs = {
        {"save-settings", home.File("a.ini")},
        {"--settings", home.File("default.ini"), "save-settings", home.File("b.ini")},
        {"--settings", home.File("b.ini"), "save-settings", home.File("c.ini")},
    };
    for (const auto& args : runs) {
        const ProgramRun run = RunVantrel(home, args);
        EXPECT_EQ(run.nExit, 0) << run.strErr;
        EXPECT_EQ(ReadFileBytes(args.back()), strSaved) << args.back();
    }
    EXPECT_NE(strSaved, strDefaults);
}

// The settings file holds the POP password and the cookie jar the position: both are written for
// their owner alone, whatever the umask, also where a file that others could read was replaced.
TEST(CommandLineRun, SecretsAreWrittenForTheirOwnerAlone) {
    ProgramHome home;
    home.UseUrl("http://127.0.0.1:9/send");
    home.GetSettings().SetBool(BoolKey::CreateCookie, true);
    home.Save();
    WriteFileBytes(home.File("shared.ini"), "x");
    chmod(home.File("shared.ini").c_str(), 0644);

    const mode_t nOldMask = umask(0);  // inherited by the program
    const ProgramRun fresh = RunVantrel(home, {"save-settings", home.File("fresh.ini")});
    const ProgramRun replaced = RunVantrel(home, {"save-settings", home.File("shared.ini")});
    const ProgramRun acquire = RunVantrel(home, {"--port", "sim", "acquire"});
    umask(nOldMask);
    EXPECT_EQ(fresh.nExit, 0) << fresh.strErr;
    EXPECT_EQ(replaced.nExit, 0) << replaced.strErr;
    EXPECT_EQ(acquire.nExit, 0) << acquire.strErr;
    EXPECT_NE(ReadFileBytes(home.File("cookies.txt")).find("\tlocation\t35.39.29.000,139.44.51.000"), std::string::npos);
    for (const char* pszName : {"fresh.ini", "shared.ini", "cookies.txt"}) {
        struct stat st {};
        ASSERT_EQ(stat(home.File(pszName).c_str(), &st), 0) << pszName;
        EXPECT_EQ(st.st_mode & 0777, 0600u) << pszName;
    }
}

TEST(CommandLineRun, SendUsesThePositionGivenOnTheCommandLine) {
    RecordingHttpServer server;
    ProgramHome home;
    home.UseUrl(server.Url("/send"));
    home.GetSettings().SetBool(BoolKey::HttpSend, true);
    home.Save();

    // No module is needed: the port named does not even exist.
    const ProgramRun run =
        RunVantrel(home, {"--port", home.File("no-such-tty"), "send", "--position", "N35.39.29.157E139.44.58.500/7"});
    EXPECT_EQ(run.nExit, 0) << run.strErr;
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].strTarget, "/send?pos=N35.39.29.157E139.44.58.500");
}

// The menu's new-mail hand-off: recipient and subject as configured, the body filled from the
// position, and no copies whatever CCSMTP and BCCSMTP say.
TEST(CommandLineRun, NewMailHandsThePositionToTheMailProgram) {
    ProgramHome home;
    Settings& s = home.GetSettings();
    s.SetText(TextKey::ToSmtp, u"you+$pc@example.jp");
    s.SetText(TextKey::SubjectSmtp, u"位置 $nl");
    s.SetText(TextKey::BodySmtp, u"N$nlE$el\r\n$pc");
    s.SetText(TextKey::CcSmtp, u"cc@example.jp");
    s.SetText(TextKey::BccSmtp, u"bcc@example.jp");
    home.Save();
    const ProgramRun run = RunVantrel(home, {"new-mail", "--position", "N35.39.29.157E139.44.58.500/7"});
    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(home.RecordedArgs("xdg-email"),
              "--utf8\n--subject\n位置 $nl\n--body\nN35.39.29.157E139.44.58.500\r\n7\nyou+$pc@example.jp\n");
}

TEST(CommandLineRun, SendWithoutAPositionFails) {
    RecordingHttpServer server;
    ProgramHome home;
    home.UseUrl(server.Url("/send"));
    home.GetSettings().SetBool(BoolKey::HttpSend, true);
    home.Save();
    const ProgramRun run = RunVantrel(home, {"--port", "sim", "send"});
    EXPECT_EQ(run.nExit, 1);
    EXPECT_NE(run.strErr.find("<警告>:位置情報を取得してください。"), std::string::npos) << run.strErr;
    EXPECT_TRUE(server.Requests().empty());
}

}  // namespace
}  // namespace vantrel
