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

// One conversation of tests/data/transcripts (its README gives the format): the outcome, the host
// lines, and after each the module's items as written there ("<" and its bytes, "= ms", "! hangup").
struct Transcript {
    std::string strExpect;
    std::vector<std::string> host;
    std::vector<std::vector<std::string>> replies;
};

Transcript Load(const std::filesystem::path& path) {
    Transcript t;
    std::ifstream in(path, std::ios::binary);
    for (std::string strLine; std::getline(in, strLine);) {
        if (strLine.rfind("# expect: ", 0) == 0) t.strExpect = strLine.substr(10);
        if (strLine.rfind("> ", 0) == 0) {
            t.host.push_back(Unescape(strLine.substr(2)));
            t.replies.emplace_back();
        } else if (strLine.rfind("< ", 0) == 0 && !t.replies.empty()) {
            t.replies.back().push_back("<" + Unescape(strLine.substr(2)));
        } else if ((strLine.rfind("= ", 0) == 0 || strLine == "! hangup") && !t.replies.empty()) {
            t.replies.back().push_back(strLine);
        } else if (!strLine.empty() && strLine[0] != '#') {
            ADD_FAILURE() << path << ": cannot read " << strLine;
        }
    }
    return t;
}

// What the event-driven session made of one host line: the answer handed over, its identifier
// and whether its completion was signalled.
struct Heard {
    std::u16string strAnswer;
    int nId = 0;
    bool bComplete = false;
};

// A replay's outcome in the words of "# expect:", judged on the last answer, or on the last answer
// to "AT@K20" or "AT@LBC?" when there is one (the kept answer of a round).
std::string Outcome(const std::vector<Heard>& heard, std::size_t nBoxes) {
    if (!heard.back().bComplete) return nBoxes == 0 ? "incomplete" : nBoxes == 1 ? "hangup" : "several boxes";
    for (auto it = heard.rbegin(); it != heard.rend(); ++it) {
        std::u16string strText;
        if (!it->bComplete || !IsAnswerComplete(it->strAnswer)) return "an answer did not complete";
        if (it->nId == wsim::kK20) return ParseCsId(it->strAnswer, strText) ? "csid=" + Utf16ToUtf8(strText) : "fails";
        if (it->nId == wsim::kLbcQuery)
            return ParseSimpleCoordinates(it->strAnswer, strText) ? "position=" + Utf16ToUtf8(strText) : "fails";
    }
    return "identify=" + std::to_string(heard.back().nId);
}

// Each shipped transcript is played, as recorded, by the module's side of a pseudo-terminal to the
// event-driven session over the real serial channel; "# expect:" says what the session and the
// parsers must make of it.
TEST(TranscriptReplay, EachTranscriptGivesTheOutcomeItsHeaderStates) {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(VANTREL_TRANSCRIPT_DIR))
        if (entry.path().extension() == ".log") paths.push_back(entry.path());
    ASSERT_GE(paths.size(), 10u);
    for (const std::filesystem::path& path : paths) {
        SCOPED_TRACE(path.filename().string());
        const Transcript t = Load(path);
        ASSERT_FALSE(t.strExpect.empty() || t.host.empty());
        std::vector<std::string> commands;
        test::ScriptedModule module([&](PseudoTerminal& terminal, const std::string& strCommand) {
            commands.push_back(strCommand);
            if (commands.size() > t.replies.size()) return;
            for (const std::string& strItem : t.replies[commands.size() - 1]) {
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
        int nCompletions = 0;
        session.SetNotify(&ui, [&] { ++nCompletions; });

        std::vector<Heard> heard;
        std::vector<std::string> sent;
        for (const std::string& strLine : t.host) {
            const int nBefore = nCompletions;
            ASSERT_TRUE(session.SendAtCommand(strLine));
            sent.push_back(strLine.substr(0, strLine.find('\r')));
            // An answer that never completes is judged once the module has said everything.
            test::WaitFor([&] {
                ui.RunPending();
                return nCompletions > nBefore || module.Served() == static_cast<int>(sent.size());
            });
            std::this_thread::sleep_for(std::chrono::milliseconds(nCompletions > nBefore ? 0 : 50));
            ui.RunPending();
            heard.emplace_back();
            heard.back().bComplete = nCompletions > nBefore;
            heard.back().nId = session.Identify(heard.back().strAnswer);
        }
        EXPECT_TRUE(test::WaitFor([&] { return module.Served() == static_cast<int>(sent.size()); }));
        EXPECT_EQ(commands, sent);
        // The reader reports a line gone, once; nothing else is shown.
        if (!heard.back().bComplete) test::WaitFor([&] { return !rig.Texts().empty(); }, 300);
        EXPECT_EQ(Outcome(heard, rig.Texts().size()), t.strExpect);
        if (t.strExpect == "hangup") {  // the next send fails and gives up the port the session opened
            EXPECT_FALSE(session.SendAtCommand("AT\r\n"));
            EXPECT_FALSE(session.Serial().IsOpen() || session.OpenedPort());
        }
    }
}

}  // namespace
}  // namespace vantrel
