#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "platform/headless/HeadlessUiThread.h"
#include "platform/headless/MemoryDialogHost.h"
#include "support/ManualClock.h"

namespace vantrel {
namespace {

TEST(HeadlessUiThreadTest, TimersKeepTheirOwnPeriodsAndMayResetThemselves) {
    test::ManualClock clock;
    HeadlessUiThread ui(clock);
    std::vector<int> fired;
    ui.SetTimer(100, 1000, [&] { fired.push_back(100); });
    ui.SetTimer(102, 1500, [&] {
        fired.push_back(102);
        ui.KillTimer(102);
    });
    for (int i = 0; i < 4; ++i) {
        clock.Advance(500);
        ui.RunPending();
    }
    EXPECT_EQ(fired, (std::vector<int>{100, 102, 100}));
    EXPECT_FALSE(ui.HasTimer(102));
}

TEST(HeadlessUiThreadTest, ModalRunEndsFromAClosurePostedByAnotherThread) {
    test::ManualClock clock;
    HeadlessUiThread ui(clock);
    std::thread poster([&] { ui.Post([&] { ui.EndModal(7); }); });
    EXPECT_EQ(ui.RunModal(), 7);
    poster.join();
}

TEST(HeadlessUiThreadTest, NestedModalRunsEndInnermostFirst) {
    test::ManualClock clock;
    HeadlessUiThread ui(clock);
    int nInner = 0;
    ui.Post([&] {
        ui.Post([&] { ui.EndModal(2); });
        nInner = ui.RunModal();
        ui.EndModal(1);
    });
    EXPECT_EQ(ui.RunModal(), 1);
    EXPECT_EQ(nInner, 2);
}

TEST(HeadlessUiThreadTest, WaitingLoopSeesAManualClockAdvancedElsewhere) {
    test::ManualClock clock;
    HeadlessUiThread ui(clock);
    ui.SetTimer(102, 1000, [&] { ui.Quit(3); });
    std::thread mover([&] {
        clock.Advance(1000);
        ui.Wake();
    });
    EXPECT_EQ(ui.Run(), 3);
    mover.join();
}

TEST(MemoryDialogHostTest, CloseBeforeTheRunEndsItAtOnce) {
    test::ManualClock clock;
    HeadlessUiThread ui(clock);
    MemoryDialogHost host(ui);
    host.Close(2);
    EXPECT_EQ(host.RunModal(), 2);
}

TEST(MemoryDialogHostTest, ListSelectionFollowsInsertAndDelete) {
    test::ManualClock clock;
    HeadlessUiThread ui(clock);
    MemoryDialogHost host(ui);
    host.CreateControl({1101, u"SysListView32", u""});
    for (int i = 0; i < 3; ++i) host.ListInsertRow(1101, -1, {std::u16string(1, u'a' + i)});
    host.ListSetSel(1101, 1);
    host.ListInsertRow(1101, 0, {u"z"});
    EXPECT_EQ(host.ListGetSel(1101), 2);
    EXPECT_EQ(host.ListGetCell(1101, 2, 0), u"b");
    host.ListDeleteRow(1101, 0);
    EXPECT_EQ(host.ListGetSel(1101), 1);
    host.ListDeleteRow(1101, 1);
    EXPECT_EQ(host.ListGetSel(1101), -1);
    EXPECT_EQ(host.ListGetCell(1101, 1, 5), u"");
}

TEST(MemoryDialogHostTest, DeletingTreeChildrenDropsTheirSelection) {
    test::ManualClock clock;
    HeadlessUiThread ui(clock);
    MemoryDialogHost host(ui);
    host.CreateControl({2001, u"SysTreeView32", u""});
    const TreeItem root = host.TreeInsert(2001, 0, u"マイ ポケットPC", true);
    const TreeItem card = host.TreeInsert(2001, root, u"Card", true);
    const TreeItem deep = host.TreeInsert(2001, card, u"Deep", false);
    host.TreeSelect(2001, deep);
    EXPECT_EQ(host.TreeParent(2001, deep), card);
    host.TreeDeleteChildren(2001, root);
    EXPECT_EQ(host.TreeSelection(2001), 0u);
    EXPECT_TRUE(host.TreeChildren(2001, root).empty());
    EXPECT_EQ(host.TreeText(2001, root), u"マイ ポケットPC");
}

}  // namespace
}  // namespace vantrel
