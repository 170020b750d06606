#include <gtest/gtest.h>

#include <memory>

#include "port/Factories.h"
#include "port/FileSystem.h"
#include "settings/Settings.h"
#include "settings/SettingsProfile.h"
#include "settings/TextUtil.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

using test::ReadFileBytes;
using test::WriteFileBytes;

std::string Utf16File(std::u16string_view strText) { return std::string(kUtf16LeMark, 2) + ToUtf16LeBytes(strText); }

// The whole file a record with the Windows defaults is saved as.
constexpr char16_t kWindowsDefaultFile[] =
    u"[vantrel]\r\n"
    u"URLINDEX=0\r\n"
    u"URL0=地図ページ (山田さん);http://map.example.com/glocal.html;pos=N$nlE$el\r\n"
    u"URL1=現在地 (佐藤さん);http://loc.example.net/loc;el=$el&nl=$nl\r\n"
    u"URL2=地図検索 (鈴木さん);http://www.example.org/etc/airedge/google.php;pos=N$nlE$el\r\n"
    u"BROWSERINDEX=0\r\n"
    u"BROWSER0=InternetExplorer;\\Windows\\iexplore.exe\r\n"
    u"BROWSER1=Opera(003SH [zero3]);\\Program Files\\Opera\\opera.exe\r\n"
    u"BROWSER2=Opera(007SH [es]));\\Windows\\opera.exe\r\n"
    u"BROWSER3=Opera(011SH [ades]);\\Program Files\\Opera\\OperaLaunch.exe\r\n"
    u"BROWSER4=Opera(020SH [03]);\\Windows\\OperaL.exe\r\n"
    u"LOCATEEASY=TRUE\r\n"
    u"AUTOCONNECT=TRUE\r\n"
    u"BROWSERSEND=TRUE\r\n"
    u"MAILSEND=FALSE\r\n"
    u"HTTPSEND=FALSE\r\n"
    u"GMMSEND=FALSE\r\n"
    u"STARTUPALL=FALSE\r\n"
    u"SUPEXIT=FALSE\r\n"
    u"EXITDISCONNECT=FALSE\r\n"
    u"CONNECTWAIT=4000\r\n"
    u"CSIDCACHE=FALSE\r\n"
    u"CREATECOOKIE=FALSE\r\n"
    u"EPGETCNT=1\r\n"
    u"CLIPBOARDFORMAT=$nl,$el\r\n"
    u"HOSTSMTP=smtp.example.com\r\n"
    u"FROMSMTP=.example.com\r\n"
    u"TOSMTP=\r\n"
    u"CCSMTP=\r\n"
    u"BCCSMTP=\r\n"
    u"SUBJECTSMTP=vantrel mail\r\n"
    u"PBS=TRUE\r\n"
    u"HOSTPOP=pop.example.com\r\n"
    u"ACCOUNTPOP=\r\n"
    u"PASSWORDPOP=\r\n"
    u"BODYSMTP=iNyTeDokbmwNCoxvk3g6JGVsDQoNCllhaG9vISBNYXAgaHR0cDovL21hcC5leGFtcGxlLmNvbS9wbD9lbD0kZWwmbmw9JG5sDQogTWFwaW9u"
    u"IGh0dHA6Ly93d3cuZXhhbXBsZS5uZXQvYy9mP3NpemU9NDUwLDQwMCZzY2w9MTAwMDAmZ3JwPWFsbCZ1Yz0xJmVsPSRlbWwmbmw9JG5tbA==\r\n"
    u"AUTOSEND=FALSE\r\n"
    u"AUTOSENDINTERVAL=21600000\r\n"
    u"AUTOSENDISCONNECT=FALSE\r\n"
    u"MONCHKSEND=FALSE\r\n"
    u"NOMSG=FALSE\r\n"
    u"OUTPUTMSGFILE=FALSE\r\n"
    u"LOGFILEDIR=\\Program Files\\vantrel\\\r\n"
    u"RETRYCONNECT=FALSE\r\n"
    u"RETRYCONNECTMAX=3\r\n"
    u"RETRYSENDMAIL=FALSE\r\n"
    u"RETRYSENDMAILMAX=3\r\n"
    u"RETRYHTTPSEND=FALSE\r\n"
    u"RETRYHTTPSENDMAX=3\r\n"
    u"RETRYNOMSG=FALSE\r\n"
    u"OUTPUTPOSLOGFILE=FALSE\r\n"
    u"POSLOGDIR=\\Program Files\\vantrel\\\r\n"
    u"POSLOGMAXSIZE=262144\r\n"
    u"POSLOGFORMAT=$YY年$MM月$DD日 $hh時$mm分$ss秒 $nl/$el\r\n";

