#pragma once
#include <string>
#include <string_view>

namespace vantrel {

class WsimLog;

// Identifiers of the module's answers, by the command whose echo starts the answer.
namespace wsim {
constexpr int kUnknown = 0;
constexpr int kK20 = 1;
constexpr int kK = 2;  // an "AT@K" echo that is not "AT@K20"; never sent by this program
constexpr int kLbc1 = 3;
constexpr int kLbcQuery = 4;
constexpr int kLbc2 = 5;
}  // namespace wsim

// An answer is complete once it ends in the module's final result "OK\r\n"; an error reply never
// completes it.
bool IsAnswerComplete(std::u16string_view strBuffer);

// The identifier of the command the answer echoes, tried in table order ("AT@K20" before "AT@K").
int IdentifyAnswer(std::u16string_view strAnswer);

// The answer to "AT@K20": every non-empty line after the echo, with "," turned into "/", joined by
// ",". Fails only when the echo is missing or wrong.
bool ParseCsId(const std::u16string& strResponse, std::u16string& strCsId);

// The answer to "AT@LBC?": "N..." + "E..." + "/" + information line. Fails without both a latitude
// and a longitude line. Logs the raw answer first when a log is given.
bool ParseSimpleCoordinates(const std::u16string& strResponse, std::u16string& strText, WsimLog* pLog = nullptr);

}  // namespace vantrel
