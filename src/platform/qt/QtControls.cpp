#include "platform/qt/QtControls.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QScrollBar>
#include <QTableWidget>
#include <QTreeWidget>

namespace vantrel {

namespace {

// Button types (BS_TYPEMASK).
constexpr std::uint32_t kBsTypeMask = 0xF;
constexpr std::uint32_t kBsDefPushButton = 0x1;
constexpr std::uint32_t kBsCheckBox = 0x2;
constexpr std::uint32_t kBsAutoCheckBox = 0x3;
constexpr std::uint32_t kBsRadioButton = 0x4;
constexpr std::uint32_t kBs3State = 0x5;
constexpr std::uint32_t kBsAuto3State = 0x6;
constexpr std::uint32_t kBsGroupBox = 0x7;
constexpr std::uint32_t kBsAutoRadioButton = 0x9;

constexpr std::uint32_t kEsCenter = 0x1;
constexpr std::uint32_t kEsRight = 0x2;
constexpr std::uint32_t kEsMultiline = 0x4;
constexpr std::uint32_t kEsPassword = 0x20;
constexpr std::uint32_t kEsAutoHScroll = 0x80;
constexpr std::uint32_t kEsReadOnly = 0x800;
constexpr std::uint32_t kEsNumber = 0x2000;

constexpr std::uint32_t kSsTypeMask = 0x1F;
constexpr std::uint32_t kSsCenter = 0x1;
constexpr std::uint32_t kSsRight = 0x2;
constexpr std::uint32_t kSsCenterImage = 0x200;

constexpr std::uint32_t kCbsTypeMask = 0x3;
constexpr std::uint32_t kCbsDropDownList = 0x3;

constexpr std::uint32_t kLvsTypeMask = 0x3;
constexpr std::uint32_t kLvsReport = 0x1;
constexpr std::uint32_t kLvsNoColumnHeader = 0x4000;

constexpr std::uint32_t kTvsHasButtons = 0x1;
constexpr std::uint32_t kTvsLinesAtRoot = 0x4;

constexpr std::uint32_t kSbsVert = 0x1;

bool Is(const std::u16string& strClass, const char16_t* pszName) {
    return QString::fromUtf16(strClass.data(), static_cast<qsizetype>(strClass.size()))
               .compare(QString::fromUtf16(pszName), Qt::CaseInsensitive) == 0;
}

QString Text(const std::u16string& str) { return QString::fromUtf16(str.data(), static_cast<qsizetype>(str.size())); }

// A check box or radio button without the auto style: a click is only reported, the form decides
// the state.
template <class Button>
class ReportingButton final : public Button {
public:
    using Button::Button;

protected:
    void nextCheckState() override {}
};

std::optional<ControlKind> ButtonKind(std::uint32_t nStyle) {
    switch (nStyle & kBsTypeMask) {
    case kBsCheckBox:
    case kBsAutoCheckBox:
    case kBs3State:
    case kBsAuto3State: return ControlKind::CheckBox;
    case kBsRadioButton:
    case kBsAutoRadioButton: return ControlKind::RadioButton;
    case kBsGroupBox: return ControlKind::GroupBox;
    default: return ControlKind::PushButton;
    }
}

bool HasFrame(const ControlItem& record) { return (record.nStyle & ws::kBorder) || (record.nExStyle & ws::kExClientEdge); }

QWidget* MakeButton(ControlKind kind, const ControlItem& record, QWidget* pParent) {
    const std::uint32_t nType = record.nStyle & kBsTypeMask;
    const bool bAuto = nType == kBsAutoCheckBox || nType == kBsAuto3State || nType == kBsAutoRadioButton;
    switch (kind) {
    case ControlKind::CheckBox: {
        QCheckBox* p = bAuto ? new QCheckBox(Text(record.strText), pParent)
                             : new ReportingButton<QCheckBox>(Text(record.strText), pParent);
        p->setTristate(nType == kBs3State || nType == kBsAuto3State);
        return p;
    }
    case ControlKind::RadioButton:
        // Qt groups auto radio buttons by parent rather than by WS_GROUP runs.
        return bAuto ? new QRadioButton(Text(record.strText), pParent)
                     : new ReportingButton<QRadioButton>(Text(record.strText), pParent);
    case ControlKind::GroupBox: return new QGroupBox(Text(record.strText), pParent);
    default: {
        auto* p = new QPushButton(Text(record.strText), pParent);
        p->setDefault(nType == kBsDefPushButton);
        p->setAutoDefault(false);
        return p;
    }
    }
}

QWidget* MakeLabel(const ControlItem& record, QWidget* pParent) {
    auto* p = new QLabel(Text(record.strText), pParent);
    p->setTextFormat(Qt::PlainText);
    const std::uint32_t nType = record.nStyle & kSsTypeMask;
    const Qt::Alignment horizontal = nType == kSsCenter ? Qt::AlignHCenter : nType == kSsRight ? Qt::AlignRight : Qt::AlignLeft;
    p->setAlignment(horizontal | ((record.nStyle & kSsCenterImage) ? Qt::AlignVCenter : Qt::AlignTop));
    p->setWordWrap(nType <= kSsRight);  // SS_LEFT, SS_CENTER and SS_RIGHT wrap at words
    return p;
}

QWidget* MakeLineEdit(const ControlItem& record, QWidget* pParent) {
    auto* p = new QLineEdit(Text(record.strText), pParent);
    p->setFrame(HasFrame(record));
    p->setReadOnly(record.nStyle & kEsReadOnly);
    if (record.nStyle & kEsPassword) p->setEchoMode(QLineEdit::Password);
    if (record.nStyle & kEsNumber) p->setValidator(new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9]*")), p));
    const std::uint32_t nAlign = record.nStyle & (kEsCenter | kEsRight);
    p->setAlignment((nAlign == kEsCenter ? Qt::AlignHCenter : nAlign == kEsRight ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    return p;
}

QWidget* MakeTextEdit(const ControlItem& record, QWidget* pParent) {
    auto* p = new QPlainTextEdit(pParent);
    if (!HasFrame(record)) p->setFrameShape(QFrame::NoFrame);
    p->setReadOnly(record.nStyle & kEsReadOnly);
    if (record.nStyle & kEsReadOnly) p->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    p->setVerticalScrollBarPolicy((record.nStyle & ws::kVScroll) ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    p->setHorizontalScrollBarPolicy((record.nStyle & ws::kHScroll) ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    // Without horizontal scrolling a multi-line edit wraps its lines at the control's width.
    const bool bWrap = !(record.nStyle & (kEsAutoHScroll | ws::kHScroll));
    p->setLineWrapMode(bWrap ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
    p->setTabChangesFocus(true);  // in a dialog Tab moves on, as the dialog manager does
    return p;
}

QWidget* MakeListView(const ControlItem& record, QWidget* pParent) {
    // Report view: one row selected whole, no editing in place; grid lines and movable captions
    // come with the extended style.
    auto* p = new QTableWidget(pParent);
    p->setSelectionBehavior(QAbstractItemView::SelectRows);
    p->setSelectionMode(QAbstractItemView::SingleSelection);
    p->setEditTriggers(QAbstractItemView::NoEditTriggers);
    p->setShowGrid(false);
    p->setWordWrap(false);
    p->verticalHeader()->hide();
    p->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    p->verticalHeader()->setDefaultSectionSize(p->fontMetrics().height() + 4);
    p->horizontalHeader()->setSectionsClickable(true);
    p->horizontalHeader()->setHighlightSections(false);
    p->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    const bool bReport = (record.nStyle & kLvsTypeMask) == kLvsReport;
    if (!bReport || (record.nStyle & kLvsNoColumnHeader)) p->horizontalHeader()->hide();
    if (!HasFrame(record)) p->setFrameShape(QFrame::NoFrame);
    return p;
}

QWidget* MakeTreeView(const ControlItem& record, QWidget* pParent) {
    auto* p = new QTreeWidget(pParent);
    p->setHeaderHidden(true);
    p->setColumnCount(1);
    p->setSelectionMode(QAbstractItemView::SingleSelection);
    p->setRootIsDecorated((record.nStyle & kTvsHasButtons) && (record.nStyle & kTvsLinesAtRoot));
    p->setItemsExpandable(record.nStyle & kTvsHasButtons);
    if (!HasFrame(record)) p->setFrameShape(QFrame::NoFrame);
    return p;
}

}  // namespace

std::optional<ControlKind> KindOf(const ControlItem& record) {
    const std::u16string& c = record.strClass;
    if (Is(c, u"BUTTON")) return ButtonKind(record.nStyle);
    if (Is(c, u"EDIT")) return (record.nStyle & kEsMultiline) ? ControlKind::TextEdit : ControlKind::LineEdit;
    if (Is(c, u"STATIC")) return ControlKind::Label;
    if (Is(c, u"LISTBOX")) return ControlKind::ListBox;
    if (Is(c, u"SCROLLBAR")) return ControlKind::ScrollBar;
    if (Is(c, u"COMBOBOX")) return ControlKind::ComboBox;
    if (Is(c, u"SysListView32")) return ControlKind::ListView;
    if (Is(c, u"SysTreeView32")) return ControlKind::TreeView;
    return std::nullopt;
}

QWidget* MakeControlWidget(ControlKind kind, const ControlItem& record, QWidget* pParent) {
    switch (kind) {
    case ControlKind::PushButton:
    case ControlKind::CheckBox:
    case ControlKind::RadioButton:
    case ControlKind::GroupBox: return MakeButton(kind, record, pParent);
    case ControlKind::Label: return MakeLabel(record, pParent);
    case ControlKind::LineEdit: return MakeLineEdit(record, pParent);
    case ControlKind::TextEdit: return MakeTextEdit(record, pParent);
    case ControlKind::ComboBox: {
        auto* p = new QComboBox(pParent);
        p->setEditable((record.nStyle & kCbsTypeMask) != kCbsDropDownList);
        return p;
    }
    case ControlKind::ListBox: {
        auto* p = new QListWidget(pParent);
        if (!HasFrame(record)) p->setFrameShape(QFrame::NoFrame);
        return p;
    }
    case ControlKind::ListView: return MakeListView(record, pParent);
    case ControlKind::TreeView: return MakeTreeView(record, pParent);
    case ControlKind::ScrollBar: return new QScrollBar((record.nStyle & kSbsVert) ? Qt::Vertical : Qt::Horizontal, pParent);
    }
    return nullptr;
}

bool HasOwnCaption(ControlKind kind) {
    switch (kind) {
    case ControlKind::PushButton:
    case ControlKind::CheckBox:
    case ControlKind::RadioButton:
    case ControlKind::GroupBox:
    case ControlKind::Label: return true;
    default: return false;
    }
}

bool UsesVerticalArrows(ControlKind kind) {
    switch (kind) {
    case ControlKind::PushButton:
    case ControlKind::CheckBox:
    case ControlKind::RadioButton:
    case ControlKind::LineEdit: return false;
    default: return true;
    }
}

bool UsesHorizontalArrows(ControlKind kind) {
    switch (kind) {
    case ControlKind::PushButton:
    case ControlKind::CheckBox:
    case ControlKind::RadioButton: return false;
    default: return true;
    }
}

bool TakesFocus(ControlKind kind) { return kind != ControlKind::Label && kind != ControlKind::GroupBox; }

}  // namespace vantrel
