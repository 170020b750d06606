#include "platform/qt/QtDialogHost.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QStyle>
#include <QTableWidget>
#include <QTreeWidget>
#include <QWidget>

#include "platform/qt/QtSheetHost.h"
#include "platform/qt/QtWindowHandle.h"

namespace vantrel {

namespace {

constexpr int kIdOk = 1;
constexpr int kIdCancel = 2;

QString ToQt(const std::u16string& str) { return QString::fromUtf16(str.data(), static_cast<qsizetype>(str.size())); }
std::u16string FromQt(const QString& str) { return str.toStdU16String(); }

bool InRange(int nRow, int nCount) { return nRow >= 0 && nRow < nCount; }

// Multi-line edits hold CR LF line ends, as on the device; the widget holds LF.
QString ToWidgetLines(const std::u16string& str) { return ToQt(str).replace(QStringLiteral("\r\n"), QStringLiteral("\n")); }
std::u16string FromWidgetLines(const QString& str) { return FromQt(QString(str).replace(u'\n', QStringLiteral("\r\n"))); }

std::u16string Truncated(const std::u16string& str, int nLimit) {
    return nLimit > 0 && str.size() > static_cast<std::size_t>(nLimit) ? str.substr(0, static_cast<std::size_t>(nLimit)) : str;
}

// Counts the host's own changes, during which the widgets' signals do not reach the form.
class Quiet {
public:
    explicit Quiet(int& n) : m_n(++n) {}
    ~Quiet() { --m_n; }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;

private:
    int& m_n;
};

QString CaptionOf(ControlKind kind, const QWidget* pWidget) {
    switch (kind) {
    case ControlKind::Label: return static_cast<const QLabel*>(pWidget)->text();
    case ControlKind::GroupBox: return static_cast<const QGroupBox*>(pWidget)->title();
    default: return static_cast<const QAbstractButton*>(pWidget)->text();
    }
}

QIcon IconOf(TreeIcon icon) {
    switch (icon) {
    case TreeIcon::Program: {
        const QIcon program = QApplication::windowIcon();
        return program.isNull() ? QApplication::style()->standardIcon(QStyle::SP_ComputerIcon) : program;
    }
    case TreeIcon::Folder: return QApplication::style()->standardIcon(QStyle::SP_DirIcon);
    case TreeIcon::StorageCard: return QApplication::style()->standardIcon(QStyle::SP_DriveHDIcon);
    default: return QIcon();
    }
}

TreeItem HandleOf(const QTreeWidgetItem* pItem) { return pItem->data(0, Qt::UserRole).toULongLong(); }

int LogicalDpi(const QWidget* pWidget) {
    const QScreen* pScreen = pWidget->screen();
    return pScreen ? qRound(pScreen->logicalDotsPerInchY()) : 96;
}

}  // namespace

// The widget the controls live in: it re-lays them out on every size change and turns the
// keyboard and the close box into the commands of a dialog.
class QtDialogHost::Surface final : public QWidget {
public:
    Surface(QtDialogHost& host, QWidget* pParent, Qt::WindowFlags flags) : QWidget(pParent, flags), m_host(host) {}

