#include "platform/qt/QtModalRun.h"

#include <QPointer>
#include <QWidget>

namespace vantrel {

QtModalRun::~QtModalRun() {
    if (m_bRunning) m_ui.EndRun(m_nRun, m_nEndCode);
}

int QtModalRun::Run(QWidget* pWindow) {
    if (m_bClosed) return m_nEndCode;
    m_bRunning = true;
    const QPointer<QWidget> pShown = pWindow;
    if (pWindow) {
        pWindow->setWindowModality(Qt::ApplicationModal);
        if (const QWidget* pOwner = pWindow->parentWidget())
            pWindow->move(pOwner->window()->frameGeometry().center() - pWindow->rect().center());
        pWindow->show();
        pWindow->raise();
        pWindow->activateWindow();
    }
    m_nEndCode = m_ui.RunModal(&m_nRun);
    m_bRunning = false;
    m_bClosed = true;
    if (pShown) pShown->hide();
    return m_nEndCode;
}

void QtModalRun::Close(int nEndCode) {
    if (m_bClosed) return;
    if (m_bRunning) {
        m_ui.EndRun(m_nRun, nEndCode);
        return;
    }
    m_bClosed = true;
    m_nEndCode = nEndCode;
}

}  // namespace vantrel
