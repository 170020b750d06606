#include "settings/SettingsProfile.h"

namespace vantrel {

namespace {

// The mail body template: the position, then two map links; no line break after the last line.
constexpr char16_t kBodySmtp[] =
    u"緯度:$nl\r\n"
    u"経度:$el\r\n"
    u"\r\n"
    u"Yahoo! Map http://map.example.com/pl?el=$el&nl=$nl\r\n"
    u" Mapion http://www.example.net/c/f?size=450,400&scl=10000&grp=all&uc=1&el=$eml&nl=$nml";

std::u16string WithTrailingSlash(std::u16string strFolder) {
    if (strFolder.empty() || strFolder.back() != u'/') strFolder.push_back(u'/');
    return strFolder;
}

}  // namespace

SettingsProfile WindowsSettingsProfile() {
    SettingsProfile profile;
    profile.urlRows = {
        {u"地図ページ (山田さん)", u"http://map.example.com/glocal.html", u"pos=N$nlE$el"},
        {u"現在地 (佐藤さん)", u"http://loc.example.net/loc", u"el=$el&nl=$nl"},
        {u"地図検索 (鈴木さん)", u"http://www.example.org/etc/airedge/google.php", u"pos=N$nlE$el"},
    };
    // Row 2's doubled parenthesis is part of the shipped data.
    profile.browserRows = {
        {u"InternetExplorer", u"\\Windows\\iexplore.exe"},
        {u"Opera(003SH [zero3])", u"\\Program Files\\Opera\\opera.exe"},
        {u"Opera(007SH [es]))", u"\\Windows\\opera.exe"},
        {u"Opera(011SH [ades])", u"\\Program Files\\Opera\\OperaLaunch.exe"},
        {u"Opera(020SH [03])", u"\\Windows\\OperaL.exe"},
    };
    profile.strHostSmtp = u"smtp.example.com";
    // Only the domain: the user puts the mailbox name in front.
    profile.strFromSmtp = u".example.com";
    profile.strHostPop = u"pop.example.com";
    profile.strBodySmtp = kBodySmtp;
    profile.strLogFileDir = u"\\Program Files\\vantrel\\";
    profile.strPosLogDir = u"\\Program Files\\vantrel\\";
    return profile;
}

SettingsProfile LinuxSettingsProfile(const std::u16string& strProgramFolder) {
    SettingsProfile profile = WindowsSettingsProfile();
    profile.browserRows = {
        {u"既定のブラウザ", u"/usr/bin/xdg-open"},
        {u"Firefox", u"/usr/bin/firefox"},
        {u"Chromium", u"/usr/bin/chromium"},
    };
    profile.strLogFileDir = WithTrailingSlash(strProgramFolder);
    profile.strPosLogDir = profile.strLogFileDir;
    return profile;
}

}  // namespace vantrel
