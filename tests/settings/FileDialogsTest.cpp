// The file dialogs where the replacement library is not installed, as on a plain Linux system: every
// call goes to the platform's dialog, with the request as asked.
#include <gtest/gtest.h>

#include "port/Factories.h"
#include "port/FileDialogs.h"
#include "port/LibraryLoader.h"
#include "port/SystemInfo.h"
#include "support/ScriptedFileDialogs.h"

namespace vantrel {
namespace {

TEST(FileDialogs, WithoutTheLibraryThePlatformAnswers) {
    const std::unique_ptr<SystemInfo> pSystem = CreateSystemInfo();
    const std::unique_ptr<LibraryLoader> pLibraries = CreateLibraryLoader(*pSystem);
    test::ScriptedFileDialogs platform;
    const std::unique_ptr<FileDialogs> pDialogs = CreateFileDialogs(*pLibraries, platform);
    const FileDialogRequest request{u"設定", u"設定ファイル (*.ini)", u"*.ini", false, u"/home/u", true, true};
    std::u16string strPath = u"unchanged";
    EXPECT_FALSE(pDialogs->ChooseSaveFile(0, request, strPath)) << "cancelled";
    EXPECT_EQ(strPath, u"unchanged");
    platform.m_strAnswer = u"/platform/choice";
    EXPECT_TRUE(pDialogs->ChooseOpenFile(0, request, strPath));
    EXPECT_EQ(strPath, u"/platform/choice");
    ASSERT_EQ(platform.m_calls.size(), 2u);
    EXPECT_TRUE(platform.m_calls[0].bSave);
    EXPECT_FALSE(platform.m_calls[1].bSave);
    EXPECT_EQ(platform.m_calls[1].request, request);
}

}  // namespace
}  // namespace vantrel
