#include "settings/Settings.h"

#include "port/FileSystem.h"
#include "resource.h"
#include "settings/Base64.h"
#include "settings/ResourceModule.h"
#include "settings/SettingsProfile.h"
#include "settings/SettingsStore.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

enum class Kind { Bool, Number, Text };

struct Scalar {
    Kind kind;
    std::size_t nIndex;
    std::uint32_t nId;
};

constexpr Scalar B(BoolKey key, std::uint32_t nId) { return {Kind::Bool, static_cast<std::size_t>(key), nId}; }
constexpr Scalar N(NumberKey key, std::uint32_t nId) { return {Kind::Number, static_cast<std::size_t>(key), nId}; }
constexpr Scalar T(TextKey key, std::uint32_t nId) { return {Kind::Text, static_cast<std::size_t>(key), nId}; }

// The scalar keys in the order of the file's lines; older readers expect this order.
constexpr Scalar kScalars[] = {
    B(BoolKey::LocateEasy, IDS_KEY_LOCATEEASY),
    B(BoolKey::AutoConnect, IDS_KEY_AUTOCONNECT),
    B(BoolKey::BrowserSend, IDS_KEY_BROWSERSEND),
    B(BoolKey::MailSend, IDS_KEY_MAILSEND),
    B(BoolKey::HttpSend, IDS_KEY_HTTPSEND),
    B(BoolKey::GmmSend, IDS_KEY_GMMSEND),
    B(BoolKey::StartupAll, IDS_KEY_STARTUPALL),
    B(BoolKey::SupExit, IDS_KEY_SUPEXIT),
    B(BoolKey::ExitDisconnect, IDS_KEY_EXITDISCONNECT),
    N(NumberKey::ConnectWait, IDS_KEY_CONNECTWAIT),
    B(BoolKey::CsidCache, IDS_KEY_CSIDCACHE),
    B(BoolKey::CreateCookie, IDS_KEY_CREATECOOKIE),
    N(NumberKey::EpGetCnt, IDS_KEY_EPGETCNT),
    T(TextKey::ClipboardFormat, IDS_KEY_CLIPBOARDFORMAT),
    T(TextKey::HostSmtp, IDS_KEY_HOSTSMTP),
    T(TextKey::FromSmtp, IDS_KEY_FROMSMTP),
    T(TextKey::ToSmtp, IDS_KEY_TOSMTP),
    T(TextKey::CcSmtp, IDS_KEY_CCSMTP),
    T(TextKey::BccSmtp, IDS_KEY_BCCSMTP),
    T(TextKey::SubjectSmtp, IDS_KEY_SUBJECTSMTP),
    B(BoolKey::Pbs, IDS_KEY_PBS),
    T(TextKey::HostPop, IDS_KEY_HOSTPOP),
    T(TextKey::AccountPop, IDS_KEY_ACCOUNTPOP),
    T(TextKey::PasswordPop, IDS_KEY_PASSWORDPOP),
    T(TextKey::BodySmtp, IDS_KEY_BODYSMTP),
    B(BoolKey::AutoSend, IDS_KEY_AUTOSEND),
    N(NumberKey::AutoSendInterval, IDS_KEY_AUTOSENDINTERVAL),
    B(BoolKey::AutoSendDisconnect, IDS_KEY_AUTOSENDISCONNECT),
    B(BoolKey::MonChkSend, IDS_KEY_MONCHKSEND),
    B(BoolKey::NoMsg, IDS_KEY_NOMSG),
    B(BoolKey::OutputMsgFile, IDS_KEY_OUTPUTMSGFILE),
    T(TextKey::LogFileDir, IDS_KEY_LOGFILEDIR),
    B(BoolKey::RetryConnect, IDS_KEY_RETRYCONNECT),
    N(NumberKey::RetryConnectMax, IDS_KEY_RETRYCONNECTMAX),
    B(BoolKey::RetrySendMail, IDS_KEY_RETRYSENDMAIL),
    N(NumberKey::RetrySendMailMax, IDS_KEY_RETRYSENDMAILMAX),
    B(BoolKey::RetryHttpSend, IDS_KEY_RETRYHTTPSEND),
    N(NumberKey::RetryHttpSendMax, IDS_KEY_RETRYHTTPSENDMAX),
    B(BoolKey::RetryNoMsg, IDS_KEY_RETRYNOMSG),
    B(BoolKey::OutputPosLogFile, IDS_KEY_OUTPUTPOSLOGFILE),
    T(TextKey::PosLogDir, IDS_KEY_POSLOGDIR),
    N(NumberKey::PosLogMaxSize, IDS_KEY_POSLOGMAXSIZE),
    T(TextKey::PosLogFormat, IDS_KEY_POSLOGFORMAT),
};

