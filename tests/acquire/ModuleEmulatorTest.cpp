#include <gtest/gtest.h>

#include <cstdlib>

#include "acquire/ModuleEmulator.h"
#include "acquire/PortResolver.h"
#include "port/Factories.h"
#include "port/SystemInfo.h"

namespace vantrel {
namespace {

std::string Joined(const std::vector<EmulatorOutput>& outputs) {
    std::string strBytes;
    for (const EmulatorOutput& output : outputs) strBytes += output.strBytes;
    return strBytes;
}

std::string Ask(ModuleEmulator& module, const std::string& strCommand) { return Joined(module.Feed(strCommand + "\r\n")); }

// Legend: configuration change, command, the module's whole answer.
struct AnswerCase {
    const char* pszName;
    void (*configure)(EmulatorConfig&);
    const char* pszCommand;
    const char* pszAnswer;
};

class ModuleAnswers : public testing::TestWithParam<AnswerCase> {};

TEST_P(ModuleAnswers, FollowTheLineGrammar) {
    EmulatorConfig config;
    if (GetParam().configure) GetParam().configure(config);
    ModuleEmulator module(config);
    EXPECT_EQ(Ask(module, GetParam().pszCommand), GetParam().pszAnswer);
}

INSTANTIATE_TEST_SUITE_P(
    Emulator, ModuleAnswers,
    testing::Values(
        AnswerCase{"Stations", nullptr, "AT@K20", "AT@K20\r\n0A12F3C4,34\r\n0A12F3B8,21\r\nOK\r\n"},
        AnswerCase{"ExtraCr", [](EmulatorConfig& c) { c.bExtraCr = true; }, "AT@LBC1", "AT@LBC1\r\r\nOK\r\n"},
        AnswerCase{"NoStation", [](EmulatorConfig& c) { c.stations.clear(); }, "AT@K20", "AT@K20\r\n\r\nOK\r\n"},
        AnswerCase{"Position", nullptr, "AT@LBC?", "AT@LBC?\r\nN35:39:29\r\nE139:44:51\r\n1\r\nOK\r\n"},
        AnswerCase{"NoInfo", [](EmulatorConfig& c) { c.strInfo.clear(); }, "AT@LBC?", "AT@LBC?\r\nN35:39:29\r\nE139:44:51\r\nOK\r\n"},
        AnswerCase{"NoFix", [](EmulatorConfig& c) { c.bNoFix = true; }, "AT@LBC?", "AT@LBC?\r\n--:--:--\r\n--:--:--\r\n1\r\nOK\r\n"},
        AnswerCase{"Unknown", nullptr, "AT@XYZ", "AT@XYZ\r\nERROR\r\n"},
        AnswerCase{"ErrorFault", [](EmulatorConfig& c) { c.strErrorOn = "AT@LBC?"; }, "AT@LBC?", "AT@LBC?\r\nERROR\r\n"},
        AnswerCase{"ErrorOtherCommand", [](EmulatorConfig& c) { c.strErrorOn = "AT@LBC?"; }, "AT@LBC2", "AT@LBC2\r\nOK\r\n"},
        AnswerCase{"NoFinal", [](EmulatorConfig& c) { c.strNoFinalOn = "*"; }, "AT@K20", "AT@K20\r\n0A12F3C4,34\r\n0A12F3B8,21\r\n"},
        AnswerCase{"GarbageFirst", [](EmulatorConfig& c) { c.bGarbageBeforeEcho = true; }, "AT@LBC2", "\x7f#%\xfe@@~\r\nAT@LBC2\r\nOK\r\n"},
        AnswerCase{"GarbageInside", [](EmulatorConfig& c) { c.bGarbageInBody = true; }, "AT@LBC2", "AT@LBC2\r\n\x7f#%\xfe@@~\r\nOK\r\n"}),
    [](const testing::TestParamInfo<AnswerCase>& info) { return std::string(info.param.pszName); });

TEST(ModuleEmulator, CommandsMayArriveInPiecesAndTogether) {
    ModuleEmulator module;
    EXPECT_TRUE(module.Feed("AT@LB").empty());
    EXPECT_EQ(Joined(module.Feed("C1\r")), "AT@LBC1\r\nOK\r\n");
    EXPECT_EQ(Joined(module.Feed("\nAT@LBC2\r\nAT\r\n")), "AT@LBC2\r\nOK\r\nAT\r\nOK\r\n");
    EXPECT_EQ(module.Commands(), (std::vector<std::string>{"AT@LBC1", "AT@LBC2", "AT"}));
}

TEST(ModuleEmulator, CutsAnswersIntoPausedPieces) {
    EmulatorConfig config;
    config.nFragmentBytes = 4;
    config.nFragmentPauseMs = 25;
    config.nSlowMs = 700;
    ModuleEmulator module(config);
    const std::vector<EmulatorOutput> outputs = module.Feed("AT@LBC1\r\n");
    ASSERT_EQ(outputs.size(), 4u);  // 13 bytes
    EXPECT_EQ(outputs[0].nPauseMs, 700u);
    EXPECT_EQ(outputs[1].nPauseMs, 25u);
    EXPECT_EQ(outputs[3].strBytes, "\n");
    EXPECT_EQ(Joined(outputs), "AT@LBC1\r\nOK\r\n");
}

TEST(ModuleEmulator, VanishesAfterEchoingTheNthCommand) {
    EmulatorConfig config;
    config.nVanishAfter = 2;
    ModuleEmulator module(config);
    EXPECT_EQ(Ask(module, "AT@LBC1"), "AT@LBC1\r\nOK\r\n");
    const std::vector<EmulatorOutput> outputs = module.Feed("AT@LBC?\r\n");
    ASSERT_EQ(outputs.size(), 2u);
    EXPECT_EQ(outputs[0].strBytes, "AT@LBC?\r\n");
    EXPECT_TRUE(outputs[1].bHangUp);
    EXPECT_TRUE(module.HungUp());
    EXPECT_TRUE(module.Feed("AT\r\n").empty());
}

TEST(ModuleEmulator, TrackMovesTheFixEveryNReadings) {
    EmulatorConfig config;
    config.strNorth = "N35:39:59";
    config.strEast = "E139:59:59";
    config.nTrackEvery = 2;
    ModuleEmulator module(config);
    const std::string strFirst = Ask(module, "AT@LBC?");
    EXPECT_EQ(Ask(module, "AT@LBC?"), strFirst);
    EXPECT_EQ(Ask(module, "AT@LBC?"), "AT@LBC?\r\nN35:40:00\r\nE140:00:00\r\n1\r\nOK\r\n");
    EXPECT_EQ(module.Readings(), 3u);
}

TEST(ModuleEmulator, MoveCoordinateKeepsMalformedTextAsItIs) {
    EXPECT_EQ(MoveCoordinate("N35:59:59", 2), "N36:00:01");
    EXPECT_EQ(MoveCoordinate("N35.59.59", 2), "N35.59.59");
    EXPECT_EQ(MoveCoordinate("N35:59:59x", 2), "N35:59:59x");
}

// Legend: --port value, VANTREL_PORT (null: unset), what "COM1:" opens.
struct ResolveCase {
    const char16_t* pszOption;
    const char* pszEnv;
    const char16_t* pszDevice;
};

class PortResolution : public testing::TestWithParam<ResolveCase> {
protected:
    void TearDown() override { ::unsetenv("VANTREL_PORT"); }
};

TEST_P(PortResolution, ProgramPortFollowsOptionThenEnvironmentThenDefault) {
    if (GetParam().pszEnv) ::setenv("VANTREL_PORT", GetParam().pszEnv, 1);
    else ::unsetenv("VANTREL_PORT");
    auto pSystem = CreateSystemInfo();
    PortResolver resolver(GetParam().pszOption, *pSystem);
    EXPECT_EQ(resolver.Resolve(u"COM1:"), GetParam().pszDevice);
    EXPECT_EQ(resolver.Resolve(u"com1"), GetParam().pszDevice);
    EXPECT_EQ(resolver.Resolve(u"/dev/ttyUSB3"), u"/dev/ttyUSB3");
}

INSTANTIATE_TEST_SUITE_P(Serial, PortResolution,
                         testing::Values(ResolveCase{u"/dev/ttyUSB0", "/dev/ttyS1", u"/dev/ttyUSB0"},
                                         ResolveCase{u"", "/dev/ttyS1", u"/dev/ttyS1"},
                                         ResolveCase{u"", "", u"/dev/ttyS0"},
                                         ResolveCase{u"", nullptr, u"/dev/ttyS0"},
                                         ResolveCase{u"sim", nullptr, u"sim"}));

}  // namespace
}  // namespace vantrel
