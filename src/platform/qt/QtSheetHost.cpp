#include "platform/qt/QtSheetHost.h"

#include <QCloseEvent>
#include <QEvent>
#include <QTabWidget>
#include <QVBoxLayout>
#include <QWidget>

#include "platform/qt/QtDialogHost.h"
#include "platform/qt/QtWindowHandle.h"

namespace vantrel {

namespace {

constexpr int kIdCancel = 2;

}  // namespace

// The sheet's window: its close box ends the run, and a page that changes its title renames its tab.
class QtSheetHost::Window final : public QWidget {
public:
    Window(QtSheetHost& sheet, QWidget* pOwner) : QWidget(pOwner, Qt::Dialog), m_sheet(sheet) {}

protected:
    void closeEvent(QCloseEvent* pEvent) override {
        pEvent->ignore();
        m_sheet.Close(kIdCancel);
    }
    bool eventFilter(QObject* pWatched, QEvent* pEvent) override {
        if (pEvent->type() == QEvent::WindowTitleChange) {
            auto* pPage = static_cast<QWidget*>(pWatched);
            const int nTab = m_sheet.m_pTabs->indexOf(pPage);
            if (nTab >= 0) m_sheet.m_pTabs->setTabText(nTab, pPage->windowTitle());
        }
        return false;
    }

private:
    QtSheetHost& m_sheet;
};

QtSheetHost::QtSheetHost(QtUiThread& ui, QWidget* pOwner)
    : m_ui(ui), m_pWindow(new Window(*this, pOwner ? pOwner->window() : nullptr)) {
    auto* pLayout = new QVBoxLayout(m_pWindow);
    pLayout->setContentsMargins(0, 0, 0, 0);
    m_pTabs = new QTabWidget(m_pWindow);
    pLayout->addWidget(m_pTabs);
}

QtSheetHost::~QtSheetHost() {
    if (m_bRunning) m_ui.EndRun(m_nRun, m_nEndCode);
    m_pages.clear();  // each page takes its tab with it
    delete m_pWindow.data();
}

QWidget* QtSheetHost::Widget() const { return m_pWindow.data(); }

QtDialogHost* QtSheetHost::Page(int nPage) const {
    return nPage >= 0 && nPage < PageCount() ? m_pages[static_cast<std::size_t>(nPage)].get() : nullptr;
}

WindowHandle QtSheetHost::Handle() const { return HandleOfWidget(m_pWindow.data()); }

void QtSheetHost::SetTitle(const std::u16string& strTitle) {
    if (m_pWindow) m_pWindow->setWindowTitle(QString::fromUtf16(strTitle.data(), static_cast<qsizetype>(strTitle.size())));
}

DialogHost& QtSheetHost::AddPage() {
    m_pages.push_back(QtDialogHost::CreatePage(m_ui));
    QWidget* pPage = m_pages.back()->Widget();
    pPage->installEventFilter(m_pWindow);
    m_pTabs->addTab(pPage, pPage->windowTitle());
    return *m_pages.back();
}

int QtSheetHost::PageCount() const { return static_cast<int>(m_pages.size()); }

void QtSheetHost::SetActivePage(int nPage) {
    if (nPage >= 0 && nPage < PageCount()) m_pTabs->setCurrentIndex(nPage);
}

int QtSheetHost::ActivePage() const { return m_pTabs->currentIndex(); }

int QtSheetHost::RunModal() {
    if (m_bClosed || !m_pWindow) return m_nEndCode;
    m_bRunning = true;
    m_pWindow->adjustSize();  // room for the largest page
    m_pWindow->setWindowModality(Qt::ApplicationModal);
    if (const QWidget* pOwner = m_pWindow->parentWidget())
        m_pWindow->move(pOwner->window()->frameGeometry().center() - m_pWindow->rect().center());
    m_pWindow->show();
    m_pWindow->raise();
    m_pWindow->activateWindow();
    const int nCode = m_ui.RunModal(&m_nRun);
    m_bRunning = false;
    m_bClosed = true;
    m_nEndCode = nCode;
    if (m_pWindow) m_pWindow->hide();
    return nCode;
}

void QtSheetHost::Close(int nEndCode) {
    if (m_bClosed) return;
    if (m_bRunning) {
        m_ui.EndRun(m_nRun, nEndCode);
        return;
    }
    m_bClosed = true;
    m_nEndCode = nEndCode;
}

}  // namespace vantrel