static_assert(std::size(kScalars) == static_cast<std::size_t>(BoolKey::Count) + static_cast<std::size_t>(NumberKey::Count) +
                                         static_cast<std::size_t>(TextKey::Count));

}  // namespace

Settings::Settings(const SettingsProfile& profile, FileSystem& fileSystem, const ResourceModule& module)
    : m_pFileSystem(&fileSystem),
      m_pModule(&module),
      m_urlList({u"名前", u"URL", u"書式"}),
      m_browserList({u"ブラウザ", u"ファイル"}) {
    for (const auto& row : profile.urlRows) m_urlList.AddRow(row);
    for (const auto& row : profile.browserRows) m_browserList.AddRow(row);
    m_urlList.SetSelectedIndex(0);
    m_browserList.SetSelectedIndex(0);

    SetBool(BoolKey::LocateEasy, true);
    SetBool(BoolKey::AutoConnect, true);
    SetBool(BoolKey::BrowserSend, true);
    SetBool(BoolKey::Pbs, true);

    SetNumber(NumberKey::ConnectWait, 4000);
    SetNumber(NumberKey::EpGetCnt, 1);
    SetNumber(NumberKey::AutoSendInterval, 21600000);  // six hours
    SetNumber(NumberKey::RetryConnectMax, 3);
    SetNumber(NumberKey::RetrySendMailMax, 3);
    SetNumber(NumberKey::RetryHttpSendMax, 3);
    SetNumber(NumberKey::PosLogMaxSize, 262144);

    SetText(TextKey::ClipboardFormat, u"$nl,$el");
    SetText(TextKey::HostSmtp, profile.strHostSmtp);
    SetText(TextKey::FromSmtp, profile.strFromSmtp);
    SetText(TextKey::SubjectSmtp, u"vantrel mail");
    SetText(TextKey::BodySmtp, profile.strBodySmtp);
    SetText(TextKey::HostPop, profile.strHostPop);
    SetText(TextKey::LogFileDir, profile.strLogFileDir);
    SetText(TextKey::PosLogDir, profile.strPosLogDir);
    SetText(TextKey::PosLogFormat, u"$YY年$MM月$DD日 $hh時$mm分$ss秒 $nl/$el");
}

Settings::Settings(const SettingsProfile& profile, FileSystem& fileSystem)
    : Settings(profile, fileSystem, ResourceModule::Program()) {}

DualString Settings::LoadText(std::uint32_t nId) const {
    DualString str;
    str.LoadStringResource(*m_pModule, nId);
    return str;
}

std::u16string Settings::DefaultFilePath(const std::u16string& strProgramFolder) const {
    std::u16string strPath = strProgramFolder;
    const char16_t cSeparator = m_pFileSystem->Separator();
    if (strPath.empty() || strPath.back() != cSeparator) strPath.push_back(cSeparator);
    return strPath + LoadText(IDS_SETTINGS_FILE).Wide();
}

