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
    : m_ui(ui), m_pWindow(new Window(*this, pOwner ? pOwner->window() : nullptr)), m_run(ui) {
    auto* pLayout = new QVBoxLayout(m_pWindow);
    pLayout->setContentsMargins(0, 0, 0, 0);
    m_pTabs = new QTabWidget(m_pWindow);
    // All eight titles in sight: the sheet grows to its row of tabs rather than hiding the last
    // pages behind scroll arrows; the pages keep their template positions on the left.
    m_pTabs->setUsesScrollButtons(false);
    m_pTabs->setElideMode(Qt::ElideNone);
    pLayout->addWidget(m_pTabs);
}

QtSheetHost::~QtSheetHost() {
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
    if (!m_pWindow) m_run.Close(kIdCancel);
    else m_pWindow->adjustSize();  // room for the largest page
    return m_run.Run(m_pWindow.data());
}

void QtSheetHost::Close(int nEndCode) { m_run.Close(nEndCode); }

}  // namespace vantrel
