#include <QApplication>
#include <QFontInfo>
#include <QFontMetrics>
#include <QHeaderView>
#include <QScreen>
#include <QTabBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QTreeWidget>
#include <QWidget>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "app/DialogTemplate.h"
#include "platform/headless/HeadlessUiThread.h"
#include "platform/headless/MemoryDialogHost.h"
#include "platform/qt/QtDialogHost.h"
#include "platform/qt/QtSheetHost.h"
#include "resource.h"
#include "settings/ResourceModule.h"
#include "support/ManualClock.h"

namespace vantrel {
namespace {

constexpr std::uint32_t kChild = 0x50010000;  // WS_CHILD | WS_VISIBLE | WS_TABSTOP

using Commands = std::vector<std::pair<int, int>>;

// One control of each kind the program's templates use: edit, multi-line edit, drop-down list,
// report list, tree, auto check box, push button.
void AddSampleControls(DialogHost& h) {
    h.SetFrame({u"t", u"ＭＳ Ｐゴシック", 8, 173, 185});
    h.CreateControl({1, u"EDIT", u"", kChild | 0x80, 0, 4, 4, 60, 12});
    h.CreateControl({2, u"EDIT", u"", kChild | 0x1044, 0, 4, 20, 60, 30});
    h.CreateControl({3, u"COMBOBOX", u"", kChild | 0x3, 0, 4, 60, 60, 80});
    h.CreateControl({4, u"SysListView32", u"", kChild | 0x1, 0, 4, 80, 100, 40});
    h.CreateControl({5, u"SysTreeView32", u"", kChild | 0x7, 0, 4, 130, 100, 40});
    h.CreateControl({6, u"BUTTON", u"auto", kChild | 0x3, 0, 110, 4, 50, 10});
    h.CreateControl({8, u"BUTTON", u"push", kChild, 0, 110, 40, 50, 14});
}

// What a form sees of a host after the same calls; both backends must give the same answers.
std::u16string Observe(DialogHost& h) {
    std::u16string log;
    auto put = [&](const std::u16string& str) { log += str + u'|'; };
    auto num = [&](long long n) { for (char c : std::to_string(n)) log += static_cast<char16_t>(c); log += u'|'; };
    AddSampleControls(h);

    h.SetTextLimit(1, 4);
    h.SetText(1, u"abcdef");
    put(h.GetText(1));
    h.SetTextLimit(1, 0), h.SetText(1, u"abcdefg"), put(h.GetText(1));  // 0: no limit
    h.SetText(2, u"a\r\nb");
    put(h.GetText(2));

    num(h.ComboAdd(3, u"x")), num(h.ComboAdd(3, u"y")), num(h.ComboGetSel(3));
    h.ComboSetSel(3, 1), num(h.ComboGetSel(3)), put(h.GetText(3));
    h.ComboReset(3), num(h.ComboCount(3)), num(h.ComboGetSel(3));

    h.ListAddColumn(4, u"A", 50);
    h.ListAddColumn(4, u"B", 50);
    h.ListSetExtendedStyle(4, lvs::kFullRowSelect | lvs::kGridLines);
    for (const char16_t* psz : {u"a", u"b", u"c"}) h.ListInsertRow(4, -1, {psz, u"2"});
    h.ListSetSel(4, 1);
    num(h.ListInsertRow(4, 0, {u"z"})), num(h.ListGetSel(4)), put(h.ListGetCell(4, 2, 0)), put(h.ListGetCell(4, 0, 1));
    h.ListDeleteRow(4, 0), num(h.ListGetSel(4));
    h.ListDeleteRow(4, 1), num(h.ListGetSel(4)), num(h.ListRowCount(4)), put(h.ListGetCell(4, 1, 5));
    h.ListSetCell(4, 0, 0, u"v"), put(h.ListGetCell(4, 0, 0));

    const TreeItem root = h.TreeInsert(5, 0, u"マイ ポケットPC", true);
    const TreeItem card = h.TreeInsert(5, root, u"Card", true);
    const TreeItem deep = h.TreeInsert(5, card, u"Deep", false);
    h.TreeSetIcon(5, root, TreeIcon::Program), h.TreeSetIcon(5, card, TreeIcon::StorageCard);
    h.TreeSetHasChildren(5, deep, true), h.TreeExpand(5, root, true), h.TreeExpand(5, card, true);
    h.TreeSelect(5, deep);
    num(h.TreeSelection(5) == deep), num(h.TreeParent(5, deep) == card), num(h.TreeParent(5, root));
    num(h.TreeChildren(5, 0).size()), num(h.TreeChildren(5, root).size());
    h.TreeDeleteChildren(5, root);
    num(h.TreeSelection(5)), num(h.TreeChildren(5, root).size()), put(h.TreeText(5, deep)), put(h.TreeText(5, root));
    h.TreeSelect(5, root), h.TreeDeleteChildren(5, root), num(h.TreeSelection(5) == root);  // it stays

    num(h.GetCheck(6));  // unchecked at first
    h.SetCheck(6, true), num(h.GetCheck(6));
    h.Enable(6, false), num(h.IsEnabled(6));
    h.Show(6, false), num(h.IsVisible(6));

    int nValue = 0;
    num(h.SetProperty(u"page", &nValue)), num(h.GetProperty(u"page") == &nValue), num(h.GetProperty(u"other") == nullptr);
    return log;
}

class QtDialogHostTest : public testing::Test {
protected:
    std::unique_ptr<QtDialogHost> Build(std::uint16_t nTemplate) {
        auto pHost = QtDialogHost::CreateWindowed(m_ui, nullptr);
        CreateControls(ResourceModule::Program(), nTemplate, *pHost);
        pHost->SetCommandHandler([this](int nId, int nNotify) { m_commands.emplace_back(nId, nNotify); });
        return pHost;
    }

