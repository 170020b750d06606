#include <gtest/gtest.h>

#include "deliver/MailErrorText.h"
#include "deliver/MailResult.h"
#include "settings/ResourceModule.h"

namespace vantrel {
namespace {

MailResult Make(int nError, std::int32_t nLastError, std::int32_t nStatus = 0) {
    MailResult r;
    r.m_nError = nError;
    r.m_nLastError = nLastError;
    r.m_nStatus = nStatus;
    r.m_strLastStep = u"send RCPT TO: LINE=42";
    r.m_strReply = "550 5.1.1 \x88\xca\x92\x75\r\n";  // "位置" in Shift-JIS
    return r;
}

// Legend: error code, last error, status -> the whole message the user sees.
TEST(MailErrorText, BaseMessageAndDetailForEveryCode) {
    const struct {
        MailResult result;
        const char16_t* pszText;
    } cases[] = {
        {Make(0, 5), u""},
        {Make(1, 10091), u"WinSockの初期化に失敗しました。(10091)"},
        {Make(2, 7), u"WinSockのバージョンが一致しません。"},
        {Make(3, 7), u"ホスト名が空です。"},
        {Make(5, -2), u"ホスト名の解決に失敗しました。(-2)"},
        {Make(6, 32), u"送信エラーが発生しました。(32)\nsend RCPT TO: LINE=42"},
        {Make(7, 104), u"受信エラーが発生しました。(104)\nsend RCPT TO: LINE=42\n550 5.1.1 位置\r\n"},
        {Make(8, 0, 550), u"サーバーがエラーコードを返しました。(0)[550]\nsend RCPT TO: LINE=42\n550 5.1.1 位置\r\n"},
        {Make(8, 0, -1), u"サーバーがエラーコードを返しました。(0)[+ERR]\nsend RCPT TO: LINE=42\n550 5.1.1 位置\r\n"},
        {Make(8, 0, 1), u"サーバーがエラーコードを返しました。(0)[+OK]\nsend RCPT TO: LINE=42\n550 5.1.1 位置\r\n"},
        {Make(9, 3), u"システムエラーが発生しました。(3)"},
        {Make(10, 111), u"接続に失敗しました。(111)"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ComposeMailErrorText(c.result, ResourceModule::Program()), c.pszText) << c.result.m_nError;
    }
}

}  // namespace
}  // namespace vantrel