    // What a sheet's tabs or a window's layout give the form: its template frame.
    QSize sizeHint() const override { return m_host.FrameSize(); }

protected:
    void resizeEvent(QResizeEvent* pEvent) override {
        QWidget::resizeEvent(pEvent);
        m_host.Relayout();
    }
    void closeEvent(QCloseEvent* pEvent) override {
        pEvent->ignore();
        m_host.OnCloseBox();
    }
    void keyPressEvent(QKeyEvent* pEvent) override {
        const bool bDialogKeys = m_host.m_placement != Placement::Embedded &&
                                 (pEvent->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
        if (bDialogKeys && pEvent->key() == Qt::Key_Escape) {
            m_host.OnEscape();
            return;
        }
        if (bDialogKeys && (pEvent->key() == Qt::Key_Return || pEvent->key() == Qt::Key_Enter)) {
            m_host.OnEnter();
            return;
        }
        QWidget::keyPressEvent(pEvent);
    }
    bool eventFilter(QObject* pWatched, QEvent* pEvent) override {
        if (pEvent->type() != QEvent::KeyPress) return false;
        const auto* pKey = static_cast<QKeyEvent*>(pEvent);
        if ((pKey->modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier) return false;
        const Control* pControl = m_host.ControlOf(pWatched);
        return pControl && m_host.OnArrow(*pControl, pKey->key());
    }

private:
    QtDialogHost& m_host;
};

std::unique_ptr<QtDialogHost> QtDialogHost::CreateWindowed(QtUiThread& ui, QWidget* pOwner) {
    return std::unique_ptr<QtDialogHost>(new QtDialogHost(ui, pOwner ? pOwner->window() : nullptr, Placement::Window));
}

std::unique_ptr<QtDialogHost> QtDialogHost::CreateEmbedded(QtUiThread& ui, QWidget* pParent) {
    return std::unique_ptr<QtDialogHost>(new QtDialogHost(ui, pParent, Placement::Embedded));
}

std::unique_ptr<QtDialogHost> QtDialogHost::CreatePage(QtUiThread& ui) {
    return std::unique_ptr<QtDialogHost>(new QtDialogHost(ui, nullptr, Placement::Page));
}

QtDialogHost::QtDialogHost(QtUiThread& ui, QWidget* pParent, Placement placement)
    : m_pSurface(new Surface(*this, pParent, placement == Placement::Window ? Qt::Dialog : Qt::Widget)),
      m_placement(placement),
      m_run(ui) {
    m_font = MakeTemplateFont(QString(), 0, LogicalDpi(m_pSurface));
}

QtDialogHost::~QtDialogHost() { delete m_pSurface.data(); }

QWidget* QtDialogHost::Widget() const { return m_pSurface.data(); }

QSize QtDialogHost::FrameSize() const { return QSize(m_font.units.X(m_frame.cx), m_font.units.Y(m_frame.cy)); }

QWidget* QtDialogHost::ControlWidget(int nId) const {
    const Control* p = Find(nId);
    return p ? p->pWidget : nullptr;
}

WindowHandle QtDialogHost::Handle() const { return HandleOfWidget(m_pSurface.data()); }

QtDialogHost::Control* QtDialogHost::Find(int nId) {
    const auto it = m_byId.find(nId);
    return it == m_byId.end() || !m_pSurface ? nullptr : it->second;
}

const QtDialogHost::Control* QtDialogHost::Find(int nId) const {
    const auto it = m_byId.find(nId);
    return it == m_byId.end() || !m_pSurface ? nullptr : it->second;
}

const QtDialogHost::Control* QtDialogHost::ControlOf(const QObject* pWidget) const {
    for (const Control& control : m_controls)
        if (control.pWidget == pWidget) return &control;
    return nullptr;
}

// ---- frame, controls and layout

void QtDialogHost::SetFrame(const DialogFrame& frame) {
    if (!m_pSurface) return;
    m_frame = frame;
    m_pSurface->setWindowTitle(ToQt(frame.strTitle));
    m_font = MakeTemplateFont(ToQt(frame.strFace), frame.nPointSize, LogicalDpi(m_pSurface));
    m_pSurface->setFont(m_font.font);
    m_pSurface->resize(FrameSize());
}

void QtDialogHost::Place(const Control& control) const {
    const ControlItem& s = control.record;
    QRect rect = m_font.units.Rect(s.x, s.y, s.cx, s.cy);
    // A combo box's template height includes its open list; the closed box is as high as its font needs.
    if (control.kind == ControlKind::ComboBox) rect.setHeight(control.pWidget->sizeHint().height());
    control.pWidget->setGeometry(rect);
}

void QtDialogHost::Relayout() {
    if (!m_pSurface) return;
    const TemplateFont font = MakeTemplateFont(ToQt(m_frame.strFace), m_frame.nPointSize, LogicalDpi(m_pSurface));
    if (font.font != m_font.font) {  // another screen, another DPI
        m_font = font;
        m_pSurface->setFont(m_font.font);
    }
    for (const Control& control : m_controls) Place(control);
}

bool QtDialogHost::CreateControl(const ControlItem& record) {
    const std::optional<ControlKind> kind = KindOf(record);
    if (!kind || !m_pSurface) return false;
    Control& control = m_controls.emplace_back();
    control.record = record;
    control.kind = *kind;
    control.nIndex = m_controls.size() - 1;
    control.pWidget = MakeControlWidget(*kind, record, m_pSurface);
    QWidget* pWidget = control.pWidget;
    pWidget->setObjectName(QString::number(record.nId));
    if (!TakesFocus(*kind)) pWidget->setFocusPolicy(Qt::NoFocus);
    else pWidget->setFocusPolicy((record.nStyle & ws::kTabStop) ? Qt::StrongFocus : Qt::ClickFocus);
    pWidget->setEnabled(!(record.nStyle & ws::kDisabled));
    pWidget->setVisible(record.nStyle & ws::kVisible);
    pWidget->installEventFilter(m_pSurface);
    if (control.kind == ControlKind::TextEdit) {
        Quiet quiet(m_nQuiet);
        static_cast<QPlainTextEdit*>(pWidget)->setPlainText(ToWidgetLines(record.strText));
    }
    if (m_controls.size() > 1 && !HasOwnCaption(*kind)) {
        const Control& previous = m_controls[m_controls.size() - 2];
        if (previous.kind == ControlKind::Label) {
            control.pLabel = &previous;
            static_cast<QLabel*>(previous.pWidget)->setBuddy(pWidget);
        }
    }
    UpdateAccessibleName(control);
    Place(control);
    Connect(control);
    m_byId[record.nId] = &control;  // ids need not be unique (labels share -1); the last one wins the id
    return true;
}

void QtDialogHost::UpdateAccessibleName(const Control& control) const {
    QString strName;  // left empty, Qt names the control by its caption and follows every change of it
    if (HasOwnCaption(control.kind)) {
        if (CaptionOf(control.kind, control.pWidget).isEmpty()) strName = QString::number(control.record.nId);
    } else if (control.pLabel && !CaptionOf(ControlKind::Label, control.pLabel->pWidget).isEmpty()) {
        strName = CaptionOf(ControlKind::Label, control.pLabel->pWidget);
    } else {
        strName = QString::number(control.record.nId);
    }
    control.pWidget->setAccessibleName(strName);
}

void QtDialogHost::Connect(Control& control) {
    const int nId = control.record.nId;
    QWidget* pWidget = control.pWidget;
    switch (control.kind) {
    case ControlKind::PushButton:
    case ControlKind::CheckBox:
    case ControlKind::RadioButton:
        QObject::connect(static_cast<QAbstractButton*>(pWidget), &QAbstractButton::clicked, pWidget,
                         [this, nId] { Command(nId, command::kClicked); });
        break;
    case ControlKind::LineEdit:
        QObject::connect(static_cast<QLineEdit*>(pWidget), &QLineEdit::textEdited, pWidget,
                         [this, nId] { Command(nId, command::kEditChange); });
        break;
    case ControlKind::TextEdit: {
        auto* pEdit = static_cast<QPlainTextEdit*>(pWidget);
        QObject::connect(pEdit, &QPlainTextEdit::textChanged, pWidget, [this, nId, pEdit, &control] {
            if (m_nQuiet) return;
            const std::u16string strText = FromWidgetLines(pEdit->toPlainText());
            if (control.nLimit > 0 && strText.size() > static_cast<std::size_t>(control.nLimit)) {
                Quiet quiet(m_nQuiet);
                pEdit->setPlainText(ToWidgetLines(Truncated(strText, control.nLimit)));
                pEdit->moveCursor(QTextCursor::End);
            }
            Command(nId, command::kEditChange);
        });
        break;
    }
    case ControlKind::ComboBox:
        QObject::connect(static_cast<QComboBox*>(pWidget), &QComboBox::currentIndexChanged, pWidget,
                         [this, nId] { Command(nId, command::kSelChange); });
        break;
    case ControlKind::ListBox:
        QObject::connect(static_cast<QListWidget*>(pWidget), &QListWidget::currentRowChanged, pWidget,
                         [this, nId] { Command(nId, command::kSelChange); });
        QObject::connect(static_cast<QListWidget*>(pWidget), &QListWidget::itemDoubleClicked, pWidget,
                         [this, nId] { Command(nId, command::kDblClk); });
        break;
    case ControlKind::ListView: {
        auto* pTable = static_cast<QTableWidget*>(pWidget);
        QObject::connect(pTable, &QTableWidget::itemSelectionChanged, pWidget,
                         [this, nId] { Notify({nId, notify::kListSelChanged, ListGetSel(nId)}); });
        QObject::connect(pTable->horizontalHeader(), &QHeaderView::sectionClicked, pWidget,
                         [this, nId](int nColumn) { Notify({nId, notify::kListColumnClick, nColumn}); });
        break;
    }
    case ControlKind::TreeView: {
        auto* pTree = static_cast<QTreeWidget*>(pWidget);
        // Qt reports after the fact; the children the form inserts now show at once all the same.
        QObject::connect(pTree, &QTreeWidget::itemExpanded, pWidget, [this, nId](QTreeWidgetItem* pItem) {
            Notify({nId, notify::kTreeExpanding, static_cast<std::intptr_t>(HandleOf(pItem))});
        });
        QObject::connect(pTree, &QTreeWidget::itemCollapsed, pWidget, [this, nId](QTreeWidgetItem* pItem) {
            Notify({nId, notify::kTreeCollapsing, static_cast<std::intptr_t>(HandleOf(pItem))});
        });
        break;
    }
    default: break;
    }
}

bool QtDialogHost::HasControl(int nId) const { return Find(nId) != nullptr; }

// ---- commands, keyboard and modal runs

void QtDialogHost::SetCommandHandler(std::function<void(int, int)> handler) { m_handler = std::move(handler); }

void QtDialogHost::SetNotifyHandler(std::function<void(const Notification&)> handler) {
    m_notifyHandler = std::move(handler);
}

void QtDialogHost::Command(int nId, int nCode) {
    if (m_nQuiet) return;
    const std::function<void(int, int)> handler = m_handler;  // the handler may replace itself
    if (handler) handler(nId, nCode);
}

void QtDialogHost::Notify(const Notification& note) {
    if (m_nQuiet) return;
    const std::function<void(const Notification&)> handler = m_notifyHandler;
    if (handler) handler(note);
}

bool QtDialogHost::SetProperty(const std::u16string& strName, void* pValue) {
    m_properties[strName] = pValue;
    return true;
}

void* QtDialogHost::GetProperty(const std::u16string& strName) const {
    const auto it = m_properties.find(strName);
    return it == m_properties.end() ? nullptr : it->second;
}

void QtDialogHost::OnEscape() { Command(kIdCancel, command::kClicked); }

void QtDialogHost::OnCloseBox() {
    Command(kIdCancel, command::kClicked);
    Close(kIdCancel);
}

void QtDialogHost::OnEnter() {
    QWidget* pFocus = m_pSurface->focusWidget();
    const Control* pFocused = ControlOf(pFocus);
    if (pFocused && pFocused->kind == ControlKind::PushButton) {
        static_cast<QPushButton*>(pFocus)->click();
        return;
    }
    for (const Control& control : m_controls) {
        auto* pButton = qobject_cast<QPushButton*>(control.pWidget);
        if (control.kind != ControlKind::PushButton || !pButton->isDefault()) continue;
        if (pButton->isEnabled() && pButton->isVisible()) pButton->click();
        return;
    }
    Command(kIdOk, command::kClicked);
}

bool QtDialogHost::OnArrow(const Control& control, int nKey) {
    int nStep = 0;
    if ((nKey == Qt::Key_Down || nKey == Qt::Key_Up) && !UsesVerticalArrows(control.kind)) nStep = nKey == Qt::Key_Down ? 1 : -1;
    if ((nKey == Qt::Key_Right || nKey == Qt::Key_Left) && !UsesHorizontalArrows(control.kind)) nStep = nKey == Qt::Key_Right ? 1 : -1;
    if (nStep == 0) return false;
    const int nCount = static_cast<int>(m_controls.size());
    int nAt = static_cast<int>(control.nIndex);
    for (int i = 0; i < nCount; ++i) {
        nAt = (nAt + nStep + nCount) % nCount;
        QWidget* pWidget = m_controls[static_cast<std::size_t>(nAt)].pWidget;
        if ((pWidget->focusPolicy() & Qt::TabFocus) && pWidget->isEnabled() && pWidget->isVisibleTo(m_pSurface)) {
            pWidget->setFocus(nStep > 0 ? Qt::TabFocusReason : Qt::BacktabFocusReason);
            return true;
        }
    }
    return true;
}

int QtDialogHost::RunModal() {
    if (!m_pSurface) m_run.Close(kIdCancel);  // the window that held the form has gone
    return m_run.Run(m_placement == Placement::Window ? m_pSurface.data() : nullptr);
}

void QtDialogHost::Close(int nEndCode) { m_run.Close(nEndCode); }

// ---- texts, checks, state

void QtDialogHost::SetTitle(const std::u16string& strTitle) {
    if (m_pSurface) m_pSurface->setWindowTitle(ToQt(strTitle));
}

void QtDialogHost::SetText(int nId, const std::u16string& strText) {
    Control* p = Find(nId);
    if (!p) return;
    Quiet quiet(m_nQuiet);
    const std::u16string str = Truncated(strText, p->nLimit);
    switch (p->kind) {
    case ControlKind::PushButton:
    case ControlKind::CheckBox:
    case ControlKind::RadioButton: static_cast<QAbstractButton*>(p->pWidget)->setText(ToQt(str)); break;
    case ControlKind::GroupBox: static_cast<QGroupBox*>(p->pWidget)->setTitle(ToQt(str)); break;
    case ControlKind::Label: static_cast<QLabel*>(p->pWidget)->setText(ToQt(str)); break;
    case ControlKind::LineEdit: static_cast<QLineEdit*>(p->pWidget)->setText(ToQt(str)); break;
    case ControlKind::TextEdit: static_cast<QPlainTextEdit*>(p->pWidget)->setPlainText(ToWidgetLines(str)); break;
    case ControlKind::ComboBox:
        // A drop-down list keeps the text apart from its rows, as the in-memory host does.
        if (auto* pCombo = static_cast<QComboBox*>(p->pWidget); pCombo->isEditable()) pCombo->setEditText(ToQt(str));
        else p->strText = str;
        break;
    default: p->strText = str; break;
    }
    if (HasOwnCaption(p->kind)) {
        UpdateAccessibleName(*p);
        for (const Control& control : m_controls)
            if (control.pLabel == p) UpdateAccessibleName(control);
    }
}

std::u16string QtDialogHost::GetText(int nId) const {
    const Control* p = Find(nId);
    if (!p) return {};
    switch (p->kind) {
    case ControlKind::PushButton:
    case ControlKind::CheckBox:
    case ControlKind::RadioButton: return FromQt(static_cast<QAbstractButton*>(p->pWidget)->text());
    case ControlKind::GroupBox: return FromQt(static_cast<QGroupBox*>(p->pWidget)->title());
    case ControlKind::Label: return FromQt(static_cast<QLabel*>(p->pWidget)->text());
    case ControlKind::LineEdit: return FromQt(static_cast<QLineEdit*>(p->pWidget)->text());
    case ControlKind::TextEdit: return FromWidgetLines(static_cast<QPlainTextEdit*>(p->pWidget)->toPlainText());
    case ControlKind::ComboBox: {
        const auto* pCombo = static_cast<const QComboBox*>(p->pWidget);
        return pCombo->isEditable() ? FromQt(pCombo->currentText()) : p->strText;
    }
    default: return p->strText;
    }
}

void QtDialogHost::SetTextLimit(int nId, int nLimit) {
    Control* p = Find(nId);
    if (!p) return;
    p->nLimit = nLimit;
    if (p->kind == ControlKind::LineEdit) static_cast<QLineEdit*>(p->pWidget)->setMaxLength(nLimit > 0 ? nLimit : 32767);
}

void QtDialogHost::CaretToEnd(int nId) {
    Control* p = Find(nId);
    if (!p) return;
    if (p->kind == ControlKind::LineEdit) static_cast<QLineEdit*>(p->pWidget)->end(false);
    if (p->kind == ControlKind::TextEdit) {
        auto* pEdit = static_cast<QPlainTextEdit*>(p->pWidget);
        pEdit->moveCursor(QTextCursor::End);
        pEdit->ensureCursorVisible();
        pEdit->verticalScrollBar()->setValue(pEdit->verticalScrollBar()->maximum());  // the whole last line
    }
}

void QtDialogHost::SetCheck(int nId, bool bChecked) {
    Control* p = Find(nId);
    if (p && (p->kind == ControlKind::CheckBox || p->kind == ControlKind::RadioButton))
        static_cast<QAbstractButton*>(p->pWidget)->setChecked(bChecked);
}

bool QtDialogHost::GetCheck(int nId) const {
    const Control* p = Find(nId);
    return p && (p->kind == ControlKind::CheckBox || p->kind == ControlKind::RadioButton) &&
           static_cast<QAbstractButton*>(p->pWidget)->isChecked();
}

void QtDialogHost::Enable(int nId, bool bEnabled) {
    if (Control* p = Find(nId)) p->pWidget->setEnabled(bEnabled);
}

bool QtDialogHost::IsEnabled(int nId) const {
    const Control* p = Find(nId);
    return p && p->pWidget->isEnabledTo(m_pSurface);
}

void QtDialogHost::Show(int nId, bool bVisible) {
    if (Control* p = Find(nId)) p->pWidget->setVisible(bVisible);
}

bool QtDialogHost::IsVisible(int nId) const {
    const Control* p = Find(nId);
    return p && !p->pWidget->isHidden();
}

// ---- combo boxes (and list boxes, which hold rows the same way)

void QtDialogHost::ComboReset(int nId) {
    Control* p = Find(nId);
    if (!p) return;
    Quiet quiet(m_nQuiet);
    if (auto* pCombo = qobject_cast<QComboBox*>(p->pWidget)) pCombo->clear();
    if (auto* pList = qobject_cast<QListWidget*>(p->pWidget)) pList->clear();
}

int QtDialogHost::ComboAdd(int nId, const std::u16string& strText) {
    Control* p = Find(nId);
    if (!p) return -1;
    Quiet quiet(m_nQuiet);
    if (auto* pCombo = qobject_cast<QComboBox*>(p->pWidget)) {
        const int nSel = pCombo->currentIndex();
        pCombo->addItem(ToQt(strText));
        pCombo->setCurrentIndex(nSel);  // a drop-down list selects its first row by itself; a combo box does not
        return pCombo->count() - 1;
    }
    if (auto* pList = qobject_cast<QListWidget*>(p->pWidget)) {
        pList->addItem(ToQt(strText));
        return pList->count() - 1;
    }
    return -1;
}

int QtDialogHost::ComboCount(int nId) const {
    const Control* p = Find(nId);
    if (!p) return 0;
    if (auto* pCombo = qobject_cast<QComboBox*>(p->pWidget)) return pCombo->count();
    if (auto* pList = qobject_cast<QListWidget*>(p->pWidget)) return pList->count();
    return 0;
}

void QtDialogHost::ComboSetSel(int nId, int nRow) {
    Control* p = Find(nId);
    if (!p) return;
    Quiet quiet(m_nQuiet);
    if (auto* pCombo = qobject_cast<QComboBox*>(p->pWidget)) pCombo->setCurrentIndex(InRange(nRow, pCombo->count()) ? nRow : -1);
    if (auto* pList = qobject_cast<QListWidget*>(p->pWidget)) pList->setCurrentRow(InRange(nRow, pList->count()) ? nRow : -1);
}

int QtDialogHost::ComboGetSel(int nId) const {
    const Control* p = Find(nId);
    if (!p) return -1;
    if (auto* pCombo = qobject_cast<QComboBox*>(p->pWidget)) return pCombo->currentIndex();
    if (auto* pList = qobject_cast<QListWidget*>(p->pWidget)) return pList->currentRow();
    return -1;
}

// ---- list views

void QtDialogHost::ListAddColumn(int nId, const std::u16string& strCaption, int nWidth) {
    Control* p = Find(nId);
    auto* pTable = p ? qobject_cast<QTableWidget*>(p->pWidget) : nullptr;
    if (!pTable) return;
    const int nColumn = pTable->columnCount();
    pTable->setColumnCount(nColumn + 1);
    pTable->setHorizontalHeaderItem(nColumn, new QTableWidgetItem(ToQt(strCaption)));
    if (nWidth > 0) pTable->setColumnWidth(nColumn, m_font.units.X(nWidth));
}

void QtDialogHost::ListSetExtendedStyle(int nId, std::uint32_t nStyle) {
    Control* p = Find(nId);
    auto* pTable = p ? qobject_cast<QTableWidget*>(p->pWidget) : nullptr;
    if (!pTable) return;
    pTable->setShowGrid(nStyle & lvs::kGridLines);
    pTable->horizontalHeader()->setSectionsMovable(nStyle & lvs::kHeaderDragDrop);
}

void QtDialogHost::ListReset(int nId) {
    Control* p = Find(nId);
    auto* pTable = p ? qobject_cast<QTableWidget*>(p->pWidget) : nullptr;
    if (!pTable) return;
    Quiet quiet(m_nQuiet);
    pTable->setRowCount(0);
}

int QtDialogHost::ListInsertRow(int nId, int nRow, const std::vector<std::u16string>& cells) {
    Control* p = Find(nId);
    auto* pTable = p ? qobject_cast<QTableWidget*>(p->pWidget) : nullptr;
    if (!pTable) return -1;
    Quiet quiet(m_nQuiet);
    const int nAt = InRange(nRow, pTable->rowCount()) ? nRow : pTable->rowCount();
    // A row needs a cell to be selectable, and cells beyond the captions are kept as further columns.
    const int nColumns = std::max<int>(1, static_cast<int>(cells.size()));
    if (pTable->columnCount() < nColumns) pTable->setColumnCount(nColumns);
    pTable->insertRow(nAt);
    for (std::size_t i = 0; i < cells.size(); ++i) pTable->setItem(nAt, static_cast<int>(i), new QTableWidgetItem(ToQt(cells[i])));
    return nAt;
}

void QtDialogHost::ListSetCell(int nId, int nRow, int nColumn, const std::u16string& strText) {
    Control* p = Find(nId);
    auto* pTable = p ? qobject_cast<QTableWidget*>(p->pWidget) : nullptr;
    if (!pTable || !InRange(nRow, pTable->rowCount()) || nColumn < 0) return;
    Quiet quiet(m_nQuiet);
    if (pTable->columnCount() <= nColumn) pTable->setColumnCount(nColumn + 1);
    if (QTableWidgetItem* pItem = pTable->item(nRow, nColumn)) pItem->setText(ToQt(strText));
    else pTable->setItem(nRow, nColumn, new QTableWidgetItem(ToQt(strText)));
}

std::u16string QtDialogHost::ListGetCell(int nId, int nRow, int nColumn) const {
    const Control* p = Find(nId);
    const auto* pTable = p ? qobject_cast<const QTableWidget*>(p->pWidget) : nullptr;
    const QTableWidgetItem* pItem = pTable ? pTable->item(nRow, nColumn) : nullptr;
    return pItem ? FromQt(pItem->text()) : std::u16string();
}

void QtDialogHost::ListDeleteRow(int nId, int nRow) {
    Control* p = Find(nId);
    auto* pTable = p ? qobject_cast<QTableWidget*>(p->pWidget) : nullptr;
    if (!pTable || !InRange(nRow, pTable->rowCount())) return;
    Quiet quiet(m_nQuiet);
    const bool bSelected = ListGetSel(nId) == nRow;
    pTable->removeRow(nRow);
    if (bSelected) pTable->clearSelection();  // the selection does not move to a neighbour
}

int QtDialogHost::ListRowCount(int nId) const {
    const Control* p = Find(nId);
    const auto* pTable = p ? qobject_cast<const QTableWidget*>(p->pWidget) : nullptr;
    return pTable ? pTable->rowCount() : 0;
}

void QtDialogHost::ListSetSel(int nId, int nRow) {
    Control* p = Find(nId);
    auto* pTable = p ? qobject_cast<QTableWidget*>(p->pWidget) : nullptr;
    if (!pTable) return;
    Quiet quiet(m_nQuiet);
    if (!InRange(nRow, pTable->rowCount())) {
        pTable->clearSelection();
        return;
    }
    const QModelIndex index = pTable->model()->index(nRow, 0);
    pTable->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    pTable->scrollTo(index);
}

int QtDialogHost::ListGetSel(int nId) const {
    const Control* p = Find(nId);
    const auto* pTable = p ? qobject_cast<const QTableWidget*>(p->pWidget) : nullptr;
    if (!pTable) return -1;
    const QModelIndexList selected = pTable->selectionModel()->selectedIndexes();
    return selected.isEmpty() ? -1 : selected.front().row();
}

// ---- tree views; handles are numbers kept in the items, so a deleted item's handle finds nothing

QTreeWidgetItem* QtDialogHost::TreeItemOf(const Control& control, TreeItem item) const {
    auto* pTree = qobject_cast<QTreeWidget*>(control.pWidget);
    if (!pTree) return nullptr;
    if (item == 0) return pTree->invisibleRootItem();
    const auto it = control.items.find(item);
    return it == control.items.end() ? nullptr : it->second;
}

TreeItem QtDialogHost::TreeInsert(int nId, TreeItem parent, const std::u16string& strText, bool bHasChildren) {
    Control* p = Find(nId);
    QTreeWidgetItem* pParent = p ? TreeItemOf(*p, parent) : nullptr;
    if (!pParent) return 0;
    Quiet quiet(m_nQuiet);
    const TreeItem item = m_nNextItem++;
    auto* pItem = new QTreeWidgetItem(pParent, QStringList{ToQt(strText)});
    pItem->setData(0, Qt::UserRole, QVariant::fromValue<qulonglong>(item));
    pItem->setChildIndicatorPolicy(bHasChildren ? QTreeWidgetItem::ShowIndicator : QTreeWidgetItem::DontShowIndicatorWhenChildless);
    p->items[item] = pItem;
    return item;
}

void QtDialogHost::TreeSetHasChildren(int nId, TreeItem item, bool bHasChildren) {
    Control* p = Find(nId);
    QTreeWidgetItem* pItem = p && item != 0 ? TreeItemOf(*p, item) : nullptr;
    if (pItem)
        pItem->setChildIndicatorPolicy(bHasChildren ? QTreeWidgetItem::ShowIndicator : QTreeWidgetItem::DontShowIndicatorWhenChildless);
}

void QtDialogHost::TreeSetIcon(int nId, TreeItem item, TreeIcon icon) {
    Control* p = Find(nId);
    QTreeWidgetItem* pItem = p && item != 0 ? TreeItemOf(*p, item) : nullptr;
    if (pItem) pItem->setIcon(0, IconOf(icon));
}

void QtDialogHost::TreeExpand(int nId, TreeItem item, bool bExpand) {
    Control* p = Find(nId);
    QTreeWidgetItem* pItem = p && item != 0 ? TreeItemOf(*p, item) : nullptr;
    if (!pItem) return;
    Quiet quiet(m_nQuiet);
    pItem->setExpanded(bExpand);
}

void QtDialogHost::ForgetSubtree(Control& control, QTreeWidgetItem* pItem) {
    for (int i = 0; i < pItem->childCount(); ++i) {
        QTreeWidgetItem* pChild = pItem->child(i);
        ForgetSubtree(control, pChild);
        control.items.erase(HandleOf(pChild));
    }
}

void QtDialogHost::TreeDeleteChildren(int nId, TreeItem item) {
    Control* p = Find(nId);
    QTreeWidgetItem* pItem = p ? TreeItemOf(*p, item) : nullptr;
    if (!pItem) return;
    Quiet quiet(m_nQuiet);
    const TreeItem selected = TreeSelection(nId);
    ForgetSubtree(*p, pItem);
    qDeleteAll(pItem->takeChildren());
    // The selection does not move to another item when its own goes.
    if (p->items.count(selected) == 0) static_cast<QTreeWidget*>(p->pWidget)->clearSelection();
}

std::vector<TreeItem> QtDialogHost::TreeChildren(int nId, TreeItem item) const {
    const Control* p = Find(nId);
    const QTreeWidgetItem* pItem = p ? TreeItemOf(*p, item) : nullptr;
    std::vector<TreeItem> children;
    for (int i = 0; pItem && i < pItem->childCount(); ++i) children.push_back(HandleOf(pItem->child(i)));
    return children;
}

std::u16string QtDialogHost::TreeText(int nId, TreeItem item) const {
    const Control* p = Find(nId);
    const QTreeWidgetItem* pItem = p && item != 0 ? TreeItemOf(*p, item) : nullptr;
    return pItem ? FromQt(pItem->text(0)) : std::u16string();
}

TreeItem QtDialogHost::TreeParent(int nId, TreeItem item) const {
    const Control* p = Find(nId);
    const QTreeWidgetItem* pItem = p && item != 0 ? TreeItemOf(*p, item) : nullptr;
    return pItem && pItem->parent() ? HandleOf(pItem->parent()) : 0;
}

void QtDialogHost::TreeSelect(int nId, TreeItem item) {
    Control* p = Find(nId);
    auto* pTree = p ? qobject_cast<QTreeWidget*>(p->pWidget) : nullptr;
    if (!pTree) return;
    Quiet quiet(m_nQuiet);
    QTreeWidgetItem* pItem = item != 0 ? TreeItemOf(*p, item) : nullptr;
    if (!pItem) {
        pTree->clearSelection();
        return;
    }
    pTree->setCurrentItem(pItem);
    pTree->scrollToItem(pItem);
}

TreeItem QtDialogHost::TreeSelection(int nId) const {
    const Control* p = Find(nId);
    const auto* pTree = p ? qobject_cast<const QTreeWidget*>(p->pWidget) : nullptr;
    if (!pTree) return 0;
    const QList<QTreeWidgetItem*> selected = pTree->selectedItems();
    return selected.isEmpty() ? 0 : HandleOf(selected.front());
}

std::unique_ptr<DialogHost> QtDialogFactory::CreateDialog(WindowHandle hOwner) {
    return QtDialogHost::CreateWindowed(m_ui, WidgetOfHandle(hOwner));
}

std::unique_ptr<SheetHost> QtDialogFactory::CreateSheet(WindowHandle hOwner) {
    return std::make_unique<QtSheetHost>(m_ui, WidgetOfHandle(hOwner));
}

}  // namespace vantrel
