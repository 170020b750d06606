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

// Legend: VANTREL_HOME and XDG_CONFIG_HOME (unset when null; "xdg" names a folder in the temporary
// one), whether bin/ is read-only and holds the settings file, and the folder chosen (in the
// temporary folder unless absolute), which must then exist.
TEST(ProgramFolder, ChoiceOfFolder) {
    const struct {
        const char* pszHome;
        const char* pszXdg;
        bool bReadOnly, bSettings;
        const char* pszExpected;
    } cases[] = {
        {"/srv/vantrel/", nullptr, true, false, "/srv/vantrel"},
        {nullptr, nullptr, false, false, "bin"},
        {nullptr, nullptr, true, true, "bin"},
        {nullptr, nullptr, true, false, "home/.config/vantrel"},  // created with its parents
        {nullptr, "relative/config", true, false, "home/.config/vantrel"},  // XDG paths must be absolute
        {nullptr, "xdg", true, false, "xdg/vantrel"},
    };
    for (const auto& c : cases) {
        test::TempDir dir;
        std::filesystem::create_directories(dir.File("bin"));
        std::filesystem::create_directories(dir.File("home"));
        if (c.bSettings) test::WriteFileBytes(dir.File("bin/default.ini"), "\xFF\xFE");
        const std::unique_ptr<FileSystem> pReal = CreateFileSystem();
        ReadOnlyFolders files(*pReal);
        if (c.bReadOnly) files.m_readOnly.insert(dir.WideFile("bin"));
        ScriptedSystemInfo system;
        system.m_strExecutable = dir.WideFile("bin/vantrel");
        system.m_env["HOME"] = dir.WideFile("home");
        if (c.pszHome) system.m_env["VANTREL_HOME"] = Utf8ToUtf16(c.pszHome);
        if (c.pszXdg) system.m_env["XDG_CONFIG_HOME"] = *c.pszXdg == 'x' ? dir.WideFile(c.pszXdg) : Utf8ToUtf16(c.pszXdg);
        const bool bAbsolute = *c.pszExpected == '/';
        EXPECT_EQ(ProgramFolder(system, files), bAbsolute ? Utf8ToUtf16(c.pszExpected) : dir.WideFile(c.pszExpected))
            << c.pszExpected;
        EXPECT_TRUE(bAbsolute || std::filesystem::is_directory(dir.File(c.pszExpected))) << c.pszExpected;
        EXPECT_EQ(std::filesystem::exists(dir.File("home/.config")), *c.pszExpected == 'h') << c.pszExpected;
    }
}

}  // namespace
}  // namespace vantrel
