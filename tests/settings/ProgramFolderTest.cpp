#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <set>

#include "port/Factories.h"
#include "port/FileSystem.h"
#include "port/SystemInfo.h"
#include "settings/ProgramFolder.h"
#include "settings/TextUtil.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

class ScriptedSystemInfo final : public SystemInfo {
public:
    std::u16string ExecutablePath() override { return m_strExecutable; }
    bool GetEnv(const char* pszName, std::u16string& strValue) override {
        const auto it = m_env.find(pszName);
        if (it == m_env.end()) return false;
        strValue = it->second;
        return true;
    }
    std::uint32_t LastError() override { return 0; }
    bool ErrorText(std::uint32_t, std::u16string&) override { return false; }

    std::u16string m_strExecutable;
    std::map<std::string, std::u16string> m_env;
};

// The real file system, except that some folders are read-only (as root every folder is writable,
// so the tests cannot make one with chmod).
class ReadOnlyFolders final : public FileSystem {
public:
    explicit ReadOnlyFolders(FileSystem& real) : m_real(real) {}
    std::unique_ptr<File> Open(const std::u16string& strPath, OpenMode mode) override { return m_real.Open(strPath, mode); }
    bool IsDirectory(const std::u16string& strPath) override { return m_real.IsDirectory(strPath); }
    bool Replace(const std::u16string& strFrom, const std::u16string& strTo) override { return m_real.Replace(strFrom, strTo); }
    bool Remove(const std::u16string& strPath) override { return m_real.Remove(strPath); }
    char16_t Separator() const override { return m_real.Separator(); }
    bool IsFile(const std::u16string& strPath) override { return m_real.IsFile(strPath); }
    bool IsWritableDirectory(const std::u16string& strPath) override {
        return !m_readOnly.contains(strPath) && m_real.IsWritableDirectory(strPath);
    }
    bool MakeDirectory(const std::u16string& strPath) override { return m_real.MakeDirectory(strPath); }

    std::set<std::u16string> m_readOnly;

private:
    FileSystem& m_real;
};

class ProgramFolderRule : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(m_dir.File("bin"));
        std::filesystem::create_directories(m_dir.File("home"));
        m_system.m_strExecutable = m_dir.WideFile("bin/vantrel");
        m_system.m_env["HOME"] = m_dir.WideFile("home");
    }
    std::u16string Folder() { return ProgramFolder(m_system, m_fileSystem); }

    test::TempDir m_dir;
    std::unique_ptr<FileSystem> m_pReal = CreateFileSystem();
    ReadOnlyFolders m_fileSystem{*m_pReal};
    ScriptedSystemInfo m_system;
};

TEST_F(ProgramFolderRule, VantrelHomeComesFirst) {
    m_system.m_env["VANTREL_HOME"] = u"/srv/vantrel/";
    EXPECT_EQ(Folder(), u"/srv/vantrel");
}

TEST_F(ProgramFolderRule, WritableExecutableFolder) {
    EXPECT_EQ(Folder(), m_dir.WideFile("bin"));
    EXPECT_FALSE(std::filesystem::exists(m_dir.File("home/.config")));
}

TEST_F(ProgramFolderRule, ReadOnlyExecutableFolderHoldingTheSettings) {
    m_fileSystem.m_readOnly.insert(m_dir.WideFile("bin"));
    test::WriteFileBytes(m_dir.File("bin/default.ini"), "\xFF\xFE");
    EXPECT_EQ(Folder(), m_dir.WideFile("bin"));
}

TEST_F(ProgramFolderRule, ReadOnlyExecutableFolderFallsBackToTheUserConfig) {
    m_fileSystem.m_readOnly.insert(m_dir.WideFile("bin"));
    // Legend: XDG_CONFIG_HOME (absent when null), the folder chosen; it is created with its parents.
    const struct {
        const char* pszXdg;
        const char* pszExpected;
    } cases[] = {
        {nullptr, "home/.config/vantrel"},
        {"relative/config", "home/.config/vantrel"},  // XDG paths must be absolute
        {"", "home/.config/vantrel"},
        {"xdg", "xdg/vantrel"},
    };
    for (const auto& c : cases) {
        std::filesystem::remove_all(m_dir.File("home/.config"));
        std::filesystem::remove_all(m_dir.File("xdg"));
        m_system.m_env.erase("XDG_CONFIG_HOME");
        if (c.pszXdg) m_system.m_env["XDG_CONFIG_HOME"] = *c.pszXdg == 'x' ? m_dir.WideFile(c.pszXdg) : Utf8ToUtf16(c.pszXdg);
        EXPECT_EQ(Folder(), m_dir.WideFile(c.pszExpected)) << (c.pszXdg ? c.pszXdg : "unset");
        EXPECT_TRUE(std::filesystem::is_directory(m_dir.File(c.pszExpected))) << c.pszExpected;
        EXPECT_EQ(Folder(), m_dir.WideFile(c.pszExpected)) << "again, now that it exists";
    }
}

TEST(PosixFileSystem, FolderFacts) {
    test::TempDir dir;
    const std::unique_ptr<FileSystem> pFileSystem = CreateFileSystem();
    test::WriteFileBytes(dir.File("f.txt"), "x");
    // Legend: path, is a file, is a writable folder.
    const struct {
        std::string strName;
        bool bFile;
        bool bWritableFolder;
    } cases[] = {{"f.txt", true, false}, {"", false, true}, {"missing", false, false}};
    for (const auto& c : cases) {
        EXPECT_EQ(pFileSystem->IsFile(dir.WideFile(c.strName)), c.bFile) << c.strName;
        EXPECT_EQ(pFileSystem->IsWritableDirectory(dir.WideFile(c.strName)), c.bWritableFolder) << c.strName;
    }
    EXPECT_TRUE(pFileSystem->MakeDirectory(dir.WideFile("d")));
    EXPECT_TRUE(pFileSystem->MakeDirectory(dir.WideFile("d")));   // already there
    EXPECT_FALSE(pFileSystem->MakeDirectory(dir.WideFile("f.txt")));
    EXPECT_FALSE(pFileSystem->MakeDirectory(dir.WideFile("a/b")));  // parent missing
    EXPECT_TRUE(pFileSystem->IsWritableDirectory(dir.WideFile("d")));
}

}  // namespace
}  // namespace vantrel
