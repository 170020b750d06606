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

// The whole file a record with the Windows defaults is saved as, in UTF-8.
std::string WindowsDefaultFile() { return ReadFileBytes(VANTREL_SETTINGS_GOLDEN); }

class SettingsFile : public testing::Test {
protected:
    Settings Defaults() const { return Settings(m_windows, *m_pFileSystem); }
    std::u16string Path(const char* pszName) const { return m_dir.WideFile(pszName); }
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
    EXPECT_EQ(FileText("default.ini"), WindowsDefaultFile());
    EXPECT_EQ(settings.Path(), Path("default.ini"));
    // The default file sits in the folder given, with or without its separator.
    for (const char16_t* pszFolder : {u"/opt/v", u"/opt/v/"}) EXPECT_EQ(settings.DefaultFilePath(pszFolder), u"/opt/v/default.ini");
}

// Saved, loaded and saved again, a record with a value of every kind gives the same bytes; a key
// that Load skipped would come back as its default.
TEST_F(SettingsFile, LoadThenSaveGivesTheSameBytes) {
    Settings changed = Defaults();
    changed.SetBool(BoolKey::MailSend, true);
    changed.SetBool(BoolKey::LocateEasy, false);
    changed.SetNumber(NumberKey::RetryConnectMax, -7);
    changed.SetText(TextKey::ToSmtp, u"山田 <taro@example.com>");
    changed.SetText(TextKey::BodySmtp, u"緯度=$nl\r\n経度=$el");
    changed.UrlList().AddRow({u"x", u"", u"t"});
    changed.UrlList().SetSelectedIndex(3);
    changed.BrowserList().Clear();
    ASSERT_TRUE(changed.Save(Path("a.ini")));

    Settings loaded = Defaults();
    ASSERT_TRUE(loaded.Load(Path("a.ini")));
    EXPECT_EQ(loaded.Number(NumberKey::RetryConnectMax), -7);
    EXPECT_EQ(loaded.Text(TextKey::BodySmtp).Wide(), u"緯度=$nl\r\n経度=$el");
    EXPECT_EQ(loaded.UrlList().SelectedIndex(), 3);
    EXPECT_EQ(loaded.BrowserList().SelectedIndex(), 0);  // the index was written; no rows keep it as read
    ASSERT_TRUE(loaded.Save(Path("b.ini")));
    EXPECT_EQ(FileText("b.ini"), FileText("a.ini"));
}

// Which files the store refuses is its own test; here one of them.
TEST_F(SettingsFile, UnreadableFileLeavesTheRecordUntouched) {
    Settings settings = Defaults();
    ASSERT_TRUE(settings.Save(Path("first.ini")));
    EXPECT_FALSE(settings.Load(Path("missing.ini")));
    EXPECT_EQ(settings.Path(), Path("first.ini"));
    ASSERT_TRUE(settings.Save(Path("again.ini")));
    EXPECT_EQ(FileText("again.ini"), WindowsDefaultFile());
    EXPECT_FALSE(settings.Save(Path("no/such/dir.ini")));
    EXPECT_EQ(settings.Path(), Path("again.ini"));
}

TEST_F(SettingsFile, ListLoadRules) {
    // Legend: lines after the header, URL rows loaded, selected index.
    const struct {
        const char16_t* pszLines;
        std::vector<SettingsList::Row> rows;
        std::int32_t nIndex;
    } cases[] = {
        {u"URL0=a;b;c\r\nURL2=x;y;z\r\n", {{u"a", u"b", u"c"}}, 0},            // a gap ends the list; no index
        {u"URLINDEX=7\r\nURL0=a\r\nURL1=b\r\nURL2=c\r\n", {{u"a", u"", u""}, {u"b", u"", u""}, {u"c", u"", u""}}, 7},
        {u"URLINDEX=-3\r\n", {}, -3},                                            // no rows: kept as read
        {u"URL1=a\r\n", {}, -1},                                                 // no row 0, no list
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const Settings settings = LoadedFrom(cases[i].pszLines);
        EXPECT_EQ(settings.UrlList().Rows(), cases[i].rows) << "case " << i;
        EXPECT_EQ(settings.UrlList().SelectedIndex(), cases[i].nIndex) << "case " << i;
        EXPECT_EQ(settings.BrowserList().RowCount(), 0u) << "case " << i;
    }
}

TEST_F(SettingsFile, ScalarLoadRules) {
    // A line, and what the record holds afterwards (every other key keeps its default).
    EXPECT_TRUE(LoadedFrom(u"MAILSEND=TRUE\r\n").Bool(BoolKey::MailSend));
    EXPECT_FALSE(LoadedFrom(u"LOCATEEASY=TRUE \r\n").Bool(BoolKey::LocateEasy));
    EXPECT_TRUE(LoadedFrom(u"MAILSEND=FALSE\r\n").Bool(BoolKey::LocateEasy));
    EXPECT_EQ(LoadedFrom(u"CONNECTWAIT=12abc\r\n").Number(NumberKey::ConnectWait), 12);
    EXPECT_EQ(LoadedFrom(u"TOSMTP=a=b;c\r\n").Text(TextKey::ToSmtp).Wide(), u"a=b;c");
    // Reserved names are never read nor written.
    WriteFileBytes(m_dir.File("in.ini"), Utf16File(Utf8ToUtf16(WindowsDefaultFile()) + u"FORMAT=x\r\nFORMATINDEX=1\r\n"));
    Settings settings = Defaults();
    ASSERT_TRUE(settings.Load(Path("in.ini")));
    ASSERT_TRUE(settings.Save(Path("out.ini")));
    EXPECT_EQ(FileText("out.ini"), WindowsDefaultFile());
}

// The body is stored as base64 of its code page bytes.
TEST_F(SettingsFile, MailBodyIsBase64OfItsCodePageBytes) {
    // Decoding stops at the first "="; a value that yields no byte stays as it stands.
    EXPECT_EQ(LoadedFrom(u"BODYSMTP=iNyTeA=garbage\r\n").Text(TextKey::BodySmtp).Wide(), u"緯度");
    EXPECT_EQ(LoadedFrom(u"BODYSMTP=!!!\r\n").Text(TextKey::BodySmtp).Wide(), u"!!!");

    // An emptied body's narrow form is stale; the file must still say empty.
    Settings settings = Defaults();
    settings.SetText(TextKey::BodySmtp, u"");
    ASSERT_TRUE(settings.Save(Path("out.ini")));
    EXPECT_NE(FileText("out.ini").find("\r\nBODYSMTP=\r\nAUTOSEND="), std::string::npos);
}

}  // namespace
}  // namespace vantrel
