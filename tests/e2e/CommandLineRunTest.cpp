// The command line as a user meets it: exit statuses, settings files named on it and written by
// it, and the position given on it instead of acquired.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "ProgramRig.h"
#include "settings/TextUtil.h"

namespace vantrel {
namespace {

using namespace test;

constexpr char kPosition[] = "N35.39.29.000E139.44.51.000/1";

TEST(CommandLineRun, EachOutcomeHasItsExitStatusAndWritesNothing) {
    ProgramHome home;
    // Legend: arguments -> exit status, standard output, a piece of standard error. (The parser's
    // own rules are unit-tested; these are the program's.)
    const struct {
        std::vector<std::string> args;
        int nExit;
        std::string strOut, strErr;
    } cases[] = {
        {{"expand", "$nl $wnl $pc", "--position", kPosition}, 0, "35.39.29.000 35.39.40.623 1\n", ""},
        {{"--version"}, 0, "vantrel", ""},
        {{"frobnicate"}, 2, "", "unknown command 'frobnicate'"},
        {{"--settings", home.File("missing.ini"), "save-settings", home.File("out.ini")}, 1, "",
         "cannot read the settings file '" + home.File("missing.ini") + "'"},
        {{"--port", "sim", "send"}, 1, "", "<警告>:位置情報を取得してください。"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args[0] + " " + c.args.back());
        const ProgramRun run = RunVantrel(home, c.args);
        EXPECT_EQ(run.nExit, c.nExit) << run.strErr;
        EXPECT_TRUE(c.strOut.empty() ? run.strOut.empty() : run.strOut.starts_with(c.strOut)) << run.strOut;
        EXPECT_NE(run.strErr.find(c.strErr), std::string::npos) << run.strErr;
    }
    // No settings, no logs, no output file.
    EXPECT_TRUE(home.FilesEndingWith(".ini").empty());
    EXPECT_TRUE(home.FilesEndingWith(".log").empty());
}

// save-settings writes the record it read (from default.ini or --settings) byte for byte (the
// file's format is the settings store's, tested there). The settings file holds the POP password and the cookie jar the position:
// both are written for their owner alone, whatever the umask, also where a file that others could
// read was replaced.
TEST(CommandLineRun, SaveSettingsRoundTripsAndSecretsAreWrittenForTheirOwnerAlone) {
    ProgramHome home;
    Settings& s = home.GetSettings();
    s.SetText(TextKey::SubjectSmtp, u"現在地のお知らせ");
    home.UseUrl("http://127.0.0.1:9/send");  // the cookie is kept for the row's host
    s.SetBool(BoolKey::CreateCookie, true);
    home.Save();
    const std::string strSaved = ReadFileBytes(home.File("default.ini"));
    WriteFileBytes(home.File("shared.ini"), "x");
    chmod(home.File("shared.ini").c_str(), 0644);

    const mode_t nOldMask = umask(0);  // inherited by the program
    const ProgramRun fresh = RunVantrel(home, {"save-settings", home.File("fresh.ini")});
    const ProgramRun replaced = RunVantrel(home, {"--settings", home.File("fresh.ini"), "save-settings", home.File("shared.ini")});
    const ProgramRun acquire = RunVantrel(home, {"--port", "sim", "acquire"});
    umask(nOldMask);
    EXPECT_EQ((std::vector<int>{fresh.nExit, replaced.nExit, acquire.nExit}), (std::vector<int>{0, 0, 0}))
        << fresh.strErr << replaced.strErr << acquire.strErr;
    EXPECT_EQ(ReadFileBytes(home.File("fresh.ini")), strSaved);
    EXPECT_EQ(ReadFileBytes(home.File("shared.ini")), strSaved);
    EXPECT_NE(ReadFileBytes(home.File("cookies.txt")).find("\tlocation\t35.39.29.000,139.44.51.000"), std::string::npos);
    for (const char* pszName : {"fresh.ini", "shared.ini", "cookies.txt"}) {
        struct stat st {};
        ASSERT_EQ(stat(home.File(pszName).c_str(), &st), 0) << pszName;
        EXPECT_EQ(st.st_mode & 0777, 0600u) << pszName;
    }
}

}  // namespace
}  // namespace vantrel