class SettingsFile : public testing::Test {
protected:
    Settings Defaults() const { return Settings(m_windows, *m_pFileSystem); }
    std::u16string Path(const char* pszName) const { return m_dir.WideFile(pszName); }
    std::string Bytes(const char* pszName) const { return ReadFileBytes(m_dir.File(pszName)); }
    std::string FileText(const char* pszName) const { return test::ReadUtf16File(m_dir.File(pszName)); }
    // A record with the defaults, loaded from a file holding the header and the given lines.
    Settings LoadedFrom(std::u16string_view strLines) {
        WriteFileBytes(m_dir.File("in.ini"), Utf16File(u"[vantrel]\r\n" + std::u16string(strLines)));
        Settings settings = Defaults();
        EXPECT_TRUE(settings.Load(Path("in.ini")));
        return settings;
    }

    std::unique_ptr<FileSystem> m_pFileSystem = CreateFileSystem();
    SettingsProfile m_windows = WindowsSettingsProfile();
    test::TempDir m_dir;
};

TEST_F(SettingsFile, DefaultRecordIsSavedByteForByte) {
    Settings settings = Defaults();
    ASSERT_TRUE(settings.Save(Path("default.ini")));
    EXPECT_EQ(FileText("default.ini"), Utf16ToUtf8(kWindowsDefaultFile));
    EXPECT_EQ(settings.Path(), Path("default.ini"));
}

// Each kind of key finds its own name; the default file sits in the folder given, with or without
// its separator.
TEST_F(SettingsFile, KeyNamesAndTheDefaultFile) {
    const Settings settings = Defaults();
    EXPECT_EQ(settings.KeyName(BoolKey::MailSend), u"MAILSEND");
    EXPECT_EQ(settings.KeyName(NumberKey::ConnectWait), u"CONNECTWAIT");
    EXPECT_EQ(settings.KeyName(TextKey::ToSmtp), u"TOSMTP");
    for (const char16_t* pszFolder : {u"/opt/v", u"/opt/v/"}) EXPECT_EQ(settings.DefaultFilePath(pszFolder), u"/opt/v/default.ini");
    EXPECT_EQ(settings.DefaultFilePath(u""), u"/default.ini");
}

TEST_F(SettingsFile, LoadThenSaveGivesTheSameBytes) {
    Settings changed = Defaults();
    changed.SetBool(BoolKey::MailSend, true);
    changed.SetBool(BoolKey::LocateEasy, false);
    changed.SetNumber(NumberKey::RetryConnectMax, -7);
    changed.SetNumber(NumberKey::AutoSendInterval, 2147483647);
    changed.SetText(TextKey::ToSmtp, u"山田 <taro@example.com>");
    changed.SetText(TextKey::BodySmtp, u"緯度=$nl\r\n経度=$el");
    changed.UrlList().AddRow({u"x", u"", u"t"});
    changed.UrlList().SetSelectedIndex(3);
    changed.BrowserList().Clear();
    ASSERT_TRUE(changed.Save(Path("a.ini")));

    Settings loaded = Defaults();
    ASSERT_TRUE(loaded.Load(Path("a.ini")));
    EXPECT_TRUE(loaded.Bool(BoolKey::MailSend));
    EXPECT_FALSE(loaded.Bool(BoolKey::LocateEasy));
    EXPECT_EQ(loaded.Number(NumberKey::RetryConnectMax), -7);
    EXPECT_EQ(loaded.Number(NumberKey::AutoSendInterval), 2147483647);
    EXPECT_EQ(loaded.Text(TextKey::ToSmtp).Wide(), u"山田 <taro@example.com>");
    EXPECT_EQ(loaded.Text(TextKey::BodySmtp).Wide(), u"緯度=$nl\r\n経度=$el");
    EXPECT_EQ(loaded.UrlList().Rows().back(), (SettingsList::Row{u"x", u"", u"t"}));
    EXPECT_EQ(loaded.UrlList().SelectedIndex(), 3);
    EXPECT_EQ(loaded.BrowserList().RowCount(), 0u);
    EXPECT_EQ(loaded.BrowserList().SelectedIndex(), 0);  // the index was written; no rows keep it as read
    ASSERT_TRUE(loaded.Save(Path("b.ini")));
    EXPECT_EQ(FileText("b.ini"), FileText("a.ini"));

    Settings defaults = Defaults();
    ASSERT_TRUE(defaults.Save(Path("c.ini")));
    ASSERT_TRUE(defaults.Load(Path("c.ini")));
    ASSERT_TRUE(defaults.Save(Path("d.ini")));
    EXPECT_EQ(FileText("d.ini"), FileText("c.ini"));
}

