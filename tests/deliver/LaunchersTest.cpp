#include "deliver/Launchers.h"

#include <gtest/gtest.h>

#include "support/FakeClipboard.h"
#include "support/FakeProcessLauncher.h"
#include "support/FakeWindowFinder.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageBox.h"
#include "deliver/MessageFacility.h"
#include "location/Location.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "settings/ResourceModule.h"

namespace vantrel {
namespace {

using test::FakeWindowFinder;
using Log = std::vector<std::u16string>;

class LaunchersTest : public ::testing::Test {
protected:
    LaunchersTest()
        : m_clock(test::MakeTime(2009, 1, 29, 12)),
          m_files(CreateFileSystem()),
          m_messages(m_clock, *m_files, m_boxes, ResourceModule::Program()),
          m_launcher(HandOffStyle::Handset, &m_log),
          m_windows(m_clock, &m_log),
          m_launchers(m_launcher, m_windows, m_clipboard, m_clock, m_messages) {
        m_location.SetFromText(u"N35.39.29.157E139.44.58.500/pc1");
        m_location.m_dWNorth = 35.658581;
        m_location.m_dWEast = 139.745433;
        const std::int32_t wnl[4] = {35, 39, 41, 5};
        const std::int32_t wel[4] = {139, 44, 43, 57};
        std::copy(wnl, wnl + 4, m_location.m_nWNL);
        std::copy(wel, wel + 4, m_location.m_nWEL);
        m_settings.bGmmSend = true;
    }

