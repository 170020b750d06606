#include "platform/qt/QtFileDialogs.h"

#include <QFileDialog>
#include <QPointer>

#include "platform/qt/QtUiThread.h"
#include "platform/qt/QtWindowHandle.h"

namespace vantrel {

namespace {

QString ToQt(const std::u16string& str) { return QString::fromUtf16(str.data(), static_cast<qsizetype>(str.size())); }

// Qt reads the patterns from the last parentheses of a filter ("設定ファイル (*.ini)").
QString NameFilter(const FileDialogRequest& request) {
    if (request.bExecutables) return QStringLiteral("実行ファイル (*)");
    const QString strText = ToQt(request.strFilterText);
    const QString strPattern = ToQt(request.strFilterPattern);
    if (strPattern.isEmpty() || strText.endsWith(QLatin1Char('(') + strPattern + QLatin1Char(')'))) return strText;
    return strText + QStringLiteral(" (") + strPattern + QLatin1Char(')');
}

}  // namespace

bool QtFileDialogs::ChooseOpenFile(WindowHandle hOwner, const FileDialogRequest& request, std::u16string& strPath) {
    return Run(hOwner, request, false, strPath);
}

bool QtFileDialogs::ChooseSaveFile(WindowHandle hOwner, const FileDialogRequest& request, std::u16string& strPath) {
    return Run(hOwner, request, true, strPath);
}

bool QtFileDialogs::Run(WindowHandle hOwner, const FileDialogRequest& request, bool bSave, std::u16string& strPath) {
    if (m_ui.IsQuitting()) return false;
    QWidget* pOwner = WidgetOfHandle(hOwner);
    QPointer<QFileDialog> pDialog = new QFileDialog(pOwner ? pOwner->window() : nullptr, ToQt(request.strTitle));
    pDialog->setOption(QFileDialog::DontUseNativeDialog);
    pDialog->setWindowModality(pOwner ? Qt::WindowModal : Qt::ApplicationModal);
    pDialog->setAcceptMode(bSave ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    pDialog->setFileMode(bSave || !request.bMustExist ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    pDialog->setOption(QFileDialog::DontConfirmOverwrite, !request.bAskOverwrite);
    pDialog->setNameFilter(NameFilter(request));
    if (request.bExecutables) pDialog->setFilter(QDir::AllDirs | QDir::Files | QDir::Executable | QDir::NoDotAndDotDot);
    if (!request.strInitialFolder.empty()) pDialog->setDirectory(ToQt(request.strInitialFolder));

    QtUiThread::RunId nRun = 0;
    bool bChosen = false;
    QObject::connect(pDialog, &QDialog::finished, pDialog, [&](int nResult) {
        if (nResult == QDialog::Accepted && !pDialog->selectedFiles().isEmpty()) {
            bChosen = true;
            strPath = pDialog->selectedFiles().front().toStdU16String();
        }
        m_ui.EndRun(nRun, 0);
    });
    // An owner closed under the dialog takes the dialog with it.
    const QMetaObject::Connection gone = QObject::connect(pDialog, &QObject::destroyed, [&] { m_ui.EndRun(nRun, 0); });
    pDialog->open();
    m_ui.RunModal(&nRun);
    if (pDialog) {
        QObject::disconnect(gone);
        delete pDialog.data();
    }
    return bChosen;
}

}  // namespace vantrel