TEST_F(SettingsFile, UnreadableFileLeavesTheRecordUntouched) {
    WriteFileBytes(m_dir.File("empty.ini"), "");
    Settings settings = Defaults();
    ASSERT_TRUE(settings.Save(Path("first.ini")));
    // Legend: a missing file, an empty one, a folder.
    for (const char* pszName : {"missing.ini", "empty.ini", ""}) {
        EXPECT_FALSE(settings.Load(Path(pszName))) << pszName;
        EXPECT_EQ(settings.Path(), Path("first.ini"));
    }
    ASSERT_TRUE(settings.Save(Path("again.ini")));
    EXPECT_EQ(FileText("again.ini"), Utf16ToUtf8(kWindowsDefaultFile));
    EXPECT_FALSE(settings.Save(Path("no/such/dir.ini")));
    EXPECT_EQ(settings.Path(), Path("again.ini"));
}

TEST_F(SettingsFile, ForeignHeaderKeepsScalarsButEmptiesTheLists) {
    WriteFileBytes(m_dir.File("other.ini"), Utf16File(u"[other]\r\nMAILSEND=TRUE\r\nURL0=a;b;c\r\n"));
    Settings settings = Defaults();
    ASSERT_TRUE(settings.Load(Path("other.ini")));
    EXPECT_FALSE(settings.Bool(BoolKey::MailSend));
    EXPECT_TRUE(settings.Bool(BoolKey::BrowserSend));
    EXPECT_EQ(settings.UrlList().RowCount(), 0u);
    EXPECT_EQ(settings.UrlList().SelectedIndex(), -1);
    EXPECT_EQ(settings.BrowserList().RowCount(), 0u);
    EXPECT_EQ(settings.Path(), Path("other.ini"));
}

TEST_F(SettingsFile, ListLoadRules) {
    // Legend: lines after the header, URL rows loaded, selected index.
    const struct {
        const char16_t* pszLines;
        std::vector<SettingsList::Row> rows;
        std::int32_t nIndex;
    } cases[] = {
        {u"URL0=a;b;c\r\nURL2=x;y;z\r\n", {{u"a", u"b", u"c"}}, 0},            // a gap ends the list
        {u"URLINDEX=7\r\nURL0=a\r\nURL1=b\r\nURL2=c\r\n", {{u"a", u"", u""}, {u"b", u"", u""}, {u"c", u"", u""}}, 7},
        {u"URLINDEX=-3\r\nURL0=a;;c;d\r\n", {{u"a", u"", u"c"}}, 0},            // extra fields dropped
        {u"URLINDEX=-3\r\n", {}, -3},                                            // no rows: kept as read
        {u"URLINDEX=2x\r\nURL0=;b\r\n", {{u"", u"b", u""}}, 2},
        {u"URLINDEX=abc\r\nURL0=a\r\n", {{u"a", u"", u""}}, 0},
        {u"URL1=a\r\n", {}, -1},                                                 // no row 0, no list
        {u"url0=a\r\n", {}, -1},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const Settings settings = LoadedFrom(cases[i].pszLines);
        EXPECT_EQ(settings.UrlList().Rows(), cases[i].rows) << "case " << i;
        EXPECT_EQ(settings.UrlList().SelectedIndex(), cases[i].nIndex) << "case " << i;
        EXPECT_EQ(settings.BrowserList().RowCount(), 0u) << "case " << i;
    }
}