    test::ManualClock m_clock;
    std::unique_ptr<FileSystem> m_files;
    test::RecordingMessageBox m_boxes;
    MessageFacility m_messages;
    Log m_log;
    test::FakeProcessLauncher m_launcher;
    FakeWindowFinder m_windows;
    test::FakeClipboard m_clipboard;
    Launchers m_launchers;
    Location m_location;
    HandOffSettings m_settings;
};

constexpr const char16_t* kNoPositionBox = u"<警告>:位置情報を取得してください。/48";

Log BoxLines(const test::RecordingMessageBox& boxes) {
    Log lines;
    for (const auto& box : boxes.Boxes()) {
        std::u16string strLine = u"<" + box.strCaption + u">:" + box.strText + u"/";
        for (char c : std::to_string(box.nFlags)) strLine += static_cast<char16_t>(c);
        lines.push_back(strLine);
    }
    return lines;
}

// to, subject, cc, bcc, body, attachment -> the mail program's command line.
TEST(NewMailCommandLine, SwitchesInOrderWithTheirBlanks) {
    const struct {
        NewMail mail;
        std::u16string strExpected;
    } cases[] = {
        {{}, u""},
        {{.strBody = u"text"}, u"-BODY \"text\""},
        {{.strTo = u"a@x.jp", .strSubject = u"位置"}, u"-TO \"a@x.jp\"-SUBJECT \"位置\""},
        {{.strSubject = u"s", .strBody = u"b"}, u"-SUBJECT \"s\" -BODY \"b\""},
        {{.strTo = u"a", .strCc = u"c", .strBcc = u"bc", .strSubject = u"s", .strBody = u"b", .strAttachment = u"f.txt"},
         u"-TO \"a\"-SUBJECT \"s\" -CC \"c\" -BCC \"bc\" -BODY \"b\" -ATTACHMENT \"f.txt\""},
        {{.strCc = u"c", .strAttachment = u"\\My Documents\\x"}, u"-CC \"c\" -ATTACHMENT \"\\My Documents\\x\""},
        {{.strBody = u"say \"hi\""}, u"-BODY \"say \"hi\"\""},  // quotes go in unescaped
    };
    for (const auto& c : cases) EXPECT_EQ(Launchers::BuildNewMailCommandLine(c.mail), c.strExpected);
}

TEST(NewMailCommandLine, DesktopArgumentsCarryTheSameFields) {
    const NewMail all{u"a@x.jp", u"c@x.jp", u"b@x.jp", u"件名", u"本文\r\n2行目", u"/tmp/f.txt"};
    const Log expected{u"xdg-email", u"--utf8", u"--subject", u"件名", u"--cc", u"c@x.jp", u"--bcc", u"b@x.jp",
                       u"--body", u"本文\r\n2行目", u"--attach", u"/tmp/f.txt", u"a@x.jp"};
    EXPECT_EQ(Launchers::BuildDesktopMailArguments(all), expected);
    EXPECT_EQ(Launchers::BuildDesktopMailArguments(NewMail{.strBody = u"x"}), (Log{u"xdg-email", u"--utf8", u"--body", u"x"}));
}

TEST_F(LaunchersTest, NewMailGoesToThePlatformsMailProgram) {
    const NewMail mail{.strTo = u"a", .strSubject = u"s"};
    m_launchers.LaunchNewMail(mail);
    m_launcher.m_style = HandOffStyle::Desktop;
    m_launchers.LaunchNewMail(mail);
    EXPECT_EQ(m_log, (Log{u"process \\Windows\\tmail.exe | -TO \"a\"-SUBJECT \"s\"",
                          u"spawn xdg-email --utf8 --subject s a"}));
}

TEST_F(LaunchersTest, OpenWithShellNeedsOnlyAFileName) {
    EXPECT_EQ(m_launchers.OpenWithShell(u"", u"http://x/"), 0);
    EXPECT_EQ(m_launchers.OpenWithShell(u"/usr/bin/firefox", u"http://x/?a=1"), 1);
    EXPECT_EQ(m_log, (Log{u"open /usr/bin/firefox | http://x/?a=1"}));
}

// Window shown from..until (ticks), limit -> found, elapsed ms, looks. Only the 10 ms sleeps count.
TEST_F(LaunchersTest, WaitForWindowCountsSleeps) {
    const struct {
        std::uint32_t nFrom, nLimit;
        bool bFound;
        std::uint32_t nElapsed;
        int nFinds;
    } cases[] = {
        {0, 5000, true, 0, 1},
        {120, 5000, true, 120, 13},
        {4990, 5000, true, 4990, 500},
        {5000, 5000, false, 5000, 500},  // no look after the last sleep
        {FakeWindowFinder::kForever, 5000, false, 5000, 500},
        {FakeWindowFinder::kForever, 0, false, 10, 1},
    };
    for (const auto& c : cases) {
        FakeWindowFinder windows(m_clock);
        Launchers launchers(m_launcher, windows, m_clipboard, m_clock, m_messages);
        const std::uint32_t nStart = m_clock.TickCount();
        const WindowHandle hWindow = windows.Add(u"w", u"C", u"T", c.nFrom == FakeWindowFinder::kForever ? c.nFrom : nStart + c.nFrom);
        EXPECT_EQ(launchers.WaitForWindow(u"C", u"T", c.nLimit), c.bFound ? hWindow : 0) << c.nFrom;
        EXPECT_EQ(m_clock.TickCount() - nStart, c.nElapsed) << c.nFrom;
        EXPECT_EQ(windows.m_nFinds, c.nFinds) << c.nFrom;
    }
}

// Window shown until (ticks), limit 5000 -> gone, elapsed ms.
TEST_F(LaunchersTest, WaitWindowGoneGivesUpAtTheLimit) {
    const struct {
        std::uint32_t nUntil;
        bool bGone;
        std::uint32_t nElapsed;
    } cases[] = {
        {0, true, 0},  // absent: no sleep at all
        {300, true, 300},
        {4990, true, 4990},
        {5000, false, 5000},  // the last look saw it gone, but the limit came first
        {FakeWindowFinder::kForever, false, 5000},
    };
    for (const auto& c : cases) {
        FakeWindowFinder windows(m_clock);
        Launchers launchers(m_launcher, windows, m_clipboard, m_clock, m_messages);
        const std::uint32_t nStart = m_clock.TickCount();
        windows.Add(u"w", u"C", u"T", 0, c.nUntil == FakeWindowFinder::kForever ? c.nUntil : nStart + c.nUntil);
        EXPECT_EQ(launchers.WaitWindowGone(u"C", u"T", 5000), c.bGone) << c.nUntil;
        EXPECT_EQ(m_clock.TickCount() - nStart, c.nElapsed) << c.nUntil;
    }
}

TEST_F(LaunchersTest, MapHandOffsDoNothingWhenSwitchedOff) {
    m_settings.bGmmSend = false;
    m_location.Reset();
    EXPECT_EQ(m_launchers.LaunchMapWithUrl(0, m_location, m_settings), 1);
    EXPECT_EQ(m_launchers.SendMapSearch(0, m_location, m_settings), 1);
    EXPECT_EQ(m_windows.m_nFinds, 0);
    EXPECT_TRUE(m_boxes.Boxes().empty());
    EXPECT_TRUE(m_log.empty());
}

TEST_F(LaunchersTest, MapHandOffsWarnWithoutPosition) {
    m_location.Reset();
    EXPECT_EQ(m_launchers.LaunchMapWithUrl(0, m_location, m_settings), 0);
    EXPECT_EQ(m_launchers.SendMapSearch(0, m_location, m_settings), 0);
    EXPECT_EQ(BoxLines(m_boxes), (Log{kNoPositionBox, kNoPositionBox}));
    EXPECT_TRUE(m_log.empty());
}

TEST_F(LaunchersTest, MapThatRefusesToCloseIsNotRelaunched) {
    m_windows.Add(u"map", u"GoogleMapsMobile", u"モバイルGoogleマップ");
    EXPECT_EQ(m_launchers.LaunchMapWithUrl(0, m_location, m_settings), 1);
    EXPECT_EQ(m_log, (Log{u"post map 250"}));
    EXPECT_EQ(m_clock.TickCount(), 5000u);
}

TEST_F(LaunchersTest, MapIsClosedThenOpenedOnTheUrl) {
    const WindowHandle hMap = m_windows.Add(u"map", u"GoogleMapsMobile", u"モバイルGoogleマップ");
    m_windows.m_onPost = [&](WindowHandle hWindow, std::uint32_t nCommand) {
        if (hWindow == hMap && nCommand == 250) m_windows.HideAfter(hMap, 300);
    };
    EXPECT_EQ(m_launchers.LaunchMapWithUrl(0, m_location, m_settings), 1);
    EXPECT_EQ(m_log, (Log{u"post map 250", u"open \\Program Files\\GoogleMaps\\GoogleMaps.exe | "
                                           u"-URL \"?action=locn&a=@latlon:35.658581,139.745433\""}));
}

TEST_F(LaunchersTest, DesktopMapOpensGeoUri) {
    m_launcher.m_style = HandOffStyle::Desktop;
    m_location.m_dWEast = -0.5;
    EXPECT_EQ(m_launchers.LaunchMapWithUrl(0, m_location, m_settings), 1);
    EXPECT_EQ(m_log, (Log{u"open geo:35.658581,-0.500000 | "}));
    EXPECT_EQ(m_clock.TickCount(), 0u);
}

TEST(MapSearchText, FractionIsAPlainInteger) {
    Location location;
    const std::int32_t wnl[4] = {35, 39, 41, 57};
    const std::int32_t wel[4] = {139, 44, 43, 5};
    std::copy(wnl, wnl + 4, location.m_nWNL);
    std::copy(wel, wel + 4, location.m_nWEL);
    EXPECT_EQ(Launchers::BuildSearchText(location), u"n 35 39 41.57,e 139 44 43.5");
}

// Plays the map application: started by the shell, its start-up dialog comes after 200 ms and goes
// 100 ms after OK, leaving the map window; command 200 brings the search dialog after 50 ms.
class MapDanceTest : public LaunchersTest {
protected:
    MapDanceTest() {
        m_hStart = m_windows.Add(u"start", u"Dialog", u"Googleマップ", FakeWindowFinder::kForever);
        m_hMap = m_windows.Add(u"map", u"GoogleMapsMobile", u"モバイル Google マップ", FakeWindowFinder::kForever);
        m_hSearch = m_windows.Add(u"search", u"Dialog", u"検索", FakeWindowFinder::kForever);
        m_windows.AddChild(m_hSearch, 600, u"edit");
        m_launcher.m_onStart = [&](const std::u16string&) { m_windows.ShowAfter(m_hStart, 200); };
        m_windows.m_onPost = [&](WindowHandle hWindow, std::uint32_t nCommand) {
            if (hWindow == m_hStart && nCommand == 1) {
                m_windows.HideAfter(m_hStart, 100);
                if (!m_windows.Find(u"GoogleMapsMobile", u"モバイル Google マップ")) m_windows.ShowAfter(m_hMap, 100);
            }
            if (hWindow == m_hMap && nCommand == 200 && m_bSearchComes) m_windows.ShowAfter(m_hSearch, 50);
        };
    }

