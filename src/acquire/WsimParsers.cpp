#include "acquire/WsimParsers.h"

#include <vector>

#include "acquire/WsimLog.h"
#include "settings/Format.h"

namespace vantrel {

namespace {

constexpr std::u16string_view kFinal = u"OK\r\n";
constexpr std::u16string_view kLineEnd = u"\r\n";

struct Echo {
    std::u16string_view strText;
    int nId;
};
// Order matters: "AT@K20" must be tried before its prefix "AT@K".
constexpr Echo kEchoes[] = {
    {u"AT@K20", wsim::kK20}, {u"AT@K", wsim::kK}, {u"AT@LBC1", wsim::kLbc1},
    {u"AT@LBC?", wsim::kLbcQuery}, {u"AT@LBC2", wsim::kLbc2},
};

// Splits the answer into the echo line and the data lines that follow it, up to a line "OK". A
// last fragment without "\r\n" is not a line. False when there is no "\r\n" at all or the echo is
// not the command (an echo with one extra character, the module's extra "\r", is accepted).
bool SplitAnswer(std::u16string_view strResponse, std::u16string_view strCommand, std::vector<std::u16string_view>& lines) {
    std::size_t nEnd = strResponse.find(kLineEnd);
    if (nEnd == std::u16string_view::npos) return false;
    const std::u16string_view strEcho = strResponse.substr(0, nEnd);
    const bool bEchoOk = strEcho == strCommand ||
                         (!strEcho.empty() && strEcho.substr(0, strEcho.size() - 1) == strCommand);
    if (!bEchoOk) return false;
    std::size_t nStart = nEnd + kLineEnd.size();
    while ((nEnd = strResponse.find(kLineEnd, nStart)) != std::u16string_view::npos) {
        const std::u16string_view strLine = strResponse.substr(nStart, nEnd - nStart);
        if (strLine == u"OK") break;
        lines.push_back(strLine);
        nStart = nEnd + kLineEnd.size();
    }
    return true;
}

// The module writes degrees, minutes and seconds separated by ":"; the position text wants "."
// and thousandths of a second.
std::u16string CoordinateText(std::u16string_view strLine) {
    std::u16string strText(strLine);
    for (char16_t& c : strText)
        if (c == u':') c = u'.';
    return strText + u".000";
}

}  // namespace

bool IsAnswerComplete(std::u16string_view strBuffer) {
    return strBuffer.size() >= kFinal.size() && strBuffer.substr(strBuffer.size() - kFinal.size()) == kFinal;
}

int IdentifyAnswer(std::u16string_view strAnswer) {
    for (const Echo& echo : kEchoes)
        if (strAnswer.substr(0, echo.strText.size()) == echo.strText) return echo.nId;
    return wsim::kUnknown;
}

bool ParseCsId(const std::u16string& strResponse, std::u16string& strCsId) {
    std::vector<std::u16string_view> lines;
    if (!SplitAnswer(strResponse, u"AT@K20", lines)) return false;
    strCsId.clear();
    for (std::u16string_view strLine : lines) {
        if (strLine.empty()) continue;
        if (!strCsId.empty()) strCsId += u',';
        for (char16_t c : strLine) strCsId += c == u',' ? u'/' : c;
    }
    return true;
}

bool ParseSimpleCoordinates(const std::u16string& strResponse, std::u16string& strText, WsimLog* pLog) {
    if (pLog) pLog->Info(FormatText(u"取得データ:%s", strResponse));
    std::vector<std::u16string_view> lines;
    if (!SplitAnswer(strResponse, u"AT@LBC?", lines)) return false;
    std::u16string strNorth, strEast, strInfo;
    bool bNorth = false, bEast = false;
    for (std::u16string_view strLine : lines) {
        if (strLine.empty() || strLine.front() == u'-') continue;
        if (strLine.front() == u'N') {
            strNorth = CoordinateText(strLine);
            bNorth = true;
        } else if (strLine.front() == u'E') {
            strEast = CoordinateText(strLine);
            bEast = true;
        } else {
            strInfo = strLine;
        }
    }
    if (!bNorth || !bEast) return false;
    strText = strNorth + strEast + u"/" + strInfo;
    return true;
}

}  // namespace vantrel
