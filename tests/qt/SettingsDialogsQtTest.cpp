// The settings dialogs on the Qt renderer: what the user meets on real widgets.
#include <QApplication>
#include <QCheckBox>
#include <QHeaderView>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include <filesystem>

#include "deliver/MessageFacility.h"
#include "platform/qt/QtDialogHost.h"
#include "platform/qt/QtFileDialogs.h"
#include "platform/qt/QtSheetHost.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "resource.h"
#include "settings/FolderPicker.h"
#include "settings/ListEditor.h"
#include "settings/ResourceModule.h"
#include "settings/Settings.h"
#include "settings/SettingsList.h"
#include "settings/SettingsPage.h"
#include "settings/SettingsProfile.h"
#include "settings/SettingsSheet.h"
#include "settings/TextUtil.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageBox.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

class SettingsDialogsQtTest : public testing::Test {
protected:
    test::TempDir m_dir;
    QtUiThread m_ui;
    QtDialogFactory m_factory{m_ui};
    std::unique_ptr<FileSystem> m_pFiles = CreateFileSystem();
    test::ManualClock m_clock;
    test::RecordingMessageBox m_boxes;
    MessageFacility m_messages{m_clock, *m_pFiles, m_boxes, ResourceModule::Program()};
    QtFileDialogs m_fileDialogs{m_ui};
    SettingsUiServices m_services{m_factory, *m_pFiles, m_fileDialogs, m_messages, ResourceModule::Program()};
};

QString Cell(QTableWidget* pTable, int nRow) { return pTable->item(nRow, 0) ? pTable->item(nRow, 0)->text() : QString(); }

// A click on a column caption sorts by that column, the next one the other way.
TEST_F(SettingsDialogsQtTest, ListEditorSortsByTheClickedCaption) {
    SettingsList list({u"名前", u"URL", u"書式"});
    for (const char16_t* psz : {u"b", u"c", u"a"}) list.AddRow({psz, u"u", u"t"});
    auto pHost = QtDialogHost::CreateWindowed(m_ui, nullptr);
    ListEditor editor(*pHost, m_services, list, ListEditor::kUrlList);
    editor.Open();
    pHost->Widget()->show();
    auto* pTable = static_cast<QTableWidget*>(pHost->ControlWidget(IDC_LE_LIST));
    EXPECT_EQ(pTable->horizontalHeaderItem(2)->text(), QStringLiteral("書式"));
    EXPECT_TRUE(pTable->showGrid());
    EXPECT_EQ(pTable->selectionBehavior(), QAbstractItemView::SelectRows);
    EXPECT_EQ(pHost->ControlWidget(IDC_LE_INPUT)->width(), pHost->ControlWidget(IDC_LE_SUB1)->width());
    const QPoint caption(pTable->horizontalHeader()->sectionViewportPosition(0) + 5, 5);
    QTest::mouseClick(pTable->horizontalHeader()->viewport(), Qt::LeftButton, {}, caption);
    EXPECT_EQ((QStringList{Cell(pTable, 0), Cell(pTable, 1), Cell(pTable, 2)}), (QStringList{"a", "b", "c"}));
    QTest::mouseClick(pTable->horizontalHeader()->viewport(), Qt::LeftButton, {}, caption);
    EXPECT_EQ((QStringList{Cell(pTable, 0), Cell(pTable, 1), Cell(pTable, 2)}), (QStringList{"c", "b", "a"}));
}

// Opening a folder lists it from the disk, and so does expanding one of its children.
TEST_F(SettingsDialogsQtTest, FolderPickerListsAFolderWhenItOpens) {
    std::filesystem::create_directories(m_dir.File("logs/old/older"));
    auto pHost = QtDialogHost::CreateWindowed(m_ui, nullptr);
    FolderPicker picker(*pHost, *m_pFiles, ResourceModule::Program());
    picker.Open(m_dir.WideFile("logs"), false);
    pHost->Widget()->show();
    auto* pTree = static_cast<QTreeWidget*>(pHost->ControlWidget(IDC_FP_TREE));
    QTreeWidgetItem* pLogs = pTree->currentItem();
    ASSERT_NE(pLogs, nullptr);
    EXPECT_EQ(pLogs->text(0), QStringLiteral("logs"));
    EXPECT_EQ(pTree->topLevelItem(0)->text(0), QStringLiteral("マイ ポケットPC"));
    pTree->setFocus();
    QTest::keyClick(pTree, Qt::Key_Right);  // opens "logs"
    ASSERT_EQ(pLogs->childCount(), 1);
    EXPECT_EQ(pLogs->child(0)->text(0), QStringLiteral("old"));
    EXPECT_EQ(pLogs->child(0)->childIndicatorPolicy(), QTreeWidgetItem::ShowIndicator) << "it holds a folder";
}

// The eight pages behind tabs; a box ticked with the mouse enables what it governs, and OK on the
// page reads it.
TEST_F(SettingsDialogsQtTest, SheetShowsEightTabsAndTakesAClick) {
    Settings settings(LinuxSettingsProfile(m_dir.WidePath()), *m_pFiles);
    settings.SetBool(BoolKey::AutoSend, false);
    PageRegistry registry;
    int nCode = 0;
    m_ui.Post([&] {
        auto* pTabs = QApplication::activeModalWidget()->findChild<QTabWidget*>();
        ASSERT_NE(pTabs, nullptr);
        ASSERT_EQ(pTabs->count(), 8);
        EXPECT_EQ(pTabs->tabText(3), QStringLiteral("自動送信"));
        pTabs->setCurrentIndex(3);
        QWidget* pPage = pTabs->currentWidget();
        auto* pBox = pPage->findChild<QCheckBox*>(QString::number(IDC_PS_AUTOSEND));
        QWidget* pInterval = pPage->findChild<QWidget*>(QString::number(IDC_PS_AUTOSENDINTERVAL));
        ASSERT_TRUE(pBox && pInterval);
        EXPECT_FALSE(pInterval->isEnabled());
        QTest::mouseClick(pBox, Qt::LeftButton);
        EXPECT_TRUE(pInterval->isEnabled());
        QTest::mouseClick(pPage->findChild<QWidget*>(QString::number(IDC_OK)), Qt::LeftButton);
    });
    nCode = RunSettingsSheet(m_services, 0, registry, settings);
    EXPECT_EQ(nCode, endcode::kOk);
    EXPECT_TRUE(settings.Bool(BoolKey::AutoSend));
}

}  // namespace
}  // namespace vantrel