bool Settings::Save(const std::u16string& strPath) {
    SettingsStore store(*m_pFileSystem);
    SaveList(store, m_urlList, IDS_KEY_URL, IDS_KEY_URLINDEX);
    SaveList(store, m_browserList, IDS_KEY_BROWSER, IDS_KEY_BROWSERINDEX);
    SaveScalars(store);
    if (!store.Write(LoadText(IDS_SECTION), strPath)) return false;
    m_strPath = strPath;
    return true;
}

bool Settings::Load(const std::u16string& strPath) {
    SettingsStore store(*m_pFileSystem);
    if (!store.Read(LoadText(IDS_SECTION), strPath)) return false;
    LoadList(store, m_urlList, IDS_KEY_URL, IDS_KEY_URLINDEX);
    LoadList(store, m_browserList, IDS_KEY_BROWSER, IDS_KEY_BROWSERINDEX);
    LoadScalars(store);
    m_strPath = strPath;
    return true;
}

void Settings::SaveList(SettingsStore& store, const SettingsList& list, std::uint32_t nRowKeyId,
                        std::uint32_t nIndexKeyId) const {
    store.Set(LoadText(nIndexKeyId), DualString(FormatText(u"%d", list.SelectedIndex())));
    const std::u16string strRowKey = LoadText(nRowKeyId).Wide();
    for (std::size_t nRow = 0; nRow < list.RowCount(); ++nRow)
        store.Set(DualString(FormatText(u"%s%d", strRowKey, static_cast<int>(nRow))), DualString(list.JoinRow(nRow)));
}

void Settings::LoadList(const SettingsStore& store, SettingsList& list, std::uint32_t nRowKeyId,
                        std::uint32_t nIndexKeyId) const {
    DualString strValue;
    list.SetSelectedIndex(-1);
    if (store.Get(LoadText(nIndexKeyId), strValue)) list.SetSelectedIndex(WtoL(strValue.Wide()));
    list.Clear();
    const std::u16string strRowKey = LoadText(nRowKeyId).Wide();
    // A missing row number ends the list, whatever follows it.
    for (int nRow = 0; store.Get(DualString(FormatText(u"%s%d", strRowKey, nRow)), strValue); ++nRow)
        list.AddRow(list.SplitRow(strValue.Wide()));
    if (list.RowCount() > 0 && list.SelectedIndex() < 0) list.SetSelectedIndex(0);
}

void Settings::SaveScalars(SettingsStore& store) const {
    for (const Scalar& s : kScalars) {
        DualString strValue;
        switch (s.kind) {
        case Kind::Bool: strValue = m_bValues[s.nIndex] ? kTrue : kFalse; break;
        case Kind::Number: strValue = FormatText(u"%ld", static_cast<long>(m_nValues[s.nIndex])); break;
        case Kind::Text:
            strValue = m_strValues[s.nIndex];
            // The body may span lines; base64 of its code page bytes keeps it on one. An empty
            // body's narrow form may be stale, so the wide length decides.
            if (s.nIndex == Index(TextKey::BodySmtp))
                strValue = strValue.IsEmpty() ? DualString() : DualString(Utf8ToUtf16(Base64Encode(strValue.Narrow())));
            break;
        }
        store.Set(LoadText(s.nId), strValue);
    }
}

void Settings::LoadScalars(const SettingsStore& store) {
    for (const Scalar& s : kScalars) {
        DualString strValue;
        if (!store.Get(LoadText(s.nId), strValue)) continue;
        switch (s.kind) {
        case Kind::Bool: m_bValues[s.nIndex] = strValue.Wide() == kTrue; break;
        case Kind::Number: m_nValues[s.nIndex] = WtoL(strValue.Wide()); break;
        case Kind::Text:
            m_strValues[s.nIndex] = strValue;
            if (s.nIndex == Index(TextKey::BodySmtp) && !strValue.IsEmpty()) {
                const std::string strBytes = Base64Decode(Utf16ToUtf8(strValue.Wide()));
                if (!strBytes.empty()) m_strValues[s.nIndex].AssignNarrow(strBytes);
            }
            break;
        }
    }
}

}  // namespace vantrel
