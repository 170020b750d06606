#include <gtest/gtest.h>

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

TEST_F(SettingsStoreFile, WritesMarkHeaderAndLines) {
    SettingsStore store(*m_pFileSystem);
    EXPECT_TRUE(store.Set(DualString(u"URLINDEX"), DualString(u"0")));
    EXPECT_TRUE(store.Set(DualString(u"TOSMTP"), DualString(u"")));
    EXPECT_TRUE(store.Set(DualString(u"FORMAT"), DualString(u"緯度=$nl")));
    ASSERT_TRUE(store.Write(DualString(u"vantrel"), m_dir.WideFile("s.ini")));
    EXPECT_EQ(ReadFileBytes(m_dir.File("s.ini")), Utf16File(u"[vantrel]\r\nURLINDEX=0\r\nTOSMTP=\r\nFORMAT=緯度=$nl\r\n"));

    // Without a section the file has neither the mark nor a header.
    ASSERT_TRUE(store.Write(DualString(), m_dir.WideFile("bare.ini")));
    EXPECT_EQ(ReadFileBytes(m_dir.File("bare.ini")), ToUtf16LeBytes(u"URLINDEX=0\r\nTOSMTP=\r\nFORMAT=緯度=$nl\r\n"));
}

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
        {u"vantrel\r\na=1\r\n"sv, {}},
        {u"[ vantrel]\r\na=1\r\n"sv, {}},
        {u"[vantrel] \r\na=1\r\n"sv, {}},
        {u"[Vantrel]\r\na=1\r\n"sv, {}},
        {u"[vantrel]"sv, {}},                                                       // no line end at all
        {u"[vantrel]\r\n"sv, {}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const std::u16string_view strText = cases[i].strText;
        EXPECT_EQ(ReadBack(Utf16File(strText)), cases[i].entries) << "case " << i;
        EXPECT_EQ(ReadBack(ToUtf16LeBytes(strText)), cases[i].entries) << "case " << i << " without mark";
    }
}

TEST_F(SettingsStoreFile, FirstOfEqualKeysWins) {
    WriteFileBytes(m_dir.File("s.ini"), Utf16File(u"[vantrel]\r\nk=first\r\nk=second\r\n"));
    SettingsStore store(*m_pFileSystem);
    ASSERT_TRUE(store.Read(DualString(u"vantrel"), m_dir.WideFile("s.ini")));
    DualString strValue;
    ASSERT_TRUE(store.Get(DualString(u"k"), strValue));
    EXPECT_EQ(strValue.Wide(), u"first");
    EXPECT_FALSE(store.Get(DualString(u"K"), strValue));  // keys are case-sensitive
    EXPECT_FALSE(store.Get(DualString(u""), strValue));
    EXPECT_FALSE(store.Set(DualString(u""), DualString(u"v")));
    EXPECT_EQ(store.Count(), 2u);
}

TEST_F(SettingsStoreFile, UnusableFilesAreRefused) {
    SettingsStore store(*m_pFileSystem);
    store.Set(DualString(u"kept"), DualString(u"1"));
    WriteFileBytes(m_dir.File("empty.ini"), "");
    EXPECT_FALSE(store.Read(DualString(u"vantrel"), m_dir.WideFile("missing.ini")));
    EXPECT_FALSE(store.Read(DualString(u"vantrel"), m_dir.WideFile("empty.ini")));
    EXPECT_FALSE(store.Read(DualString(u"vantrel"), u""));
    EXPECT_FALSE(store.Write(DualString(u"vantrel"), u""));
    EXPECT_FALSE(store.Write(DualString(u"vantrel"), m_dir.WideFile("no/such/dir.ini")));
    EXPECT_EQ(store.Count(), 1u);
}

