// The toolkit's file dialogs: what the request sets up, a choice and a cancellation.
#include <QApplication>
#include <QFileDialog>

#include <gtest/gtest.h>

#include <functional>

#include "platform/qt/QtFileDialogs.h"
#include "platform/qt/QtUiThread.h"
#include "settings/TextUtil.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

// Runs fn on the file dialog once it is open.
void WhenOpen(QtUiThread& ui, std::function<void(QFileDialog&)> fn) {
    ui.Post([fn] {
        auto* pDialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(pDialog, nullptr);
        fn(*pDialog);
    });
}

class QtFileDialogsTest : public testing::Test {
protected:
    QtFileDialogsTest() {
        test::WriteFileBytes(m_dir.File("default.ini"), "x");
    }
    FileDialogRequest Settings(bool bSave) const {
        return {bSave ? u"設定ファイルの保存" : u"設定ファイルの選択", u"設定ファイル (*.ini)", u"*.ini", false,
                m_dir.WidePath(), !bSave, bSave};
    }

    test::TempDir m_dir;
    QtUiThread m_ui;
    QtFileDialogs m_dialogs{m_ui};
};

TEST_F(QtFileDialogsTest, OpenShowsTheRequestAndReturnsAnExistingChoice) {
    std::u16string strPath = u"unchanged";
    WhenOpen(m_ui, [&](QFileDialog& dialog) {
        EXPECT_EQ(dialog.nameFilters(), QStringList{QStringLiteral("設定ファイル (*.ini)")});
        EXPECT_EQ(dialog.directory().absolutePath().toStdString(), m_dir.Path());
        EXPECT_EQ(dialog.fileMode(), QFileDialog::ExistingFile);  // the dialog refuses a missing file
        dialog.selectFile(QString::fromStdString(m_dir.File("default.ini")));
        static_cast<QDialog&>(dialog).accept();
    });
    ASSERT_TRUE(m_dialogs.ChooseOpenFile(0, Settings(false), strPath));
    EXPECT_EQ(strPath, m_dir.WideFile("default.ini"));

    // Programs carry no extension here: the filter lists the files that may be run.
    WhenOpen(m_ui, [](QFileDialog& dialog) {
        EXPECT_EQ(dialog.nameFilters(), QStringList{QStringLiteral("実行ファイル (*)")});
        EXPECT_TRUE(dialog.filter().testFlag(QDir::Executable));
        dialog.reject();
    });
    EXPECT_FALSE(m_dialogs.ChooseOpenFile(
        0, {u"ブラウザの選択", u"実行ファイル (*.exe)", u"*.exe", true, m_dir.WidePath(), true, false}, strPath));
    EXPECT_EQ(strPath, m_dir.WideFile("default.ini"));
}

// A save asks before it replaces a file (the settings file's own save asks for it).
TEST_F(QtFileDialogsTest, SaveAsksBeforeReplacing) {
    std::u16string strPath;
    WhenOpen(m_ui, [&](QFileDialog& dialog) {
        EXPECT_EQ(dialog.acceptMode(), QFileDialog::AcceptSave);
        EXPECT_FALSE(dialog.testOption(QFileDialog::DontConfirmOverwrite));
        dialog.selectFile(QString::fromStdString(m_dir.File("new.ini")));
        static_cast<QDialog&>(dialog).accept();
    });
    ASSERT_TRUE(m_dialogs.ChooseSaveFile(0, Settings(true), strPath));
    EXPECT_EQ(strPath, m_dir.WideFile("new.ini"));
}

// The program ending while a dialog is open: it closes as cancelled, and no other one opens.
TEST_F(QtFileDialogsTest, AQuitCancels) {
    std::u16string strPath = u"unchanged";
    WhenOpen(m_ui, [&](QFileDialog& dialog) {
        dialog.selectFile(QString::fromStdString(m_dir.File("default.ini")));
        m_ui.Quit(0);
    });
    EXPECT_FALSE(m_dialogs.ChooseOpenFile(0, Settings(false), strPath));
    EXPECT_FALSE(m_dialogs.ChooseSaveFile(0, Settings(true), strPath));
    EXPECT_EQ(strPath, u"unchanged");
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

}  // namespace
}  // namespace vantrel