    WindowHandle m_hStart = 0, m_hMap = 0, m_hSearch = 0;
    bool m_bSearchComes = true;
};

TEST_F(MapDanceTest, StartsTheMapAndFillsTheSearch) {
    EXPECT_EQ(m_launchers.SendMapSearch(0, m_location, m_settings), 1);
    EXPECT_EQ(m_log, (Log{u"open \\Program Files\\GoogleMaps\\GoogleMaps.exe | ", u"post start 1", u"post map 200",
                          u"text edit n 35 39 41.5,e 139 44 43.57", u"post search 1"}));
}

TEST_F(MapDanceTest, RunningMapGetsTheSearchAfterItsStartDialogIsConfirmed) {
    m_windows.SetSpan(m_hStart, 0);
    m_windows.SetSpan(m_hMap, 0);
    EXPECT_EQ(m_launchers.SendMapSearch(0, m_location, m_settings), 1);
    EXPECT_EQ(m_log, (Log{u"post start 1", u"post map 200", u"text edit n 35 39 41.5,e 139 44 43.57",
                          u"post search 1"}));
}

TEST_F(MapDanceTest, NoSearchDialogMeansNoSearch) {
    m_bSearchComes = false;
    EXPECT_EQ(m_launchers.SendMapSearch(0, m_location, m_settings), 1);
    EXPECT_EQ(m_log.back(), u"post map 200");
}

TEST_F(MapDanceTest, MapThatNeverShowsItsDialogFails) {
    m_launcher.m_onStart = nullptr;
    EXPECT_EQ(m_launchers.SendMapSearch(0, m_location, m_settings), 0);
    EXPECT_EQ(m_log, (Log{u"open \\Program Files\\GoogleMaps\\GoogleMaps.exe | "}));
    EXPECT_EQ(m_clock.TickCount(), 5000u);
}

TEST_F(MapDanceTest, DesktopHasNoMapToStart) {
    m_launcher.m_style = HandOffStyle::Desktop;
    EXPECT_EQ(m_launchers.SendMapSearch(0, m_location, m_settings), 0);
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(m_clock.TickCount(), 0u);
}

TEST_F(LaunchersTest, ClipboardGetsTheExpandedTemplate) {
    m_settings.strClipboardFormat = u"$nl,$el $wnml";
    EXPECT_TRUE(m_launchers.CopyPositionToClipboard(m_location, m_settings));
    EXPECT_EQ(m_clipboard.m_strText, u"35.39.29.157,139.44.58.500 35/39/41.5");
}

TEST_F(LaunchersTest, EmptyClipboardTemplateLeavesAnEmptyText) {
    EXPECT_TRUE(m_launchers.CopyPositionToClipboard(m_location, m_settings));
    EXPECT_EQ(m_clipboard.m_nSets, 1);
    EXPECT_EQ(m_clipboard.m_strText, u"");
}

TEST_F(LaunchersTest, ClipboardNeedsPositionAndAClipboard) {
    m_settings.strClipboardFormat = u"$nl";
    m_clipboard.m_bAvailable = false;
    EXPECT_FALSE(m_launchers.CopyPositionToClipboard(m_location, m_settings));
    m_clipboard.m_bAvailable = true;
    m_location.Reset();
    EXPECT_FALSE(m_launchers.CopyPositionToClipboard(m_location, m_settings));
    EXPECT_EQ(m_clipboard.m_nSets, 0);
    EXPECT_TRUE(m_boxes.Boxes().empty());
}

}  // namespace
}  // namespace vantrel
