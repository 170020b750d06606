#include <QCoreApplication>
#include <QThread>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "platform/qt/QtUiThread.h"

namespace vantrel {
namespace {

TEST(QtUiThreadTest, ClosuresPostedByAnotherThreadRunInOrderOnTheUiThread) {
    QtUiThread ui;
    std::vector<int> ran;
    bool bAllOnUi = true;
    std::thread poster([&] {
        for (int i = 0; i < 50; ++i)
            ui.Post([&, i] {
                bAllOnUi = bAllOnUi && QThread::currentThread() == QCoreApplication::instance()->thread();
                ran.push_back(i);
            });
        ui.Post([&] { ui.EndModal(9); });
    });
    EXPECT_EQ(ui.RunModal(), 9);
    poster.join();
    ASSERT_EQ(ran.size(), 50u);
    for (int i = 0; i < 50; ++i) EXPECT_EQ(ran[static_cast<std::size_t>(i)], i);
    EXPECT_TRUE(bAllOnUi);
}

TEST(QtUiThreadTest, NestedRunsEndWithTheirOwnCodes) {
    QtUiThread ui;
    QtUiThread::RunId nOuter = 0;
    int nInner = 0;
    std::vector<int> order;
    ui.Post([&] {
        ui.Post([&] {
            ui.EndRun(nOuter, 1);  // the outer run ends only once the inner one is over
            ui.EndModal(2);        // the innermost run still going
        });
        nInner = ui.RunModal();
        order.push_back(nInner);
        ui.Post([&] {
            ui.EndModal(3);  // the innermost run still going: a second nested run
            ui.EndModal(4);  // and nothing further, for the outer one has ended already
        });
        order.push_back(ui.RunModal());
    });
    order.push_back(ui.RunModal(&nOuter));
    EXPECT_EQ(order, (std::vector<int>{2, 3, 1}));
}

TEST(QtUiThreadTest, QuitEndsEveryRunWithItsCodeAndLaterRunsAtOnce) {
    QtUiThread ui;
    int nInner = 0;
    ui.Post([&] {
        ui.Post([&] {
            ui.EndModal(8);  // ends the modal run, not the main one
            ui.Post([&] { ui.Quit(5); });
            nInner = ui.RunModal();
        });
        EXPECT_EQ(ui.RunModal(), 8);
    });
    EXPECT_EQ(ui.Run(), 5);
    EXPECT_EQ(nInner, 5);
    EXPECT_EQ(ui.RunModal(), 5);
    EXPECT_TRUE(ui.IsQuitting());

    // The application's loop ended from outside (the desktop's session ending) ends the runs too.
    QtUiThread other;
    other.Post([] { QCoreApplication::exit(4); });
    EXPECT_EQ(other.Run(), 4);
    EXPECT_EQ(other.RunModal(), 4);
}

TEST(QtUiThreadTest, TimersRestartAndKillThemselves) {
    QtUiThread ui;
    int nFast = 0, nSelfKilled = 0;
    ui.SetTimer(100, 60000, [&] { ADD_FAILURE() << "the restart must replace the first period"; });
    ui.SetTimer(100, 10, [&] {
        if (++nFast < 3) return;
        ui.KillTimer(100);
        ui.EndModal(0);
    });
    ui.SetTimer(101, 10, [&] {
        ++nSelfKilled;
        ui.KillTimer(101);
    });
    ui.RunModal();
    EXPECT_EQ(nFast, 3);
    EXPECT_EQ(nSelfKilled, 1);
    EXPECT_FALSE(ui.HasTimer(100));
    EXPECT_FALSE(ui.HasTimer(101));
}

}  // namespace
}  // namespace vantrel
