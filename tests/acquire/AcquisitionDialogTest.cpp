#include <gtest/gtest.h>

#include "acquire/AcquisitionDialog.h"
#include "acquire/WsimMonitorSession.h"
#include "acquire/WsimSession.h"
#include "platform/headless/HeadlessUiThread.h"
#include "platform/headless/MemoryDialogHost.h"
#include "resource.h"
#include "SerialRig.h"

namespace vantrel {
namespace {

// The standard answer of a module that knows the command: echo, body lines, "OK".
std::string Answer(const std::string& strCommand, const std::string& strBody = "") {
    return strCommand + "\r\n" + strBody + "OK\r\n";
}

// Readings as the module's "AT@LBC?" body, and the combined texts they give.
constexpr char kA[] = "N35:39:29\r\nE139:44:51\r\n1\r\n";
constexpr char kB[] = "N35:40:00\r\nE139:45:00\r\n1\r\n";
constexpr char kC[] = "N35:41:00\r\nE139:46:00\r\n1\r\n";
constexpr char kBad[] = "@@#\r\n";
constexpr char16_t kTextA[] = u"N35.39.29.000E139.44.51.000/1";
constexpr char16_t kTextB[] = u"N35.40.00.000E139.45.00.000/1";

// n simple-coordinate rounds: each command with the read delay set for it.
std::string Rounds(int n) {
    std::string str;
    for (int i = 0; i < n; ++i) str += "K20/300 LBC1/300 LBC?/1000 LBC2/0 ";
    return str;
}

// One acquisition dialog on the manual-clock UI loop, talking to a module on a pseudo-terminal
// through the real serial channel.
class AcquisitionTest : public testing::Test {
protected:
    void Connect(const std::string& strDevice) {
        m_pSession.reset();
        m_pRig = std::make_unique<test::SerialRig>(strDevice);
        m_pSession = std::make_unique<WsimSession>(m_pRig->Context());
    }

    int Run(int nMode, int nWanted = 1, int nRetryLimit = 3) {
        m_pHost = std::make_unique<MemoryDialogHost>(m_ui);
        AcquisitionDialog dialog(*m_pHost, m_ui, *m_pSession, m_pRig->Messages(), ResourceModule::Program());
        const int nCode = dialog.Run({nMode, nWanted, nRetryLimit});
        m_state = dialog.State();
        return nCode;
    }

    // A module answering "AT@LBC?" with the given bodies in turn (the last one repeats); it notes
    // each command without its "AT@", with the read delay in force when the command arrived.
    std::unique_ptr<test::ScriptedModule> Module(std::vector<std::string> readings) {
        auto pModule = std::make_unique<test::ScriptedModule>([this, readings](PseudoTerminal& t, const std::string& strCommand) {
            m_strHeard += strCommand.substr(3) + "/" + std::to_string(m_pSession->Serial().ReadDelay()) + " ";
            if (strCommand == "AT@K20") return test::Put(t, Answer(strCommand, "0A12F3C4,34\r\n0A12F3B8,21\r\n"));
            if (strCommand != "AT@LBC?") return test::Put(t, Answer(strCommand));
            test::Put(t, Answer(strCommand, readings[std::min(m_nQueries++, readings.size() - 1)]));
        });
        EXPECT_TRUE(pModule->Start());
        Connect(pModule->DevicePath());
        return pModule;
    }

    test::ManualClock m_clock;
    HeadlessUiThread m_ui{m_clock};
    std::unique_ptr<MemoryDialogHost> m_pHost;
    std::unique_ptr<test::SerialRig> m_pRig;
    std::unique_ptr<WsimSession> m_pSession;
    AcquisitionState m_state;
    std::string m_strHeard;
    std::size_t m_nQueries = 0;
};

// Legend: mode, readings wanted (EPGETCNT), retry limit, the module's "AT@LBC?" bodies in turn ->
// the result (empty: the acquisition fails with 3005) and the commands heard with their read
// delays (the retries and readings counted show only in the progress text).
TEST_F(AcquisitionTest, ReadingsRetriesAndTheTally) {
    const struct {
        const char* pszLegend;
        int nMode, nWanted, nRetryLimit;
        std::vector<std::string> readings;
        std::u16string strResult;
        std::string strHeard;
    } cases[] = {
        {"CS-ID: one command, no delay", mode::kCsId, 1, 3, {kA}, u"0A12F3C4/34,0A12F3B8/21", "K20/0 "},
        {"A, A, B: the most frequent, not the last", mode::kSimple, 3, 3, {kA, kA, kB}, kTextA, Rounds(3)},
        {"B, A, A, C, C: neither the first nor the last seen", mode::kSimple, 5, 3, {kB, kA, kA, kC, kC}, kTextA, Rounds(5)},
        {"a bad reading is retried, not counted", mode::kSimple, 1, 3, {kBad, kA}, kTextA, Rounds(2)},
        {"retries run out: the tally answers", mode::kSimple, 3, 1, {kB, kBad}, kTextB, Rounds(3)},
        {"retries run out, nothing tallied", mode::kSimple, 3, 1, {kBad}, u"", Rounds(2)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszLegend);
        m_strHeard.clear();
        m_nQueries = 0;
        const auto pModule = Module(c.readings);
        const bool bOk = !c.strResult.empty();
        m_ui.Post([this] { m_pHost->SendCommand(1); });  // only Cancel ends the dialog early
        EXPECT_EQ(Run(c.nMode, c.nWanted, c.nRetryLimit), bOk ? AcquisitionDialog::kEndSuccess : AcquisitionDialog::kEndFailure);
        EXPECT_EQ(m_state.strResult, c.strResult);
        EXPECT_EQ(m_strHeard, c.strHeard);
        EXPECT_EQ(m_pRig->Texts(), bOk ? std::vector<std::u16string>{} : std::vector<std::u16string>{u"簡易座標の取得に失敗しました。"});
        EXPECT_EQ(m_pSession->Serial().IsOpen(), !bOk) << "success stops the session; a failure leaves it to the caller";
    }
}

// An error reply never completes, so the dialog waits; Cancel ends it with 2 and closes the port
// the session opened.
TEST_F(AcquisitionTest, CancelClosesThePortAndEndsWithTwo) {
    EmulatorConfig config;
    config.strErrorOn = "AT@LBC?";
    EmulatedModule module(CreatePseudoTerminal(), config);
    ASSERT_TRUE(module.Start());
    Connect(module.DevicePath());
    // Cancel is pressed a little after the module went quiet, so that the dialog is really waiting.
    std::thread canceller([&] {
        test::WaitFor([&] { return module.Commands().size() >= 2; });
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        m_ui.Post([this] { m_pHost->SendCommand(IDC_CANCEL); });
    });
    EXPECT_EQ(Run(mode::kSimple), AcquisitionDialog::kEndFailure);
    canceller.join();
    EXPECT_FALSE(m_pSession->Serial().IsOpen());
}

}  // namespace
}  // namespace vantrel