TEST_F(SettingsStoreFile, NarrowModeUsesTheCodePageWithoutMark) {
    SettingsStore store(*m_pFileSystem);
    store.Set(DualString(u"FORMAT"), DualString(u"緯度"));
    DualString strStale(u"old");
    strStale = u"";  // its narrow form still says "old"
    store.Set(DualString(u"TOSMTP"), strStale);
    ASSERT_TRUE(store.Write(DualString(u"vantrel"), m_dir.WideFile("n.ini"), true));
    EXPECT_EQ(ReadFileBytes(m_dir.File("n.ini")), "[vantrel]\r\nFORMAT=\x88\xDC\x93\x78\r\nTOSMTP=\r\n");

    SettingsStore back(*m_pFileSystem);
    ASSERT_TRUE(back.Read(DualString(u"vantrel"), m_dir.WideFile("n.ini"), true));
    DualString strValue;
    ASSERT_TRUE(back.Get(DualString(u"FORMAT"), strValue));
    EXPECT_EQ(strValue.Wide(), u"緯度");
    EXPECT_EQ(strValue.Narrow(), "\x88\xDC\x93\x78");
    // A wide file read in narrow mode does not find its header.
    ASSERT_TRUE(store.Write(DualString(u"vantrel"), m_dir.WideFile("w.ini")));
    ASSERT_TRUE(back.Read(DualString(u"vantrel"), m_dir.WideFile("w.ini"), true));
    EXPECT_EQ(back.Count(), 0u);
}

// A file system whose files accept a fixed number of writes, recording their sizes.
class FailingFileSystem final : public FileSystem {
public:
    FailingFileSystem(FileSystem& real, int nWritesAllowed) : m_real(real), m_nWritesLeft(nWritesAllowed) {}

    std::unique_ptr<File> Open(const std::u16string& strPath, OpenMode mode) override {
        std::unique_ptr<File> pFile = m_real.Open(strPath, mode);
        return pFile ? std::make_unique<CountingFile>(std::move(pFile), *this) : nullptr;
    }
    bool IsDirectory(const std::u16string& strPath) override { return m_real.IsDirectory(strPath); }
    bool Replace(const std::u16string& strFrom, const std::u16string& strTo) override { return m_real.Replace(strFrom, strTo); }
    bool Remove(const std::u16string& strPath) override { return m_real.Remove(strPath); }
    char16_t Separator() const override { return m_real.Separator(); }

    std::vector<std::uint32_t> m_writeSizes;

private:
    class CountingFile final : public File {
    public:
        CountingFile(std::unique_ptr<File> pFile, FailingFileSystem& owner) : m_pFile(std::move(pFile)), m_owner(owner) {}
        bool Read(void* pData, std::uint32_t nSize, std::uint32_t& nRead) override { return m_pFile->Read(pData, nSize, nRead); }
        bool Write(const void* pData, std::uint32_t nSize) override {
            if (m_owner.m_nWritesLeft-- <= 0) return false;
            m_owner.m_writeSizes.push_back(nSize);
            return m_pFile->Write(pData, nSize);
        }
        bool GetSize(std::uint64_t& nSize) override { return m_pFile->GetSize(nSize); }
        bool SeekToStart() override { return m_pFile->SeekToStart(); }
        bool SeekToEnd() override { return m_pFile->SeekToEnd(); }

    private:
        std::unique_ptr<File> m_pFile;
        FailingFileSystem& m_owner;
    };

    FileSystem& m_real;
    int m_nWritesLeft;
};

TEST_F(SettingsStoreFile, FailedWriteKeepsWhatWasWritten) {
    // Each piece is its own write: mark, header, then key, "=", value, CR LF per entry.
    FailingFileSystem failing(*m_pFileSystem, 7);
    SettingsStore store(failing);
    store.Set(DualString(u"a"), DualString(u"12"));
    store.Set(DualString(u"b"), DualString(u"3"));
    EXPECT_FALSE(store.Write(DualString(u"vantrel"), m_dir.WideFile("s.ini")));
    EXPECT_EQ(failing.m_writeSizes, (std::vector<std::uint32_t>{2, 22, 2, 2, 4, 4, 2}));
    EXPECT_EQ(ReadFileBytes(m_dir.File("s.ini")), Utf16File(u"[vantrel]\r\na=12\r\nb"));
}

}  // namespace
}  // namespace vantrel
