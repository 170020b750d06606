#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "acquire/WsimParsers.h"
#include "acquire/WsimSession.h"
#include "platform/headless/HeadlessUiThread.h"
#include "SerialRig.h"

namespace vantrel {
namespace {

// Escapes in a transcript's bytes: "\r", "\n", "\t", "\\" and "\xHH".
std::string Unescape(const std::string& strText) {
    std::string strBytes;
    for (std::size_t i = 0; i < strText.size(); ++i) {
        if (strText[i] != '\\' || i + 1 == strText.size()) {
            strBytes += strText[i];
            continue;
        }
        const char c = strText[++i];
        if (c == 'x') {
            strBytes += static_cast<char>(std::stoi(strText.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            strBytes += c == 'r' ? '\r' : c == 'n' ? '\n' : c == 't' ? '\t' : c;
        }
    }
    return strBytes;
}

// One exchange of tests/data/transcripts (its README gives the format): the outcome, the host
// line, and the module's items as written there ("<" and its bytes, "= ms", "! hangup").
struct Transcript {
    std::string strExpect, strHost;
    std::vector<std::string> replies;
};

Transcript Load(const std::filesystem::path& path) {
    Transcript t;
    std::ifstream in(path, std::ios::binary);
    for (std::string strLine; std::getline(in, strLine);) {
        if (strLine.rfind("# expect: ", 0) == 0) t.strExpect = strLine.substr(10);
        if (strLine.rfind("> ", 0) == 0 && t.strHost.empty()) t.strHost = Unescape(strLine.substr(2));
        else if (strLine.rfind("< ", 0) == 0) t.replies.push_back("<" + Unescape(strLine.substr(2)));
        else if (strLine.rfind("= ", 0) == 0 || strLine == "! hangup") t.replies.push_back(strLine);
    }
    return t;
}

// The outcome in the words of "# expect:", from whether the session signalled a complete answer,
// the answer it handed over with its identifier, and the boxes the reader showed.
std::string Outcome(bool bComplete, int nId, const std::u16string& strAnswer, std::size_t nBoxes) {
    if (!bComplete) return nBoxes == 0 ? "incomplete" : nBoxes == 1 ? "hangup" : "several boxes";
    std::u16string strText;
    if (nId == wsim::kK20) return ParseCsId(strAnswer, strText) ? "csid=" + Utf16ToUtf8(strText) : "fails";
    if (nId == wsim::kLbcQuery)
        return ParseSimpleCoordinates(strAnswer, strText) ? "position=" + Utf16ToUtf8(strText) : "fails";
    return "identify=" + std::to_string(nId);
}

// Each shipped transcript is played, as recorded, by the module's side of a pseudo-terminal to the
// event-driven session over the real serial channel; "# expect:" says what the session and the
// parsers must make of it.
TEST(TranscriptReplay, EachTranscriptGivesTheOutcomeItsHeaderStates) {
    int nPlayed = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VANTREL_TRANSCRIPT_DIR)) {
        if (entry.path().extension() != ".log") continue;
        ++nPlayed;
        SCOPED_TRACE(entry.path().filename().string());
        const Transcript t = Load(entry.path());
        test::ScriptedModule module([&t](PseudoTerminal& terminal, const std::string&) {
            for (const std::string& strItem : t.replies) {
                if (strItem[0] == '<') test::Put(terminal, strItem.substr(1));
                if (strItem[0] == '=') std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(strItem.substr(2))));
                if (strItem[0] == '!') terminal.Close();
            }
        });
        ASSERT_TRUE(module.Start());
        test::SerialRig rig(module.DevicePath());
        WsimSession session(rig.Context());
        test::ManualClock clock;
        HeadlessUiThread ui(clock);
        bool bComplete = false;
        session.SetNotify(&ui, [&] { bComplete = true; });
        ASSERT_TRUE(session.SendAtCommand(t.strHost));
        // An answer that never completes is judged once the module has said everything and the
        // reader has had time to report a line gone.
        test::WaitFor([&] {
            ui.RunPending();
            return bComplete || module.Served() == 1;
        });
        if (!bComplete) test::WaitFor([&] { return !rig.Texts().empty(); }, 300);
        ui.RunPending();
        std::u16string strAnswer;
        const int nId = session.Identify(strAnswer);
        EXPECT_EQ(Outcome(bComplete, nId, strAnswer, rig.Texts().size()), t.strExpect);
        if (t.strExpect == "hangup") {  // the next send fails and gives up the port the session opened
            EXPECT_FALSE(session.SendAtCommand("AT\r\n"));
            EXPECT_FALSE(session.Serial().IsOpen() || session.OpenedPort());
        }
    }
    EXPECT_GE(nPlayed, 10);
}

}  // namespace
}  // namespace vantrel
