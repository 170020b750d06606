#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

#include "platform/qt/QtMessageBox.h"
#include "platform/qt/QtUiThread.h"

namespace vantrel {
namespace {

// Waits on the loop for the box to open, then lets fn look at it and answer it.
void WhenTheBoxOpens(std::function<void(QMessageBox&)> fn) {
    auto* pPoll = new QTimer;
    QObject::connect(pPoll, &QTimer::timeout, pPoll, [pPoll, fn] {
        auto* pBox = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!pBox || !pBox->isVisible()) return;
        pPoll->deleteLater();
        pPoll->stop();
        fn(*pBox);
    });
    pPoll->start(5);
}

TEST(QtMessageBoxTest, IconsButtonsAndAnswersFollowTheStyle) {
    struct Case {
        std::uint32_t nFlags;
        QMessageBox::Icon icon;
        QMessageBox::StandardButtons buttons;
        int nKey;  // 0: the button is clicked
        QMessageBox::StandardButton press;
        int nAnswer;
    };
    using B = QMessageBox;
    // legend: style bits, the icon and buttons shown, what the user presses, the answer returned.
    // (Escape on a lone OK is a click on OK; Escape on Yes/No answers No.)
    const Case cases[] = {
        {0x30, B::Warning, B::Ok, Qt::Key_Escape, B::NoButton, 1},
        {0x04, B::Question, B::Yes | B::No, Qt::Key_Escape, B::NoButton, 7},
        {0x24, B::Question, B::Yes | B::No, 0, B::Yes, 6},
        {0x21, B::Question, B::Ok | B::Cancel, Qt::Key_Escape, B::NoButton, 2},
    };
    QtUiThread ui;
    QtMessageBox boxes(ui);
    for (const Case& c : cases) {
        WhenTheBoxOpens([&](QMessageBox& box) {
            EXPECT_EQ(box.icon(), c.icon) << std::hex << c.nFlags;
            EXPECT_EQ(box.standardButtons(), c.buttons) << std::hex << c.nFlags;
            if (c.nKey != 0) QTest::keyClick(&box, static_cast<Qt::Key>(c.nKey));
            else box.button(c.press)->click();
        });
        EXPECT_EQ(boxes.Show(0, u"本文", u"確認", c.nFlags), c.nAnswer) << std::hex << c.nFlags;
    }
}

TEST(QtMessageBoxTest, TextAndCaptionArePlainWithCrLfAsLineBreaks) {
    QtUiThread ui;
    QtMessageBox boxes(ui);
    WhenTheBoxOpens([](QMessageBox& box) {
        EXPECT_EQ(box.windowTitle(), QStringLiteral("エラー"));
        EXPECT_EQ(box.text(), QStringLiteral("<b>送信</b>\nhttp://a/?x=1&y=2"));
        EXPECT_EQ(box.textFormat(), Qt::PlainText);
        box.button(QMessageBox::Ok)->click();
    });
    EXPECT_EQ(boxes.Show(0, u"<b>送信</b>\r\nhttp://a/?x=1&y=2", u"エラー", 0x10), 1);
}

TEST(QtMessageBoxTest, AQuitWhileTheBoxIsOpenAnswersAsEscapeAndClosesIt) {
    QtUiThread ui;
    QtMessageBox boxes(ui);
    WhenTheBoxOpens([&](QMessageBox&) { ui.Quit(3); });
    EXPECT_EQ(boxes.Show(0, u"接続中です。切断してもよろしいですか？", u"確認", 0x24), 7);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    EXPECT_EQ(boxes.Show(0, u"x", u"y", 0x21), 2);  // no box opens after the Quit
}

}  // namespace
}  // namespace vantrel
