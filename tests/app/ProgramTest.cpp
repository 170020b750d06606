#include <gtest/gtest.h>

#include "support/RunProgram.h"

namespace vantrel {
namespace {

using test::RunProgram;

TEST(Program, ExpandPrintsEveryCoordinateForm) {
    const auto result = RunProgram(VANTREL_EXE, {"expand", "$nl $el $wnl $wel $wnml $weml $nml $eml $pc", "--position",
                                                 "N35.39.29.000E139.44.51.000/1"});
    EXPECT_EQ(result.nExitCode, 0) << result.strErr;
    EXPECT_EQ(result.strOut,
              "35.39.29.000 139.44.51.000 35.39.40.623 139.44.39.455 35/39/40.623 139/44/39.455 35/39/29.000 "
              "139/44/51.000 1\n");
}

TEST(Program, ExitStatusAndMessages) {
    // Legend: arguments, exit status, text expected on standard error (or standard output for help).
    const struct {
        std::vector<std::string> args;
        int nExit;
        std::string strText;
    } cases[] = {
        {{"--help"}, 0, "usage: vantrel"},
        {{"--version"}, 0, "vantrel "},
        {{"frobnicate"}, 2, "unknown command 'frobnicate'"},
        {{"expand", "$nl", "--position", "no-slash"}, 2, "is not a position text"},
    };
    for (const auto& c : cases) {
        const auto result = RunProgram(VANTREL_EXE, c.args);
        EXPECT_EQ(result.nExitCode, c.nExit);
        EXPECT_NE((result.strOut + result.strErr).find(c.strText), std::string::npos) << result.strOut << result.strErr;
    }
}

}  // namespace
}  // namespace vantrel
