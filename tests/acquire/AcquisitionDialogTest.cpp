#include <gtest/gtest.h>

#include "acquire/AcquisitionDialog.h"
#include "acquire/WsimMonitorSession.h"
#include "acquire/WsimSession.h"
#include "platform/headless/HeadlessUiThread.h"
#include "platform/headless/MemoryDialogHost.h"
#include "resource.h"
#include "support/ManualClock.h"
#include "WsimRig.h"

namespace vantrel {
namespace {

using test::Answer;

constexpr char16_t kReadingA[] = u"N35.39.29.000E139.44.51.000/1";

// One acquisition dialog on the manual-clock UI loop, talking to a module on a pseudo-terminal
// through the real serial channel.
class AcquisitionTest : public testing::Test {
protected:
    void Connect(const std::string& strDevice) {
        m_pRig = std::make_unique<test::SerialRig>(strDevice);
        m_pSession = std::make_unique<WsimSession>(m_pRig->Context());
    }

    int Run(int nMode, int nWanted = 1, int nRetryLimit = 3) {
        AcquisitionDialog dialog(m_host, m_ui, *m_pSession, m_pRig->Messages(), ResourceModule::Program());
        const int nCode = dialog.Run({nMode, nWanted, nRetryLimit});
        m_state = dialog.State();
        return nCode;
    }

    // Presses Cancel on the UI thread once the condition holds (and a little later, so that the
    // dialog is really waiting).
    std::thread CancelWhen(std::function<bool()> condition) {
        return std::thread([this, condition] {
            test::WaitFor(condition);
            std::this_thread::sleep_for(std::chrono::milliseconds(150));
            m_ui.Post([this] { m_host.SendCommand(IDC_CANCEL); });
        });
    }

    std::vector<std::u16string> BoxTexts() const {
        std::vector<std::u16string> texts;
        for (const auto& box : m_pRig->Boxes().Boxes()) texts.push_back(box.strText);
        return texts;
    }