TEST_F(SettingsFile, ScalarLoadRules) {
    // Legend: a line, and what the record holds afterwards (every other key keeps its default).
    EXPECT_FALSE(LoadedFrom(u"MAILSEND=true\r\n").Bool(BoolKey::MailSend));
    EXPECT_TRUE(LoadedFrom(u"MAILSEND=TRUE\r\n").Bool(BoolKey::MailSend));
    EXPECT_FALSE(LoadedFrom(u"LOCATEEASY=yes\r\n").Bool(BoolKey::LocateEasy));
    EXPECT_FALSE(LoadedFrom(u"LOCATEEASY=TRUE \r\n").Bool(BoolKey::LocateEasy));
    EXPECT_TRUE(LoadedFrom(u"MAILSEND=FALSE\r\n").Bool(BoolKey::LocateEasy));
    EXPECT_EQ(LoadedFrom(u"CONNECTWAIT=12abc\r\n").Number(NumberKey::ConnectWait), 12);
    EXPECT_EQ(LoadedFrom(u"CONNECTWAIT=\r\n").Number(NumberKey::ConnectWait), 0);
    EXPECT_EQ(LoadedFrom(u"MAILSEND=TRUE\r\n").Number(NumberKey::ConnectWait), 4000);
    EXPECT_EQ(LoadedFrom(u"TOSMTP=a=b;c\r\n").Text(TextKey::ToSmtp).Wide(), u"a=b;c");
    EXPECT_EQ(LoadedFrom(u"HOSTSMTP=\r\n").Text(TextKey::HostSmtp).Wide(), u"");
    // Reserved names are never read nor written.
    WriteFileBytes(m_dir.File("in.ini"), Utf16File(kWindowsDefaultFile + std::u16string(u"FORMAT=x\r\nFORMATINDEX=1\r\n")));
    Settings settings = Defaults();
    ASSERT_TRUE(settings.Load(Path("in.ini")));
    ASSERT_TRUE(settings.Save(Path("out.ini")));
    EXPECT_EQ(FileText("out.ini"), Utf16ToUtf8(kWindowsDefaultFile));
}

TEST_F(SettingsFile, MailBodyIsBase64OfItsCodePageBytes) {
    // Legend: stored value, body after loading.
    const struct {
        const char16_t* pszValue;
        const char16_t* pszBody;
        const char* pszNarrow;
    } cases[] = {
        {u"iNyTeA==", u"緯度", "\x88\xDC\x93\x78"},
        {u"iNyTeA=garbage", u"緯度", "\x88\xDC\x93\x78"},  // decoding stops at the first "="
        {u"!!!", u"!!!", "!!!"},                           // yields no byte: the value stays as it stands
        {u"=", u"=", "="},
        {u"", u"", ""},
    };
    for (const auto& c : cases) {
        const Settings settings = LoadedFrom(u"BODYSMTP=" + std::u16string(c.pszValue) + u"\r\n");
        EXPECT_EQ(settings.Text(TextKey::BodySmtp).Wide(), c.pszBody) << Utf16ToUtf8(c.pszValue);
        if (*c.pszBody) {
            EXPECT_EQ(settings.Text(TextKey::BodySmtp).Narrow(), c.pszNarrow) << Utf16ToUtf8(c.pszValue);
        }
    }

    // An emptied body's narrow form is stale; the file must still say empty.
    Settings settings = Defaults();
    settings.SetText(TextKey::BodySmtp, u"");
    ASSERT_TRUE(settings.Save(Path("out.ini")));
    const std::string strBytes = Bytes("out.ini");
    EXPECT_NE(strBytes.find(ToUtf16LeBytes(u"\r\nBODYSMTP=\r\nAUTOSEND=")), std::string::npos);
}

TEST_F(SettingsFile, EmptyTitleRowComesBackShifted) {
    Settings settings = Defaults();
    settings.UrlList().Clear();
    settings.UrlList().AddRow({u"", u"u", u"t"});
    ASSERT_TRUE(settings.Save(Path("s.ini")));
    EXPECT_NE(Bytes("s.ini").find(ToUtf16LeBytes(u"\r\nURL0=u;t\r\nBROWSERINDEX=")), std::string::npos);
    ASSERT_TRUE(settings.Load(Path("s.ini")));
    EXPECT_EQ(settings.UrlList().Rows(), (std::vector<SettingsList::Row>{{u"u", u"t", u""}}));
}

}  // namespace
}  // namespace vantrel
