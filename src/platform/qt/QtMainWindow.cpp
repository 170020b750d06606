#include "platform/qt/QtMainWindow.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QMenu>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

#include "platform/qt/QtDialogHost.h"
#include "platform/qt/QtIcon.h"

namespace vantrel {

namespace {

QString ToQString(const std::u16string& str) { return QString::fromStdU16String(str); }

}  // namespace

QtMainWindow::QtMainWindow(QtUiThread& ui, const MainWindowParts& parts) {
    setWindowTitle(ToQString(parts.strTitle));
    setWindowIcon(IconFromImages(parts.icon));
    auto* pContent = new QWidget(this);
    setCentralWidget(pContent);
    m_pForm = QtDialogHost::CreateEmbedded(ui, pContent);
    auto* pLayout = new QVBoxLayout(pContent);
    pLayout->setContentsMargins(0, 0, 0, 0);
    pLayout->setSpacing(0);
    pLayout->addWidget(m_pForm->Widget(), 1);
    m_pSoftKeys = BuildSoftKeys(parts);
    pLayout->addWidget(m_pSoftKeys);
    for (const Shortcut& shortcut : parts.shortcuts) {
        auto* pShortcut = new QShortcut(QKeySequence(ToQString(shortcut.strKeys), QKeySequence::PortableText), this);
        const int nCommand = shortcut.nCommand;
        connect(pShortcut, &QShortcut::activated, this, [this, nCommand] { Command(nCommand); });
    }
}

QtMainWindow::~QtMainWindow() = default;

QWidget* QtMainWindow::BuildSoftKeys(const MainWindowParts& parts) {
    auto* pBar = new QWidget(this);
    pBar->setObjectName(QStringLiteral("softkeys"));
    auto* pLayout = new QHBoxLayout(pBar);
    pLayout->setContentsMargins(2, 2, 2, 2);
    m_pLeftKey = new QPushButton(ToQString(parts.strLeftKey), pBar);
    m_pRightKey = new QPushButton(ToQString(parts.strRightKey), pBar);
    for (QPushButton* pKey : {m_pLeftKey, m_pRightKey}) {
        pKey->setAutoDefault(false);
        pKey->setFocusPolicy(Qt::NoFocus);  // soft keys are pressed, never tabbed to
        pLayout->addWidget(pKey, 1);
    }
    const int nLeftCommand = parts.nLeftCommand;
    connect(m_pLeftKey, &QPushButton::clicked, this, [this, nLeftCommand] { Command(nLeftCommand); });
    m_pMenu = new QMenu(this);
    AddEntries(*m_pMenu, parts.rightMenu);
    connect(m_pRightKey, &QPushButton::clicked, this, [this] { PopUpMenu(); });
    return pBar;
}

void QtMainWindow::AddEntries(QMenu& menu, const std::vector<MenuEntry>& entries) {
    for (const MenuEntry& entry : entries) {
        if (entry.bSeparator) {
            menu.addSeparator();
        } else if (!entry.children.empty()) {
            AddEntries(*menu.addMenu(ToQString(entry.strText)), entry.children);
        } else {
            const int nId = entry.nId;
            connect(menu.addAction(ToQString(entry.strText)), &QAction::triggered, this, [this, nId] { Command(nId); });
        }
    }
}

// The menu opens above its key, as a soft-key menu does, and right-aligned with it.
void QtMainWindow::PopUpMenu() {
    const QSize size = m_pMenu->sizeHint();
    const QPoint topRight = m_pRightKey->mapToGlobal(QPoint(m_pRightKey->width(), 0));
    m_pMenu->popup(QPoint(topRight.x() - size.width(), topRight.y() - size.height()));
}

void QtMainWindow::Command(int nId) {
    if (m_fnCommand) m_fnCommand(nId);
}

DialogHost& QtMainWindow::Form() { return *m_pForm; }

// The window opens at the form's own size with the soft-key bar under it.
void QtMainWindow::Show() {
    const QSize form = m_pForm->FrameSize();
    resize(form.width(), form.height() + m_pSoftKeys->sizeHint().height());
    show();
}

void QtMainWindow::Raise() {
    if (isMinimized()) showNormal();
    show();
    raise();
    activateWindow();
}

// The desktop asks; the program answers by running its exit steps and ending.
void QtMainWindow::closeEvent(QCloseEvent* pEvent) {
    pEvent->ignore();
    if (m_fnClose) m_fnClose();
}

}  // namespace vantrel
