#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "deliver/MessageFacility.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "resource.h"
#include "settings/ResourceModule.h"
#include "settings/TextUtil.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageBox.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

const std::string kMark("\xFF\xFE", 2);

class MessageFacilityTest : public testing::Test {
protected:
    MessageFacilityTest() { m_facility.SetLogFolder(m_dir.WidePath()); }

    test::TempDir m_dir;
    test::ManualClock m_clock{test::MakeTime(2009, 1, 29, 12, 0, 0)};
    std::unique_ptr<FileSystem> m_pFiles = CreateFileSystem();
    test::RecordingMessageBox m_boxes;
    MessageFacility m_facility{m_clock, *m_pFiles, m_boxes, ResourceModule::Program()};
};

// A refused folder leaves the one accepted before.
TEST_F(MessageFacilityTest, LogLinesStartTheDayFileWithTheMark) {
    EXPECT_FALSE(m_facility.SetLogFolder(m_dir.WideFile("missing")));
    m_facility.SetFlags(MessageFacility::kLogToFile);
    m_facility.ShowMessage(0, u"text", caption::kDefault, mb::kIconHand);
    m_clock.Advance(61000);
    m_facility.ShowMessage(0, u"二行目\r\nです", caption::kWarning, mb::kOk);
    EXPECT_EQ(test::ReadFileBytes(m_dir.File("20090129.log")),
              kMark + ToUtf16LeBytes(u"[12:00:00] <エラー>:text\r\n[12:01:01] <警告>:二行目\r\nです\r\n"));
    EXPECT_TRUE(m_boxes.Boxes().empty());
}

// Nobody to ask: a notice is acknowledged and any choice answered Yes, so that unattended runs take
// the affirmative branch; with boxes the user's answer counts, even when the log cannot be written.
TEST_F(MessageFacilityTest, AnswersWithAndWithoutBoxes) {
    m_boxes.SetAnswer(mb::kIdNo);
    m_facility.SetFlags(0);
    EXPECT_EQ(m_facility.ShowMessageId(0, IDS_ASK_DISCONNECT, caption::kConfirm, mb::kYesNo), mb::kIdYes);
    EXPECT_EQ(m_facility.ShowMessage(0, u"x", caption::kError, mb::kIconHand), mb::kIdOk);
    m_facility.SetFlags(MessageFacility::kLogToFile | MessageFacility::kShowBoxes);
    std::filesystem::remove_all(m_dir.Path());
    EXPECT_EQ(m_facility.ShowMessageId(0, IDS_ASK_DISCONNECT, caption::kConfirm, mb::kYesNo), mb::kIdNo);
    ASSERT_EQ(m_boxes.Boxes().size(), 1u);
    EXPECT_EQ(m_boxes.Boxes()[0].strText, u"接続中です。切断してもよろしいですか？");
}

TEST_F(MessageFacilityTest, PositionLogSizeLimit) {
    // Legend: bytes already in the file (mark included), characters of the entry, limit, written.
    const struct {
        std::size_t nExisting, nChars;
        std::uint32_t nLimit, nWritten;
    } cases[] = {
        {90, 5, 100, 0},   // 90 + 10 reaches the limit
        {90, 4, 100, 12},  // 90 + 8 stays below it: the text plus "\r\n"
        {90, 5, 0, 14},    // 0 means no limit
        {0, 60, 100, 0},   // a new file: the mark is not counted, the text alone is too long
    };
    for (const auto& c : cases) {
        test::TempDir dir;
        if (c.nExisting) test::WriteFileBytes(dir.File("20090129.pos"), kMark + std::string(c.nExisting - 2, 'a'));
        EXPECT_EQ(m_facility.WritePositionLog(std::u16string(c.nChars, u'x'), u"pos", dir.WidePath(), c.nLimit),
                  c.nWritten);
        const std::size_t nSize = test::ReadFileBytes(dir.File("20090129.pos")).size();
        EXPECT_EQ(nSize, (c.nExisting ? c.nExisting : 2) + c.nWritten);
    }
}

// The suffix names the day file; without one there is no ".".
TEST_F(MessageFacilityTest, PositionLogNamesAndMissingFolder) {
    EXPECT_EQ(m_facility.WritePositionLog(u"a", nullptr, m_dir.WidePath(), 0), 6u);
    EXPECT_EQ(test::ReadFileBytes(m_dir.File("20090129")), kMark + ToUtf16LeBytes(u"a\r\n"));
    EXPECT_EQ(m_facility.WritePositionLog(u"a", u"pos", m_dir.WideFile("missing"), 0), 0u);
    EXPECT_EQ(m_facility.WritePositionLog(u"a", u"pos", u"", 0), 0u);
    EXPECT_FALSE(std::filesystem::exists(m_dir.File("missing")));
}

}  // namespace
}  // namespace vantrel
