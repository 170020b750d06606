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
    LaunchersTest() {
        m_location.SetFromText(u"N35.39.29.157E139.44.58.500/pc1");
        m_location.m_dWNorth = 35.658581;
        m_location.m_dWEast = 139.745433;
        std::ranges::copy(std::array{35, 39, 41, 5}, m_location.m_nWNL);
        std::ranges::copy(std::array{139, 44, 43, 57}, m_location.m_nWEL);
        m_settings.bGmmSend = true;
    }

    test::ManualClock m_clock{test::MakeTime(2009, 1, 29, 12)};
    std::unique_ptr<FileSystem> m_pFiles = CreateFileSystem();
    test::RecordingMessageBox m_boxes;
    MessageFacility m_messages{m_clock, *m_pFiles, m_boxes, ResourceModule::Program()};
    Log m_log;
    test::FakeProcessLauncher m_launcher{HandOffStyle::Handset, &m_log};
    FakeWindowFinder m_windows{m_clock, &m_log};
    test::FakeClipboard m_clipboard;
    Launchers m_launchers{m_launcher, m_windows, m_clipboard, m_clock, m_messages};
    Location m_location;
    HandOffSettings m_settings;
};

// The handset's mail program gets one command line: switches in a fixed order, a blank before each
// but the subject, which follows -TO's value directly (that program parses -TO "a"-SUBJECT "b").
// A desktop gets the opener's arguments, the recipient last.
TEST_F(LaunchersTest, NewMailGoesToThePlatformsMailProgram) {
    const NewMail full{u"a@x.jp", u"c@x.jp", u"b@x.jp", u"件名", u"本文\r\n2行目", u"/tmp/f.txt"};
    m_launchers.LaunchNewMail({.strBody = u"x"});
    m_launchers.LaunchNewMail(full);
    m_launcher.m_style = HandOffStyle::Desktop;
    m_launchers.LaunchNewMail(full);
    EXPECT_EQ(m_log, (Log{u"process \\Windows\\tmail.exe | -BODY \"x\"",
                          u"process \\Windows\\tmail.exe | -TO \"a@x.jp\"-SUBJECT \"件名\" -CC \"c@x.jp\" -BCC \"b@x.jp\" "
                          u"-BODY \"本文\r\n2行目\" -ATTACHMENT \"/tmp/f.txt\"",
                          u"spawn xdg-email --utf8 --subject 件名 --cc c@x.jp --bcc b@x.jp --body 本文\r\n2行目 "
                          u"--attach /tmp/f.txt a@x.jp"}));
}

TEST_F(LaunchersTest, OpenWithShellNeedsOnlyAFileName) {
    EXPECT_EQ(m_launchers.OpenWithShell(u"", u"http://x/"), 0);
    EXPECT_EQ(m_launchers.OpenWithShell(u"/usr/bin/browser", u"http://x/?a=1"), 1);
    EXPECT_EQ(m_log, (Log{u"open /usr/bin/browser | http://x/?a=1"}));
}

TEST_F(LaunchersTest, MapHandOffsNeedTheSwitchThenAPosition) {
    m_settings.bGmmSend = false;
    m_location.Reset();
    EXPECT_EQ(m_launchers.LaunchMapWithUrl(0, m_location, m_settings), 1);
    EXPECT_EQ(m_launchers.SendMapSearch(0, m_location, m_settings), 1);
    m_settings.bGmmSend = true;
    EXPECT_EQ(m_launchers.LaunchMapWithUrl(0, m_location, m_settings), 0);
    EXPECT_EQ(m_launchers.SendMapSearch(0, m_location, m_settings), 0);
    EXPECT_EQ(m_boxes.Boxes().size(), 2u);  // the position is asked for
    EXPECT_TRUE(m_log.empty());  // nothing closed, nothing started
}

// A running map ignores a new URL: it is asked to close (250) first, and left alone if it stays.
TEST_F(LaunchersTest, MapIsClosedThenOpenedOnTheUrl) {
    const WindowHandle hMap = m_windows.Add(u"map", u"GoogleMapsMobile", u"モバイルGoogleマップ");
    EXPECT_EQ(m_launchers.LaunchMapWithUrl(0, m_location, m_settings), 1);
    m_windows.m_onPost = [&](WindowHandle hWindow, std::uint32_t nCommand) {
        if (hWindow == hMap && nCommand == 250) m_windows.HideAfter(hMap, 300);
    };
    EXPECT_EQ(m_launchers.LaunchMapWithUrl(0, m_location, m_settings), 1);
    m_launcher.m_style = HandOffStyle::Desktop;
    m_location.m_dWEast = -0.5;
    EXPECT_EQ(m_launchers.LaunchMapWithUrl(0, m_location, m_settings), 1);
    EXPECT_EQ(m_log, (Log{u"post map 250", u"post map 250",
                          u"open \\Program Files\\GoogleMaps\\GoogleMaps.exe | "
                          u"-URL \"?action=locn&a=@latlon:35.658581,139.745433\"",
                          u"open geo:35.658581,-0.500000 | "}));
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
            if (hWindow == m_hMap && nCommand == 200) m_windows.ShowAfter(m_hSearch, 50);
        };
    }

    WindowHandle m_hStart = 0, m_hMap = 0, m_hSearch = 0;
};

TEST_F(MapDanceTest, StartsTheMapAndFillsTheSearch) {
    EXPECT_EQ(m_launchers.SendMapSearch(0, m_location, m_settings), 1);
    EXPECT_EQ(m_log, (Log{u"open \\Program Files\\GoogleMaps\\GoogleMaps.exe | ", u"post start 1", u"post map 200",
                          u"text edit n 35 39 41.5,e 139 44 43.57", u"post search 1"}));
}

TEST_F(MapDanceTest, MapThatCannotBeStartedFails) {
    m_launcher.m_onStart = nullptr;
    EXPECT_EQ(m_launchers.SendMapSearch(0, m_location, m_settings), 0);
    EXPECT_EQ(m_log, (Log{u"open \\Program Files\\GoogleMaps\\GoogleMaps.exe | "}));
    EXPECT_EQ(m_clock.TickCount(), 5000u);
    m_launcher.m_style = HandOffStyle::Desktop;  // no map application to start at all
    EXPECT_EQ(m_launchers.SendMapSearch(0, m_location, m_settings), 0);
    EXPECT_EQ(m_log.size(), 1u);
}

TEST_F(LaunchersTest, ClipboardGetsTheExpandedTemplateWhenThereIsAPosition) {
    // An empty template sets an empty text (the clipboard starts empty: the count below shows it).
    EXPECT_TRUE(m_launchers.CopyPositionToClipboard(m_location, m_settings));
    m_settings.strClipboardFormat = u"$nl,$el $wnml";
    EXPECT_TRUE(m_launchers.CopyPositionToClipboard(m_location, m_settings));
    EXPECT_EQ(m_clipboard.m_strText, u"35.39.29.157,139.44.58.500 35/39/41.5");
    m_location.Reset();
    EXPECT_FALSE(m_launchers.CopyPositionToClipboard(m_location, m_settings));
    EXPECT_EQ(m_clipboard.m_nSets, 2);  // the empty text and the position; none without a position
}

}  // namespace
}  // namespace vantrel
