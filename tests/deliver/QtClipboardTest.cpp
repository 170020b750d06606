#include <QClipboard>
#include <QGuiApplication>

#include <gtest/gtest.h>

#include <cstdlib>

#include "port/Clipboard.h"

namespace vantrel {
namespace {

// One test, because the application object the clipboard creates lives until the clipboard goes.
TEST(QtClipboard, NeedsADisplayThenHoldsTheText) {
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
    unsetenv("QT_QPA_PLATFORM");
    std::unique_ptr<Clipboard> pClipboard = CreateClipboard();
    EXPECT_FALSE(pClipboard->SetUnicodeText(u"x"));
    EXPECT_EQ(QCoreApplication::instance(), nullptr);

    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ASSERT_TRUE(pClipboard->SetUnicodeText(u"N35.39.29.157 東京"));
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdU16String(), u"N35.39.29.157 東京");
    ASSERT_TRUE(pClipboard->SetUnicodeText(u""));
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdU16String(), u"");
}

}  // namespace
}  // namespace vantrel