    test::ManualClock m_clock;
    HeadlessUiThread m_ui{m_clock};
    MemoryDialogHost m_host{m_ui};
    std::unique_ptr<test::SerialRig> m_pRig;
    std::unique_ptr<WsimSession> m_pSession;
    AcquisitionState m_state;
};

TEST_F(AcquisitionTest, CsIdRoundEndsAfterTheK20Answer) {
    EmulatedModule module(CreatePseudoTerminal());
    ASSERT_TRUE(module.Start());
    Connect(module.DevicePath());
    EXPECT_EQ(Run(mode::kCsId), AcquisitionDialog::kEndSuccess);
    EXPECT_EQ(m_state.strResult, u"0A12F3C4/34,0A12F3B8/21");
    EXPECT_EQ(module.Commands(), (std::vector<std::string>{"AT@K20"}));
    EXPECT_EQ(m_host.Title(), u"取得中…");
    EXPECT_EQ(m_host.GetText(IDC_PROGRESS_TEXT), u"W-SIMからCS-IDを取得しています。");
    EXPECT_TRUE(m_host.IsCaretAtEnd(IDC_PROGRESS_TEXT));
    EXPECT_FALSE(m_pSession->Serial().IsOpen()) << "success stops the session";
    EXPECT_TRUE(BoxTexts().empty());
    // The AT layer's lines reach the message log, at their levels, only because logging is on.
    const std::string strLog = m_pRig->MessageLog();
    EXPECT_NE(strLog.find("<確認>:Send ATCommand : AT@K20\r\n"), std::string::npos) << strLog;
    EXPECT_NE(strLog.find("<確認>:SendAtCommand(): write_scc() == TRUE."), std::string::npos) << strLog;
}

TEST_F(AcquisitionTest, OneSimpleReadingIsTheResult) {
    EmulatorConfig config;
    config.bExtraCr = true;
    EmulatedModule module(CreatePseudoTerminal(), config);
    ASSERT_TRUE(module.Start());
    Connect(module.DevicePath());
    EXPECT_EQ(Run(mode::kSimple, 1), AcquisitionDialog::kEndSuccess);
    EXPECT_EQ(m_state.strResult, kReadingA);
    EXPECT_EQ(module.Commands(), (std::vector<std::string>{"AT@K20", "AT@LBC1", "AT@LBC?", "AT@LBC2"}));
    EXPECT_EQ(m_host.GetText(IDC_PROGRESS_TEXT), u"W-SIMから簡易座標を取得しています。");
    EXPECT_NE(m_pRig->MessageLog().find("<確認>:取得データ:AT@LBC?"), std::string::npos);
}

// The module reports A, B, A in three rounds; the dialog keeps the most frequent text.
TEST_F(AcquisitionTest, ThreeReadingsChooseTheMostFrequent) {
    const std::string readings[] = {"N35:39:29\r\nE139:44:51\r\n1\r\n", "N35:40:00\r\nE139:45:00\r\n1\r\n",
                                    "N35:39:29\r\nE139:44:51\r\n1\r\n"};
    int nQueries = 0;
    test::ScriptedModule module([&](const std::string& strCommand, int) {
        return Answer(strCommand, strCommand == "AT@LBC?" ? readings[nQueries++ % 3] : "");
    });
    ASSERT_TRUE(module.Start());
    Connect(module.DevicePath());
    EXPECT_EQ(Run(mode::kSimple, 3), AcquisitionDialog::kEndSuccess);
    EXPECT_EQ(m_state.strResult, kReadingA);
    EXPECT_EQ(m_state.nAcquired, 3);
    EXPECT_EQ(module.Commands().size(), 12u);
    EXPECT_EQ(m_host.GetText(IDC_PROGRESS_TEXT), u"W-SIMから簡易座標を取得しています。\r\n取得 2回目");
}

TEST_F(AcquisitionTest, BadReadingIsRetriedWithoutCountingIt) {
    int nQueries = 0;
    test::ScriptedModule module([&](const std::string& strCommand, int) {
        if (strCommand != "AT@LBC?") return Answer(strCommand);
        return Answer(strCommand, nQueries++ == 0 ? "@@#\r\n" : "N35:39:29\r\nE139:44:51\r\n1\r\n");
    });
    ASSERT_TRUE(module.Start());
    Connect(module.DevicePath());
    EXPECT_EQ(Run(mode::kSimple, 1), AcquisitionDialog::kEndSuccess);
    EXPECT_EQ(m_state.strResult, kReadingA);
    EXPECT_EQ(m_state.nRetries, 1);
    EXPECT_EQ(m_state.nAcquired, 1);
    EXPECT_EQ(m_host.GetText(IDC_PROGRESS_TEXT), u"W-SIMから簡易座標を取得しています。\r\nリトライ 1回目");
    EXPECT_EQ(module.Commands().size(), 8u);
}

TEST_F(AcquisitionTest, NoFixAfterEveryRetryFails) {
    EmulatorConfig config;
    config.bNoFix = true;
    EmulatedModule module(CreatePseudoTerminal(), config);
    ASSERT_TRUE(module.Start());
    Connect(module.DevicePath());
    EXPECT_EQ(Run(mode::kSimple, 1, 2), AcquisitionDialog::kEndFailure);
    EXPECT_EQ(m_state.nRetries, 2);
    EXPECT_EQ(module.Commands().size(), 12u) << "the first round and two retries";
    ASSERT_EQ(m_pRig->Boxes().Boxes().size(), 1u);
    EXPECT_EQ(m_pRig->Boxes().Boxes()[0].strText, u"簡易座標の取得に失敗しました。");
    EXPECT_EQ(m_pRig->Boxes().Boxes()[0].strCaption, u"エラー");
    EXPECT_EQ(m_pRig->Boxes().Boxes()[0].nFlags, 16u);
}

// Legend: emulator fault -> the one message shown, in the given mode.
struct FailureCase {
    const char* pszName;
    int nMode;
    std::function<void(EmulatorConfig&)> fault;
    std::u16string strMessage;
};
void PrintTo(const FailureCase& c, std::ostream* os) { *os << c.pszName; }


class AcquisitionFailureTest : public AcquisitionTest, public testing::WithParamInterface<FailureCase> {};

TEST_P(AcquisitionFailureTest, ShowsItsMessageAndEndsWithTwo) {
    EmulatorConfig config;
    GetParam().fault(config);
    EmulatedModule module(CreatePseudoTerminal(), config);
    ASSERT_TRUE(module.Start());
    Connect(module.DevicePath());
    EXPECT_EQ(Run(GetParam().nMode), AcquisitionDialog::kEndFailure);
    EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{GetParam().strMessage});
    EXPECT_TRUE(m_state.strResult.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Faults, AcquisitionFailureTest,
    testing::Values(
        FailureCase{"GarbageBeforeEcho", mode::kSimple, [](auto& c) { c.bGarbageBeforeEcho = true; }, u"不明なデータを取得しました。"},
        FailureCase{"CsIdGarbageBeforeEcho", mode::kCsId, [](auto& c) { c.bGarbageBeforeEcho = true; }, u"不明なデータを取得しました。"}),
    [](const auto& info) { return std::string(info.param.pszName); });

TEST_F(AcquisitionTest, WrongCsIdEchoShowsTheCsIdMessage) {
    // One stray character after the echo would pass as the module's extra carriage return.
    test::ScriptedModule module([](const std::string&, int) { return std::string("AT@K20xy\r\n1,2\r\nOK\r\n"); });
    ASSERT_TRUE(module.Start());
    Connect(module.DevicePath());
    EXPECT_EQ(Run(mode::kCsId), AcquisitionDialog::kEndFailure);
    EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{u"CS-IDの取得に失敗しました。"});
}

// Legend: a module that keeps the dialog waiting; Cancel ends it with 2, closes the port the
// session opened, and shows nothing.
struct SilentCase {
    const char* pszName;
    std::function<void(EmulatorConfig&)> fault;
};
void PrintTo(const SilentCase& c, std::ostream* os) { *os << c.pszName; }


class AcquisitionCancelTest : public AcquisitionTest, public testing::WithParamInterface<SilentCase> {};

TEST_P(AcquisitionCancelTest, CancelClosesThePortAndEndsWithTwo) {
    EmulatorConfig config;
    GetParam().fault(config);
    EmulatedModule module(CreatePseudoTerminal(), config);
    ASSERT_TRUE(module.Start());
    Connect(module.DevicePath());
    std::thread canceller = CancelWhen([&] { return !module.Commands().empty(); });
    EXPECT_EQ(Run(mode::kSimple), AcquisitionDialog::kEndFailure);
    canceller.join();
    EXPECT_FALSE(m_pSession->Serial().IsOpen());
    EXPECT_FALSE(m_pSession->OpenedPort());
    EXPECT_TRUE(BoxTexts().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Waiting, AcquisitionCancelTest,
    testing::Values(SilentCase{"Silent", [](auto& c) { c.nSlowMs = 60000; }},
                    SilentCase{"NeverOk", [](auto& c) { c.strNoFinalOn = "*"; }},
                    SilentCase{"ErrorReply", [](auto& c) { c.strErrorOn = "AT@LBC?"; }}),
    [](const auto& info) { return std::string(info.param.pszName); });

TEST_F(AcquisitionTest, VanishedModuleLeavesTheDialogToCancel) {
    EmulatorConfig config;
    config.nVanishAfter = 2;
    EmulatedModule module(CreatePseudoTerminal(), config);
    ASSERT_TRUE(module.Start());
    Connect(module.DevicePath());
    std::thread canceller = CancelWhen([&] { return module.HasHungUp(); });
    EXPECT_EQ(Run(mode::kSimple), AcquisitionDialog::kEndFailure);
    canceller.join();
    EXPECT_EQ(module.Commands(), (std::vector<std::string>{"AT@K20", "AT@LBC1"}));
    EXPECT_FALSE(m_pSession->Serial().IsOpen());
}

TEST_F(AcquisitionTest, PortThatCannotOpenFailsAtOnce) {
    test::ManualClock serialClock;  // the 30 open attempts cost no real time
    m_pRig = std::make_unique<test::SerialRig>("/nonexistent/tty", &serialClock);
    m_pSession = std::make_unique<WsimSession>(m_pRig->Context());
    EXPECT_EQ(Run(mode::kCsId), AcquisitionDialog::kEndFailure);
    const auto texts = BoxTexts();
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_EQ(texts[0].rfind(u"CreateFile failed: ", 0), 0u);
    EXPECT_EQ(texts[1], u"CS-IDの取得に失敗しました。");
    EXPECT_NE(m_pRig->MessageLog().find("<エラー>:SendAtCommand(): シリアルポートオープン失敗."), std::string::npos);
}

TEST_F(AcquisitionTest, RunAcquisitionHandsBackTheResult) {
    EmulatedModule module(CreatePseudoTerminal());
    ASSERT_TRUE(module.Start());
    Connect(module.DevicePath());
    MemoryDialogFactory dialogs(m_ui);
    std::u16string strResult = u"stale";
    EXPECT_EQ(RunAcquisition(dialogs, 0, m_ui, *m_pSession, m_pRig->Messages(), ResourceModule::Program(),
                             {mode::kSimple, 1, 3}, strResult),
              1);
    EXPECT_EQ(strResult, kReadingA);
}

}  // namespace
}  // namespace vantrel
