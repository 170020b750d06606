// The mail channel of a send: the settings it needs, POP before SMTP, and its attempts.
#include <gtest/gtest.h>

#include "FormRig.h"
#include "support/ScriptedMailPeer.h"

namespace vantrel {
namespace {

using test::FormRig;
using test::ScriptedMailPeer;
using Lines = std::vector<std::string>;

std::u16string Host(std::uint16_t nPort) { return u"127.0.0.1:" + Utf8ToUtf16(std::to_string(nPort)); }

// A form holding a position, sending by mail only, with every mail setting filled in.
void Prepare(FormRig& rig, const std::function<void(Settings&)>& edit) {
    ASSERT_TRUE(rig.Create([&](Settings& settings) {
        settings.SetBool(BoolKey::MailSend, true);
        settings.SetText(TextKey::HostSmtp, Host(test::UnusedLoopbackPort()));
        settings.SetText(TextKey::FromSmtp, u"me@example.jp");
        settings.SetText(TextKey::ToSmtp, u"you@example.jp");
        settings.SetText(TextKey::HostPop, Host(test::UnusedLoopbackPort()));
        settings.SetBool(BoolKey::Pbs, false);
        edit(settings);
    }));
    ASSERT_TRUE(rig.Form().GetLocation().SetFromText(u"N35.39.29.000E139.44.51.000/1"));
}

// Legend: the setting emptied (and PBS) -> the warning; nothing is connected or sent.
TEST(MailChannel, MissingSettingsAreWarnedInOrder) {
    const struct {
        std::vector<TextKey> emptied;
        bool bPbs;
        const char16_t* pszWarning;
    } cases[] = {
        {{TextKey::HostSmtp, TextKey::FromSmtp}, false, u"送信サーバーのホスト名が設定されていません。"},
        {{TextKey::FromSmtp, TextKey::ToSmtp}, false, u"送信者のメールアドレスが設定されていません。"},
        {{TextKey::ToSmtp, TextKey::HostPop}, true, u"送信先が設定されていません。"},
        {{TextKey::HostPop}, true, u"受信サーバーのホスト名が設定されていません。"},
    };
    for (const auto& c : cases) {
        FormRig rig;
        Prepare(rig, [&](Settings& settings) {
            for (TextKey key : c.emptied) settings.SetText(key, u"");
            settings.SetBool(BoolKey::Pbs, c.bPbs);
            settings.SetBool(BoolKey::AutoConnect, true);
        });
        rig.Command(IDC_SEND);
        ASSERT_EQ(rig.m_boxes.Boxes().size(), 1u) << Utf16ToUtf8(c.pszWarning);
        EXPECT_EQ(rig.m_boxes.Boxes()[0].strText, c.pszWarning);
        EXPECT_EQ(rig.m_boxes.Boxes()[0].strCaption, u"警告");
        EXPECT_EQ(rig.m_boxes.Boxes()[0].nFlags, mb::kIconExclamation);
        EXPECT_EQ(rig.m_libraries.m_conn.Count("Connect"), 0);
        EXPECT_EQ(rig.LogCount("<確認>:メール送信を開始します。"), 0);
        EXPECT_EQ(rig.Form().SendFailures(), 1);
    }
}

std::vector<ScriptedMailPeer::Step> Pop(const char* pszPassReply) {
    return {ScriptedMailPeer::Reply("+OK\r\n"), ScriptedMailPeer::Reply(pszPassReply), ScriptedMailPeer::Reply("+OK bye\r\n")};
}

// The mail lines of the message log, errors named by what failed.
Lines MailLines(FormRig& rig) {
    Lines lines = rig.LogLinesStartingWith({"<確認>:メール", "<確認>:POP", "<エラー>:"});
    for (std::string& strLine : lines) {
        if (strLine.rfind("<エラー>:", 0) != 0) continue;
        strLine = strLine.find("[+ERR]") != std::string::npos ? "error: POP refused"
                  : strLine.find("(111)") != std::string::npos ? "error: no server"
                                                               : strLine;
    }
    return lines;
}

const std::string kStart = "<確認>:メール送信を開始します。";
const std::string kPop = "<確認>:POP before SMTPを開始します。";
const std::string kPopDone = "<確認>:POP before SMTPに成功しました。";
const std::string kSent = "<確認>:メール送信に成功しました。";
const std::string kFailed = "<確認>:メール送信に失敗しました。";

// Legend: PBS with a POP server that accepts the log-in (or refuses it), an SMTP server that takes
// the mail (or none), RETRYSENDMAIL, RETRYSENDMAILMAX, NOMSG -> the mail lines of the log.
TEST(MailChannel, PopBeforeSmtpAndAttempts) {
    const struct {
        const char* pszLegend;
        const char* pszPop;  // the reply to PASS; null: no POP before SMTP
        bool bSmtp;
        bool bRetry;
        std::int32_t nMax;
        bool bNoMsg;
        Lines lines;
    } cases[] = {
        {"POP, then SMTP; success ends the attempts", "+OK\r\n", true, true, 2, true,
         {kStart + "(1/2回目)", kPop, kPopDone, kSent}},
        {"a refused log-in skips that attempt's SMTP", "-ERR denied\r\n", true, false, 3, true,
         {kStart, kPop, "error: POP refused", kFailed}},
        {"silent: every attempt counted and reported", nullptr, false, true, 3, true,
         {kStart + "(1/3回目)", "error: no server", kFailed, kStart + "(2/3回目)", "error: no server", kFailed,
          kStart + "(3/3回目)", "error: no server", kFailed}},
        {"retries happen only in silence", nullptr, false, true, 3, false, {kStart, "error: no server", kFailed}},
    };
    for (const auto& c : cases) {
        std::unique_ptr<ScriptedMailPeer> pPop, pSmtp;
        if (c.pszPop) pPop = std::make_unique<ScriptedMailPeer>(std::vector<std::string>{"+OK ready\r\n"}, Pop(c.pszPop));
        if (c.bSmtp) pSmtp = std::make_unique<ScriptedMailPeer>(std::vector<std::string>{"220 ready\r\n"}, test::GoodSmtpSteps());
        FormRig rig;
        Prepare(rig, [&](Settings& settings) {
            settings.SetBool(BoolKey::Pbs, pPop != nullptr);
            if (pPop) settings.SetText(TextKey::HostPop, Host(pPop->Port()));
            if (pSmtp) settings.SetText(TextKey::HostSmtp, Host(pSmtp->Port()));
            settings.SetText(TextKey::AccountPop, u"taro");
            settings.SetBool(BoolKey::RetrySendMail, c.bRetry);
            settings.SetNumber(NumberKey::RetrySendMailMax, c.nMax);
            settings.SetBool(BoolKey::RetryNoMsg, true);
            settings.SetBool(BoolKey::NoMsg, c.bNoMsg);
        });
        rig.Command(IDC_SEND);
        EXPECT_EQ(MailLines(rig), c.lines) << c.pszLegend;
        if (pPop) EXPECT_EQ(pPop->Transcript().rfind("USER taro\r\n", 0), 0u) << c.pszLegend;
        const bool bSent = c.lines.back() == kSent;
        if (bSent) EXPECT_NE(pSmtp->Transcript().find("RCPT TO:you@example.jp\r\n"), std::string::npos) << c.pszLegend;
        EXPECT_EQ(rig.Form().SendFailures(), bSent ? 0 : 1) << c.pszLegend;
    }
}

}  // namespace
}  // namespace vantrel
