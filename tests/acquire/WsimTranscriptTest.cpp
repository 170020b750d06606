#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "acquire/WsimParsers.h"
#include "acquire/WsimSession.h"
#include "platform/headless/HeadlessUiThread.h"
#include "SerialRig.h"

namespace vantrel {
namespace {

std::u16string Widen(const std::string& str) { return std::u16string(str.begin(), str.end()); }

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

// Each shipped transcript is played, as recorded, by the module's side of a pseudo-terminal to the
// event-driven session over the real serial channel; "# expect:" says what the session and the
// parsers must make of it: csid=, position=, fails, incomplete, identify=N or hangup.
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

        std::map<std::string, Heard> heard;  // by command
        for (std::size_t i = 0; i < t.host.size(); ++i) {
            const int nBefore = nCompletions;
            ASSERT_TRUE(session.SendAtCommand(t.host[i]));
            // An answer that never completes is judged once the module has said everything.
            test::WaitFor([&] {
                ui.RunPending();
                return nCompletions > nBefore || module.Served() > static_cast<int>(i);
            });
            std::this_thread::sleep_for(std::chrono::milliseconds(nCompletions > nBefore ? 0 : 50));
            ui.RunPending();
            Heard& h = heard[t.host[i].substr(0, t.host[i].find('\r'))];
            h.bComplete = nCompletions > nBefore;
            h.nId = session.Identify(h.strAnswer);
        }
        std::vector<std::string> sent;
        for (const std::string& strLine : t.host) sent.push_back(strLine.substr(0, strLine.find('\r')));
        EXPECT_TRUE(test::WaitFor([&] { return module.Served() == static_cast<int>(sent.size()); }));
        EXPECT_EQ(commands, sent);

        const Heard& last = heard[sent.back()];
        const std::size_t nEq = t.strExpect.find('=');
        const std::string strKind = t.strExpect.substr(0, nEq);
        const std::string strValue = nEq == std::string::npos ? "" : t.strExpect.substr(nEq + 1);
        if (strKind == "incomplete" || strKind == "hangup") {
            EXPECT_FALSE(last.bComplete);
            // The reader reports a line gone once; nothing else is shown.
            const std::size_t nBoxes = strKind == "hangup" ? 1 : 0;
            test::WaitFor([&] { return rig.Boxes().Boxes().size() >= nBoxes; }, 3000);
            EXPECT_EQ(rig.Boxes().Boxes().size(), nBoxes);
            continue;
        }
        for (const auto& [strSent, h] : heard) EXPECT_TRUE(h.bComplete && IsAnswerComplete(h.strAnswer)) << strSent;
        std::u16string strOut;
        if (strKind == "identify") {
            EXPECT_EQ(last.nId, std::stoi(strValue));
        } else if (strKind == "fails") {
            EXPECT_FALSE(sent.back() == "AT@K20" ? ParseCsId(last.strAnswer, strOut)
                                                 : ParseSimpleCoordinates(last.strAnswer, strOut));
        } else if (strKind == "csid") {
            EXPECT_EQ(heard["AT@K20"].nId, wsim::kK20);
            EXPECT_TRUE(ParseCsId(heard["AT@K20"].strAnswer, strOut));
            EXPECT_EQ(strOut, Widen(strValue));
        } else if (strKind == "position") {
            EXPECT_EQ(heard["AT@LBC?"].nId, wsim::kLbcQuery);
            EXPECT_TRUE(ParseSimpleCoordinates(heard["AT@LBC?"].strAnswer, strOut));
            EXPECT_EQ(strOut, Widen(strValue));
        } else {
            ADD_FAILURE() << "unknown outcome " << t.strExpect;
        }
    }
}

}  // namespace
}  // namespace vantrel
