#include <gtest/gtest.h>

#include "app/CommandLine.h"

namespace vantrel {
namespace {

TEST(CommandLine, AcceptedShapes) {
    // Legend: arguments, command, its arguments, settings file, port, windowless. (save-settings
    // with its file: the program's test.)
    const struct {
        std::vector<std::string> args;
        std::u16string strCommand;
        std::vector<std::u16string> commandArgs;
        std::u16string strSettings, strPort;
        bool bWindowless;
    } cases[] = {
        {{}, u"", {}, u"", u"", false},
        {{"--settings", "a.ini", "--windowless", "--port", "sim", "acquire-send"}, u"acquire-send", {}, u"a.ini", u"sim", true},
        {{"expand", "-$nl-", "--position", "N1.2.3.4E5.6.7.8/"}, u"expand", {u"-$nl-"}, u"", u"", false},
    };
    for (const auto& c : cases) {
        CommandLine line;
        std::string strError;
        ASSERT_TRUE(ParseCommandLine(c.args, line, strError)) << strError;
        EXPECT_EQ(line.strCommand, c.strCommand);
        EXPECT_EQ(line.arguments, c.commandArgs);
        EXPECT_EQ(line.strSettings, c.strSettings);
        EXPECT_EQ(line.strPort, c.strPort);
        EXPECT_EQ(line.bWindowless, c.bWindowless);
    }
}

TEST(CommandLine, UsageErrorsSayWhat) {
    // Legend: arguments, a word the message must contain. (An unknown command: the program's test.)
    const struct {
        std::vector<std::string> args;
        std::string strWord;
    } cases[] = {
        {{"--bogus"}, "unknown option"},
        {{"save-settings"}, "takes 1"},
        {{"acquire", "--position", "x"}, "--position"},
        {{"expand", "$nl"}, "--position"},
        {{"--settings"}, "needs a value"},
    };
    for (const auto& c : cases) {
        CommandLine line;
        std::string strError;
        EXPECT_FALSE(ParseCommandLine(c.args, line, strError));
        EXPECT_NE(strError.find(c.strWord), std::string::npos) << strError;
    }
}

}  // namespace
}  // namespace vantrel