    QtUiThread m_ui;
    Commands m_commands;
};

TEST_F(QtDialogHostTest, AnswersAsTheInMemoryHostDoes) {
    test::ManualClock clock;
    HeadlessUiThread headless(clock);
    MemoryDialogHost memory(headless);
    auto pQt = QtDialogHost::CreateWindowed(m_ui, nullptr);
    Commands none;
    pQt->SetCommandHandler([&](int nId, int nNotify) { none.emplace_back(nId, nNotify); });
    pQt->SetNotifyHandler([&](const Notification& note) { none.emplace_back(note.nId, note.nCode); });
    EXPECT_EQ(Observe(*pQt), Observe(memory));
    EXPECT_TRUE(none.empty()) << "a setter notified " << none.front().first << '/' << none.front().second;
}

TEST_F(QtDialogHostTest, UserActionsReachTheFormAsCommandsAndNotifications) {
    auto pHost = QtDialogHost::CreateWindowed(m_ui, nullptr);
    AddSampleControls(*pHost);
    pHost->CreateControl({9, u"BUTTON", u"a", 0x40010000, 0, 0, 0, 20, 10});  // no WS_VISIBLE
    pHost->CreateControl({10, u"EDIT", u"", 0x58010000, 0, 0, 20, 20, 10});   // WS_DISABLED
    pHost->ComboAdd(3, u"x"), pHost->ComboAdd(3, u"y"), pHost->ComboSetSel(3, 0);
    pHost->ListAddColumn(4, u"A", 40), pHost->ListAddColumn(4, u"B", 40);
    pHost->ListInsertRow(4, -1, {u"a"}), pHost->ListInsertRow(4, -1, {u"b"});
    const TreeItem root = pHost->TreeInsert(5, 0, u"root", true);  // children are listed when it opens
    TreeItem child = 0;
    pHost->SetCommandHandler([this](int nId, int nNotify) { m_commands.emplace_back(nId, nNotify); });
    pHost->SetNotifyHandler([&](const Notification& note) {
        m_commands.emplace_back(note.nId, note.nCode * 1000 + static_cast<int>(note.nParam));
        if (note.nCode == notify::kTreeExpanding) child = pHost->TreeInsert(5, root, u"child", false);
        if (note.nCode == notify::kTreeCollapsing) pHost->TreeDeleteChildren(5, root);
    });
    pHost->Widget()->show();
    auto* pTable = static_cast<QTableWidget*>(pHost->ControlWidget(4));
    auto* pTree = static_cast<QTreeWidget*>(pHost->ControlWidget(5));
    const QPoint header(pTable->horizontalHeader()->sectionViewportPosition(1) + 5, 5);

    QTest::keyClicks(pHost->ControlWidget(1), QStringLiteral("ab"));
    QTest::keyClicks(pHost->ControlWidget(2), QStringLiteral("c"));
    QTest::keyClick(pHost->ControlWidget(2), Qt::Key_Tab);  // leaves a multi-line edit, types nothing
    QTest::keyClick(pHost->ControlWidget(3), Qt::Key_Down);
    QTest::mouseClick(pTable->viewport(), Qt::LeftButton, {}, pTable->visualRect(pTable->model()->index(1, 0)).center());
    QTest::mouseClick(pTable->horizontalHeader()->viewport(), Qt::LeftButton, {}, header);
    pTree->setFocus();
    pTree->setCurrentItem(pTree->topLevelItem(0));
    QTest::keyClick(pTree, Qt::Key_Right);  // opens the item
    const bool bChildShown = child != 0 && pTree->topLevelItem(0)->isExpanded() && pTree->topLevelItem(0)->childCount() == 1;
    QTest::keyClick(pTree, Qt::Key_Left);   // closes it
    for (int nId : {6, 8}) QTest::mouseClick(pHost->ControlWidget(nId), Qt::LeftButton);
    // legend: (id, command code) or, for notifications, (id, code * 1000 + parameter)
    const int nRoot = static_cast<int>(root);
    EXPECT_EQ(m_commands, (Commands{{1, 0x300}, {1, 0x300}, {2, 0x300}, {3, 1}, {4, notify::kListSelChanged * 1000 + 1},
                                    {4, notify::kListColumnClick * 1000 + 1}, {5, notify::kTreeExpanding * 1000 + nRoot},
                                    {5, notify::kTreeCollapsing * 1000 + nRoot}, {6, 0}, {8, 0}}));
    EXPECT_TRUE(bChildShown);
    EXPECT_TRUE(pHost->TreeChildren(5, root).empty());
    EXPECT_EQ(pHost->ComboGetSel(3), 1);
    EXPECT_EQ(pHost->ListGetSel(4), 1);
    EXPECT_EQ(pHost->ListGetCell(4, 0, 0), u"a");  // a click on a caption sorts nothing by itself
    EXPECT_TRUE(pHost->GetCheck(6));  // an auto check box toggles itself
    EXPECT_FALSE(pHost->IsVisible(9) || pHost->ControlWidget(9)->isVisible());
    EXPECT_FALSE(pHost->IsEnabled(10) || pHost->ControlWidget(10)->isEnabled());
}

// The close box tells the form IDCANCEL and ends the run with it if the form did not. (Escape,
// IDCANCEL too, closes the version dialog in tests/gui.)
TEST_F(QtDialogHostTest, TheCloseBoxCancelsAndAnEmbeddedFormKeepsItsKeys) {
    auto pHost = Build(IDD_LISTEDIT);
    m_ui.Post([&] { pHost->Widget()->close(); });
    EXPECT_EQ(pHost->RunModal(), IDC_CANCEL);
    EXPECT_EQ(m_commands, (Commands{{IDC_CANCEL, 0}}));
    EXPECT_FALSE(pHost->Widget()->isVisible());

    // A form embedded in the main window is no dialog: Enter and Escape stay with the control.
    m_commands.clear();
    QWidget window;
    auto pEmbedded = QtDialogHost::CreateEmbedded(m_ui, &window);
    AddSampleControls(*pEmbedded);
    pEmbedded->SetCommandHandler([this](int nId, int nNotify) { m_commands.emplace_back(nId, nNotify); });
    QTest::keyClick(pEmbedded->ControlWidget(1), Qt::Key_Return);
    QTest::keyClick(pEmbedded->ControlWidget(1), Qt::Key_Escape);
    EXPECT_TRUE(m_commands.empty());
}

// The base units of the template's face worked out here, apart from the code under test.
QRect InTemplateUnits(int x, int y, int cx, int cy) {
    QFont font(QStringLiteral("IPAPGothic"));
    font.setPixelSize((8 * qRound(QGuiApplication::primaryScreen()->logicalDotsPerInchY()) + 36) / 72);
    const QFontMetrics metrics(font);
    const int h = (metrics.horizontalAdvance(QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz")) + 26) / 52;
    const int v = metrics.ascent() + metrics.descent() + metrics.leading();
    auto md = [](int a, int b, int c) { return (a * b + c / 2) / c; };  // non-negative operands only
    return QRect(md(x, h, 4), md(y, v, 8), md(cx, h, 4), md(cy, v, 8));
}

// A control sits at its template rectangle (IDC_CONNECT's in resources/vantrel.rc), in the face
// that stands in for the template's.
TEST_F(QtDialogHostTest, AControlSitsAtItsTemplateRectangleInTheSubstitutedFace) {
    auto pHost = Build(IDD_MAINFORM);
    const QWidget* pButton = pHost->ControlWidget(IDC_CONNECT);
    ASSERT_NE(pButton, nullptr);
    EXPECT_EQ(pButton->geometry(), InTemplateUnits(4, 35, 56, 14));
    EXPECT_EQ(QFontInfo(pButton->font()).family(), QStringLiteral("IPAPGothic"));
}

// A dialog closed while it was being opened ends at once, and runs only once (nested runs, each
// ending with its own code, are the UI thread's test).
TEST_F(QtDialogHostTest, ADialogClosedEarlyEndsAtOnceAndRunsOnce) {
    auto pEarly = Build(IDD_VERSION);
    pEarly->Close(7);
    EXPECT_EQ(pEarly->RunModal(), 7);
    EXPECT_FALSE(pEarly->Widget()->isVisible());
    EXPECT_EQ(pEarly->RunModal(), 7);
}

// Pages behind tabs (tests/gui picks one by its name), every tab of the program's eight in sight,
// Enter and Escape acting on the page shown, one modal run for the whole sheet (which runs and
// closes early as a dialog does: the same modal run, tested above).
TEST_F(QtDialogHostTest, SheetShowsPagesBehindTabsAndRunsAsOneDialog) {
    QtSheetHost sheet(m_ui, nullptr);
    for (std::uint16_t nTemplate : {IDD_PAGE_ACTION, IDD_PAGE_AUTH, IDD_PAGE_MAIL, IDD_PAGE_AUTOSEND, IDD_PAGE_MESSAGE,
                                    IDD_PAGE_RETRY, IDD_PAGE_POSLOG, IDD_PAGE_FUNCTION}) {
        DialogHost& page = sheet.AddPage();
        CreateControls(ResourceModule::Program(), nTemplate, page);
        page.SetCommandHandler([&, nTemplate](int nId, int) { m_commands.emplace_back(nTemplate, nId); });
    }
    auto* pTabs = sheet.Widget()->findChild<QTabWidget*>();
    ASSERT_NE(pTabs, nullptr);
    sheet.SetActivePage(1);
    EXPECT_EQ(sheet.ActivePage(), 1);

    m_ui.Post([&] {
        EXPECT_TRUE(sheet.Page(1)->Widget()->isVisible());
        EXPECT_FALSE(sheet.Page(0)->Widget()->isVisible());
        const QSize page = sheet.Page(1)->Widget()->size();
        EXPECT_TRUE(page.width() >= sheet.Page(1)->FrameSize().width() && page.height() >= sheet.Page(1)->FrameSize().height());
        const QTabBar* pBar = pTabs->tabBar();
        EXPECT_LE(pBar->tabRect(pBar->count() - 1).right(), pBar->width()) << "the last tab is scrolled out of sight";
        QTest::keyClick(sheet.Page(1)->ControlWidget(IDC_PU_HOSTPOP), Qt::Key_Return);
        QTest::keyClick(sheet.Page(1)->ControlWidget(IDC_PU_HOSTPOP), Qt::Key_Escape);
        sheet.Widget()->close();
    });
    EXPECT_EQ(sheet.RunModal(), IDC_CANCEL);
    EXPECT_EQ(m_commands, (Commands{{IDD_PAGE_AUTH, IDC_OK}, {IDD_PAGE_AUTH, IDC_CANCEL}}));
    EXPECT_FALSE(sheet.Widget()->isVisible());
}

}  // namespace
}  // namespace vantrel
