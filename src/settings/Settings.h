#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "settings/DualString.h"
#include "settings/SettingsList.h"

namespace vantrel {

class FileSystem;
class ResourceModule;
class SettingsStore;
struct SettingsProfile;

// Switches, by their key in the settings file (LOCATEEASY, AUTOCONNECT, ...).
enum class BoolKey {
    LocateEasy, AutoConnect, BrowserSend, MailSend, HttpSend, GmmSend, StartupAll, SupExit,
    ExitDisconnect, CsidCache, CreateCookie, Pbs, AutoSend, AutoSendDisconnect, MonChkSend, NoMsg,
    OutputMsgFile, RetryConnect, RetrySendMail, RetryHttpSend, RetryNoMsg, OutputPosLogFile,
    Count
};

// Signed 32-bit numbers (CONNECTWAIT and AUTOSENDINTERVAL in milliseconds, POSLOGMAXSIZE in bytes).
enum class NumberKey {
    ConnectWait, EpGetCnt, AutoSendInterval, RetryConnectMax, RetrySendMailMax, RetryHttpSendMax,
    PosLogMaxSize,
    Count
};

// Texts; BodySmtp is kept in base64 in the file, every other text as it stands.
enum class TextKey {
    ClipboardFormat, HostSmtp, FromSmtp, ToSmtp, CcSmtp, BccSmtp, SubjectSmtp, BodySmtp, HostPop,
    AccountPop, PasswordPop, LogFileDir, PosLogDir, PosLogFormat,
    Count
};

// Every option of the program, the URL and browser lists included. Built with the defaults of a
// platform profile, then overwritten key by key from a settings file; saved as a whole.
class Settings {
public:
    // Columns of the two lists.
    enum UrlColumn : std::size_t { kUrlTitle, kUrlAddress, kUrlTemplate };
    enum BrowserColumn : std::size_t { kBrowserName, kBrowserFile };

    // Values that have no key in the file (its keys and their order are fixed).
    static constexpr int kWsimRetryMax = 3;
    static constexpr std::uint32_t kMonitorStepMs = 100;
    static constexpr std::uint32_t kMonitorLimitMs = 5000;

    // Both objects must outlive the record; key names and the section come from the module's
    // string table.
    Settings(const SettingsProfile& profile, FileSystem& fileSystem, const ResourceModule& module);
    Settings(const SettingsProfile& profile, FileSystem& fileSystem);  // the program's resources

    bool Bool(BoolKey key) const { return m_bValues[Index(key)]; }
    void SetBool(BoolKey key, bool bValue) { m_bValues[Index(key)] = bValue; }
    std::int32_t Number(NumberKey key) const { return m_nValues[Index(key)]; }
    void SetNumber(NumberKey key, std::int32_t nValue) { m_nValues[Index(key)] = nValue; }
    const DualString& Text(TextKey key) const { return m_strValues[Index(key)]; }
    void SetText(TextKey key, const DualString& strValue) { m_strValues[Index(key)] = strValue; }
    void SetText(TextKey key, std::u16string_view strValue) { m_strValues[Index(key)] = strValue; }

    SettingsList& UrlList() { return m_urlList; }
    const SettingsList& UrlList() const { return m_urlList; }
    SettingsList& BrowserList() { return m_browserList; }
    const SettingsList& BrowserList() const { return m_browserList; }

    // The file last loaded or saved; empty before that.
    const std::u16string& Path() const { return m_strPath; }

    // <folder>/default.ini.
    std::u16string DefaultFilePath(const std::u16string& strProgramFolder) const;
    bool LoadDefault(const std::u16string& strProgramFolder) { return Load(DefaultFilePath(strProgramFolder)); }
    // False, and the record untouched, when the file cannot be read; otherwise every key found
    // replaces its value, the lists are rebuilt and the path kept.
    bool Load(const std::u16string& strPath);
    // Writes every key in the fixed order; the path is kept only when the write succeeded.
    bool Save(const std::u16string& strPath);

    // The texts that booleans are written as; anything but kTrue reads as false.
    static constexpr std::u16string_view kTrue = u"TRUE";
    static constexpr std::u16string_view kFalse = u"FALSE";

private:
    template <class E>
    static std::size_t Index(E key) { return static_cast<std::size_t>(key); }

    DualString LoadText(std::uint32_t nId) const;
    void SaveList(SettingsStore& store, const SettingsList& list, std::uint32_t nRowKeyId, std::uint32_t nIndexKeyId) const;
    void LoadList(const SettingsStore& store, SettingsList& list, std::uint32_t nRowKeyId, std::uint32_t nIndexKeyId) const;
    void SaveScalars(SettingsStore& store) const;
    void LoadScalars(const SettingsStore& store);

    FileSystem* m_pFileSystem;
    const ResourceModule* m_pModule;
    SettingsList m_urlList;
    SettingsList m_browserList;
    std::array<bool, static_cast<std::size_t>(BoolKey::Count)> m_bValues{};
    std::array<std::int32_t, static_cast<std::size_t>(NumberKey::Count)> m_nValues{};
    std::array<DualString, static_cast<std::size_t>(TextKey::Count)> m_strValues;
    std::u16string m_strPath;
};

}  // namespace vantrel
