#include "platform/qt/QtModalRun.h"

#include <QPointer>
#include <QScreen>
#include <QWidget>

#include <algorithm>

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
        if (const QWidget* pOwner = pWindow->parentWidget()) {
            // Centred over its owner, yet whole on the owner's screen (a wide dialog over a
            // narrow window would start left of the screen without a window manager to move it).
            QRect place(pWindow->rect());
            place.moveCenter(pOwner->window()->frameGeometry().center());
            if (const QScreen* pScreen = pOwner->screen()) {
                const QRect avail = pScreen->availableGeometry();
                place.moveLeft(std::max(avail.left(), std::min(place.left(), avail.right() + 1 - place.width())));
                place.moveTop(std::max(avail.top(), std::min(place.top(), avail.bottom() + 1 - place.height())));
            }
            pWindow->move(place.topLeft());
        }
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
