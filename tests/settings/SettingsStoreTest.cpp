#include <gtest/gtest.h>
#include <sys/resource.h>

#include <memory>
#include <vector>

#include "port/Factories.h"
#include "port/FileSystem.h"
#include "settings/SettingsStore.h"
#include "settings/TextUtil.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

using namespace std::literals;

using test::ReadFileBytes;
using test::WriteFileBytes;

std::string Utf16File(std::u16string_view strText) { return std::string(kUtf16LeMark, 2) + ToUtf16LeBytes(strText); }

class SettingsStoreFile : public testing::Test {
protected:
    std::vector<std::pair<std::u16string, std::u16string>> ReadBack(const std::string& strBytes) {
        WriteFileBytes(m_dir.File("s.ini"), strBytes);
        SettingsStore store(*m_pFileSystem);
        EXPECT_TRUE(store.Read(DualString(u"vantrel"), m_dir.WideFile("s.ini")));
        std::vector<std::pair<std::u16string, std::u16string>> entries;
        for (std::size_t i = 0; i < store.Count(); ++i) entries.emplace_back(store.Entry(i).first.Wide(), store.Entry(i).second.Wide());
        return entries;
    }

    std::unique_ptr<FileSystem> m_pFileSystem = CreateFileSystem();
    test::TempDir m_dir;
};

TEST_F(SettingsStoreFile, ReadRules) {
    // Legend: file text after the mark, the entries the store then holds.
    using Entries = std::vector<std::pair<std::u16string, std::u16string>>;
    const struct {
        std::u16string_view strText;
        Entries entries;
    } cases[] = {
        {u"[vantrel]\r\na=1\r\nb=緯度\r\n"sv, {{u"a", u"1"}, {u"b", u"緯度"}}},
        {u"[vantrel]\r\na=1\r\nb=2"sv, {{u"a", u"1"}}},                           // last line lacks CR LF
        {u"[vantrel]\r\n[other]\r\n[x]=1\r\n"sv, {{u"[x]", u"1"}}},              // a second header is no entry
        {u"[vantrel]\r\nk=v=w\r\n=x\r\n a = b \r\n"sv, {{u"k", u"v=w"}, {u"", u"x"}, {u" a ", u" b "}}},
        {u"[vantrel]\r\na=1\nb=2\r\n"sv, {{u"a", u"1\nb=2"}}},                   // only CR LF ends a line
        {u"[vantrel]\r\na=1\r\n\0b=2\r\n"sv, {{u"a", u"1"}}},                     // a zero unit ends the text
        {u"[vantrel] \r\na=1\r\n"sv, {}},                                         // the header matches exactly
        {u"[vantrel]"sv, {}},                                                       // no line end at all
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const std::u16string_view strText = cases[i].strText;
        EXPECT_EQ(ReadBack(Utf16File(strText)), cases[i].entries) << "case " << i;
        EXPECT_EQ(ReadBack(ToUtf16LeBytes(strText)), cases[i].entries) << "case " << i << " without mark";
    }
}

// Unusable files are refused without touching what the store holds.
TEST_F(SettingsStoreFile, FirstOfEqualKeysWinsAndUnusableFilesAreRefused) {
    WriteFileBytes(m_dir.File("s.ini"), Utf16File(u"[vantrel]\r\nk=first\r\nk=second\r\n"));
    SettingsStore store(*m_pFileSystem);
    ASSERT_TRUE(store.Read(DualString(u"vantrel"), m_dir.WideFile("s.ini")));
    DualString strValue;
    ASSERT_TRUE(store.Get(DualString(u"k"), strValue));
    EXPECT_EQ(strValue.Wide(), u"first");
    EXPECT_FALSE(store.Get(DualString(u"K"), strValue));  // keys are case-sensitive
    EXPECT_FALSE(store.Set(DualString(u""), DualString(u"v")));
    WriteFileBytes(m_dir.File("empty.ini"), "");
    EXPECT_FALSE(store.Read(DualString(u"vantrel"), m_dir.WideFile("missing.ini")));
    EXPECT_FALSE(store.Read(DualString(u"vantrel"), m_dir.WideFile("empty.ini")));
    EXPECT_FALSE(store.Read(DualString(u"vantrel"), m_dir.WidePath()));  // a folder
    EXPECT_FALSE(store.Write(DualString(u"vantrel"), u""));
    EXPECT_EQ(store.Count(), 2u);
}

// A write that fails part-way (here the file size limit, as a full disk would) must leave the file
// already saved as it was, and nothing beside it.
TEST_F(SettingsStoreFile, FailedWriteLeavesTheSavedFileWhole) {
    SettingsStore saved(*m_pFileSystem);
    saved.Set(DualString(u"PASSWORDPOP"), DualString(u"secret"));
    ASSERT_TRUE(saved.Write(DualString(u"vantrel"), m_dir.WideFile("s.ini")));
    const std::string strSaved = ReadFileBytes(m_dir.File("s.ini"));
    SettingsStore store(*m_pFileSystem);
    for (int i = 0; i < 20; ++i) store.Set(DualString(u"URL" + Utf8ToUtf16(std::to_string(i))), DualString(u"http://x/"));

    rlimit old {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    rlimit small = old;
    small.rlim_cur = strSaved.size();  // CreateFileSystem made the limit fail the write, not end the process
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool bWritten = store.Write(DualString(u"vantrel"), m_dir.WideFile("s.ini"));
    setrlimit(RLIMIT_FSIZE, &old);

    EXPECT_FALSE(bWritten);
    EXPECT_EQ(ReadFileBytes(m_dir.File("s.ini")), strSaved);
    EXPECT_EQ(m_dir.Names(), std::vector<std::string>{"s.ini"});
}

}  // namespace
}  // namespace vantrel
